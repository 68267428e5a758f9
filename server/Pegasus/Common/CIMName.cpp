// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Exception.h>

namespace Pegasus {

namespace {

Boolean startsName(Uint16 c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           (c >= 0x80 && c <= 0xFFEF);
}

Boolean legalName(const Char16* p, const Char16* end) {
    if (p == end || !startsName(*p)) {
        return false;
    }
    while (++p != end) {
        const Uint16 c = *p;
        if (!startsName(c) && !(c >= '0' && c <= '9')) {
            return false;
        }
    }
    return true;
}

const String& checkedName(const String& name) {
    if (!CIMName::legal(name)) {
        throw InvalidNameException(name);
    }
    return name;
}

String checkedNamespace(const String& name) {
    if (!CIMNamespaceName::legal(name)) {
        throw InvalidNamespaceNameException(name);
    }
    return name[0] == '/' ? name.subString(1) : name;
}

}  // namespace

CIMName::CIMName(const String& name) : _name(checkedName(name)) {}
CIMName::CIMName(const char* name) : CIMName(String(name)) {}

CIMName& CIMName::operator=(const String& name) {
    _name = checkedName(name);
    return *this;
}

void CIMName::clear() { _name.clear(); }

Boolean CIMName::legal(const String& name) {
    const Char16* p = name.getChar16Data();
    return legalName(p, p + name.size());
}

CIMNamespaceName::CIMNamespaceName(const String& name) : _name(checkedNamespace(name)) {}
CIMNamespaceName::CIMNamespaceName(const char* name) : CIMNamespaceName(String(name)) {}

CIMNamespaceName& CIMNamespaceName::operator=(const String& name) {
    _name = checkedNamespace(name);
    return *this;
}

void CIMNamespaceName::clear() { _name.clear(); }

Boolean CIMNamespaceName::legal(const String& name) {
    const Char16* p = name.getChar16Data();
    const Char16* const end = p + name.size();
    if (p != end && *p == '/') {
        ++p;
    }
    for (const Char16* q = p;; ++q) {
        if (q != end && *q != '/') {
            continue;
        }
        if (!legalName(p, q)) {
            return false;
        }
        if (q == end) {
            return true;
        }
        p = q + 1;
    }
}

template class Array<CIMName>;
template class Array<CIMNamespaceName>;

}  // namespace Pegasus
