// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// CIM names and names of values as C++ identifiers. A name that C++, a common macro of the
// standard headers or the generated code itself has taken gets an underscore at its end.
#ifndef VELMAR_GENERATOR_NAMES_H
#define VELMAR_GENERATOR_NAMES_H

#include <set>
#include <string>

namespace velmar_generator {

/// Hands out identifiers that are unique within one scope.
class Scope {
 public:
    Scope() {}
    /// With names that the scope has already.
    explicit Scope(std::set<std::string> taken) : _taken(std::move(taken)) {}

    /// `text` as an identifier; what is not allowed in one becomes an underscore, and one that is
    /// taken gets underscores at its end.
    std::string add(const std::string& text);

 private:
    std::set<std::string> _taken;
};

/// Whether C++ or a common macro of the standard headers has the name.
bool isReserved(const std::string& name);

/// The C++ class of a CIM class.
std::string classNameOf(const std::string& name);

/// The text with quotes, as C++ and MOF write it.
std::string literal(const std::string& text);

/// The text as lines of a documentation comment, broken so that they fit behind `indentation`
/// blanks; empty for an empty text.
std::string comment(const std::string& text, unsigned indentation);

/// C++ with its lines broken that are longer than 100 characters, where they have a place for it.
std::string wrapped(const std::string& code);

}  // namespace velmar_generator

#endif
