// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "AskArguments.h"

#include <Pegasus/Common/Exception.h>
#include <fmt/format.h>

#include <algorithm>

#include "Package.h"
#include "checks/Wording.h"
#include "model/Text.h"
#include "requests/ParameterConversion.h"

using namespace Pegasus;
using velmar_checks::ClassFacts;
using velmar_checks::Declared;
using velmar_embedded::utf8;

namespace velmar_cli {

namespace {

String text(const std::string& utf8) { return String(utf8.data(), Uint32(utf8.size())); }

// At commas outside quotes and braces.
std::vector<std::string> parts(const std::string& list) {
    std::vector<std::string> result(1);
    bool isQuoted = false;
    int depth = 0;
    for (size_t i = 0; i < list.size(); i++) {
        if (list[i] == '\\' && i + 1 < list.size()) {
            result.back() += list[i++];
        } else if (list[i] == '"') {
            isQuoted = !isQuoted;
        } else if (!isQuoted && (list[i] == '{' || list[i] == '}')) {
            depth += list[i] == '{' ? 1 : -1;
        } else if (list[i] == ',' && !isQuoted && depth == 0) {
            result.emplace_back();
            continue;
        }
        result.back() += list[i];
    }
    return result;
}

std::string withoutQuotes(const std::string& value) {
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') {
        return value;
    }
    std::string result;
    for (size_t i = 1; i + 1 < value.size(); i++) {
        i += value[i] == '\\' && i + 2 < value.size();
        result += value[i];
    }
    return result;
}

std::pair<std::string, std::string> nameAndValue(const std::string& word) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw UsageError(word + ": expected NAME=VALUE");
    }
    return {word.substr(0, equals), word.substr(equals + 1)};
}

const Declared& declaredAs(const std::string& name, const std::vector<const Declared*>& list,
                           const std::string& owner, const char* what) {
    std::vector<std::string> names;
    names.reserve(list.size());
    for (const Declared* one : list) {
        names.push_back(utf8(one->name));
        if (String::equalNoCase(one->name.getString(), text(name))) {
            return *one;
        }
    }
    const std::string near = velmar_checks::didYouMean(name, names);
    throw UsageError(fmt::format("{} has no {} {}{}", owner, what, name,
                                 !near.empty()   ? near
                                 : names.empty() ? ""
                                                 : "; it has " + velmar_checks::listing(names)));
}

// `word` is what the value was given in.
CIMValue typed(const std::string& word, const Declared& declared, const CIMValue& value) {
    try {
        return velmar_embedded::typedValue(declared.name.getString(), value, declared.type,
                                           declared.isArray);
    } catch (const CIMException&) {
        throw UsageError(fmt::format("{}: expected {}", word, declared.typeText()));
    }
}

// A path's class and keys, without the host and namespace in front.
std::string withoutPlace(const std::string& path) {
    const size_t end = path.find_first_of("=\"");
    const size_t colon = path.rfind(':', end);
    return colon == std::string::npos ? path : path.substr(colon + 1);
}

}  // namespace

velmar_checks::Facts AskArguments::factsOf(const std::string& className) const {
    if (!CIMName::legal(text(className))) {
        throw UsageError(className + ": expected the name of a class");
    }
    try {
        return std::make_shared<ClassFacts>(
            _client.getClass(_nameSpace, CIMName(text(className)), false), Array<CIMName>());
    } catch (const CIMException& e) {
        if (e.getCode() != CIM_ERR_NOT_FOUND && e.getCode() != CIM_ERR_INVALID_CLASS) {
            throw;
        }
    }
    const Array<CIMName> all = _client.enumerateClassNames(_nameSpace, CIMName(), true);
    std::vector<std::string> names;
    names.reserve(all.size());
    for (Uint32 i = 0; i < all.size(); i++) {
        names.push_back(utf8(all[i]));
    }
    throw UsageError(fmt::format("namespace {} has no class {}{}", utf8(_nameSpace), className,
                                 velmar_checks::didYouMean(className, names)));
}

CIMObjectPath AskArguments::onlyInstance(const std::string& className) const {
    const Array<CIMObjectPath> names =
        _client.enumerateInstanceNames(_nameSpace, CIMName(text(className)));
    if (names.size() == 1) {
        return velmar_embedded::withoutPlace(names[0]);
    }
    std::vector<std::string> shown;
    for (Uint32 i = 0; i < names.size() && i < 3; i++) {
        shown.push_back(utf8(velmar_embedded::withoutPlace(names[i])));
    }
    throw UsageError(
        fmt::format("{} has {} instances{}", className, names.size(),
                    shown.empty() ? "" : "; name one, such as " + velmar_checks::listing(shown)));
}

