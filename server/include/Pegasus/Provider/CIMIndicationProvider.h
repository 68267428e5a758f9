// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The interface of a provider that raises indications.
//
// The handler given to enableIndications may be used from any thread until disableIndications has
// returned; no delivery may be running then.
#ifndef Pegasus_CIMIndicationProvider_h
#define Pegasus_CIMIndicationProvider_h

#include <Pegasus/Common/CIMIndication.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/CIMProvider.h>

namespace Pegasus {

class CIMIndicationProvider : public virtual CIMProvider {
 public:
    CIMIndicationProvider();
    virtual ~CIMIndicationProvider();

    virtual void enableIndications(IndicationResponseHandler& handler) = 0;
    virtual void disableIndications() = 0;

    virtual void createSubscription(const OperationContext& context,
                                    const CIMObjectPath& subscriptionName,
                                    const Array<CIMObjectPath>& classNames,
                                    const CIMPropertyList& propertyList,
                                    const Uint16 repeatNotificationPolicy) = 0;
    virtual void modifySubscription(const OperationContext& context,
                                    const CIMObjectPath& subscriptionName,
                                    const Array<CIMObjectPath>& classNames,
                                    const CIMPropertyList& propertyList,
                                    const Uint16 repeatNotificationPolicy) = 0;
    virtual void deleteSubscription(const OperationContext& context,
                                    const CIMObjectPath& subscriptionName,
                                    const Array<CIMObjectPath>& classNames) = 0;
};

}  // namespace Pegasus

#endif
