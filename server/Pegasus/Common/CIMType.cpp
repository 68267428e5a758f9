// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMType.h>

namespace Pegasus {

const char* cimTypeToString(const CIMType type) {
    static const char* const names[] = {"boolean", "uint8",   "sint8",  "uint16",   "sint16",
                                        "uint32",  "sint32",  "uint64", "sint64",   "real32",
                                        "real64",  "char16",  "string", "datetime", "reference",
                                        "object",  "instance"};
    return Uint32(type) < sizeof(names) / sizeof(names[0]) ? names[type] : "unknown type";
}

}  // namespace Pegasus
