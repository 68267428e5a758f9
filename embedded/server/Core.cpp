#include "server/Core.h"

#include <stdexcept>
#include <utility>

#include "server/Channel.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

std::mutex startedLock;
std::weak_ptr<Core> startedCore;

}  // namespace

void Pending::finish(Answer answer, std::optional<Failure> failure) {
    std::lock_guard<std::mutex> guard(_lock);
    _answer = std::move(answer);
    _failure = std::move(failure);
    _finished = true;
    _changed.notify_all();
}

bool Pending::wait(std::optional<std::chrono::milliseconds> time) {
    std::unique_lock<std::mutex> guard(_lock);
    auto finished = [this] { return _finished; };
    if (time)
        return _changed.wait_for(guard, *time, finished);
    _changed.wait(guard, finished);
    return true;
}

Core::Core()
    : _registrar(_schema, _registry, [this](const std::string& name) { return makeHandle(name); }),
      _services{_schema, _registry, _workers, nullptr},
      _subscriptions(_services) {}

Core::~Core() = default;

std::shared_ptr<Core> Core::started() {
    std::lock_guard<std::mutex> guard(startedLock);
    return startedCore.lock();
}

void Core::start() {
    {
        std::lock_guard<std::mutex> guard(startedLock);
        if (startedCore.lock())
            throw std::logic_error("a server is started in this process already");
        std::lock_guard<std::mutex> stateGuard(_lock);
        if (_state != State::Prepared)
            throw std::logic_error("a stopped server cannot be started again");
        _state = State::Running;
        startedCore = weak_from_this();
    }
    complete([this] { _subscriptions.createStored(); });
}

void Core::stop() {
    {
        std::lock_guard<std::mutex> guard(startedLock);
        if (startedCore.lock().get() == this)
            startedCore.reset();
    }
    {
        std::unique_lock<std::mutex> guard(_lock);
        if (_state != State::Running)
            return;
        _state = State::Draining;
        _left.wait(guard, [this] { return _running == 0; });
        _state = State::Stopped;
    }
    _subscriptions.stop();
    _workers.stop();
    _registry.clear();
    _registrar.closeModules();
}

bool Core::enter(bool fromHandle) {
    std::lock_guard<std::mutex> guard(_lock);
    if (_state != State::Running && !(_state == State::Draining && fromHandle && _running > 0))
        return false;
    _running++;
    return true;
}

void Core::leave() {
    std::lock_guard<std::mutex> guard(_lock);
    if (--_running == 0)
        _left.notify_all();
}

std::shared_ptr<Pending> Core::submit(std::shared_ptr<const Request> request, Gate::Chain chain) {
    if (_observeArrival)
        _observeArrival({operationName(request->operation), request->path, request->fromHandle});
    return run(request->fromHandle, chain, [this, request] { return serve(_services, *request); });
}

std::shared_ptr<Pending> Core::run(bool fromHandle, Gate::Chain chain,
                                   std::function<Answer()> work) {
    if (!enter(fromHandle))
        throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN,
                           String("the server is shutting down or was stopped"));
    auto pending = std::make_shared<Pending>();
    try {
        _workers.run([this, pending, chain, work = std::move(work)] {
            Gate::Scope scope(chain);
            Answer answer;
            auto failure = failureOf([&] { answer = work(); });
            pending->finish(std::move(answer), std::move(failure));
            leave();
        });
    } catch (const std::exception& e) {
        leave();
        throw Failure::ofCurrentException().exception();
    }
    return pending;
}

// Waits for the outcome of work on a worker.
void Core::complete(const std::function<void()>& work) {
    const std::shared_ptr<Pending> pending = run(false, Gate::chain(), [&work] {
        work();
        return Answer();
    });
    pending->wait(std::nullopt);
    if (pending->failure())
        throw pending->failure()->exception();
}

std::string Core::subscribe(const std::string& query, const std::vector<std::string>& nameSpaces,
                            IndicationQueue::Deliver subscriber, size_t capacity) {
    const std::shared_ptr<Subscription> subscription =
        _subscriptions.prepare(query, nameSpaces, std::move(subscriber), capacity);
    {
        std::lock_guard<std::mutex> guard(_lock);
        if (_state == State::Prepared) {
            _subscriptions.store(subscription);
            return Subscriptions::idOf(*subscription);
        }
    }
    complete([&] { _subscriptions.create(subscription); });
    return Subscriptions::idOf(*subscription);
}

void Core::unsubscribe(const std::string& id) {
    if (_subscriptions.removeStored(id))
        return;
    std::shared_ptr<Subscription> removed;
    complete([&] { removed = _subscriptions.remove(id); });
    _subscriptions.close(removed);  // on this thread, which may be in a subscriber
}

CIMOMHandle Core::makeHandle(const std::string& providerName) {
    return CIMOMHandle(std::make_shared<ServerChannel>(weak_from_this(), providerName));
}

void Core::observeCalls(std::function<void(const ProviderCall&)> observer) {
    _services.observeCall = std::move(observer);
}

void Core::observeArrivals(std::function<void(const Arrival&)> observer) {
    _observeArrival = std::move(observer);
}

}  // namespace velmar_embedded
