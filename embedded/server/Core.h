// The running server behind Server, CIMClient and CIMOMHandle: admits requests, runs them on
// workers, and hands their answers over.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_CORE_H
#define VELMAR_EMBEDDED_CORE_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "server/Dispatch.h"
#include "server/Gate.h"
#include "server/Registrar.h"
#include "server/Registry.h"
#include "server/Request.h"
#include "server/Schema.h"
#include "server/Server.h"
#include "server/Subscriptions.h"
#include "server/WorkerPool.h"

namespace velmar_embedded {

/// The outcome of a submitted request, which its caller may have stopped waiting for.
class Pending {
 public:
    void finish(Answer answer, std::optional<Failure> failure);

    /// Waits for the outcome, for ever without a time; false when the time ran out. After true the
    /// outcome belongs to the caller.
    bool wait(std::optional<std::chrono::milliseconds> time);
    Answer& answer() { return _answer; }
    const std::optional<Failure>& failure() const { return _failure; }

 private:
    std::mutex _lock;
    std::condition_variable _changed;
    bool _finished = false;
    Answer _answer;
    std::optional<Failure> _failure;
};

class Core : public std::enable_shared_from_this<Core> {
 public:
    Core();
    ~Core();
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;

    /// The one that connectLocal reaches, if any.
    static std::shared_ptr<Core> started();
    /// As for Server.
    void start();
    void stop();

    /// Hands a request to a worker. `chain` are the gates that the caller holds until the answer
    /// is there. Throws CIMException: CIM_ERR_SERVER_IS_SHUTTING_DOWN when the server takes no
    /// more, though the operations that still run may make upcalls.
    std::shared_ptr<Pending> submit(std::shared_ptr<const Request> request,
                                    Gate::Chain chain = nullptr);

    /// As for Server.
    std::string subscribe(const std::string& query, const std::vector<std::string>& nameSpaces,
                          IndicationQueue::Deliver subscriber, size_t capacity);
    void unsubscribe(const std::string& id);

    /// The handle for a provider's initialize.
    Pegasus::CIMOMHandle makeHandle(const std::string& providerName);

    Schema& schema() { return _schema; }
    Registry& registry() { return _registry; }
    Registrar& registrar() { return _registrar; }
    Subscriptions& subscriptions() { return _subscriptions; }
    void observeCalls(std::function<void(const ProviderCall&)> observer);
    void observeArrivals(std::function<void(const Arrival&)> observer);

 private:
    enum class State { Prepared, Running, Draining, Stopped };

    std::shared_ptr<Pending> run(bool fromHandle, Gate::Chain chain, std::function<Answer()> work);
    void complete(const std::function<void()>& work);
    bool enter(bool fromHandle);
    void leave();

    Schema _schema;
    Registry _registry;
    Registrar _registrar;
    WorkerPool _workers;
    Services _services;
    Subscriptions _subscriptions;
    std::function<void(const Arrival&)> _observeArrival;
    std::mutex _lock;
    std::condition_variable _left;
    State _state = State::Prepared;
    size_t _running = 0;
};

}  // namespace velmar_embedded

#endif
