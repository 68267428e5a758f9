// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the qualifiers of a class, property, method or parameter say (DMTF DSP0004). Feature is any
// of the object model's, constant or not.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_SCHEMA_QUALIFIED_H
#define VELMAR_EMBEDDED_SCHEMA_QUALIFIED_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>
#include <vector>

#include "model/Text.h"

namespace velmar_embedded {

/// A qualifier's value of that type; null where there is none.
template <class Feature>
Pegasus::CIMValue qualifierOf(const Feature& feature, const char* name, Pegasus::CIMType type,
                              bool isArray = false) {
    using Pegasus::Uint32;  // in PEG_NOT_FOUND
    const Uint32 index = feature.findQualifier(Pegasus::CIMName(name));
    if (index == PEG_NOT_FOUND) {
        return Pegasus::CIMValue();
    }
    const Pegasus::CIMValue& value = feature.getQualifier(index).getValue();
    return value.getType() == type && value.isArray() == isArray ? value : Pegasus::CIMValue();
}

/// `otherwise` where the qualifier is not there or null.
template <class Feature>
bool isTrue(const Feature& feature, const char* qualifier, bool otherwise = false) {
    Pegasus::Boolean result = otherwise;
    const Pegasus::CIMValue value = qualifierOf(feature, qualifier, Pegasus::CIMTYPE_BOOLEAN);
    if (!value.isNull()) {
        value.get(result);
    }
    return result;
}

/// Empty where the qualifier is not there or null.
template <class Feature>
std::string qualifierText(const Feature& feature, const char* qualifier) {
    Pegasus::String text;
    const Pegasus::CIMValue value = qualifierOf(feature, qualifier, Pegasus::CIMTYPE_STRING);
    if (!value.isNull()) {
        value.get(text);
    }
    return utf8(text);
}

/// The same of an array.
template <class Feature>
std::vector<std::string> qualifierTexts(const Feature& feature, const char* qualifier) {
    Pegasus::Array<Pegasus::String> texts;
    const Pegasus::CIMValue value = qualifierOf(feature, qualifier, Pegasus::CIMTYPE_STRING, true);
    if (!value.isNull()) {
        value.get(texts);
    }
    std::vector<std::string> result;
    for (Pegasus::Uint32 i = 0; i < texts.size(); i++) {
        result.push_back(utf8(texts[i]));
    }
    return result;
}

/// The type that values have: an embedded object or instance is declared as a string.
template <class Feature>
Pegasus::CIMType valueType(const Feature& feature) {
    const Pegasus::CIMType type = feature.getType();
    if (type == Pegasus::CIMTYPE_STRING && isTrue(feature, "EmbeddedObject")) {
        return Pegasus::CIMTYPE_OBJECT;
    }
    const bool isInstance =
        type == Pegasus::CIMTYPE_STRING && !qualifierText(feature, "EmbeddedInstance").empty();
    return isInstance ? Pegasus::CIMTYPE_INSTANCE : type;
}

}  // namespace velmar_embedded

#endif
