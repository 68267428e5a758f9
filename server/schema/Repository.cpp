// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/schema/Repository.h>

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <list>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

#include "model/CIMReps.h"
#include "schema/Qualified.h"

namespace velmar_embedded {

using namespace Pegasus;

namespace {

struct PathHash {
    std::size_t operator()(const CIMObjectPath& path) const { return path.makeHashCode(); }
};

using Instances = std::list<CIMInstance>;  // in the order of their creation

struct StoredClass {
    CIMClass definition;
    size_t depth = 0;  // superclasses
    size_t parts = 0;
    Instances instances;
    std::unordered_map<CIMObjectPath, Instances::iterator, PathHash> byPath;

    CIMObjectPath keyOf(const CIMObjectPath& path) const {
        return CIMObjectPath(String(), CIMNamespaceName(), definition.getClassName(),
                             path.getKeyBindings());
    }
    Instances::iterator find(const CIMObjectPath& path) const {
        const CIMObjectPath key = keyOf(path);
        const auto found = byPath.find(key);
        if (found == byPath.end()) {
            throw CIMException(CIM_ERR_NOT_FOUND, key.toString());
        }
        return found->second;
    }
    // The definition of a property that an instance has. CIM_ERR_INVALID_PARAMETER if the class has
    // none that fits.
    CIMConstProperty definitionOf(const CIMConstProperty& property) const {
        const String name =
            definition.getClassName().getString() + String(".") + property.getName().getString();
        const Uint32 index = definition.findProperty(property.getName());
        if (index == PEG_NOT_FOUND) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER, name + String(": no such property"));
        }
        const CIMConstProperty declared = definition.getProperty(index);
        const bool isTyped =
            property.getType() == declared.getType() || property.getType() == valueType(declared);
        if (!isTyped || declared.isArray() != property.isArray()) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER,
                               name + String(": wrong type ") +
                                   String(cimTypeToString(property.getType())) +
                                   String(property.isArray() ? "[]" : ""));
        }
        return declared;
    }
    // The keys are part of the path, so what cannot be a key (an array, an empty reference) fails.
    CIMObjectPath buildPath(const CIMInstance& instance) const {
        try {
            return instance.buildPath(CIMConstClass(definition));
        } catch (const Exception& e) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER, e.getMessage());
        }
    }
    // As a real server says it.
    void requireCreatable() const {
        if (definition.isAbstract()) {
            throw CIMException(CIM_ERR_FAILED, "attempted to instantiate an abstract class " +
                                                   definition.getClassName().getString());
        }
        if (!definition.hasKeys()) {
            throw CIMException(CIM_ERR_FAILED,
                               "class has no keys: " + definition.getClassName().getString());
        }
    }
    CIMInstance complete(const CIMInstance& given) const;
};

// What takes memory in a class.
size_t partsOf(const CIMClass& cimClass) {
    size_t parts = 1 + cimClass.getQualifierCount();
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); ++i) {
        parts += 1 + cimClass.getProperty(i).getQualifierCount();
    }
    for (Uint32 i = 0; i < cimClass.getMethodCount(); ++i) {
        const CIMConstMethod method = cimClass.getMethod(i);
        parts += 1 + method.getQualifierCount();
        for (Uint32 k = 0; k < method.getParameterCount(); ++k) {
            parts += 1 + method.getParameter(k).getQualifierCount();
        }
    }
    return parts;
}

size_t partsOf(const CIMInstance& instance) {
    return 1 + instance.getQualifierCount() + instance.getPropertyCount();
}

template <class Feature>
void copyQualifiers(Feature& to, const Feature& from) {
    for (Uint32 i = 0; i < from.getQualifierCount(); ++i) {
        to.addQualifier(from.getQualifier(i).clone());
    }
}

// The values that the instance gives, else the class's defaults, in the class's order.
CIMInstance StoredClass::complete(const CIMInstance& given) const {
    for (Uint32 i = 0; i < given.getPropertyCount(); ++i) {
        definitionOf(given.getProperty(i));
    }
    CIMInstance result(definition.getClassName());
    copyQualifiers(result, given);
    for (Uint32 i = 0; i < definition.getPropertyCount(); ++i) {
        const CIMConstProperty declared = definition.getProperty(i);
        const Uint32 index = given.findProperty(declared.getName());
        const CIMValue value =
            index == PEG_NOT_FOUND ? declared.getValue() : given.getProperty(index).getValue();
        result.addProperty(CIMProperty(declared.getName(), value, 0,
                                       declared.getReferenceClassName(), declared.getClassOrigin(),
                                       declared.getPropagated()));
    }
    result.setPath(buildPath(result));
    return result;
}

}  // namespace

