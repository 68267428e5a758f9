// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The grammar of MOF (DMTF DSP0004, annex A): reads declarations and puts them into a Repository
// one by one, so that a declaration can use those before it and stays when a later one is wrong.
//
// Not thread-safe.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFPARSER_H
#define VELMAR_EMBEDDED_SCHEMA_MOFPARSER_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/Exception.h>

#include <functional>
#include <string>
#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "schema/MofLexer.h"
#include "schema/MofValue.h"

namespace velmar_embedded {

class MofParser {
 public:
    /// Compiles an included file into a namespace; `line` is that of the include.
    using Include = std::function<void(const std::string& file, unsigned line,
                                       const Pegasus::CIMNamespaceName& nameSpace)>;
    /// Hears of every stored instance; `line` is where its declaration begins.
    using Stored = std::function<void(const Pegasus::CIMNamespaceName& nameSpace,
                                      const Pegasus::CIMObjectPath& path, unsigned line)>;
    /// Declares a qualifier or class that is used, if it can.
    using Missing =
        std::function<void(const Pegasus::CIMNamespaceName& nameSpace, const std::string& name)>;
    struct Hooks {
        Include include;
        Stored stored;
        Missing missing;
    };

    /// `repository`, `aliases` and `text` must outlive the parser. `aliases` grows by the text's.
    MofParser(Repository& repository, MofAliases& aliases,
              const Pegasus::CIMNamespaceName& nameSpace, const std::string& text, Hooks hooks);

    /// Compiles the whole text. Throws MofFault; other exceptions of the hooks pass through.
    void run();

    /// The current one, which a #pragma namespace changes.
    const Pegasus::CIMNamespaceName& nameSpace() const { return _nameSpace; }

 private:
    using Qualifiers = std::vector<Pegasus::CIMQualifier>;
    struct Declarator {
        MofToken name;
        Pegasus::CIMType type = Pegasus::CIMTYPE_BOOLEAN;
        Pegasus::CIMName referenceClass;
        bool isArray = false;
        Pegasus::Uint32 arraySize = 0;
    };

    // Tokens.
    void advance() { _token = _lexer.next(); }
    bool accept(char punctuation);
    void require(char punctuation) const;
    void expect(char punctuation);
    void expect(const char* word);
    [[noreturn]] void failExpected(const std::string& what) const;
    MofToken identifier(const char* what);
    MofToken literal();
    MofValue value();

    // Pragmas and qualifiers.
    void declaration();
    void pragma();
    void qualifierDeclaration();
    QualifierScopes scope();
    bool acceptFlavor(Pegasus::CIMFlavor& flavor);
    Pegasus::CIMQualifier qualifier();
    Qualifiers qualifiers();

    // Classes and instances.
    void classDeclaration(const Qualifiers& qualifiers);
    void feature(Pegasus::CIMClass& cimClass);
    void method(Pegasus::CIMClass& cimClass, const Declarator& declarator,
                const Qualifiers& qualifiers);
    void parameter(Pegasus::CIMMethod& method);
    Declarator declarator();
    void arraySuffix(Declarator& declarator);
    std::string aliasClause();
    bool findClass(const MofToken& name);
    void instanceDeclaration(const Qualifiers& qualifiers);
    void assignment(Pegasus::CIMInstance& instance, const Pegasus::CIMClass& cimClass);

    Repository& _repository;
    MofAliases& _aliases;
    Pegasus::CIMNamespaceName _nameSpace;
    MofLexer _lexer;
    MofToken _token;  // the next one, not yet used
    const Hooks _hooks;
};

/// Runs `action`, turning the object model's and the schema's exceptions into faults of `line`.
template <class F>
auto guarded(unsigned line, F action) -> decltype(action()) {
    using namespace Pegasus;
    try {
        return action();
    } catch (const CIMException& e) {
        const std::string name = static_cast<const char*>(e.getMessage().getCString());
        throw MofFault(
            line, std::string(cimStatusCodeToString(e.getCode())) + ": " + name,
            e.getCode() == CIM_ERR_ALREADY_EXISTS ? MofMistake::AlreadyExists : MofMistake::Other,
            name);
    } catch (const Exception& e) {
        throw MofFault(line, static_cast<const char*>(e.getMessage().getCString()));
    }
}

}  // namespace velmar_embedded

#endif
