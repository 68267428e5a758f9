// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The system calls behind PMem, for tests that put an image file in place of the device (not
// installed).
#ifndef VELMAR_REMOTE_COMMON_PMEMINTERNAL_H
#define VELMAR_REMOTE_COMMON_PMEMINTERNAL_H

#include <sys/types.h>

#include <cstddef>

namespace velmar_remote {

struct MemoryDevice {
    int (*open)(const char* path, int flags, ...);
    void* (*mmap)(void* address, std::size_t length, int protection, int flags, int descriptor,
                  off_t offset);
    int (*munmap)(void* address, std::size_t length);
    int (*close)(int descriptor);
};

/// The operating system's calls, ready before any static initialiser runs. Weak: a program that
/// defines it too replaces it even for the discovery at load time.
__attribute__((visibility("hidden"))) extern MemoryDevice memoryDevice;

/// The device's descriptor: -1 until PMem::open, stale after PMem::close.
__attribute__((visibility("hidden"))) extern int handle;

}  // namespace velmar_remote

#endif
