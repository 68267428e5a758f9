// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Opens and closes a module with a copy of the static library: this program's own objects are still
// the same, and are destroyed once. Usage: reload FILE
#include <Common/SmBios.h>
#include <Pegasus/Common/OperationContext.h>
#include <dlfcn.h>

#include <cstdint>
#include <iostream>
#include <vector>

using namespace Pegasus;

// As a user's static initialiser sees it.
static const String early = IdentityContainer::NAME;

static const void* table() { return velmar_remote::_smbios.getTables().data(); }

int main(int, char** argv) {
    const std::vector<std::uint8_t> image = {1, 4, 0, 0, 0, 0, 127, 4, 1, 0, 0, 0};
    velmar_remote::_smbios = velmar_remote::SmBios(image);
    const void* const tableBefore = table();
    const Char16* const nameBefore = IdentityContainer::NAME.getChar16Data();
    for (int round = 0; round < 2; round++) {
        void* const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (!module || dlclose(module) != 0) {
            std::cerr << dlerror() << "\n";
            return 1;
        }
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD)) {
            std::cerr << "the module is still there\n";
            return 1;
        }
    }
    const bool same = table() == tableBefore && velmar_remote::SmBios().getTables().size() == 2 &&
                      IdentityContainer::NAME.getChar16Data() == nameBefore &&
                      IdentityContainer::NAME == early && early == "IdentityContainer";
    if (!same) {
        std::cerr << "the module has changed the program's objects\n";
    }
    return same ? 0 : 1;
}
