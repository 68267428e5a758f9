// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/ParameterConversion.h"

#include <Pegasus/Common/Exception.h>

#include <optional>

#include "model/CIMText.h"
#include "model/CIMTypes.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

Array<String> textsOf(const CIMValue& value) {
    return withType(value.getType(), [&](auto type) {
        using T = typename decltype(type)::Type;
        Array<T> items;
        if (value.isArray()) {
            value.get(items);
        } else {
            T item{};
            value.get(item);
            items.append(item);
        }
        Array<String> texts;
        for (Uint32 i = 0; i < items.size(); i++) {
            texts.append(textOf(items[i]));
        }
        return texts;
    });
}

// Nothing if one of the texts does not fit the type.
std::optional<CIMValue> valueOf(const Array<String>& texts, CIMType type, bool isArray) {
    return withType(type, [&](auto tag) -> std::optional<CIMValue> {
        using T = typename decltype(tag)::Type;
        Array<T> items;
        for (Uint32 i = 0; i < texts.size(); i++) {
            const std::optional<T> item = parsed<T>(texts[i]);
            if (!item) {
                return std::nullopt;
            }
            items.append(*item);
        }
        return isArray ? CIMValue(items) : CIMValue(items[0]);
    });
}

}  // namespace

CIMValue typedValue(const String& parameterName, const CIMValue& value, CIMType type,
                    bool isArray) {
    if (value.isNull() && value.isArray() == isArray) {
        return CIMValue(type, isArray);
    }
    if (value.getType() == type || value.isArray() != isArray || type == CIMTYPE_OBJECT ||
        type == CIMTYPE_INSTANCE) {
        return value;
    }
    const std::optional<CIMValue> converted = valueOf(textsOf(value), type, isArray);
    if (!converted) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "parameter " + parameterName + ": \"" +
                                                          value.toString() + "\" is not a " +
                                                          cimTypeToString(type));
    }
    return *converted;
}

}  // namespace velmar_embedded
