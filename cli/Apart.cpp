// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Apart.h"

#include <errno.h>
#include <fmt/format.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <new>
#include <system_error>

#include "Progress.h"

namespace velmar_cli {

namespace {

constexpr int64_t FIRST_WORD = 2000;            // ms until a call is worth a line
constexpr int64_t NO_SIGN_OF_LIFE = 90000;      // ms; a client gives a call up after 20 s
constexpr int64_t PATIENCE_AT_THE_END = 15000;  // ms from the report to the end of the process

bool isTraced(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("TracerPid:", 0) == 0) {
            return std::stol(line.substr(10)) != 0;
        }
    }
    return false;
}

void runHere(Record& record, const Run& work) {
    record.code = guarded(work);
    record.isClosed = true;
}

[[noreturn]] void beChild(Record& record, const Run& work, pid_t parent, const sigset_t& mask) {
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // a killed parent leaves nothing behind
    if (getppid() != parent) {
        _exit(Unusable);
    }
    runHere(record, work);
    if (record.hangs) {  // a provider may be reading from a stream for ever
        fflush(stdout);
        _exit(record.code);
    }
    exit(record.code);
}

// Tells what a call waits for after 2 s, 4 s, 8 s and so on.
class Words {
 public:
    explicit Words(const Record& record) : _record(record) {}

    /// When something began last.
    int64_t last() const { return std::max(_record.call.began, _record.request.began); }

    void tell() {
        if (_record.request.began != _of) {
            _of = _record.request.began;
            _next = FIRST_WORD;
        }
        const int64_t waited = now() - _of;
        if (_of == 0 || waited < _next) {
            return;
        }
        _next = waited * 2;
        const bool isCalled = _record.call.began >= _of;
        Progress::clear();
        fmt::print(stderr, "waiting since {} s for {}{}{}\n", waited / 1000, _record.request.text,
                   isCalled ? "; now in " : "", isCalled ? _record.call.text : "");
    }

 private:
    const Record& _record;
    int64_t _of = 0;
    int64_t _next = FIRST_WORD;
};

std::string describe(int status) {
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        return fmt::format("was ended by a signal ({}{})", strsignal(number),
                           number == SIGKILL ? ", as where memory runs out" : "");
    }
    return fmt::format("ended with status {}", WEXITSTATUS(status));
}

// What the end of the child means; empty for a good one.
std::string judge(const Record& record, int status, bool isKilled) {
    if (record.isClosed) {
        if (isKilled) {
            return "the process does not end after the check: does the destructor of a static "
                   "object block?";
        }
        return WIFEXITED(status) && WEXITSTATUS(status) == record.code
                   ? ""
                   : "the check was done when its process " + describe(status) +
                         ": what stderr says of it, a sanitizer's report, say, or the destructor "
                         "of "
                         "a static object";
    }
    std::string text =
        isKilled ? fmt::format("the process gave no sign of life for {} s", NO_SIGN_OF_LIFE / 1000)
                 : "the process " + describe(status);
    text += " before the check was done";
    if (!isKilled && WIFEXITED(status)) {
        text += ", as where a provider calls exit, _exit or quick_exit";
    }
    if (record.call.began != 0) {
        text += std::string("; the last provider call was ") + record.call.text;
    }
    return text;
}

}  // namespace

Record& makeRecord() {
    void* const memory = mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (memory) Record;
}

std::string runApart(Record& record, const Run& work) {
    if (isTraced(getpid())) {
        runHere(record, work);
        return "";
    }
    fflush(nullptr);
    signal(SIGCHLD, SIG_DFL);  // ignored, as it may be inherited, it would keep the status away
    sigset_t child;
    sigset_t before;
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    sigprocmask(SIG_BLOCK, &child, &before);
    const pid_t self = getpid();
    const pid_t process = fork();
    if (process < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot start a process");
    }
    if (process == 0) {
        beChild(record, work, self, before);
    }
    Words words(record);
    const int64_t start = now();
    int64_t closed = 0;
    bool isKilled = false;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        const timespec pause = {0, 200000000};
        sigtimedwait(&child, nullptr, &pause);
        closed = record.isClosed && closed == 0 ? now() : closed;
        if (closed == 0) {
            words.tell();
        }
        const bool isOver = closed != 0 ? now() - closed > PATIENCE_AT_THE_END
                                        : now() - std::max(start, words.last()) > NO_SIGN_OF_LIFE;
        if (isOver && !isKilled && !isTraced(process)) {
            isKilled = true;
            kill(process, SIGKILL);
        }
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return judge(record, status, isKilled);
}

}  // namespace velmar_cli
