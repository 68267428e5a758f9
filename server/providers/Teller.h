// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Tells observers what they want to know, one thing after the other, on a thread of its own: never
// on one that has something to tell, which may be a provider's in the middle of a delivery. So an
// observer may call into the server.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_PROVIDERS_TELLER_H
#define VELMAR_EMBEDDED_PROVIDERS_TELLER_H

#include <stdint.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace velmar_embedded {

class Teller {
 public:
    Teller() = default;
    ~Teller() { stop(); }
    Teller(const Teller&) = delete;
    Teller& operator=(const Teller&) = delete;

    /// Does not wait for `tell`, which must not throw. False if it will not be called: after stop,
    /// or if no thread can be started.
    bool queue(std::function<void()> tell);

    /// Waits until what was queued before has been told; not on the thread of the teller, where it
    /// returns at once.
    void flush();
    /// Tells what is queued, and nothing from here on. Not on the thread of the teller.
    void stop();
    /// Whether this is the thread of the teller.
    bool isTelling() const;

 private:
    void work();

    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<std::function<void()>> _queue;
    uint64_t _queued = 0;
    uint64_t _told = 0;
    bool _stopping = false;
    std::thread _thread;  // from the first thing on
};

}  // namespace velmar_embedded

#endif
