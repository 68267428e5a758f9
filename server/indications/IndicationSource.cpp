// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "indications/IndicationSource.h"

#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <algorithm>
#include <condition_variable>

#include "requests/Collectors.h"
#include "requests/Dispatch.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

template <class Iterator, class T>
bool contains(Iterator begin, Iterator end, const T& wanted) {
    return std::find(begin, end, wanted) != end;
}

}  // namespace

/// What the provider is given to deliver to; a new one each time that it is enabled. A real server
/// deletes it once disableIndications has returned, and a delivery that still runs or comes later
/// ends the process. Here the handler stays, so that the provider's fault can be told.
class IndicationSource::Handler : public IndicationResponseHandler {
 public:
    explicit Handler(IndicationSource& source) : _source(source) {}
    ~Handler() override {
        std::unique_lock<std::mutex> guard(_lock);
        _left.wait(guard, [this] { return _running == 0; });
    }

    /// After the provider's disableIndications has returned.
    void end() {
        std::unique_lock<std::mutex> guard(_lock);
        _ended = true;
        if (_running > 0) {
            guard.unlock();
            blame("disableIndications returned during a delivery");
        }
    }

    void processing() override {}
    void complete() override {}
    void deliver(const CIMIndication& indication) override {
        const Delivery delivery(*this);
        if (delivery.admitted) {
            _source.deliver(indication);
        }
    }
    void deliver(const Array<CIMIndication>& indications) override {
        const Delivery delivery(*this);
        for (Uint32 i = 0; delivery.admitted && i < indications.size(); i++) {
            _source.deliver(indications[i]);
        }
    }
    void deliver(const OperationContext&, const CIMIndication& indication) override {
        deliver(indication);
    }
    void deliver(const OperationContext&, const Array<CIMIndication>& indications) override {
        deliver(indications);
    }

 private:
    // A running call of deliver.
    struct Delivery {
        explicit Delivery(Handler& handler) : _handler(handler), admitted(handler.enter()) {}
        ~Delivery() { _handler.leave(); }
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;

        Handler& _handler;
        const bool admitted;
    };

    bool enter() {
        std::unique_lock<std::mutex> guard(_lock);
        _running++;
        if (!_ended) {
            return true;
        }
        const bool first = !_late;
        _late = true;
        guard.unlock();
        _source._unmatched++;
        if (first) {
            blame("an indication was delivered after disableIndications had returned");
        }
        return false;
    }
    void leave() {
        std::lock_guard<std::mutex> guard(_lock);
        if (--_running == 0) {
            _left.notify_all();
        }
    }
    void blame(const char* fault) {
        _source._services.notices.problem(_source._provider.title() + ": " + fault +
                                          ", which ends a real server's process");
    }

    IndicationSource& _source;
    std::mutex _lock;
    std::condition_variable _left;
    size_t _running = 0;
    bool _ended = false;
    bool _late = false;  // somebody has delivered after the end
};

IndicationSource::IndicationSource(const Services& services, LoadedProvider& provider,
                                   std::atomic<uint64_t>& unmatched)
    : _services(services),
      _provider(provider),
      _changing("the change of the subscriptions of provider \"" + provider.name() + "\""),
      _unmatched(unmatched) {}

IndicationSource::~IndicationSource() = default;

// Whether the provider did it; why not is reported.
template <class Call>
bool IndicationSource::call(const Purpose& purpose, const CIMObjectPath& path, Call&& call) {
    const RunningCalls::Scope running(_services.running, purpose, _provider.title());
    try {
        auto& provider = _provider.load<CIMIndicationProvider>(purpose);
        asStep(
            _services.notices,
            [&] {
                return Step{Step::Kind::Call, purpose.operation, _provider.name(), "", path, ""};
            },
            [&] {
                const Course::Scope following(Course::current().into(_provider.name()));
                call(provider);
                return 0;
            });
        return true;
    } catch (...) {
        _services.notices.problem(_provider.title() + ": " + purpose.text() +
                                  " failed: " + describeCurrentException());
        return false;
    }
}

