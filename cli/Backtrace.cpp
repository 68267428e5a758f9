// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Backtrace.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <stdint.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <initializer_list>

namespace velmar_cli {

namespace {

constexpr int MOST_FRAMES = 64;
constexpr int MOST_LINES = 16;

// No allocation: this runs in a process that is about to end.
bool isProviders(const char* file) {
    const char* const slash = strrchr(file, '/');
    const char* const name = slash == nullptr ? file : slash + 1;
    if (strncmp(name, "lib", 3) != 0 || strncmp(file, "/lib", 4) == 0) {
        return false;
    }
    for (const char* own : {"libc.", "libstdc++", "libgcc_s", "libvelmar_", "libasan", "libtsan"}) {
        if (strncmp(name, own, strlen(own)) == 0) {
            return false;
        }
    }
    return true;
}

void writeNumber(char* text, uintptr_t number) {
    char digits[sizeof number * 2];
    size_t count = 0;
    do {
        digits[count++] = "0123456789abcdef"[number % 16];
        number /= 16;
    } while (number != 0);
    *text++ = '0';
    *text++ = 'x';
    while (count > 0) {
        *text++ = digits[--count];
    }
    *text = '\0';
}

// Of the frames in the first such library.
void writeLines(void* const* frames, int count) {
    char numbers[MOST_LINES][sizeof(uintptr_t) * 2 + 3];
    char file[4096] = "";
    const char* arguments[6 + MOST_LINES + 1] = {"addr2line", "-C", "-f", "-p", "-e", file};
    int lines = 0;
    for (int i = 0; i < count && lines < MOST_LINES; i++) {
        Dl_info info;
        if (dladdr(frames[i], &info) == 0 || info.dli_fname == nullptr ||
            strlen(info.dli_fname) >= sizeof file || !isProviders(info.dli_fname) ||
            (file[0] != '\0' && strcmp(file, info.dli_fname) != 0)) {
            continue;
        }
        strcpy(file, info.dli_fname);
        // A return address may be the next line's already.
        writeNumber(numbers[lines], reinterpret_cast<uintptr_t>(frames[i]) -
                                        reinterpret_cast<uintptr_t>(info.dli_fbase) - 1);
        arguments[6 + lines] = numbers[lines];
        lines++;
    }
    if (lines == 0) {
        return;
    }
    const pid_t child = _Fork();  // the heap may be locked, by the crash itself
    if (child == 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execvp(arguments[0], const_cast<char* const*>(arguments));
        _exit(127);
    }
    if (child > 0) {
        waitpid(child, nullptr, 0);
    }
}

}  // namespace

void prepareBacktrace() {
    void* frame[1];
    backtrace(frame, 1);
}

void writeBacktrace() {
    void* frames[MOST_FRAMES];
    const int count = backtrace(frames, MOST_FRAMES);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
    writeLines(frames, count);
}

}  // namespace velmar_cli
