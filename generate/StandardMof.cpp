// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMClass.h>
#include <strings.h>
#include "schema/MofOutline.h"

#include <map>
#include <string>

#include "Package.h"

namespace velmar_generator {

namespace {

struct IgnoringCase {
    bool operator()(const std::string& a, const std::string& b) const {
        return strcasecmp(a.c_str(), b.c_str()) < 0;
    }
};

using Declarations = std::map<std::string, const MofFile*, IgnoringCase>;

Declarations declarations() {
    Declarations result;
    for (const MofFile& file : standardMof()) {
        for (const std::string& name : velmar_embedded::outlineOfMof(file.text).declares) {
            result.emplace(name, &file);
        }
    }
    return result;
}

}  // namespace

const MofFile* standardMofWith(const std::string& name) {
    static const auto& files = *new auto(declarations());  // lives on for what runs at exit
    const auto found = files.find(name);
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
