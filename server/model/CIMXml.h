// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Objects as CIM-XML elements (DSP0201), without declarations and white space.
#ifndef VELMAR_EMBEDDED_MODEL_CIMXML_H
#define VELMAR_EMBEDDED_MODEL_CIMXML_H

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/String.h>

#include <string>
#include <utility>

#include "model/CIMReps.h"

namespace Pegasus {

/// Writes elements one after the other, as UTF-8.
class XmlWriter {
 public:
    void raw(const char* text) { _out += text; }
    /// A text with the characters that mean something in XML replaced.
    void escaped(const String& text, bool inAttribute = false);
    /// ` name="value"`, left out for an empty value.
    void attribute(const char* name, const String& value);
    /// `<name>contents</name>`.
    void element(const char* name, const String& contents);

    /// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
    void value(const CIMValue& value);
    /// TYPE (under that name or another), for embedded objects EmbeddedObject, and for a fixed
    /// array ARRAYSIZE.
    void valueAttributes(const CIMValue& value, Uint32 arraySize, const char* typeName = "TYPE");
    /// What differs from the flavors that a qualifier has when nothing is said of them.
    void flavors(const CIMFlavor& flavor);
    /// CLASSNAME or INSTANCENAME.
    void name(const CIMObjectPath& path) { name(path, path.getKeyBindings().size() != 0); }
    void name(const CIMObjectPath& path, bool isInstance);
    /// The same, with namespace and host where the path has them.
    void path(const CIMObjectPath& path);
    /// LOCALNAMESPACEPATH.
    void nameSpace(const CIMNamespaceName& nameSpace);
    /// INSTANCE or CLASS.
    void object(const ObjectRep& object);

    size_t size() const { return _out.size(); }
    /// What was written since the last time.
    std::string take() { return std::exchange(_out, std::string()); }

 private:
    void keyValue(const CIMKeyBinding& key);
    void qualifiers(const NamedList<CIMQualifier>& list);
    void property(const CIMProperty& property);
    void parameter(const CIMParameter& parameter);
    void method(const CIMMethod& method);
    template <class Feature>
    void declaration(const char* tag, const Feature& feature, const CIMValue& typed);
    void end(const char* tag) { _out.append("</").append(tag) += '>'; }
    void item(const CIMObjectPath& x);
    template <class T>
    void item(const T& x);

    std::string _out;
};

/// An INSTANCE or CLASS element.
String objectXml(const ObjectRep& object);

}  // namespace Pegasus

#endif
