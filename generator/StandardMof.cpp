// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMClass.h>

#include <algorithm>
#include <cctype>
#include <regex>

#include "Package.h"

namespace velmar_generator {

namespace {

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace

const MofFile* standardMofWith(const std::string& name) {
    static const std::regex declaration("(^|\\n)\\s*(class|qualifier)\\s+(\\w+)",
                                        std::regex::icase);
    for (const MofFile& file : standardMof()) {
        const std::string text = file.text;
        for (std::sregex_iterator one(text.begin(), text.end(), declaration), end; one != end;
             ++one) {
            if (lower((*one)[3].str()) == lower(name)) {
                return &file;
            }
        }
    }
    return nullptr;
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
