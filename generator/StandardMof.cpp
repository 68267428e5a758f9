// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMClass.h>
#include <velmar_embedded/schema/MofLexer.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>

#include "Package.h"

namespace velmar_generator {

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// The files by the names of the classes and qualifiers that they declare, in small letters.
std::map<std::string, const MofFile*> declarations() {
    std::map<std::string, const MofFile*> result;
    for (const MofFile& file : standardMof()) {
        const std::string text = file.text;
        velmar_embedded::MofLexer lexer(text);
        int depth = 0;
        bool declares = false;  // the next name
        for (auto token = lexer.next(); token.kind != velmar_embedded::MofToken::End;
             token = lexer.next()) {
            if (declares) {
                result.emplace(lower(token.text), &file);
            }
            depth += token.is('{') - token.is('}');
            declares = depth == 0 && !declares && (token.is("class") || token.is("qualifier"));
        }
    }
    return result;
}

}  // namespace

const MofFile* standardMofWith(const std::string& name) {
    static const auto& files = *new auto(declarations());  // lives on for what runs at exit
    const auto found = files.find(lower(name));
    return found == files.end() ? nullptr : found->second;
}

const MofFile* standardMofReferredTo(const velmar_embedded::Repository& schema,
                                     const Pegasus::CIMNamespaceName& nameSpace) {
    const MofFile* found = nullptr;
    const auto look = [&](const auto& feature) {
        const Pegasus::CIMName& name = feature.getReferenceClassName();
        if (found == nullptr && !name.isNull() && !schema.hasClass(nameSpace, name)) {
            found = standardMofWith(std::string(name.getString().getCString()));
        }
    };
    const auto names = schema.subclassNames(nameSpace, Pegasus::CIMName(), true);
    for (Pegasus::Uint32 i = 0; i < names.size(); i++) {
        const Pegasus::CIMClass one = schema.getClass(nameSpace, names[i]);
        for (Pegasus::Uint32 k = 0; k < one.getPropertyCount(); k++) {
            look(one.getProperty(k));
        }
        for (Pegasus::Uint32 k = 0; k < one.getMethodCount(); k++) {
            const Pegasus::CIMConstMethod method = one.getMethod(k);
            for (Pegasus::Uint32 parameter = 0; parameter < method.getParameterCount();
                 parameter++) {
                look(method.getParameter(parameter));
            }
        }
    }
    return found;
}

}  // namespace velmar_generator
