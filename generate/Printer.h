// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Fills templates that look like the text they make.
#ifndef VELMAR_GENERATOR_PRINTER_H
#define VELMAR_GENERATOR_PRINTER_H

#include <map>
#include <string>
#include <string_view>

namespace velmar_generator {

/// By name.
using Variables = std::map<std::string, std::string>;

/// The template with each `$name$` replaced by its variable; `$$` is a dollar sign. A variable
/// alone on its line may have several lines, which get the indentation of the place; where it is
/// empty the line goes. A newline at the start of the template is left out. Throws
/// std::out_of_range for a name that `variables` lacks.
std::string filled(std::string_view text, const Variables& variables);

}  // namespace velmar_generator

#endif
