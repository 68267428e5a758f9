// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The object model's texts as std::string, which holds UTF-8, and letter case.
//
// Keeps no state, thread-safe.
#ifndef VELMAR_EMBEDDED_MODEL_TEXT_H
#define VELMAR_EMBEDDED_MODEL_TEXT_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/String.h>

#include <algorithm>
#include <string>

namespace velmar_embedded {

inline std::string utf8(const Pegasus::String& text) { return std::string(text.getCString()); }
inline std::string utf8(const Pegasus::CIMName& name) { return utf8(name.getString()); }
inline std::string utf8(const Pegasus::CIMNamespaceName& name) { return utf8(name.getString()); }
inline std::string utf8(const Pegasus::CIMObjectPath& path) { return utf8(path.toString()); }

/// The path with its class and keys alone.
inline Pegasus::CIMObjectPath withoutPlace(const Pegasus::CIMObjectPath& path) {
    return Pegasus::CIMObjectPath(Pegasus::String(), Pegasus::CIMNamespaceName(),
                                  path.getClassName(), path.getKeyBindings());
}

/// Letters of ASCII in lower case.
inline std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    });
    return text;
}

}  // namespace velmar_embedded

#endif
