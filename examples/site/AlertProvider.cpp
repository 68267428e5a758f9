// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "AlertProvider.h"

#include <Common/Util.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMProperty.h>

using namespace Pegasus;

namespace site {

namespace {

// Counts the subscriptions to this module's alerts; a module with several alert classes can let
// them share one.
Uint32 subscriptions = 0;

void add(CIMInstance& inst, const char* name, const CIMValue& value) {
    inst.addProperty(CIMProperty(CIMName(name), value));
}

// Any client may call "send": a parameter of another type is left out.
void addParameter(CIMInstance& inst, const Array<CIMParamValue>& inParameters, const char* name,
                  CIMType type) {
    const CIMValue value = velmar_remote::findParam(inParameters, name);
    if (!value.isNull() && !value.isArray() && value.getType() == type) {
        add(inst, name, value);
    }
}

}  // namespace

AlertProvider::AlertProvider() : IndicationMethodProvider("QOR_SiteAlert", &subscriptions) {}

Boolean AlertProvider::generateIndication(const OperationContext& context, CIMInstance& inst,
                                          const Array<CIMParamValue>& inParameters) {
    const Uint16 DEVICE_ALERT = 5;      // CIM_AlertIndication.AlertType
    const Uint16 OBJECT_PATH_TEXT = 2;  // CIM_AlertIndication.AlertingElementFormat
    addParameter(inst, inParameters, "PerceivedSeverity", CIMTYPE_UINT16);
    addParameter(inst, inParameters, "Description", CIMTYPE_STRING);
    add(inst, "AlertType", CIMValue(DEVICE_ALERT));
    add(inst, "AlertingElementFormat", CIMValue(OBJECT_PATH_TEXT));
    add(inst, "EventTime", CIMValue(CIMDateTime::getCurrentDateTime()));
    add(inst, "ProviderName", CIMValue(String("SiteAlerts")));
    return IndicationMethodProvider::generateIndication(context, inst, inParameters);
}

}  // namespace site
