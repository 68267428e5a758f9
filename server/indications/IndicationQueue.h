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
#include "requests/WorkerPool.h"

namespace velmar_embedded {

class IndicationQueue : public std::enable_shared_from_this<IndicationQueue> {
 public:
    using Deliver = std::function<void(const Pegasus::CIMInstance&)>;
    using Report = std::function<void(const std::string&)>;

    /// `name` stands for the queue in problems that go to `report`: an exception of `deliver`, the
    /// first indication that a full queue drops after one that it took.
    IndicationQueue(WorkerPool& workers, std::string name, size_t capacity, Deliver deliver,
                    Report report);

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

    /// Whether this thread is inside a subscriber.
    static bool inSubscriber();

 private:
    void work();
    bool schedule();
    void handOver(const Pegasus::CIMInstance& indication);

    WorkerPool& _workers;
    const std::string _name;
    const size_t _capacity;
    const Deliver _deliver;
    const Report _report;
    mutable std::mutex _lock;
    std::condition_variable _changed;
    std::deque<Pegasus::CIMInstance> _queue;
    IndicationCounts _counts;
    bool _scheduled = false;  // a worker empties the queue, or will
    bool _delivering = false;
    bool _dropping = false;
    bool _closed = false;
};

}  // namespace velmar_embedded

#endif
