// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Compiles arbitrary text as MOF, behind declarations that it can use. What was stored must be
// there again when it is asked for.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include <velmar_embedded/schema/Mof.h>
#include "Parts.h"

VELMAR_FUZZ_BY_PARTS(velmar_fuzz::partsOfMof)

using namespace Pegasus;
using namespace velmar_embedded;

namespace {

const char* const declarations = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Values : string[], Scope(any), Flavor(EnableOverride, Translatable);
class A { [Key] string K; uint8 N = 1; datetime D; A REF R; real64 L[]; uint32 M(boolean B); };
)";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find("include") != std::string::npos) {
        return 0;  // what lies on the disk is not the fuzzer's
    }
    Repository repository;
    compileMofText(repository, "n", declarations, "declarations");
    const auto stored = [&](const CIMNamespaceName& nameSpace, const CIMObjectPath& path,
                            const std::string&, unsigned) {
        if (repository.getInstance(nameSpace, path).getPath() != path) {
            abort();
        }
    };
    try {
        compileMofText(repository, "n", text, "text", {stored, {}, {}});
    } catch (const MofError&) {
    }
    const auto names = repository.subclassNames("n", CIMName(), true);
    for (Uint32 i = 0; i < names.size(); i++) {
        repository.getClass("n", names[i]);
    }
    return 0;
}
