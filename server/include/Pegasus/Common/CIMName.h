// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names of classes, properties, methods and so on, and names of namespaces.
//
// Value classes that hold either null or a legal name. Thread-safety as for String.
#ifndef Pegasus_CIMName_h
#define Pegasus_CIMName_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

/// An illegal text, the empty one included, throws InvalidNameException.
class PEGASUS_EXPORT CIMName {
 public:
    CIMName() = default;
    CIMName(const CIMName& name) = default;
    CIMName(CIMName&& name) noexcept = default;
    CIMName(const String& name);
    CIMName(const char* name);
    CIMName& operator=(const CIMName& name) = default;
    CIMName& operator=(CIMName&& name) noexcept = default;
    /// Keeps the old name when it throws.
    CIMName& operator=(const String& name);
    /// Empty for null.
    const String& getString() const { return _name; }
    Boolean isNull() const { return _name.size() == 0; }
    void clear();
    /// ASCII letter case is ignored; null equals null only.
    Boolean equal(const CIMName& name) const { return String::equalNoCase(_name, name._name); }
    static Boolean legal(const String& name);

 private:
    String _name;
};

inline Boolean operator==(const CIMName& x, const CIMName& y) { return x.equal(y); }
inline Boolean operator!=(const CIMName& x, const CIMName& y) { return !x.equal(y); }

/// Names joined by single slashes; one leading slash is dropped. An illegal text, the empty one
/// included, throws InvalidNamespaceNameException.
class PEGASUS_EXPORT CIMNamespaceName {
 public:
    CIMNamespaceName() = default;
    CIMNamespaceName(const CIMNamespaceName& name) = default;
    CIMNamespaceName(CIMNamespaceName&& name) noexcept = default;
    CIMNamespaceName(const String& name);
    CIMNamespaceName(const char* name);
    CIMNamespaceName& operator=(const CIMNamespaceName& name) = default;
    CIMNamespaceName& operator=(CIMNamespaceName&& name) noexcept = default;
    /// Keeps the old name when it throws.
    CIMNamespaceName& operator=(const String& name);
    /// Empty for null.
    const String& getString() const { return _name; }
    Boolean isNull() const { return _name.size() == 0; }
    void clear();
    /// ASCII letter case is ignored; null equals null only.
    Boolean equal(const CIMNamespaceName& name) const {
        return String::equalNoCase(_name, name._name);
    }
    static Boolean legal(const String& name);

 private:
    String _name;
};

inline Boolean operator==(const CIMNamespaceName& x, const CIMNamespaceName& y) {
    return x.equal(y);
}
inline Boolean operator!=(const CIMNamespaceName& x, const CIMNamespaceName& y) {
    return !x.equal(y);
}

extern template class Array<CIMName>;
extern template class Array<CIMNamespaceName>;

}  // namespace Pegasus

#endif
