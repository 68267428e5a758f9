// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Alerts with types: raising one, and the provider that delivers them.
#ifndef VELMAR_TYPED_ALERTS_H
#define VELMAR_TYPED_ALERTS_H

#include <Common/IndicationMethodProvider.h>
#include <Common/Util.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include <type_traits>
#include <utility>

#include "Values.h"

namespace velmar_typed {
inline namespace v1 {

/// Does what asks the CIM server. Returns false where no server answers, and while it shuts down;
/// other exceptions pass through.
template <class Action>
bool reachesServer(Action&& action) {
    try {
        action();
        return true;
    } catch (const Pegasus::CannotConnectException&) {
    } catch (const Pegasus::NotConnectedException&) {
    } catch (const Pegasus::CIMException& error) {
        if (error.getCode() != 28) {  // CIM_ERR_SERVER_IS_SHUTTING_DOWN of DMTF DSP0200
            throw;
        }
    }
    return false;
}

/// Whether alerts of the class have those properties, as CIM_AlertIndication has.
template <class Alert, class = void>
constexpr bool hasEvent = false;
template <class Alert>
constexpr bool hasEvent<
    Alert,
    std::enable_if_t<
        std::is_assignable_v<decltype((std::declval<Alert&>().EventTime)), Pegasus::CIMDateTime> &&
        std::is_assignable_v<decltype((std::declval<Alert&>().AlertingElementFormat)),
                             Pegasus::Uint16>>> = true;

/// Raises an alert about an element: an object that has a path, or a path. EventTime is now, and
/// AlertingElementFormat a CIM object path, unless they are set. Returns false, and the alert is
/// lost, where no CIM server answers and while it shuts down. Throws CIMException where no provider
/// serves the alert. Not with a mutex held that the element's provider takes, nor in refresh.
template <class Alert>
bool raise(const Alert& alert, const AnyPath& element) {
    Alert whole = alert;
    if constexpr (hasEvent<Alert>) {
        if (whole.EventTime.isNull()) {
            whole.EventTime = Pegasus::CIMDateTime::getCurrentDateTime();
        }
        if (whole.AlertingElementFormat.isNull()) {
            whole.AlertingElementFormat = Pegasus::Uint16(2);  // CIMObjectPath
        }
    }
    Pegasus::Array<Pegasus::CIMParamValue> parameters = whole.parameters();
    return reachesServer([&] {
        Pegasus::CIMOMHandle cimom;  // which the library does not look at
        velmar_remote::sendIndication(cimom, Pegasus::OperationContext(), element.object(),
                                      Alert::className(), parameters);
    });
}
template <class Alert, class Element, class = typename Element::Keys>
bool raise(const Alert& alert, const Element& element) {
    return raise(alert, element.path());
}

/// What each generated base has: an initialize that cannot be forgotten.
template <class Base>
class Populated : public Base {
 public:
    using Base::Base;
    using IsPopulated = void;

    /// Override populate() instead.
    void initialize(Pegasus::CIMOMHandle& cimom) final {
        beginning();
        Base::initialize(cimom);
        populate();
        begun();
    }

 protected:
    /// Hook: adds what there is. Called once, before the first request. If it throws, the server
    /// retries.
    virtual void populate() {}

 private:
    // For make().
    virtual void beginning() {}
    virtual void begun() {}
};

/// The provider of alerts of class T. ENRICHED: with what the library finds in the CIM model.
template <class T, bool ENRICHED>
class AlertProvider : public Populated<velmar_remote::IndicationMethodProvider> {
 public:
    AlertProvider() : Populated(T::className().getString(), nullptr) {}

 protected:
    /// As velmar_typed::raise; of this class or another. Not in prepare.
    template <class Alert, class Element>
    bool raise(const Alert& alert, const Element& element) {
        return velmar_typed::raise(alert, element);
    }

    /// Hook: sets what the sender has not; false drops the alert.
    virtual bool prepare(const Pegasus::OperationContext&, T&) { return true; }

    Pegasus::Boolean generateIndication(
        const Pegasus::OperationContext& context, Pegasus::CIMInstance& instance,
        const Pegasus::Array<Pegasus::CIMParamValue>& inParameters) override {
        T alert;
        for (Pegasus::Uint32 i = 0; i < inParameters.size(); i++) {
            alert.take(inParameters[i].getParameterName(), inParameters[i].getValue());
        }
        if (!prepare(context, alert)) {
            return false;
        }
        alert.addTo(instance);
        return !ENRICHED ||
               IndicationMethodProvider::generateIndication(context, instance, inParameters);
    }
};

}  // namespace v1
}  // namespace velmar_typed

#endif
