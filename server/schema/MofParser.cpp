// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofParser.h"

#include <Pegasus/Common/CIMFlavor.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "model/CIMReps.h"

namespace velmar_embedded {

using namespace Pegasus;

MofParser::MofParser(Repository& repository, MofAliases& aliases, const CIMNamespaceName& nameSpace,
                     const std::string& text, Hooks hooks)
    : _repository(repository),
      _aliases(aliases),
      _nameSpace(nameSpace),
      _lexer(text),
      _hooks(std::move(hooks)) {}

void MofParser::run() {
    advance();
    while (_token.kind != MofToken::End) {
        guarded(_token.line, [&] { declaration(); });
    }
}

void MofParser::failExpected(const std::string& what) const {
    throw MofFault(_token.line, "syntax error at " + _token.shown() + ": expected " + what);
}

bool MofParser::accept(char punctuation) {
    if (!_token.is(punctuation)) {
        return false;
    }
    advance();
    return true;
}

void MofParser::require(char punctuation) const {
    if (!_token.is(punctuation)) {
        failExpected(std::string(1, punctuation));
    }
}

void MofParser::expect(char punctuation) {
    require(punctuation);
    advance();
}

void MofParser::expect(const char* word) {
    if (!_token.is(word)) {
        failExpected(word);
    }
    advance();
}

MofToken MofParser::identifier(const char* what) {
    if (_token.kind != MofToken::Identifier) {
        failExpected(what);
    }
    MofToken token = std::move(_token);
    advance();
    return token;
}

MofToken MofParser::literal() {
    const bool word = _token.kind == MofToken::Identifier;
    if (_token.kind == MofToken::End || _token.kind == MofToken::Punctuation ||
        (word && !_token.is("true") && !_token.is("false") && !_token.is("null"))) {
        failExpected("a value");
    }
    MofToken token = std::move(_token);
    advance();
    for (; token.kind == MofToken::String && _token.kind == MofToken::String; advance()) {
        token.text += ' ' + _token.text;
        token.value.append(_token.value);
    }
    return token;
}

MofValue MofParser::value() {
    MofValue value;
    value.line = _token.line;
    value.isArray = accept('{');
    if (!value.isArray) {
        value.literals.push_back(literal());
    } else if (!accept('}')) {
        do {
            value.literals.push_back(literal());
        } while (accept(','));
        expect('}');
    }
    return value;
}

void MofParser::declaration() {
    if (_token.is('#')) {
        return pragma();
    }
    if (_token.is("qualifier")) {
        return qualifierDeclaration();
    }
    const Qualifiers list = qualifiers();
    if (_token.is("class")) {
        classDeclaration(list);
    } else if (_token.is("instance")) {
        instanceDeclaration(list);
    } else {
        failExpected("class, instance, qualifier or #pragma");
    }
}

// A declaration takes effect before the token behind its end is read, so that a mistake there
// leaves it in place.
void MofParser::pragma() {
    expect('#');
    expect("pragma");
    const MofToken name = identifier("a pragma's name");
    expect('(');
    if (_token.kind != MofToken::String) {
        failExpected("a string");
    }
    const MofToken argument = literal();
    require(')');
    if (name.is("include")) {
        _hooks.include(static_cast<const char*>(argument.value.getCString()), name.line,
                       _nameSpace);
    } else if (name.is("namespace")) {
        _nameSpace = guarded(argument.line, [&] { return CIMNamespaceName(argument.value); });
        _repository.createNamespace(_nameSpace);
    }  // others (locale, source, ...) say nothing that matters here
    advance();
}

void MofParser::qualifierDeclaration() {
    advance();
    QualifierDeclaration result;
    result.flavor = CIMFlavor(CIMFlavor::DEFAULTS);
    const MofToken name = identifier("a qualifier name");
    result.name = CIMName(name.text.c_str());
    expect(':');
    const MofToken typeName = identifier("a type");
    CIMType type;
    if (!findType(typeName, type)) {
        throw unknownType(typeName);
    }
    Declarator array;
    arraySuffix(array);
    result.defaultValue = accept('=') ? convert(value(), type, array.isArray, _aliases)
                                      : CIMValue(type, array.isArray);
    while (accept(',')) {
        const MofToken part = identifier("Scope or Flavor");
        expect('(');
        if (part.is("scope")) {
            result.scopes |= scope();
        } else if (part.is("flavor")) {
            do {
                if (!acceptFlavor(result.flavor)) {
                    failExpected("a flavor");
                }
            } while (accept(','));
        } else {
            throw MofFault(part.line, "expected Scope or Flavor instead of " + part.text);
        }
        expect(')');
    }
    require(';');
    _repository.declareQualifier(_nameSpace, result);
    advance();
}

// Where a qualifier may stand is kept but not enforced; a misspelt scope is ignored.
QualifierScopes MofParser::scope() {
    QualifierScopes scopes;
    do {
        unsigned found = 0;
        while (found < qualifierScopeCount && !_token.is(qualifierScopeNames[found])) {
            found++;
        }
        if (found < qualifierScopeCount) {
            scopes.set(found);
        } else if (_token.is("any")) {
            scopes.set();
        } else if (!_token.is("instance") && !_token.is("qualifier") && !_token.is("schema")) {
            failExpected("a scope");
        }
        advance();
    } while (accept(','));
    return scopes;
}

bool MofParser::acceptFlavor(CIMFlavor& flavor) {
    bool overridable = !flavor.hasFlavor(CIMFlavor::DISABLEOVERRIDE);
    bool toSubclass = !flavor.hasFlavor(CIMFlavor::RESTRICTED);
    bool toInstance = flavor.hasFlavor(CIMFlavor::TOINSTANCE);
    bool translatable = flavor.hasFlavor(HandleAccess::translatable);
    if (_token.is("enableoverride") || _token.is("disableoverride")) {
        overridable = _token.is("enableoverride");
    } else if (_token.is("tosubclass") || _token.is("restricted")) {
        toSubclass = _token.is("tosubclass");
    } else if (_token.is("toinstance")) {
        toInstance = true;
    } else if (_token.is("translatable")) {
        translatable = true;
    } else {
        return false;
    }
    advance();
    flavor = (overridable ? CIMFlavor::OVERRIDABLE : CIMFlavor::DISABLEOVERRIDE) +
             (toSubclass ? CIMFlavor::TOSUBCLASS : CIMFlavor::RESTRICTED);
    if (toInstance) {
        flavor.addFlavor(CIMFlavor::TOINSTANCE);
    }
    if (translatable) {
        flavor.addFlavor(HandleAccess::translatable);
    }
    return true;
}

CIMQualifier MofParser::qualifier() {
    const MofToken name = identifier("a qualifier");
    QualifierDeclaration declared;
    const auto isDeclared = [&] {
        return _repository.findQualifier(_nameSpace, CIMName(name.text.c_str()), declared);
    };
    if (!isDeclared()) {
        _hooks.missing(_nameSpace, name.text);
        if (!isDeclared()) {
            throw MofFault(name.line, "Could not find declaration for Qualifier named " + name.text,
                           MofMistake::UnknownQualifier, name.text);
        }
    }
    CIMValue result = declared.defaultValue;
    if (_token.is('{')) {
        result = convert(value(), result.getType(), result.isArray(), _aliases);
    } else if (accept('(')) {
        result = convert(value(), result.getType(), result.isArray(), _aliases);
        expect(')');
    } else if (result.getType() == CIMTYPE_BOOLEAN && !result.isArray()) {
        result = CIMValue(Boolean(true));
    }
    CIMFlavor flavor = declared.flavor;
    if (accept(':')) {
        if (!acceptFlavor(flavor)) {
            failExpected("a flavor");
        }
        while (acceptFlavor(flavor)) {
        }
    }
    return CIMQualifier(declared.name, result, flavor);
}

MofParser::Qualifiers MofParser::qualifiers() {
    Qualifiers result;
    if (accept('[')) {
        do {
            result.push_back(qualifier());
        } while (accept(','));
        expect(']');
    }
    return result;
}

}  // namespace velmar_embedded
