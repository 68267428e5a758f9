// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is on its way to one subscriber: a bounded queue, emptied on worker threads, one indication
// at a time and in the order of their coming.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_INDICATIONS_INDICATIONQUEUE_H
#define VELMAR_EMBEDDED_INDICATIONS_INDICATIONQUEUE_H

#include <Pegasus/Common/CIMInstance.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <velmar_embedded/ServerTypes.h>
#include "providers/Notices.h"
#include "requests/WorkerPool.h"

namespace velmar_embedded {

class IndicationQueue : public std::enable_shared_from_this<IndicationQueue> {
 public:
    using Deliver = std::function<void(const Pegasus::CIMInstance&)>;

    /// `name` stands for the queue in the problems that it reports: an exception of `deliver`, the
    /// first indication that a full queue drops after one that it took.
    IndicationQueue(WorkerPool& workers, std::string name, size_t capacity, Deliver deliver,
                    Notices& notices);

    /// Takes an indication or drops it; never waits for a subscriber. Shares nothing with the
    /// caller if the indication is a copy.
    void push(const Pegasus::CIMInstance& indication);
    void noteUnmatched();

    /// Waits until everything was handed over, or the queue was closed. Not in a subscriber.
    void drain();
    /// Discards what is queued; no call of `deliver` starts from here on. Waits for a running one,
    /// unless this is called inside a subscriber (of any queue), whom it may be waiting for.
    void close();

    IndicationCounts counts() const;
    /// For problems.
    const std::string& name() const { return _name; }

    /// What the observer hears of an indication.
    static Step stepOf(Step::Kind kind, const std::string& provider,
                       const Pegasus::CIMInstance& indication);
    /// Whether this thread is inside a subscriber.
    static bool inSubscriber();

 private:
    struct Entry {
        Pegasus::CIMInstance indication;
        Step step;  ///< where it is observed
    };
    bool take(const Entry& entry, size_t capacity);
    void work();
    bool schedule();
    void handOver(const Entry& entry);

    WorkerPool& _workers;
    const std::string _name;
    const size_t _capacity;
    const Deliver _deliver;
    Notices& _notices;
    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<Entry> _queue;
    IndicationCounts _counts;
    bool _scheduled = false;  // a worker empties the queue, or will
    bool _delivering = false;
    bool _dropping = false;
    bool _closed = false;
};

}  // namespace velmar_embedded

#endif
