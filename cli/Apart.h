// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Runs a package in a process of its own, so that whatever it does to that process is told.
#ifndef VELMAR_CLI_APART_H
#define VELMAR_CLI_APART_H

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>

#include "Commands.h"
#include "Crash.h"

namespace velmar_cli {

/// A text of bounded size in shared memory. One process writes, one thread at a time; the other
/// reads.
template <size_t SIZE>
class SharedText {
 public:
    /// False where there is too little room for all of it: nothing is added then.
    bool append(const std::string& text) {
        const size_t size = _size;
        if (text.size() > SIZE - size) {
            return false;
        }
        memcpy(_text + size, text.data(), text.size());
        _size = size + text.size();
        return true;
    }
    std::string get() const { return {_text, std::min(_size.load(), SIZE)}; }

 private:
    std::atomic<size_t> _size{0};
    char _text[SIZE];
};

/// What the process of the package leaves for the one that waits for it. No descriptor leads to it,
/// so none can be closed.
struct Record {
    LastCall call;                      ///< of a provider
    LastCall request;                   ///< of the check
    std::atomic<bool> isClosed{false};  ///< last: all of the rest is there
    ExitCode code = Unusable;
    bool hangs = false;                    ///< threads are left that do not return
    SharedText<size_t(1) << 20> findings;  ///< as they come, a line of JSON each
    std::atomic<size_t> findingsLost{0};   ///< for want of room
    SharedText<size_t(1) << 20> problems;  ///< as they come, a line each
    SharedText<size_t(1) << 26> report;    ///< JSON
};

/// A record in memory that processes share from here on. Throws std::bad_alloc.
Record& makeRecord();

/// Runs `work` in a child process, tells on stderr what a slow one waits for, and returns when that
/// process is gone: with an empty text after an orderly end, where the record says how it went,
/// else with a sentence that says what happened. Under a debugger it runs `work` in this process,
/// which is the one that is looked at. Call it while there is one thread.
std::string runApart(Record& record, const Run& work);

}  // namespace velmar_cli

#endif
