// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Tells the observer of problems and findings, one after the other, on a thread of its own: the one
// that has something to tell may be a provider's in the middle of a delivery. So the observer may
// call into the server.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_NOTICES_H
#define VELMAR_EMBEDDED_PROVIDERS_NOTICES_H

#include <stdint.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <velmar_embedded/Faults.h>
#include <velmar_embedded/Observer.h>

namespace velmar_embedded {

class Notices {
 public:
    /// Borrows the observer; null is allowed.
    explicit Notices(Observer* observer) : _observer(observer) {}
    ~Notices() { stop(); }
    Notices(const Notices&) = delete;
    Notices& operator=(const Notices&) = delete;

    /// Null where there is none.
    Observer* observer() const { return _observer; }
    /// What steps pass before they are taken.
    Faults faults;
    /// Whether steps matter to anybody.
    bool wantsSteps() const { return _observer != nullptr || faults.areSet(); }

    // Neither waits for the observer. To stderr without an observer, and after stop.
    void problem(const std::string& text);
    void finding(const velmar_checks::Finding& finding);

    /// Waits until what came before has been told. No-op on the thread that tells.
    void flush();
    /// Tells what is left, and nothing from here on. Not on the thread that tells.
    void stop();
    /// Whether this is the thread that tells.
    bool isTelling() const;

 private:
    void tell(std::function<void(Observer&)> what);
    bool queue(const std::function<void(Observer&)>& what);
    void work();

    Observer* const _observer;
    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<std::function<void(Observer&)>> _queue;
    uint64_t _queued = 0;
    uint64_t _told = 0;
    bool _stopping = false;
    std::thread _thread;  // from the first notice on
};

}  // namespace velmar_embedded

#endif
