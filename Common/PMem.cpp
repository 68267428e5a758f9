// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "PMem.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "PMemInternal.h"

namespace velmar_remote {

__attribute__((weak)) MemoryDevice memoryDevice = {::open, ::mmap, ::munmap, ::close};

int handle = -1;

namespace {

constexpr unsigned long PAGE_BYTES = 0x1000;
constexpr unsigned long WINDOW_SIZE = 0x10000;

constexpr unsigned long pageOf(unsigned long address) { return address & ~(PAGE_BYTES - 1); }

// A range of physical memory mapped into the process. Starts out mapping nothing.
class Window {
 public:
    Window() {}
    ~Window() { unmap(); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // Moves to the window that begins at the page of `address`, or just to the pages of the
    // `length` bytes there; false when both are refused, and then nothing is mapped.
    bool moveTo(unsigned long address, unsigned long length) {
        unmap();
        const unsigned long page = pageOf(address);
        const unsigned long offset = address - page;
        const unsigned long needed = pageOf(offset + length + PAGE_BYTES - 1);
        // A kernel that guards its memory refuses a mapping as a whole when it touches one guarded
        // page, and the firmware area ends right below such pages.
        return map(page, std::max(WINDOW_SIZE, needed)) ||
               (length != 0 && needed < WINDOW_SIZE && map(page, needed));
    }

    bool covers(unsigned long address, unsigned long length) const {
        return address >= _base && address - _base < _size && length <= _size - (address - _base);
    }

    // The mapped byte of a covered address.
    const char* at(unsigned long address) const {
        return static_cast<const char*>(_memory) + (address - _base);
    }

 private:
    bool map(unsigned long page, unsigned long size) {
        void* memory = memoryDevice.mmap(nullptr, size, PROT_READ, MAP_SHARED, handle,
                                         static_cast<off_t>(page));
        if (memory == MAP_FAILED) {
            return false;
        }
        _memory = memory;
        _base = page;
        _size = size;
        return true;
    }

    void unmap() {
        if (_size != 0) {
            memoryDevice.munmap(_memory, _size);
            _size = 0;
        }
    }

    void* _memory = nullptr;
    unsigned long _base = 0;
    unsigned long _size = 0;
};

}  // namespace

bool PMem::open() {
    handle = memoryDevice.open("/dev/mem", O_RDONLY);
    return handle != -1;
}

bool PMem::close() {
    memoryDevice.close(handle);
    return true;
}

long PMem::read(void* retval, unsigned long phys_addr, long length) {
    if (length < 0) {
        return -1;
    }
    char* destination = static_cast<char*>(retval);
    unsigned long left = static_cast<unsigned long>(length);
    Window window;
    do {
        const unsigned long chunk = std::min(left, WINDOW_SIZE - (phys_addr - pageOf(phys_addr)));
        if (!window.moveTo(phys_addr, chunk)) {
            return left == 0 ? 0 : -1;
        }
        std::copy_n(window.at(phys_addr), chunk, destination);
        destination += chunk;
        phys_addr += chunk;
        left -= chunk;
    } while (left != 0);
    return 0;
}

unsigned long PMem::search(char* match, unsigned long start_addr, unsigned long end_addr,
                           long step_size) {
    const unsigned long match_length = std::strlen(match);
    const unsigned long step = step_size > 0 ? static_cast<unsigned long>(step_size) : ULONG_MAX;
    // The page of a refused candidate: those after it need the same pages and perhaps more.
    unsigned long refused_page = ULONG_MAX;
    Window window;
    if (!window.moveTo(start_addr, match_length)) {
        refused_page = pageOf(start_addr);
    }
    if (match_length == 0 && start_addr < end_addr) {
        return start_addr;
    }
    for (unsigned long i = start_addr; i < end_addr; i += step) {
        if (pageOf(i) == refused_page) {
            // Passed over.
        } else if (!window.covers(i, match_length) && !window.moveTo(i, match_length)) {
            refused_page = pageOf(i);
        } else if (std::memcmp(window.at(i), match, match_length) == 0) {
            return i;
        }
        if (step >= end_addr - i) {
            break;
        }
    }
    return 0;
}

}  // namespace velmar_remote
