// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Indications on their way to listeners over HTTP: to each listener in the order of their coming,
// whatever happens to the others.
#ifndef VELMAR_WIRE_DELIVERIES_H
#define VELMAR_WIRE_DELIVERIES_H

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include <velmar_wire/WireServer.h>
#include "indications/Destination.h"

namespace velmar_wire {

class Listener;

/// Thread-safe.
class Deliveries : public velmar_embedded::Destinations {
 public:
    explicit Deliveries(const DeliveryPolicy& policy)
        : _policy(policy), _dropped(std::make_shared<std::atomic<uint64_t>>(0)) {}
    ~Deliveries() override;

    /// Subscriptions with the same URL share one queue. Throws CIMException for what is no
    /// http:// URL, for a host that the policy does not allow, and
    /// for one listener too many.
    std::shared_ptr<velmar_embedded::Destination> open(const std::string& url,
                                                       const Report& report) override;

    /// Of destinations and alerts.
    Refusals refusals() const;

    /// Gives up what is on its way, and takes no more.
    void stop();

 private:
    const DeliveryPolicy _policy;
    mutable std::mutex _lock;
    bool _stopped = false;
    uint64_t _refused = 0;
    const std::shared_ptr<std::atomic<uint64_t>> _dropped;  // of the listeners, which may be longer
    std::map<std::string, std::shared_ptr<Listener>> _listeners;  // by URL
};

}  // namespace velmar_wire

#endif
