// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The object store of the embedded CIM server: per namespace the qualifier declarations, the
// classes with their inheritance resolved, and the instances that no provider serves.
//
// Thread-safe: any operation may be called on any thread; what is returned is a deep copy that
// shares nothing with the store. Errors are CIMExceptions with the code and the plain message that
// a real server's repository gives: for an unknown class the class name, for an unknown namespace
// its name. Every member but hasNamespace, createNamespace and those that answer false for it
// throws CIM_ERR_INVALID_NAMESPACE for an unknown namespace.
#ifndef VELMAR_EMBEDDED_SCHEMA_REPOSITORY_H
#define VELMAR_EMBEDDED_SCHEMA_REPOSITORY_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <vector>

#include <velmar_embedded/ServerTypes.h>

namespace velmar_embedded {

class Repository {
 public:
    /// Superclasses of a class.
    static constexpr std::size_t maximumDepth = 64;

    /// `maximumParts` limits the properties, methods, parameters and qualifiers of all classes,
    /// inherited ones counted again, and of all instances, for a few lines of MOF can ask for any
    /// number. The whole CIM schema has a tenth.
    explicit Repository(std::size_t maximumParts = 1'000'000);
    ~Repository();
    Repository(const Repository&) = delete;
    Repository& operator=(const Repository&) = delete;

    /// Grows with every change of the classes or namespaces.
    uint64_t revision() const { return _revision.load(std::memory_order_acquire); }

    Pegasus::Array<Pegasus::CIMNamespaceName> nameSpaces() const;
    bool hasNamespace(const Pegasus::CIMNamespaceName& nameSpace) const;
    /// Quiet when the namespace exists already.
    void createNamespace(const Pegasus::CIMNamespaceName& nameSpace);

    /// Whether the text was kept, and no class of the namespace has changed since: compiled again
    /// it would declare what is there.
    bool hasText(const Pegasus::CIMNamespaceName& nameSpace, const std::string& text) const;
    void keepText(const Pegasus::CIMNamespaceName& nameSpace, const std::string& text);

    /// Replaces an earlier declaration of the name.
    void declareQualifier(const Pegasus::CIMNamespaceName& nameSpace,
                          const QualifierDeclaration& declaration);
    /// False when the namespace has no declaration of that name; `declaration` is then unchanged.
    bool findQualifier(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& name,
                       QualifierDeclaration& declaration) const;
    /// All of a namespace, by name.
    std::vector<QualifierDeclaration> qualifiers(const Pegasus::CIMNamespaceName& nameSpace) const;
    /// CIM_ERR_NOT_FOUND for an unknown qualifier.
    void deleteQualifier(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& name);

    /// Stores the class with the features of its superclass before its own, propagated flags and
    /// class origins set. CIM_ERR_INVALID_SUPERCLASS, CIM_ERR_ALREADY_EXISTS, CIM_ERR_FAILED over a
    /// limit.
    void createClass(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMClass& cimClass);
    /// Replaces a class. CIM_ERR_NOT_FOUND for an unknown class, CIM_ERR_CLASS_HAS_CHILDREN,
    /// CIM_ERR_CLASS_HAS_INSTANCES, CIM_ERR_INVALID_SUPERCLASS for another superclass.
    void modifyClass(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMClass& cimClass);
    /// CIM_ERR_NOT_FOUND for an unknown class, CIM_ERR_CLASS_HAS_CHILDREN,
    /// CIM_ERR_CLASS_HAS_INSTANCES.
    void deleteClass(const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMName& className);
    /// The whole class, inherited features, qualifiers and class origins included.
    /// CIM_ERR_NOT_FOUND for an unknown class.
    Pegasus::CIMClass getClass(const Pegasus::CIMNamespaceName& nameSpace,
                               const Pegasus::CIMName& className) const;
    /// False for an unknown class or namespace.
    bool hasClass(const Pegasus::CIMNamespaceName& nameSpace,
                  const Pegasus::CIMName& className) const;
    /// The same; without copying the class.
    bool isAssociation(const Pegasus::CIMNamespaceName& nameSpace,
                       const Pegasus::CIMName& className) const;
    /// Names in declared spelling, each parent before its children, without the class itself; a
    /// null name stands for the root of the tree. CIM_ERR_INVALID_CLASS.
    Pegasus::Array<Pegasus::CIMName> subclassNames(const Pegasus::CIMNamespaceName& nameSpace,
                                                   const Pegasus::CIMName& className,
                                                   bool deep) const;
    /// The class itself (in declared spelling) and its superclasses, nearest first.
    /// CIM_ERR_INVALID_CLASS.
    Pegasus::Array<Pegasus::CIMName> lineage(const Pegasus::CIMNamespaceName& nameSpace,
                                             const Pegasus::CIMName& className) const;

    /// Stores a copy, with the class's defaults for what it leaves out and a path (class and keys)
    /// built from its key properties; returns that path. CIM_ERR_INVALID_CLASS,
    /// CIM_ERR_ALREADY_EXISTS, and CIM_ERR_INVALID_PARAMETER with a message for properties that
    /// the class does not have or types that do not fit, CIM_ERR_FAILED over a limit.
    Pegasus::CIMObjectPath createInstance(const Pegasus::CIMNamespaceName& nameSpace,
                                          const Pegasus::CIMInstance& instance);
    /// The stored instance at a path (host and namespace of the path are not looked at); its own
    /// path holds class and keys. CIM_ERR_INVALID_CLASS, CIM_ERR_NOT_FOUND.
    Pegasus::CIMInstance getInstance(const Pegasus::CIMNamespaceName& nameSpace,
                                     const Pegasus::CIMObjectPath& path) const;
    /// Stored instances of exactly this class, in the order of their creation.
    /// CIM_ERR_INVALID_CLASS.
    Pegasus::Array<Pegasus::CIMInstance> instances(const Pegasus::CIMNamespaceName& nameSpace,
                                                   const Pegasus::CIMName& className) const;
    /// Sets the properties that `instance` has on the stored one at its path. Errors as for
    /// getInstance, and CIM_ERR_INVALID_PARAMETER as for createInstance or for a key that would
    /// change.
    void modifyInstance(const Pegasus::CIMNamespaceName& nameSpace,
                        const Pegasus::CIMInstance& instance);
    /// Errors as for getInstance.
    void deleteInstance(const Pegasus::CIMNamespaceName& nameSpace,
                        const Pegasus::CIMObjectPath& path);

 private:
    struct NameSpace;
    struct Less {  // namespaces compare without regard to case
        bool operator()(const Pegasus::String& a, const Pegasus::String& b) const {
            return Pegasus::String::compareNoCase(a, b) < 0;
        }
    };
    NameSpace& find(const Pegasus::CIMNamespaceName& nameSpace) const;
    void requireRoom(const Pegasus::CIMName& name, std::size_t parts) const;

    mutable std::shared_mutex _lock;
    std::atomic<uint64_t> _revision{1};
    const std::size_t _maximumParts;
    std::size_t _parts = 0;
    std::map<Pegasus::String, std::unique_ptr<NameSpace>, Less> _nameSpaces;
};

}  // namespace velmar_embedded

#endif