struct Repository::NameSpace {
    std::map<String, QualifierDeclaration, Less> qualifiers;
    std::map<String, StoredClass, Less> classes;
    std::map<String, std::vector<CIMName>, Less> subclasses;  // of the empty name: the roots
    std::set<std::string> texts;                              // of keepText; gone with a class

    StoredClass& find(const CIMName& name, CIMStatusCode unknown) {
        const auto found = classes.find(name.getString());
        if (found == classes.end()) {
            throw CIMException(unknown, name.getString());
        }
        return found->second;
    }

    // One that nothing depends on.
    StoredClass& findUnused(const CIMName& name) {
        StoredClass& stored = find(name, CIM_ERR_NOT_FOUND);
        const auto children = subclasses.find(name.getString());
        if (children != subclasses.end() && !children->second.empty()) {
            throw CIMException(CIM_ERR_CLASS_HAS_CHILDREN, name.getString());
        }
        if (!stored.instances.empty()) {
            throw CIMException(CIM_ERR_CLASS_HAS_INSTANCES, name.getString());
        }
        return stored;
    }

    // A qualifier made by a program says nothing about its flavor; then the declaration decides.
    bool reachesSubclasses(const CIMConstQualifier& qualifier) const {
        const CIMFlavor& flavor = qualifier.getFlavor();
        if (flavor.hasFlavor(CIMFlavor::RESTRICTED) || flavor.hasFlavor(CIMFlavor::TOSUBCLASS)) {
            return !flavor.hasFlavor(CIMFlavor::RESTRICTED);
        }
        const auto declared = qualifiers.find(qualifier.getName().getString());
        return declared == qualifiers.end() ||
               !declared->second.flavor.hasFlavor(CIMFlavor::RESTRICTED);
    }

    template <class Feature, class ConstFeature>
    void inheritQualifiers(Feature& feature, const ConstFeature& inherited) const {
        for (Uint32 i = 0; i < inherited.getQualifierCount(); ++i) {
            const CIMConstQualifier qualifier = inherited.getQualifier(i);
            if (reachesSubclasses(qualifier) &&
                feature.findQualifier(qualifier.getName()) == PEG_NOT_FOUND) {
                feature.addQualifier(CIMQualifier(qualifier.getName(), qualifier.getValue(),
                                                  qualifier.getFlavor(), true));
            }
        }
    }

    CIMProperty inherit(const CIMConstProperty& from) const {
        CIMProperty result = from.clone();  // whatever its value: it may not fit the declared size
        result.setPropagated(true);
        while (result.getQualifierCount() > 0) {
            result.removeQualifier(result.getQualifierCount() - 1);
        }
        inheritQualifiers(result, from);
        return result;
    }
    CIMMethod inherit(const CIMConstMethod& from) const {
        CIMMethod result(from.getName(), from.getType(), from.getClassOrigin(), true);
        for (Uint32 i = 0; i < from.getParameterCount(); ++i) {
            result.addParameter(from.getParameter(i).clone());
        }
        inheritQualifiers(result, from);
        return result;
    }
    template <class Feature>
    static Feature own(const Feature& from, const CIMName& className) {
        Feature result = from.clone();
        result.setClassOrigin(className);
        result.setPropagated(false);
        return result;
    }

    CIMClass resolve(const CIMClass& given, const CIMClass* superClass) const;
    void declareFlavors(const NamedList<CIMQualifier>& list) const;
    void declareFlavors(const CIMClass& cimClass) const;
};

// Qualifiers that say nothing about their flavors get the declared ones.
void Repository::NameSpace::declareFlavors(const NamedList<CIMQualifier>& list) const {
    for (const CIMQualifier& qualifier : list) {
        const auto declared = qualifiers.find(qualifier.getName().getString());
        CIMFlavor& flavor = HandleAccess::rep(qualifier)->flavor;
        if (flavor.equal(CIMFlavor(CIMFlavor::NONE)) && declared != qualifiers.end()) {
            flavor = declared->second.flavor;
        }
    }
}

