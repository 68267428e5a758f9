// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a MOF file has wrong.
//
// Plain values.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFERROR_H
#define VELMAR_EMBEDDED_SCHEMA_MOFERROR_H

#include <stdexcept>
#include <string>
#include <utility>

namespace velmar_embedded {

/// What is wrong, where a program can do something about it.
enum class MofMistake {
    Other,
    Unreadable,  ///< the name is the file's
    UnknownQualifier,
    UnknownSuperclass,
    UnknownClass,   ///< of an instance
    AlreadyExists,  ///< the name is that of a class, or the path of an instance
};

/// A mistake in a text whose file the thrower does not know; becomes a MofError.
class MofFault : public std::runtime_error {
 public:
    MofFault(unsigned line, const std::string& reason, MofMistake mistake = MofMistake::Other,
             std::string name = std::string())
        : std::runtime_error(reason), _line(line), _mistake(mistake), _name(std::move(name)) {}

    unsigned line() const { return _line; }
    MofMistake mistake() const { return _mistake; }
    const std::string& name() const { return _name; }

 private:
    unsigned _line;
    MofMistake _mistake;
    std::string _name;
};

/// A mistake in a file; what() is "FILE:LINE: reason", the reason in the words of a real server's
/// compiler, and what to do where those do not say it.
class MofError : public std::runtime_error {
 public:
    /// `choosesNamespace` is whether a #pragma namespace is in force at the place.
    MofError(const std::string& file, const MofFault& fault, bool choosesNamespace = false);

    const std::string& file() const { return _file; }
    unsigned line() const { return _fault.line(); }  ///< 0: the file could not be read
    std::string reason() const { return _fault.what(); }
    MofMistake mistake() const { return _fault.mistake(); }
    /// What is missing or there already; empty for other mistakes.
    const std::string& name() const { return _fault.name(); }

 private:
    std::string _file;
    MofFault _fault;
};

}  // namespace velmar_embedded

#endif
