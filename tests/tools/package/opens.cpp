// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Opens a module as a server does. Usage: opens FILE
#include <dlfcn.h>

#include <iostream>

int main(int, char** argv) {
    void* const module = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    if (!module || !dlsym(module, "PegasusCreateProvider")) {
        std::cerr << dlerror() << "\n";
        return 1;
    }
    return 0;
}
