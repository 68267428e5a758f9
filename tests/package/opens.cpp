// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Opens a module as a server does, and sees that closing lets go of it: a server that was told to
// end it opens what then lies there. Usage: opens FILE
#include <dlfcn.h>

#include <iostream>

int main(int, char** argv) {
    void* const module = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    if (!module || !dlsym(module, "PegasusCreateProvider")) {
        std::cerr << dlerror() << "\n";
        return 1;
    }
    if (dlclose(module) != 0 || dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD)) {
        std::cerr << argv[1] << ": still there after it was closed\n";
        return 1;
    }
    return 0;
}
