// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An indication provider as a source of indications: its subscriptions, its handler.
#ifndef VELMAR_EMBEDDED_INDICATIONS_INDICATIONSOURCE_H
#define VELMAR_EMBEDDED_INDICATIONS_INDICATIONSOURCE_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client/Gate.h"
#include "indications/Subscription.h"
#include "providers/LoadedProvider.h"
#include "requests/Dispatch.h"

namespace velmar_embedded {

/// Thread-safe, except stop and the destructor, which no delivery may follow.
class IndicationSource {
 public:
    /// `unmatched` counts the indications that no subscription was there for.
    IndicationSource(const Services& services, LoadedProvider& provider,
                     std::atomic<uint64_t>& unmatched);
    ~IndicationSource();

    /// Loads the provider and offers it the subscription; `enable` then enables it if it is not.
    /// Reports why it was not accepted: a provider that refuses counts it nevertheless, and is not
    /// disabled before stop.
    bool create(const std::shared_ptr<Subscription>& subscription,
                const Pegasus::Array<Pegasus::CIMObjectPath>& classNames, bool enable);
    /// Enables the provider if it has subscriptions and is not enabled.
    void enable();
    /// For a subscription that it accepted; disables the provider after its last one.
    void remove(const Subscription& subscription,
                const Pegasus::Array<Pegasus::CIMObjectPath>& classNames);
    /// Disables the provider if it is enabled.
    void stop();

    /// Copies an indication for each of the accepted subscriptions that it matches.
    void deliver(const Pegasus::CIMIndication& indication);

 private:
    class Handler;
    template <class Call>
    bool call(const Purpose& purpose, const Pegasus::CIMObjectPath& path, Call&& call);
    // How many subscriptions it matches.
    size_t distribute(const Pegasus::CIMIndication& indication);
    void enableHeld();
    void disableHeld();

    const Services& _services;
    LoadedProvider& _provider;
    Gate _changing;  // held by whoever changes what follows, during the provider's operations
    size_t _count = 0;
    std::vector<std::unique_ptr<Handler>> _handlers;  // the last one is in use while enabled
    bool _enabled = false;
    std::atomic<uint64_t>& _unmatched;
    std::mutex _lock;
    std::vector<std::shared_ptr<Subscription>> _accepted;
};

}  // namespace velmar_embedded

#endif
