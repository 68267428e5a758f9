// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Who wants which indications, and the indication providers that are enabled for it.
//
// Thread-safe. The operations of providers run on the threads that call the functions here: the
// server's workers. Those that change the subscriptions of one provider run one after the other;
// deliveries wait for none of them.
#ifndef VELMAR_EMBEDDED_INDICATIONS_SUBSCRIPTIONS_H
#define VELMAR_EMBEDDED_INDICATIONS_SUBSCRIPTIONS_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>
#include "indications/IndicationSource.h"
#include "indications/Subscription.h"
#include "requests/Dispatch.h"

namespace velmar_embedded {

class Subscriptions {
 public:
    explicit Subscriptions(Services& services);
    ~Subscriptions();
    Subscriptions(const Subscriptions&) = delete;
    Subscriptions& operator=(const Subscriptions&) = delete;

    /// A subscription that is not known yet. Throws CIMException for a query or an argument
    /// that cannot be. `instance` is the subscription as clients see it, if they do.
    std::shared_ptr<Subscription> prepare(
        const std::string& query, const std::vector<std::string>& nameSpaces,
        IndicationQueue::Deliver subscriber, size_t capacity,
        const Pegasus::CIMInstance& instance = Pegasus::CIMInstance());
    /// The query of a filter instance. Throws what clients hear of a malformed one.
    static Query filterQuery(const std::string& query);
    /// Keeps a subscription for createStored; false when that has begun already.
    bool store(const std::shared_ptr<Subscription>& subscription);
    /// Creates the stored subscriptions, then enables the providers. What fails is reported.
    void createStored();
    /// Offers a subscription to the providers of its class and subclasses. Throws CIMException
    /// when there is none or none accepts.
    void create(const std::shared_ptr<Subscription>& subscription);
    /// False when no such subscription is stored.
    bool removeStored(const std::string& id);
    /// Takes a created subscription from its providers; close it afterwards. Throws CIMException
    /// (CIM_ERR_NOT_FOUND).
    std::shared_ptr<Subscription> remove(const std::string& id);
    /// Ends the calls of its subscriber, see IndicationQueue::close.
    void close(const std::shared_ptr<Subscription>& subscription);

    /// Disables the providers, hands over what they have delivered, and ends all subscriptions. No
    /// operation may be running.
    void stop();

    /// Waits until what was delivered so far has been handed over, and what is wrong with it told.
    /// Throws std::logic_error in a subscriber.
    void drain();
    IndicationCounts counts() const;
    /// Throws CIMException (CIM_ERR_NOT_FOUND).
    IndicationCounts counts(const std::string& id) const;

 private:
    using Target = std::pair<IndicationSource*, Pegasus::Array<Pegasus::CIMObjectPath>>;

    std::vector<Target> targets(const Subscription& subscription);
    void offer(const std::shared_ptr<Subscription>& subscription, bool enable);
    std::vector<IndicationSource*> sources() const;
    std::vector<std::shared_ptr<Subscription>> active() const;

    Services& _services;
    std::atomic<unsigned> _lastId{0};
    std::atomic<uint64_t> _unmatched{0};
    mutable std::mutex _lock;
    std::vector<std::shared_ptr<Subscription>> _stored;
    bool _storing = true;  // until the stored ones are created
    std::map<std::string, std::shared_ptr<Subscription>> _active;
    std::vector<std::shared_ptr<Subscription>> _ending;  // removed, not yet closed
    std::map<LoadedProvider*, std::unique_ptr<IndicationSource>> _sources;
    IndicationCounts _ended;  // of the subscriptions that are gone
};

}  // namespace velmar_embedded

#endif
