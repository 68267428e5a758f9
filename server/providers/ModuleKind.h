// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Tells provider modules that were built for a real OpenPegasus before they are opened: their
// initialisers would run on this server's object model, which has other layouts under the same
// names.
#ifndef VELMAR_EMBEDDED_PROVIDERS_MODULEKIND_H
#define VELMAR_EMBEDDED_PROVIDERS_MODULEKIND_H

#include <string>

namespace velmar_embedded {

/// Why the library in `file` cannot run in this server, as a sentence; empty where nothing speaks
/// against it, also where the file cannot be read or is not a library. Looks at the libraries that
/// it needs itself, not at what those need.
std::string reasonAgainstModule(const std::string& file);

}  // namespace velmar_embedded

#endif