void Repository::NameSpace::declareFlavors(const CIMClass& cimClass) const {
    const ObjectRep& object = *HandleAccess::rep(cimClass);
    declareFlavors(object.qualifiers);
    for (const CIMProperty& property : object.properties) {
        declareFlavors(HandleAccess::rep(property)->qualifiers);
    }
    for (const CIMMethod& method : object.methods) {
        declareFlavors(HandleAccess::rep(method)->qualifiers);
        for (const CIMParameter& parameter : HandleAccess::rep(method)->parameters) {
            declareFlavors(HandleAccess::rep(parameter)->qualifiers);
        }
    }
}

// The superclass's features come first. One that the class defines again keeps that place and the
// superclass's qualifiers that it does not give itself (so an overridden key stays a key); all
// else, default value and class origin included, is the new definition's.
CIMClass Repository::NameSpace::resolve(const CIMClass& given, const CIMClass* superClass) const {
    const CIMName name = given.getClassName();
    CIMClass source = given;  // a handle: only for the getters that give plain features
    CIMClass result(name, superClass ? superClass->getClassName() : CIMName());
    copyQualifiers(result, given);
    if (superClass) {
        inheritQualifiers(result, *superClass);
        for (Uint32 i = 0; i < superClass->getPropertyCount(); ++i) {
            const CIMConstProperty inherited = superClass->getProperty(i);
            const Uint32 index = given.findProperty(inherited.getName());
            CIMProperty property =
                index == PEG_NOT_FOUND ? inherit(inherited) : own(source.getProperty(index), name);
            inheritQualifiers(property, inherited);
            result.addProperty(property);
        }
        for (Uint32 i = 0; i < superClass->getMethodCount(); ++i) {
            const CIMConstMethod inherited = superClass->getMethod(i);
            const Uint32 index = given.findMethod(inherited.getName());
            CIMMethod method =
                index == PEG_NOT_FOUND ? inherit(inherited) : own(source.getMethod(index), name);
            inheritQualifiers(method, inherited);
            result.addMethod(method);
        }
    }
    for (Uint32 i = 0; i < given.getPropertyCount(); ++i) {
        if (result.findProperty(given.getProperty(i).getName()) == PEG_NOT_FOUND) {
            result.addProperty(own(source.getProperty(i), name));
        }
    }
    for (Uint32 i = 0; i < given.getMethodCount(); ++i) {
        if (result.findMethod(given.getMethod(i).getName()) == PEG_NOT_FOUND) {
            result.addMethod(own(source.getMethod(i), name));
        }
    }
    declareFlavors(result);
    return result;
}

const char* const qualifierScopeNames[qualifierScopeCount] = {
    "class", "association", "reference", "property", "method", "parameter", "indication"};

Repository::Repository(size_t maximumParts) : _maximumParts(maximumParts) {}
Repository::~Repository() = default;

Repository::NameSpace& Repository::find(const CIMNamespaceName& nameSpace) const {
    const auto found = _nameSpaces.find(nameSpace.getString());
    if (found == _nameSpaces.end()) {
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.getString());
    }
    return *found->second;
}

Array<CIMNamespaceName> Repository::nameSpaces() const {
    std::shared_lock lock(_lock);
    Array<CIMNamespaceName> result;
    for (const auto& nameSpace : _nameSpaces) {
        result.append(CIMNamespaceName(nameSpace.first));
    }
    return result;
}

void Repository::requireRoom(const CIMName& name, size_t parts) const {
    if (parts > _maximumParts - std::min(_parts, _maximumParts)) {
        throw CIMException(CIM_ERR_FAILED,
                           name.getString() +
                               String(": all classes and instances together have "
                                      "more than ") +
                               String(std::to_string(_maximumParts).c_str()) +
                               String(" properties, methods, parameters and qualifiers"));
    }
}

bool Repository::hasNamespace(const CIMNamespaceName& nameSpace) const {
    std::shared_lock lock(_lock);
    return _nameSpaces.count(nameSpace.getString()) != 0;
}

void Repository::createNamespace(const CIMNamespaceName& nameSpace) {
    if (nameSpace.isNull()) {
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, String());
    }
    std::unique_lock lock(_lock);
    std::unique_ptr<NameSpace>& slot = _nameSpaces[nameSpace.getString()];
    if (!slot) {
        slot = std::make_unique<NameSpace>();
        _revision++;
    }
}

bool Repository::hasText(const CIMNamespaceName& nameSpace, const std::string& text) const {
    std::shared_lock lock(_lock);
    return find(nameSpace).texts.count(text) != 0;
}

void Repository::keepText(const CIMNamespaceName& nameSpace, const std::string& text) {
    std::unique_lock lock(_lock);
    find(nameSpace).texts.insert(text);
}

