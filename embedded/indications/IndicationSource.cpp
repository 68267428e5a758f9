// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "indications/IndicationSource.h"

#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>

#include <algorithm>

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

/// What the provider is given to deliver to; a new one each time that it is enabled.
class IndicationSource::Handler : public IndicationResponseHandler {
 public:
    explicit Handler(IndicationSource& source) : _source(source) {}

    void processing() override {}
    void complete() override {}
    void deliver(const CIMIndication& indication) override { _source.deliver(indication); }
    void deliver(const Array<CIMIndication>& indications) override {
        for (Uint32 i = 0; i < indications.size(); i++) {
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
    IndicationSource& _source;
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
bool IndicationSource::call(const char* operation, const CIMObjectPath& path, Call&& call) {
    const auto failure = failureOf([&] {
        auto& provider = _provider.load<CIMIndicationProvider>(operation);
        const auto& observe = _services.observeCall;
        if (observe) {
            observe({operation, _provider.name(), path, false});
        }
        call(provider);
    });
    if (failure) {
        _services.problems.report("provider \"" + _provider.name() + "\": " + operation +
                                  " failed: " + std::string(failure->message.getCString()));
    }
    return !failure;
}

bool IndicationSource::create(const std::shared_ptr<Subscription>& subscription,
                              const Array<CIMObjectPath>& classNames, bool enable) {
    Gate::Pass pass(_changing, "createSubscription");
    Gate::Scope scope(pass.chain());
    const Uint16 noRepeatPolicy = 2;  // CIM_IndicationSubscription.RepeatNotificationPolicy "None"
    const bool accepted = call("createSubscription", subscription->path, [&](auto& provider) {
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
    if (_count == 0 || _handler) {
        return;
    }
    _handler = std::make_unique<Handler>(*this);
    call("enableIndications", CIMObjectPath(),
         [&](auto& provider) { provider.enableIndications(*_handler); });
}

// The handler goes at once: a provider that still delivers to it shows in the sanitizers.
void IndicationSource::disableHeld() {
    if (!_handler) {
        return;
    }
    call("disableIndications", CIMObjectPath(),
         [](auto& provider) { provider.disableIndications(); });
    _handler.reset();
}

void IndicationSource::remove(const Subscription& subscription,
                              const Array<CIMObjectPath>& classNames) {
    Gate::Pass pass(_changing, "deleteSubscription");
    Gate::Scope scope(pass.chain());
    call("deleteSubscription", subscription.path, [&](auto& provider) {
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
    Array<CIMName> classNames;
    // Of an unknown class or namespace it is of no use to anybody.
    failureOf(
        [&] { classNames = _services.repository.lineage(nameSpace, indication.getClassName()); });
    const CIMName* const classes = classNames.getData();
    for (const std::shared_ptr<Subscription>& subscription : accepted) {
        if (contains(classes, classes + classNames.size(), subscription->className) &&
            contains(subscription->nameSpaces.begin(), subscription->nameSpaces.end(), nameSpace)) {
            subscription->queue->push(indication.clone());
        } else {
            subscription->queue->noteUnmatched();
        }
    }
}

}  // namespace velmar_embedded