CIMKeyBinding AskArguments::key(const std::string& name, const std::string& given,
                                const ClassFacts& facts) const {
    const Declared& declared = declaredAs(name, facts.keys(), "class " + facts.name(), "key");
    const std::string value = withoutQuotes(given);
    switch (declared.type) {
        case CIMTYPE_REFERENCE:
            return CIMKeyBinding(declared.name, instance(value).toString(),
                                 CIMKeyBinding::REFERENCE);
        case CIMTYPE_STRING:
        case CIMTYPE_DATETIME:
        case CIMTYPE_CHAR16:
            return CIMKeyBinding(declared.name, text(value), CIMKeyBinding::STRING);
        default:
            break;
    }
    typed(name + "=" + given, declared, CIMValue(text(value)));
    return CIMKeyBinding(
        declared.name, text(value),
        declared.type == CIMTYPE_BOOLEAN ? CIMKeyBinding::BOOLEAN : CIMKeyBinding::NUMERIC);
}

CIMObjectPath AskArguments::instance(const std::string& given) const {
    const std::string object = withoutPlace(given);
    const size_t dot = object.find('.');
    const velmar_checks::Facts facts = factsOf(object.substr(0, dot));
    if (dot == std::string::npos) {
        return onlyInstance(facts->name());
    }
    Array<CIMKeyBinding> keys;
    for (const std::string& part : parts(object.substr(dot + 1))) {
        const auto [name, value] = nameAndValue(part);
        keys.append(key(name, value, *facts));
    }
    if (keys.size() < facts->keys().size()) {
        throw UsageError(fmt::format("{}: class {} has the keys {}", given, facts->name(),
                                     velmar_checks::listing(facts->keyNames())));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), text(facts->name()), keys);
}

CIMInstance AskArguments::newInstance(const std::string& className,
                                      const std::vector<std::string>& words) const {
    const velmar_checks::Facts facts = factsOf(className);
    CIMInstance instance(CIMName(text(facts->name())));
    for (const std::string& word : words) {
        const Declared* declared = nullptr;
        const CIMValue given = value(word, facts->properties(), "class " + facts->name(), declared);
        if (declared->type == CIMTYPE_REFERENCE) {
            instance.addProperty(CIMProperty(declared->name, given, 0, declared->referenceClass));
        } else {
            instance.addProperty(CIMProperty(declared->name, given));
        }
    }
    return instance;
}

// Objects in objects are as deep as the command line is long.
CIMValue AskArguments::embedded(const std::string& given, const Declared& declared) const {
    Array<CIMObject> objects;
    Array<CIMInstance> instances;
    for (const std::string& part : declared.isArray ? parts(given) : std::vector{given}) {
        const size_t open = part.find('{');
        if (open == std::string::npos || part.back() != '}') {
            throw UsageError(fmt::format("{}={}: expected an object, CLASS{{NAME=VALUE,...}}",
                                         utf8(declared.name), part));
        }
        const std::string inside = part.substr(open + 1, part.size() - open - 2);
        instances.append(newInstance(part.substr(0, open),
                                     inside.empty() ? std::vector<std::string>() : parts(inside)));
        objects.append(CIMObject(instances[instances.size() - 1]));
    }
    if (declared.valueType == CIMTYPE_OBJECT) {
        return declared.isArray ? CIMValue(objects) : CIMValue(objects[0]);
    }
    return declared.isArray ? CIMValue(instances) : CIMValue(instances[0]);
}

CIMValue AskArguments::value(const std::string& word, const std::vector<Declared>& list,
                             const std::string& owner, const Declared*& found) const {
    const auto [name, given] = nameAndValue(word);
    std::vector<const Declared*> all;
    all.reserve(list.size());
    for (const Declared& one : list) {
        all.push_back(&one);
    }
    const bool isMethod = owner.rfind("method", 0) == 0;
    const Declared& declared = declaredAs(name, all, owner, isMethod ? "parameter" : "property");
    found = &declared;
    if (given == "NULL") {
        return CIMValue(declared.valueType, declared.isArray);
    }
    if (declared.isEmbedded()) {
        return embedded(given, declared);
    }
    Array<String> elements;
    Array<CIMObjectPath> paths;
    for (const std::string& part : declared.isArray ? parts(given) : std::vector{given}) {
        if (declared.type == CIMTYPE_REFERENCE) {
            paths.append(instance(withoutQuotes(part)));
            paths[paths.size() - 1].setNameSpace(_nameSpace);
        } else if (!part.empty() || !declared.isArray || given.find(',') != std::string::npos) {
            elements.append(text(withoutQuotes(part)));
        }
    }
    if (declared.type == CIMTYPE_REFERENCE) {
        return declared.isArray ? CIMValue(paths) : CIMValue(paths[0]);
    }
    return typed(word, declared, declared.isArray ? CIMValue(elements) : CIMValue(elements[0]));
}

}  // namespace velmar_cli
