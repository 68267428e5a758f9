// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/ClassFacts.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <mutex>

#include "checks/Wording.h"
#include "schema/Qualified.h"

using namespace Pegasus;

namespace velmar_checks {

using velmar_embedded::isTrue;

namespace {

// Of a property or a parameter.
template <class Feature>
Declared declared(const Feature& feature) {
    Declared result;
    result.name = feature.getName();
    result.type = feature.getType();
    result.isArray = feature.isArray();
    result.isKey = isTrue(feature, "Key");
    result.isRequired = isTrue(feature, "Required");
    result.isIn = isTrue(feature, "In", true);
    result.valueType = velmar_embedded::valueType(feature);
    result.referenceClass = feature.getReferenceClassName();
    result.valueMap = velmar_embedded::qualifierTexts(feature, "ValueMap");
    return result;
}

MethodFacts methodFacts(const CIMConstMethod& method) {
    MethodFacts facts;
    facts.result.name = method.getName();
    facts.result.type = method.getType();
    facts.result.valueType = velmar_embedded::valueType(method);
    facts.isStatic = isTrue(method, "Static");
    facts.result.valueMap = velmar_embedded::qualifierTexts(method, "ValueMap");
    for (Uint32 i = 0; i < method.getParameterCount(); i++) {
        facts.parameters.push_back(declared(method.getParameter(i)));
    }
    return facts;
}

template <class Items>
std::vector<std::string> names(const Items& items) {
    std::vector<std::string> result;
    result.reserve(items.size());
    for (const auto& item : items) {
        result.push_back(utf8(item.name));
    }
    return result;
}

}  // namespace

size_t NameHash::operator()(const String& name) const {
    const Char16* chars = name.getChar16Data();
    size_t hash = 14695981039346656037u;  // FNV-1a
    for (Uint32 i = 0; i < name.size(); i++) {
        Uint16 unit = chars[i];
        if (unit >= 'A' && unit <= 'Z') {
            unit = static_cast<Uint16>(unit + ('a' - 'A'));
        }
        hash = (hash ^ unit) * 1099511628211u;
    }
    return hash;
}

bool Declared::fits(const CIMValue& value) const {
    const bool isObject = value.getType() == CIMTYPE_OBJECT || value.getType() == CIMTYPE_INSTANCE;
    return value.isArray() == isArray && (value.getType() == type || (isEmbedded() && isObject));
}

std::string Declared::typeText() const {
    if (type == CIMTYPE_REFERENCE && !referenceClass.isNull()) {
        return utf8(referenceClass) + " REF" + (isArray ? "[]" : "");
    }
    return velmar_checks::typeText(type, isArray);
}

const Declared* MethodFacts::parameter(const std::string& name) const {
    const String wanted(name.c_str());
    const auto found = std::find_if(parameters.begin(), parameters.end(), [&](const Declared& one) {
        return String::equalNoCase(one.name.getString(), wanted);
    });
    return found == parameters.end() ? nullptr : &*found;
}

std::vector<std::string> MethodFacts::parameterNames() const { return names(parameters); }

ClassFacts::ClassFacts(const CIMClass& cimClass, const Array<CIMName>& lineage)
    : _name(utf8(cimClass.getClassName())),
      _isAssociation(cimClass.isAssociation()),
      _isIndication(isTrue(cimClass, "Indication")),
      _isAbstract(cimClass.isAbstract()) {
    for (Uint32 i = 0; i < lineage.size(); i++) {
        _lineage.push_back(lineage[i]);
    }
    _properties.reserve(cimClass.getPropertyCount());  // what follows points into it
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
        _properties.push_back(declared(cimClass.getProperty(i)));
        const Declared& property = _properties.back();
        _byName.emplace(property.name, &property);
        if (property.isKey) {
            _keys.push_back(&property);
        }
        if (property.type == CIMTYPE_REFERENCE) {
            _references.push_back(&property);
        }
    }
    for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
        _methods.push_back(methodFacts(cimClass.getMethod(i)));
    }
}

bool ClassFacts::isSend(const CIMName& method) const {
    return _isIndication && method == CIMName("send");
}

bool ClassFacts::isA(const CIMName& className) const {
    return std::find(_lineage.begin(), _lineage.end(), className) != _lineage.end();
}

const Declared* ClassFacts::property(const CIMName& name) const {
    const auto found = _byName.find(name);
    return found == _byName.end() ? nullptr : found->second;
}

const MethodFacts* ClassFacts::method(const CIMName& name) const {
    const auto found = std::find_if(_methods.begin(), _methods.end(), [&](const MethodFacts& one) {
        return one.result.name == name;
    });
    return found == _methods.end() ? nullptr : &*found;
}

std::vector<std::string> ClassFacts::propertyNames() const { return names(_properties); }

std::vector<std::string> ClassFacts::keyNames() const {
    std::vector<std::string> result;
    for (const Declared* key : _keys) {
        result.push_back(utf8(key->name));
    }
    return result;
}

std::vector<std::string> ClassFacts::methodNames() const {
    std::vector<std::string> result;
    for (const MethodFacts& method : _methods) {
        result.push_back(utf8(method.result.name));
    }
    return result;
}

Facts SchemaFacts::find(const CIMNamespaceName& nameSpace, const CIMName& className) {
    const uint64_t revision = _schema.revision();
    const Key key{nameSpace, className};
    {
        std::shared_lock<std::shared_mutex> guard(_lock);
        const auto known = _known.find(key);
        if (_revision == revision && known != _known.end()) {
            return known->second;
        }
    }
    if (!_schema.hasClass(nameSpace, className)) {
        return nullptr;
    }
    Facts facts;
    try {
        facts = std::make_shared<ClassFacts>(_schema.getClass(nameSpace, className),
                                             _schema.lineage(nameSpace, className));
    } catch (const CIMException&) {  // deleted meanwhile
        return nullptr;
    }
    std::unique_lock<std::shared_mutex> guard(_lock);
    if (_revision != revision) {
        _known.clear();
        _revision = revision;
    }
    return _known.emplace(key, facts).first->second;
}

}  // namespace velmar_checks
