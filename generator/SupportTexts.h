// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The files of support/ as texts, made by the build.
#ifndef VELMAR_GENERATOR_SUPPORTTEXTS_H
#define VELMAR_GENERATOR_SUPPORTTEXTS_H

namespace velmar_generator {

extern const char* const supportText;
extern const char* const providersText;

}  // namespace velmar_generator

#endif
