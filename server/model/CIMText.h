// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Values of the CIM types as text, and back.
#ifndef VELMAR_EMBEDDED_MODEL_CIMTEXT_H
#define VELMAR_EMBEDDED_MODEL_CIMTEXT_H

#include <charconv>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

#include "model/CIMNumber.h"
#include "model/CIMTypes.h"

namespace Pegasus {

/// As CIMValue::toString has it.
template <class T>
String textOf(const T& x) {
    if constexpr (std::is_same_v<T, Boolean>) {
        return x ? "TRUE" : "FALSE";
    } else if constexpr (std::is_floating_point_v<T>) {
        return numberText(Real64(x));
    } else if constexpr (std::is_integral_v<T>) {
        return numberText(std::conditional_t<std::is_signed_v<T>, Sint64, Uint64>(x));
    } else if constexpr (std::is_same_v<T, Char16>) {
        return String(&x, 1);
    } else if constexpr (std::is_same_v<T, String>) {
        return x;
    } else if constexpr (std::is_same_v<T, CIMInstance>) {
        return CIMObject(x).toString();
    } else {
        return x.toString();
    }
}

/// The value that the whole text stands for; nothing if it stands for none that fits the type.
/// Booleans in any letter case, numbers as in keys, reals in any locale; objects from no text.
template <class T>
std::optional<T> parsed(const String& text) {
    if constexpr (std::is_same_v<T, Boolean>) {
        const bool isTrue = String::equalNoCase(text, "true");
        return isTrue || String::equalNoCase(text, "false") ? std::optional(isTrue) : std::nullopt;
    } else if constexpr (std::is_floating_point_v<T>) {
        const std::string all(text.getCString());
        const char* const end = all.data() + all.size();
        T number = 0;
        const auto result = std::from_chars(all.data(), end, number);
        return result.ec == std::errc() && result.ptr == end ? std::optional(number) : std::nullopt;
    } else if constexpr (std::is_integral_v<T>) {
        std::conditional_t<std::is_signed_v<T>, Sint64, Uint64> number = 0;
        bool valid = false;
        if constexpr (std::is_signed_v<T>) {
            valid = parseSigned(text, number) && number >= std::numeric_limits<T>::min();
        } else {
            valid = parseUnsigned(text, number);
        }
        return valid && number <= std::numeric_limits<T>::max() ? std::optional(T(number))
                                                                : std::nullopt;
    } else if constexpr (std::is_same_v<T, Char16>) {
        return text.size() == 1 ? std::optional(text[0]) : std::nullopt;
    } else if constexpr (std::is_same_v<T, String>) {
        return text;
    } else if constexpr (isObjectType<T>) {
        return std::nullopt;
    } else {
        try {
            return T(text);
        } catch (const Exception&) {
            return std::nullopt;
        }
    }
}

}  // namespace Pegasus

#endif
