// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names of CIM objects: key bindings, and object paths with their text form
// `[//host/][namespace:]class[.key=value{,key=value}]` (DSP0004).
//
// Value classes with cheap copies. Not synchronized: one object may be read by several threads, or
// written by one.
#ifndef Pegasus_CIMObjectPath_h
#define Pegasus_CIMObjectPath_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <utility>

namespace Pegasus {

class CIMValue;

/// One key of an instance: a name and the text of its value.
class PEGASUS_EXPORT CIMKeyBinding {
 public:
    enum Type { BOOLEAN, STRING, NUMERIC, REFERENCE };

    CIMKeyBinding() : _type(BOOLEAN) {}
    /// Checks nothing.
    CIMKeyBinding(const CIMName& name, const String& value, Type type)
        : _name(name), _value(value), _type(type) {}
    /// Takes the value's text and derives the type; a null gives the empty text. Throws
    /// TypeMismatchException for arrays, objects and instances.
    CIMKeyBinding(const CIMName& name, const CIMValue& value);

    const CIMName& getName() const { return _name; }
    void setName(const CIMName& name) { _name = name; }
    /// The text without quotes and escapes.
    const String& getValue() const { return _value; }
    void setValue(const String& value) { _value = value; }
    Type getType() const { return _type; }
    void setType(Type type) { _type = type; }

    /// Whether the text stands for this value. False for a null, and for a type that does not fit.
    Boolean equal(CIMValue value);

 private:
    CIMName _name;
    String _value;
    Type _type;
};

/// Names without case; then STRING by text, BOOLEAN by text without case, NUMERIC by number,
/// REFERENCE by path. Bindings of different types are different.
PEGASUS_EXPORT Boolean operator==(const CIMKeyBinding& a, const CIMKeyBinding& b);

/// Names a class or an instance. Its bindings are always sorted by name, without case; a REFERENCE
/// binding is stored as the text of its parsed path. Sorting works on the storage shared with the
/// array that the caller gave, which may come back sorted.
class PEGASUS_EXPORT CIMObjectPath {
 public:
    CIMObjectPath() : _rep(nullptr) {}
    CIMObjectPath(const CIMObjectPath& path);
    CIMObjectPath(CIMObjectPath&& path) noexcept : _rep(path._rep) { path._rep = nullptr; }
    /// Parses `objectName`; throws MalformedObjectNameException.
    CIMObjectPath(const String& objectName);
    /// Null names and an empty host are accepted. Throws MalformedObjectNameException for a host
    /// that is malformed and for a REFERENCE binding that is not a path.
    CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace, const CIMName& className,
                  const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    ~CIMObjectPath();
    CIMObjectPath& operator=(const CIMObjectPath& path);
    CIMObjectPath& operator=(CIMObjectPath&& path) noexcept {
        std::swap(_rep, path._rep);
        return *this;
    }

    void clear();
    /// As the constructor with the same arguments; a failed call changes nothing.
    void set(const String& host, const CIMNamespaceName& nameSpace, const CIMName& className,
             const Array<CIMKeyBinding>& keyBindings = Array<CIMKeyBinding>());
    /// As the constructor; a failed call leaves only the parts before the malformed one.
    void set(const String& objectName);
    CIMObjectPath& operator=(const String& objectName);

    // What the getters return is valid until the path changes.
    const String& getHost() const;
    /// Also accepts this system's own name, whatever its form.
    void setHost(const String& host);
    const CIMNamespaceName& getNameSpace() const;
    void setNameSpace(const CIMNamespaceName& nameSpace);
    const CIMName& getClassName() const;
    void setClassName(const CIMName& className);
    const Array<CIMKeyBinding>& getKeyBindings() const;
    void setKeyBindings(const Array<CIMKeyBinding>& keyBindings);

    String toString() const;
    /// The same as ==.
    Boolean identical(const CIMObjectPath& path) const;
    /// Equal for equal paths.
    Uint32 makeHashCode() const;

 private:
    struct Rep;
    const Rep& rep() const;
    Rep& own();
    static void release(Rep* rep);

    Rep* _rep;  // null stands for the empty path
};

PEGASUS_EXPORT Boolean operator==(const CIMObjectPath& a, const CIMObjectPath& b);
PEGASUS_EXPORT Boolean operator!=(const CIMObjectPath& a, const CIMObjectPath& b);

extern template class Array<CIMKeyBinding>;
extern template class Array<CIMObjectPath>;

}  // namespace Pegasus

#endif