void Repository::declareQualifier(const CIMNamespaceName& nameSpace,
                                  const QualifierDeclaration& declaration) {
    std::unique_lock lock(_lock);
    auto& qualifiers = find(nameSpace).qualifiers;
    if (qualifiers.count(declaration.name.getString()) == 0) {
        requireRoom(declaration.name, 1);
        _parts++;
    }
    qualifiers[declaration.name.getString()] = declaration;
}

bool Repository::findQualifier(const CIMNamespaceName& nameSpace, const CIMName& name,
                               QualifierDeclaration& declaration) const {
    std::shared_lock lock(_lock);
    const NameSpace& space = find(nameSpace);
    const auto found = space.qualifiers.find(name.getString());
    if (found == space.qualifiers.end()) {
        return false;
    }
    declaration = found->second;
    return true;
}

std::vector<QualifierDeclaration> Repository::qualifiers(const CIMNamespaceName& nameSpace) const {
    std::shared_lock lock(_lock);
    std::vector<QualifierDeclaration> result;
    for (const auto& declared : find(nameSpace).qualifiers) {
        result.push_back(declared.second);
    }
    return result;
}

void Repository::deleteQualifier(const CIMNamespaceName& nameSpace, const CIMName& name) {
    std::unique_lock lock(_lock);
    if (find(nameSpace).qualifiers.erase(name.getString()) == 0) {
        throw CIMException(CIM_ERR_NOT_FOUND, name.getString());
    }
}

void Repository::createClass(const CIMNamespaceName& nameSpace, const CIMClass& cimClass) {
    std::unique_lock lock(_lock);
    NameSpace& space = find(nameSpace);
    const CIMName& name = cimClass.getClassName();
    const CIMName& superName = cimClass.getSuperClassName();
    if (space.classes.count(name.getString()) != 0) {
        throw CIMException(CIM_ERR_ALREADY_EXISTS, name.getString());
    }
    const StoredClass* const super =
        superName.isNull() ? nullptr : &space.find(superName, CIM_ERR_INVALID_SUPERCLASS);
    StoredClass stored;
    stored.depth = super ? super->depth + 1 : 0;
    if (stored.depth > maximumDepth) {
        throw CIMException(CIM_ERR_FAILED, name.getString() + String(": has more than ") +
                                               String(std::to_string(maximumDepth).c_str()) +
                                               String(" superclasses"));
    }
    stored.definition = space.resolve(cimClass, super ? &super->definition : nullptr);
    stored.parts = partsOf(stored.definition);
    requireRoom(name, stored.parts);
    _parts += stored.parts;
    space.classes.emplace(name.getString(), std::move(stored));
    space.subclasses[superName.getString()].push_back(name);
    _revision++;
}

void Repository::modifyClass(const CIMNamespaceName& nameSpace, const CIMClass& cimClass) {
    std::unique_lock lock(_lock);
    NameSpace& space = find(nameSpace);
    StoredClass& stored = space.findUnused(cimClass.getClassName());
    const CIMName& superName = stored.definition.getSuperClassName();
    if (!superName.equal(cimClass.getSuperClassName())) {
        throw CIMException(CIM_ERR_INVALID_SUPERCLASS, cimClass.getSuperClassName().getString());
    }
    const StoredClass* const super =
        superName.isNull() ? nullptr : &space.find(superName, CIM_ERR_INVALID_SUPERCLASS);
    const CIMClass resolved = space.resolve(cimClass, super ? &super->definition : nullptr);
    const size_t parts = partsOf(resolved);
    requireRoom(cimClass.getClassName(), parts - std::min(parts, stored.parts));
    stored.definition = resolved;
    _parts += parts - stored.parts;
    stored.parts = parts;
    space.texts.clear();
    _revision++;
}

void Repository::deleteClass(const CIMNamespaceName& nameSpace, const CIMName& className) {
    std::unique_lock lock(_lock);
    NameSpace& space = find(nameSpace);
    const StoredClass& stored = space.findUnused(className);
    auto& siblings = space.subclasses[stored.definition.getSuperClassName().getString()];
    siblings.erase(std::find(siblings.begin(), siblings.end(), className));
    _parts -= stored.parts;
    space.classes.erase(className.getString());
    space.texts.clear();
    _revision++;
}

CIMClass Repository::getClass(const CIMNamespaceName& nameSpace, const CIMName& className) const {
    std::shared_lock lock(_lock);
    return find(nameSpace).find(className, CIM_ERR_NOT_FOUND).definition.clone();
}

