// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A class as the generator sees it: everything inherited in one place, every name fit for C++.
#ifndef VELMAR_GENERATOR_MODEL_H
#define VELMAR_GENERATOR_MODEL_H

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMType.h>
#include <velmar_embedded/schema/Repository.h>

#include <map>
#include <string>
#include <vector>

#include "Generator.h"
#include "Names.h"

namespace velmar_generator {

/// A value of a ValueMap that has a name and is one number (or text, of strings).
struct NamedValue {
    std::string cppName;
    std::string value;  ///< as C++ writes it
};

/// A property, a parameter, or what a method returns.
struct Element {
    std::string name;     ///< in CIM
    std::string cppName;  ///< unique where it stands
    std::string description;
    std::string origin;  ///< the class that declares it, of properties
    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    bool isArray = false;
    bool isKey = false;
    bool isRequired = false;
    bool isIn = false;
    bool isOut = false;
    std::string referenceClass;
    std::string enumName;  ///< of the C++ enumeration of its numbers; empty: none
    std::vector<NamedValue> values;
    std::string cppType;  ///< of a single value or, with isArray, of the whole array
};

struct Method {
    std::string name;
    std::string cppName;
    std::string description;
    bool isStatic = false;
    Element result;
    std::vector<Element> parameters;
};

enum class Kind { Instances, Association, Alert, None };

struct ClassModel {
    std::string name;
    std::string cppName;
    std::string superclass;  ///< empty: none
    std::string description;
    bool isAbstract = false;
    bool isIndication = false;
    Kind kind = Kind::Instances;        ///< what a provider of it is based on; None: no base fits
    std::string clients = "cim::READ";  ///< what clients may do, in terms of cim::Clients
    std::string reason;                 ///< why kind is not what the class seems to be
    /// Why it has no provider, where kind is None, and what to do.
    std::string refusal() const;
    std::vector<Element> properties;  ///< keys first
    std::vector<Method> methods;
    std::vector<const Element*> keys() const;
    /// The two references of an association.
    std::vector<const Element*> ends() const;
};

/// Reads classes of one namespace of a repository. Names of C++ classes are decided as they come.
class Reader {
 public:
    Reader(const velmar_embedded::Repository& schema, const Options& options);

    /// Throws GeneratorError for a class that the schema does not have, with the names like it.
    ClassModel read(const std::string& name) const;
    /// The class in its declared spelling and its superclasses, nearest first.
    std::vector<std::string> lineage(const std::string& name) const;
    bool has(const std::string& name) const;
    /// Its subclasses at any depth that are not abstract.
    std::vector<std::string> concreteSubclasses(const std::string& name) const;
    /// Whether alerts are enriched from the CIM model.
    bool enriches(const Options& options) const;

 private:
    std::string suggestion(const std::string& name) const;
    /// The name in its declared spelling.
    std::string declared(const std::string& name) const;
    Method readMethod(const Pegasus::CIMConstMethod& method, Scope& functions, Scope& types,
                      const std::string& className) const;

    const velmar_embedded::Repository& _schema;
    Pegasus::CIMNamespaceName _nameSpace;
};

}  // namespace velmar_generator

#endif
