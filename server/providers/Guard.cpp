// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The whole of the library that keeps provider modules of this build out of a real OpenPegasus: its
// name and its being there matter, not what it holds. See CMakeLists.txt.

extern "C" {
extern const char velmar_embedded_guard;
const char velmar_embedded_guard = 0;
}
