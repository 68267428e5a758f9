// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Base class of alert-indication providers: one object serves one indication class, both as its
// indication provider and as the provider of its method "send".
//
// A call of "send" (see sendIndication) becomes one indication, which is enriched from the CIM
// model, completed with null values and delivered to the CIM server for its subscribers. Create the
// object with new: terminate, which the CIM server calls last, deletes it.
//
// Thread-safe: the CIM server may run any number of "send" calls while subscriptions come and go.
// Once disableIndications has returned, no delivery runs or starts on the handler, which the CIM
// server then deletes. A handler may itself disable this object: its own delivery goes on, so it
// must live until that ends. An alert raised inside the fillProperties of the alerting system
// stalls until the client's time-out, since enrichment asks for that system.
#ifndef VELMAR_REMOTE_COMMON_INDICATIONMETHODPROVIDER_H
#define VELMAR_REMOTE_COMMON_INDICATIONMETHODPROVIDER_H

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include "Config.h"

namespace velmar_remote {

/// Serves one class of alerts: turns calls of "send" into indications for the subscribers.
class IndicationMethodProvider : public Pegasus::CIMIndicationProvider,
                                 public Pegasus::CIMMethodProvider {
 public:
    /// Leaves `_CIMClassName` empty and counts nothing; the derived class sets the name before the
    /// first "send".
    IndicationMethodProvider();
    /// `numSubscriptions` (may be null) counts subscriptions, possibly of several providers; its
    /// creator owns it, keeps it alive and reads it with an atomic load.
    IndicationMethodProvider(const Pegasus::String& CIMClassName, Uint32* numSubscriptions);
    ~IndicationMethodProvider() override;

    /// Keeps a copy of the handle and forbids unloading the provider.
    void initialize(Pegasus::CIMOMHandle& cimom) override;
    /// Deletes this object.
    void terminate() override;

    /// Stores the address of the handler, which stays the CIM server's, and enables.
    void enableIndications(Pegasus::IndicationResponseHandler& handler) override;
    /// Disables, waits for running deliveries, then completes the stored handler, if there is one.
    /// Called inside a delivery, it does not wait for those of the same thread.
    void disableIndications() override;
    /// Adds 1 to the subscription counter; enables nothing.
    void createSubscription(const Pegasus::OperationContext& context,
                            const Pegasus::CIMObjectPath& subscriptionName,
                            const Pegasus::Array<Pegasus::CIMObjectPath>& classNames,
                            const Pegasus::CIMPropertyList& propertyList,
                            const Uint16 repeatNotificationPolicy) override;
    /// Does nothing.
    void modifySubscription(const Pegasus::OperationContext& context,
                            const Pegasus::CIMObjectPath& subscriptionName,
                            const Pegasus::Array<Pegasus::CIMObjectPath>& classNames,
                            const Pegasus::CIMPropertyList& propertyList,
                            const Uint16 repeatNotificationPolicy) override;
    /// Subtracts 1 from the subscription counter (0 stays 0) and disables this object when it is
    /// then 0.
    void deleteSubscription(const Pegasus::OperationContext& context,
                            const Pegasus::CIMObjectPath& subscriptionName,
                            const Pegasus::Array<Pegasus::CIMObjectPath>& classNames) override;

    /// Serves "send" (case ignored; any other name: CIM_ERR_METHOD_NOT_FOUND with the name).
    /// Returns sint32 0 while disabled; else 1, and only then builds and delivers the indication.
    /// An exception on the way replaces the caller's 1 (status 4 for a system in no domain, 6 for a
    /// partition that cannot be found, 1 for any other exception); the identifier taken is not
    /// used again.
    void invokeMethod(const Pegasus::OperationContext& context,
                      const Pegasus::CIMObjectPath& objectReference,
                      const Pegasus::CIMName& methodName,
                      const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                      Pegasus::MethodResultResponseHandler& handler) override;

 protected:
    /// Hook: adds properties to the indication; false drops it. The default adds the alerting
    /// element (as a reference, also where the class declares a string), its sender's UUID and
    /// either the package's type, model and serial number with the partition number (computer
    /// systems) or the element's UUID (any other), each unless the instance has it already, and
    /// returns true. An override sets its own properties and then calls it.
    virtual Boolean generateIndication(const Pegasus::OperationContext& context,
                                       Pegasus::CIMInstance& inst,
                                       const Pegasus::Array<Pegasus::CIMParamValue>& inParameters);

    Pegasus::CIMOMHandle _cimom;                   ///< for upcalls
    Pegasus::IndicationResponseHandler* _handler;  ///< the CIM server's; null until enabled first
    Pegasus::String _CIMClassName;                 ///< the indication class served
    Boolean _enabled;                              ///< read and written atomically
    static Uint32 _ID;                             ///< the process's next indication identifier
    Uint32* _numSubscriptions;                     ///< not owned; null: nothing is counted
};

}  // namespace velmar_remote

#endif