bool Repository::hasClass(const CIMNamespaceName& nameSpace, const CIMName& className) const {
    std::shared_lock lock(_lock);
    const auto found = _nameSpaces.find(nameSpace.getString());
    return found != _nameSpaces.end() && found->second->classes.count(className.getString()) != 0;
}

bool Repository::isAssociation(const CIMNamespaceName& nameSpace, const CIMName& className) const {
    std::shared_lock lock(_lock);
    const auto found = _nameSpaces.find(nameSpace.getString());
    if (found == _nameSpaces.end()) {
        return false;
    }
    const auto stored = found->second->classes.find(className.getString());
    return stored != found->second->classes.end() && stored->second.definition.isAssociation();
}

Array<CIMName> Repository::subclassNames(const CIMNamespaceName& nameSpace,
                                         const CIMName& className, bool deep) const {
    std::shared_lock lock(_lock);
    NameSpace& space = find(nameSpace);
    if (!className.isNull()) {
        space.find(className, CIM_ERR_INVALID_CLASS);
    }
    Array<CIMName> result;
    CIMName parent = className;
    for (Uint32 next = 0;; ++next) {
        const auto children = space.subclasses.find(parent.getString());
        if (children != space.subclasses.end()) {
            for (const CIMName& child : children->second) {
                result.append(child);
            }
        }
        if (!deep || next == result.size()) {
            return result;
        }
        parent = result[next];
    }
}

Array<CIMName> Repository::lineage(const CIMNamespaceName& nameSpace,
                                   const CIMName& className) const {
    std::shared_lock lock(_lock);
    NameSpace& space = find(nameSpace);
    Array<CIMName> result;
    for (CIMName name = className; result.size() == 0 || !name.isNull();) {
        const CIMClass& definition = space.find(name, CIM_ERR_INVALID_CLASS).definition;
        result.append(definition.getClassName());
        name = definition.getSuperClassName();
    }
    return result;
}

CIMObjectPath Repository::createInstance(const CIMNamespaceName& nameSpace,
                                         const CIMInstance& instance) {
    std::unique_lock lock(_lock);
    StoredClass& stored = find(nameSpace).find(instance.getClassName(), CIM_ERR_INVALID_CLASS);
    stored.requireCreatable();
    requireRoom(instance.getClassName(), partsOf(instance) + stored.definition.getPropertyCount());
    const CIMInstance completed = stored.complete(instance);
    const CIMObjectPath path = completed.getPath();
    if (stored.byPath.count(path) != 0) {
        throw CIMException(CIM_ERR_ALREADY_EXISTS, path.toString());
    }
    _parts += partsOf(completed);
    stored.byPath[path] = stored.instances.insert(stored.instances.end(), completed);
    return path;
}

CIMInstance Repository::getInstance(const CIMNamespaceName& nameSpace,
                                    const CIMObjectPath& path) const {
    std::shared_lock lock(_lock);
    return find(nameSpace).find(path.getClassName(), CIM_ERR_INVALID_CLASS).find(path)->clone();
}

Array<CIMInstance> Repository::instances(const CIMNamespaceName& nameSpace,
                                         const CIMName& className) const {
    std::shared_lock lock(_lock);
    Array<CIMInstance> result;
    for (const CIMInstance& i : find(nameSpace).find(className, CIM_ERR_INVALID_CLASS).instances) {
        result.append(i.clone());
    }
    return result;
}

void Repository::modifyInstance(const CIMNamespaceName& nameSpace, const CIMInstance& instance) {
    std::unique_lock lock(_lock);
    const CIMObjectPath& path = instance.getPath();
    const StoredClass& stored = find(nameSpace).find(path.getClassName(), CIM_ERR_INVALID_CLASS);
    const Instances::iterator at = stored.find(path);
    CIMInstance changed = at->clone();
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
        const CIMConstProperty property = instance.getProperty(i);
        stored.definitionOf(property);
        changed.getProperty(changed.findProperty(property.getName())).setValue(property.getValue());
    }
    if (stored.buildPath(changed) != at->getPath()) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           path.toString() + String(": keys cannot change"));
    }
    *at = changed;
}

void Repository::deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& path) {
    std::unique_lock lock(_lock);
    StoredClass& stored = find(nameSpace).find(path.getClassName(), CIM_ERR_INVALID_CLASS);
    const Instances::iterator at = stored.find(path);
    stored.byPath.erase(stored.keyOf(path));
    _parts -= partsOf(*at);
    stored.instances.erase(at);
}

}  // namespace velmar_embedded
