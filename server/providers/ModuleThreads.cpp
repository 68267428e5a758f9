// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/ModuleThreads.h"

#include <dlfcn.h>
#include <link.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace velmar_embedded {

namespace {

// From the first address to the one behind the last.
typedef std::pair<uintptr_t, uintptr_t> Range;

struct Code {
    uintptr_t base;  // of the library
    std::vector<Range> ranges;

    bool has(uintptr_t address) const {
        return std::any_of(ranges.begin(), ranges.end(), [&](const Range& one) {
            return address >= one.first && address < one.second;
        });
    }
};

int addCode(dl_phdr_info* info, size_t, void* result) {
    Code& code = *static_cast<Code*>(result);
    for (int i = 0; info->dlpi_addr == code.base && i < info->dlpi_phnum; i++) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
            const uintptr_t start = code.base + segment.p_vaddr;
            code.ranges.emplace_back(start, start + segment.p_memsz);
        }
    }
    return 0;
}

Code codeOf(void* library) {
    link_map* map = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) {
        return {};
    }
    Code code{map->l_addr, {}};
    dl_iterate_phdr(addCode, &code);
    return code;
}

// The part of a stack that is in use, from its pointer on.
const uintptr_t mostOfStack = 8 * 1024 * 1024;

// What is used of the thread's stack, or its first part.
Range stackAt(uintptr_t pointer) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        char* end = nullptr;
        const uintptr_t first = strtoull(line.c_str(), &end, 16);
        const uintptr_t last = strtoull(end + 1, nullptr, 16);
        if (pointer >= first && pointer < last) {
            return {pointer, std::min(last, pointer + mostOfStack)};
        }
    }
    return {};
}

// Return addresses are not told from other words: what looks like one is one.
bool hasCallInto(const Code& code, const Range& stack) {
    std::vector<uintptr_t> words((stack.second - stack.first) / sizeof(uintptr_t));
    const iovec here{words.data(), words.size() * sizeof(uintptr_t)};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the system says addresses as numbers
    const iovec there{reinterpret_cast<void*>(stack.first), here.iov_len};
    // The thread may end meanwhile: its memory is read by the system, which then reads less.
    const ssize_t got = process_vm_readv(getpid(), &here, 1, &there, 1, 0);
    words.resize(got < 0 ? 0 : static_cast<size_t>(got) / sizeof(uintptr_t));
    return std::any_of(words.begin(), words.end(), [&](uintptr_t word) { return code.has(word); });
}

}  // namespace

std::set<pid_t> runningThreads() {
    std::set<pid_t> result;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
        result.insert(static_cast<pid_t>(atoi(entry.path().filename().c_str())));
    }
    return result;
}

Place placeOf(pid_t thread, void* library) {
    // Number of the system call and its arguments, stack pointer and program counter, or "running".
    std::ifstream in("/proc/self/task/" + std::to_string(thread) + "/syscall");
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    if (words.size() < 3) {
        return words.empty() ? Place::Outside : Place::Unknown;
    }
    const uintptr_t pointer = strtoull(words[words.size() - 2].c_str(), nullptr, 16);
    const uintptr_t counter = strtoull(words.back().c_str(), nullptr, 16);
    const Code code = codeOf(library);
    const Range stack = stackAt(pointer);
    if (code.has(counter) || hasCallInto(code, stack)) {
        return Place::Inside;
    }
    return stack.second - stack.first < mostOfStack ? Place::Outside : Place::Unknown;
}

}  // namespace velmar_embedded
