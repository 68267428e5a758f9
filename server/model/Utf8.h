// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
#ifndef VELMAR_EMBEDDED_MODEL_UTF8_H
#define VELMAR_EMBEDDED_MODEL_UTF8_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/String.h>

#include <string>

namespace velmar_embedded {

inline std::string utf8(const Pegasus::String& text) { return std::string(text.getCString()); }
inline std::string utf8(const Pegasus::CIMName& name) { return utf8(name.getString()); }

}  // namespace velmar_embedded

#endif
