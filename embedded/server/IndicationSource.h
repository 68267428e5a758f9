// An indication provider as a source of indications: its subscriptions, its handler.
//
// Thread-safe, except stop.
#ifndef VELMAR_EMBEDDED_INDICATION_SOURCE_H
#define VELMAR_EMBEDDED_INDICATION_SOURCE_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "server/Gate.h"
#include "server/IndicationQueue.h"
#include "server/Provider.h"
#include "server/Subscriptions.h"

namespace velmar_embedded {

/// A filter and its subscriber.
struct Subscription {
    std::string id;
    Pegasus::CIMName className;
    std::vector<Pegasus::CIMNamespaceName> nameSpaces;
    Pegasus::CIMObjectPath path;        ///< of the subscription instance, for providers
    Pegasus::OperationContext context;  ///< for providers
    std::shared_ptr<IndicationQueue> queue;
    /// Who accepted it, with the class paths that they were given. Set before it is active.
    std::vector<std::pair<IndicationSource*, Pegasus::Array<Pegasus::CIMObjectPath>>> accepted;
};

/// Thread-safe, except stop.
class IndicationSource {
 public:
    IndicationSource(Subscriptions& owner, Provider& provider);
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
    bool call(const char* operation, const Pegasus::CIMObjectPath& path, Call&& call);
    void enableHeld();
    void disableHeld();

    Subscriptions& _owner;
    Provider& _provider;
    Gate _changing;  // held by whoever changes what follows, during the provider's operations
    size_t _count = 0;
    std::unique_ptr<Handler> _handler;
    std::mutex _lock;
    std::vector<std::shared_ptr<Subscription>> _accepted;
};

}  // namespace velmar_embedded

#endif
