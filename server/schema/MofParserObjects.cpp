// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The part of the grammar that makes classes and instances.
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>

#include <charconv>

#include "model/Text.h"
#include "schema/MofParser.h"

namespace velmar_embedded {

using namespace Pegasus;

namespace {

CIMName nameOf(const MofToken& token) { return CIMName(token.text.c_str()); }

template <class Target>
void addQualifiers(Target& target, const std::vector<CIMQualifier>& qualifiers) {
    for (const CIMQualifier& qualifier : qualifiers) {
        target.addQualifier(qualifier);
    }
}

}  // namespace

void MofParser::classDeclaration(const Qualifiers& qualifiers) {
    advance();
    const MofToken name = identifier("a class name");
    aliasClause();  // nothing can refer to a class by its alias here
    CIMName superClass;
    if (accept(':')) {
        const MofToken super = identifier("a superclass name");
        superClass = nameOf(super);
        if (!findClass(super)) {
            throw MofFault(name.line, "CIM_ERR_INVALID_SUPERCLASS: " + super.text,
                           MofMistake::UnknownSuperclass, super.text);
        }
    }
    CIMClass cimClass(nameOf(name), superClass);
    addQualifiers(cimClass, qualifiers);
    expect('{');
    while (!accept('}')) {
        guarded(_token.line, [&] { feature(cimClass); });
    }
    require(';');
    guarded(name.line, [&] { _repository.createClass(_nameSpace, cimClass); });
    advance();
}

std::string MofParser::aliasClause() {
    if (!_token.is("as")) {
        return std::string();
    }
    advance();
    if (_token.kind != MofToken::Alias) {
        failExpected("an alias");
    }
    const std::string alias = lowerCase(_token.text);
    if (_aliases.count(alias) != 0) {
        throw MofFault(_token.line, "the alias " + _token.text + " is used twice");
    }
    advance();
    return alias;
}

MofParser::Declarator MofParser::declarator() {
    Declarator result;
    const MofToken type = identifier("a type");
    if (!findType(type, result.type)) {
        if (!_token.is("ref")) {
            throw unknownType(type);
        }
        advance();
        result.type = CIMTYPE_REFERENCE;
        result.referenceClass = nameOf(type);
    }
    result.name = identifier("a name");
    return result;
}

void MofParser::arraySuffix(Declarator& declarator) {
    if (!accept('[')) {
        return;
    }
    declarator.isArray = true;
    if (!_token.is(']')) {
        const std::string& text = _token.text;
        const char* const end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, declarator.arraySize);
        if (_token.kind != MofToken::Number || parsed.ptr != end || parsed.ec != std::errc() ||
            declarator.arraySize == 0) {
            failExpected("an array size");
        }
        advance();
    }
    expect(']');
}

void MofParser::feature(CIMClass& cimClass) {
    const Qualifiers list = qualifiers();
    Declarator declared = declarator();
    if (_token.is('(')) {
        return method(cimClass, declared, list);
    }
    arraySuffix(declared);
    if (declared.isArray && declared.type == CIMTYPE_REFERENCE) {
        throw MofFault(declared.name.line,
                       "the property " + declared.name.text + " is an array of references");
    }
    const CIMValue initial = accept('=')
                                 ? convert(value(), declared.type, declared.isArray, _aliases)
                                 : CIMValue(declared.type, declared.isArray, declared.arraySize);
    CIMProperty property(nameOf(declared.name), initial, declared.arraySize,
                         declared.referenceClass);
    addQualifiers(property, list);
    cimClass.addProperty(property);
    expect(';');
}

void MofParser::method(CIMClass& cimClass, const Declarator& declared,
                       const Qualifiers& qualifiers) {
    if (declared.type == CIMTYPE_REFERENCE) {
        throw MofFault(declared.name.line,
                       "the method " + declared.name.text + " returns a reference");
    }
    CIMMethod method(nameOf(declared.name), declared.type);
    addQualifiers(method, qualifiers);
    expect('(');
    if (!_token.is(')')) {
        do {
            guarded(_token.line, [&] { parameter(method); });
        } while (accept(','));
    }
    expect(')');
    expect(';');
    cimClass.addMethod(method);
}

void MofParser::parameter(CIMMethod& method) {
    const Qualifiers list = qualifiers();
    Declarator declared = declarator();
    arraySuffix(declared);
    CIMParameter parameter(nameOf(declared.name), declared.type, declared.isArray,
                           declared.arraySize, declared.referenceClass);
    addQualifiers(parameter, list);
    method.addParameter(parameter);
}

bool MofParser::findClass(const MofToken& name) {
    if (!_repository.hasClass(_nameSpace, nameOf(name))) {
        _hooks.missing(_nameSpace, name.text);
    }
    return _repository.hasClass(_nameSpace, nameOf(name));
}

void MofParser::instanceDeclaration(const Qualifiers& qualifiers) {
    const unsigned line = _token.line;
    advance();
    expect("of");
    const MofToken name = identifier("a class name");
    if (!findClass(name)) {
        throw MofFault(name.line, "CIM_ERR_INVALID_CLASS: " + name.text, MofMistake::UnknownClass,
                       name.text);
    }
    const CIMClass cimClass = _repository.getClass(_nameSpace, nameOf(name));
    const std::string alias = aliasClause();
    CIMInstance instance(cimClass.getClassName());
    addQualifiers(instance, qualifiers);
    expect('{');
    while (!accept('}')) {
        guarded(_token.line, [&] { assignment(instance, cimClass); });
    }
    require(';');
    const CIMObjectPath path =
        guarded(line, [&] { return _repository.createInstance(_nameSpace, instance); });
    if (!alias.empty()) {
        _aliases[alias] = path;
    }
    _hooks.stored(_nameSpace, path, line);
    advance();
}

void MofParser::assignment(CIMInstance& instance, const CIMClass& cimClass) {
    const Qualifiers list = qualifiers();
    const MofToken name = identifier("a property name");
    const Uint32 index = cimClass.findProperty(nameOf(name));
    if (index == PEG_NOT_FOUND) {
        throw MofFault(name.line, "the class " + utf8(cimClass.getClassName()) +
                                      " has no property " + name.text);
    }
    const CIMConstProperty declared = cimClass.getProperty(index);
    expect('=');
    CIMProperty property(declared.getName(),
                         convert(value(), declared.getType(), declared.isArray(), _aliases));
    addQualifiers(property, list);
    instance.addProperty(property);
    expect(';');
}

}  // namespace velmar_embedded
