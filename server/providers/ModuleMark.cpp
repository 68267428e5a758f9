// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Keeps provider modules with a static copy of this build out of a real OpenPegasus. Nothing refers
// to the pointer, but the link of a module takes it in; the module then cannot be opened without
// what it points to, which only programs define. See CMakeLists.txt.

extern "C" {
extern const char velmar_remote_this_module_was_built_for_the_embedded_CIM_server;
extern const void* const velmar_embedded_module;
const void* const velmar_embedded_module =
    &velmar_remote_this_module_was_built_for_the_embedded_CIM_server;
}
