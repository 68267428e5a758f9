// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names that no identifier can have, since the preprocessor replaces them.
#ifndef VELMAR_GENERATOR_MACROS_H
#define VELMAR_GENERATOR_MACROS_H

namespace velmar_generator {

/// With white space between them.
extern const char* const macroNames;

}  // namespace velmar_generator

#endif
