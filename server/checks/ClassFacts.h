// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What rules need of a class, computed once and kept until the schema changes: asking the schema
// itself copies the whole class each time.
//
// ClassFacts is constant once made; SchemaFacts is thread-safe.
#ifndef VELMAR_CHECKS_CLASSFACTS_H
#define VELMAR_CHECKS_CLASSFACTS_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMType.h>

#include <memory>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include <velmar_embedded/schema/Repository.h>

namespace velmar_checks {

/// Letter case is ignored, as in comparing names.
struct NameHash {
    size_t operator()(const Pegasus::String& name) const;
    size_t operator()(const Pegasus::CIMName& name) const { return (*this)(name.getString()); }
};

/// What a property, parameter or return value may be.
struct Declared {
    Pegasus::CIMName name;
    Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
    bool isArray = false;
    bool isKey = false;
    bool isRequired = false;
    bool isIn = true;  ///< of a parameter
    /// That values have: of an embedded object or instance, declared as a string, another one.
    Pegasus::CIMType valueType = Pegasus::CIMTYPE_BOOLEAN;
    Pegasus::CIMName referenceClass;    ///< null unless it is a reference
    std::vector<std::string> valueMap;  ///< as declared; empty where any value will do

    bool isEmbedded() const { return valueType != type; }
    bool fits(const Pegasus::CIMValue& value) const;
    /// "string", "uint32[]", "T_Fan REF".
    std::string typeText() const;
};

struct MethodFacts {
    Declared result;
    std::vector<Declared> parameters;
    bool isStatic = false;

    /// Null if it is not declared; parameter names are compared without regard to case.
    const Declared* parameter(const std::string& name) const;
    std::vector<std::string> parameterNames() const;
};

class ClassFacts {
 public:
    ClassFacts(const Pegasus::CIMClass& cimClass, const Pegasus::Array<Pegasus::CIMName>& lineage);

    const std::string& name() const { return _name; }
    bool isAssociation() const { return _isAssociation; }
    bool isIndication() const { return _isIndication; }
    bool isAbstract() const { return _isAbstract; }
    /// Whether it is this class or one of its superclasses.
    bool isA(const Pegasus::CIMName& className) const;

    /// In the order of the class; the same for what follows.
    const std::vector<Declared>& properties() const { return _properties; }
    const std::vector<const Declared*>& keys() const { return _keys; }
    const std::vector<const Declared*>& references() const { return _references; }
    const std::vector<MethodFacts>& methods() const { return _methods; }
    /// Null if it is not declared.
    const Declared* property(const Pegasus::CIMName& name) const;
    const MethodFacts* method(const Pegasus::CIMName& name) const;
    /// Whether it is the method through which alerts are raised, which the library serves for every
    /// class of alerts, declared or not.
    bool isSend(const Pegasus::CIMName& method) const;

    std::vector<std::string> propertyNames() const;
    std::vector<std::string> keyNames() const;
    std::vector<std::string> methodNames() const;

 private:
    ClassFacts(const ClassFacts&) = delete;
    ClassFacts& operator=(const ClassFacts&) = delete;

    std::string _name;
    bool _isAssociation, _isIndication, _isAbstract;
    std::vector<Pegasus::CIMName> _lineage;
    std::vector<Declared> _properties;
    std::vector<MethodFacts> _methods;
    std::vector<const Declared*> _keys, _references;
    std::unordered_map<Pegasus::CIMName, const Declared*, NameHash> _byName;
};

using Facts = std::shared_ptr<const ClassFacts>;

class SchemaFacts {
 public:
    /// Borrows the schema.
    explicit SchemaFacts(const velmar_embedded::Repository& schema) : _schema(schema) {}

    const velmar_embedded::Repository& schema() const { return _schema; }
    /// Null for an unknown class or namespace. The same object until the schema changes.
    Facts find(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className);

 private:
    struct Key {
        Pegasus::CIMNamespaceName nameSpace;
        Pegasus::CIMName className;
        bool operator==(const Key& key) const {
            return className == key.className && nameSpace == key.nameSpace;
        }
    };
    struct KeyHash {
        size_t operator()(const Key& key) const { return NameHash()(key.className); }
    };

    const velmar_embedded::Repository& _schema;
    std::shared_mutex _lock;
    uint64_t _revision = 0;
    std::unordered_map<Key, Facts, KeyHash> _known;
};

}  // namespace velmar_checks

#endif
