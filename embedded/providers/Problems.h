// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where what no caller hears of is told: why a provider was not loaded, why a subscription came to
// nothing, what was dropped.
//
// The observer runs on a thread of its own, never on one that has met a problem: that one may be a
// provider's in the middle of a delivery. So an observer may call into the server. Thread-safe,
// except observe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H
#define VELMAR_EMBEDDED_PROVIDERS_PROBLEMS_H

#include <stdint.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace velmar_embedded {

class Problems {
 public:
    using Observer = std::function<void(const std::string&)>;

    Problems() = default;
    ~Problems() { stop(); }
    Problems(const Problems&) = delete;
    Problems& operator=(const Problems&) = delete;

    /// Set before the first report; without one problems go to stderr.
    void observe(Observer observer) { _observer = std::move(observer); }
    /// Tells of problems one by one, in the order of their coming. Does not wait for the observer.
    void report(const std::string& problem);

    /// Waits until what was reported before has been told; not in the observer, where it returns at
    /// once.
    void flush();
    /// Flushes; what is reported from here on goes to stderr. Not in the observer.
    void stop();
    /// Whether this thread is inside the observer.
    bool inObserver() const;

 private:
    bool queue(const std::string& problem);
    void tell();

    Observer _observer;
    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<std::string> _queue;
    uint64_t _reported = 0;
    uint64_t _told = 0;
    bool _stopping = false;
    std::thread _teller;  // from the first report on
};

}  // namespace velmar_embedded

#endif