bool IndicationSource::create(const std::shared_ptr<Subscription>& subscription,
                              const Array<CIMObjectPath>& classNames, bool enable) {
    Gate::Pass pass(_changing, "createSubscription");
    Gate::Scope scope(pass.chain());
    const Uint16 noRepeatPolicy = 2;  // CIM_IndicationSubscription.RepeatNotificationPolicy "None"
    const bool accepted = call(
        {"createSubscription", &subscription->className}, subscription->path, [&](auto& provider) {
            _count++;  // it counts once the provider is loaded, whatever it says
            provider.createSubscription(subscription->context, subscription->path, classNames,
                                        CIMPropertyList(), noRepeatPolicy);
        });
    if (accepted) {
        std::lock_guard<std::mutex> guard(_lock);
        _accepted.push_back(subscription);
    }
    if (enable) {
        enableHeld();
    }
    return accepted;
}

void IndicationSource::enable() {
    Gate::Pass pass(_changing, "enableIndications");
    Gate::Scope scope(pass.chain());
    enableHeld();
}

void IndicationSource::enableHeld() {
    if (_count == 0 || _enabled) {
        return;
    }
    _enabled = true;
    _handlers.push_back(std::make_unique<Handler>(*this));
    call({"enableIndications"}, CIMObjectPath(),
         [&](auto& provider) { provider.enableIndications(*_handlers.back()); });
}

void IndicationSource::disableHeld() {
    if (!_enabled) {
        return;
    }
    call({"disableIndications"}, CIMObjectPath(),
         [](auto& provider) { provider.disableIndications(); });
    _enabled = false;
    _handlers.back()->end();
}

void IndicationSource::remove(const Subscription& subscription,
                              const Array<CIMObjectPath>& classNames) {
    Gate::Pass pass(_changing, "deleteSubscription");
    Gate::Scope scope(pass.chain());
    call({"deleteSubscription", &subscription.className}, subscription.path, [&](auto& provider) {
        provider.deleteSubscription(subscription.context, subscription.path, classNames);
    });
    if (--_count == 0) {
        disableHeld();
    }
    std::lock_guard<std::mutex> guard(_lock);
    _accepted.erase(std::find_if(_accepted.begin(), _accepted.end(), [&](const auto& accepted) {
        return accepted.get() == &subscription;
    }));
}

void IndicationSource::stop() { disableHeld(); }

void IndicationSource::deliver(const CIMIndication& indication) {
    unsigned copies = 1;
    asStep(
        _services.notices,
        [&] {
            const Step step =
                IndicationQueue::stepOf(Step::Kind::Indication, _provider.name(), indication);
            copies = _services.notices.faults.copiesOf(step);
            return step;
        },
        [&] {
            size_t matching = 0;
            for (; copies > 0; copies--) {
                matching += distribute(indication);
            }
            return matching;
        });
}

size_t IndicationSource::distribute(const CIMIndication& indication) {
    if (_services.checks.areOn()) {
        _services.checks.checkIndication(_provider.name(), indication);
    }
    checkDelivered(indication);
    std::vector<std::shared_ptr<Subscription>> accepted;
    {
        std::lock_guard<std::mutex> guard(_lock);
        accepted = _accepted;
    }
    if (accepted.empty()) {
        _unmatched++;
    }
    const CIMNamespaceName nameSpace = indication.getPath().getNameSpace();
    // What is of an unknown class or namespace is of no use to anybody.
    const auto lineage = [&](const CIMName& className) {
        Array<CIMName> names;
        failureOf([&] { names = _services.repository.lineage(nameSpace, className); });
        return names;
    };
    const auto isAmong = [](const Array<CIMName>& names, const CIMName& wanted) {
        return contains(names.getData(), names.getData() + names.size(), wanted);
    };
    const Query::IsA isA = [&](const CIMName& className, const CIMName& wanted) {
        return isAmong(lineage(className), wanted);
    };
    const Array<CIMName> classNames = lineage(indication.getClassName());
    size_t matching = 0;
    for (const std::shared_ptr<Subscription>& subscription : accepted) {
        if (isAmong(classNames, subscription->className) &&
            contains(subscription->nameSpaces.begin(), subscription->nameSpaces.end(), nameSpace) &&
            subscription->query->matches(indication, isA)) {
            subscription->queue->push(indication.clone());
            matching++;
        } else {
            subscription->queue->noteUnmatched();
        }
    }
    return matching;
}

}  // namespace velmar_embedded
