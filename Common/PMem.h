// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Read-only access to the machine's physical address space through "/dev/mem".
//
// Call open, then any number of search and read, then close. All objects share one descriptor for
// the whole process, so two threads must not use them at once. Memory is reached through mapping
// windows of 64 KiB; none outlives the call that made it.
#ifndef VELMAR_REMOTE_COMMON_PMEM_H
#define VELMAR_REMOTE_COMMON_PMEM_H

namespace velmar_remote {

/// Reads the physical memory of this machine.
class PMem {
 public:
    /// Opens nothing.
    PMem() {}
    /// Leaves the descriptor open.
    virtual ~PMem() {}

    /// False when the device cannot be opened: there is none, or the process lacks the right.
    bool open();

    /// Always true.
    bool close();

    /// After a successful open: copies `length` bytes from the physical address `phys_addr` on to
    /// `retval`. 0 on success; otherwise the kernel refused part of the range, or no such range
    /// exists, and what `retval` holds is undefined.
    long read(void* retval, unsigned long phys_addr, long length);

    /// The first of the addresses start_addr, start_addr + step_size, ... below `end_addr` at which
    /// the bytes of the NUL-terminated `match` stand; 0 when there is none. The bytes of the last
    /// candidate may reach past `end_addr`. Candidates that the kernel refuses to map are passed
    /// over. A step below 1 leaves `start_addr` as the only candidate.
    unsigned long search(char* match, unsigned long start_addr, unsigned long end_addr,
                         long step_size);
};

}  // namespace velmar_remote

#endif
