// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "check/Samples.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include "requests/ParameterConversion.h"

using namespace Pegasus;
using velmar_checks::Declared;

namespace velmar_driver {

namespace {

const char* textOf(CIMType type) {
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return "TRUE";
        case CIMTYPE_CHAR16:
            return "v";
        case CIMTYPE_STRING:
            return "velmar check";
        case CIMTYPE_DATETIME:
            return "20250101120000.000000+000";
        default:
            return "1";
    }
}

CIMValue fromText(const Declared& declared, const std::string& text) {
    const String one(text.c_str());
    const CIMValue value = declared.isArray ? CIMValue(Array<String>(&one, 1)) : CIMValue(one);
    return velmar_embedded::typedValue(declared.name.getString(), value, declared.type,
                                       declared.isArray);
}

CIMValue existingPath(Session& session, const Declared& declared) {
    const CIMNamespaceName& ns = session.about.nameSpace;
    Array<CIMObjectPath> names;
    session.call("enumerateInstanceNames", [&] {
        names = session.client.enumerateInstanceNames(ns, declared.referenceClass);
    });
    if (names.size() == 0) {
        return CIMValue(CIMTYPE_REFERENCE, declared.isArray);
    }
    names[0].setNameSpace(ns);
    names[0].setHost(System::getHostName());
    return declared.isArray ? CIMValue(Array<CIMObjectPath>(&names[0], 1)) : CIMValue(names[0]);
}

}  // namespace

CIMValue sample(Session& session, const Declared& declared) {
    if (declared.type == CIMTYPE_REFERENCE) {
        return existingPath(session, declared);
    }
    if (declared.isEmbedded() || declared.type == CIMTYPE_OBJECT ||
        declared.type == CIMTYPE_INSTANCE) {
        return CIMValue(declared.type, declared.isArray);
    }
    for (const std::string& entry : declared.valueMap) {
        try {
            return fromText(declared, entry.substr(0, entry.find("..")));  // of a range its begin
        } catch (const CIMException&) {                                    // a range without one
        }
    }
    return fromText(declared, textOf(declared.type));
}

std::optional<Array<CIMParamValue>> sampleParameters(Session& session,
                                                     const velmar_checks::MethodFacts& method) {
    Array<CIMParamValue> parameters;
    for (const Declared& declared : method.parameters) {
        if (!declared.isIn) {
            continue;
        }
        const CIMValue value = sample(session, declared);
        if (value.isNull() && declared.isRequired) {
            return std::nullopt;
        }
        parameters.append(CIMParamValue(declared.name.getString(), value));
    }
    return parameters;
}

}  // namespace velmar_driver
