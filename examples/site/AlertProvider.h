// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// IndicationMethodProvider by hand: turns calls of "send" (see velmar_remote::sendIndication) into
// alerts of class QOR_SiteAlert.
#ifndef SITE_ALERTPROVIDER_H
#define SITE_ALERTPROVIDER_H

#include <Common/IndicationMethodProvider.h>

namespace site {

class AlertProvider : public velmar_remote::IndicationMethodProvider {
 public:
    AlertProvider();

 protected:
    /// Adds what the caller of "send" says, then lets the base class add what the CIM model knows.
    Pegasus::Boolean generateIndication(
        const Pegasus::OperationContext& context, Pegasus::CIMInstance& inst,
        const Pegasus::Array<Pegasus::CIMParamValue>& inParameters) override;
};

}  // namespace site

#endif
