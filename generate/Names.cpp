// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <sstream>

namespace velmar_generator {

namespace {

const std::set<std::string>& reserved() {
    static const std::set<std::string> names = {
        // C++17, with the alternative tokens and the names with a meaning in places.
        "alignas", "alignof", "and", "and_eq", "asm", "auto", "bitand", "bitor", "bool", "break",
        "case", "catch", "char", "char16_t", "char32_t", "class", "compl", "const", "const_cast",
        "constexpr", "continue", "decltype", "default", "delete", "do", "double", "dynamic_cast",
        "else", "enum", "explicit", "export", "extern", "false", "final", "float", "for", "friend",
        "goto", "if", "inline", "int", "long", "mutable", "namespace", "new", "noexcept", "not",
        "not_eq", "nullptr", "operator", "or", "or_eq", "override", "private", "protected",
        "public", "register", "reinterpret_cast", "return", "short", "signed", "sizeof", "static",
        "static_assert", "static_cast", "struct", "switch", "template", "this", "thread_local",
        "throw", "true", "try", "typedef", "typeid", "typename", "union", "unsigned", "using",
        "virtual", "void", "volatile", "wchar_t", "while", "xor", "xor_eq",
        // C++20.
        "char8_t", "co_await", "co_return", "co_yield", "concept", "consteval", "constinit",
        "import", "module", "requires",
        // Macros of the standard headers, here and on other platforms, that a schema may well use.
        "B0", "BUFSIZ", "CTRL", "DOMAIN", "ECHO", "EOF", "ERROR", "EXIT_FAILURE", "EXIT_SUCCESS",
        "FALSE", "HUGE", "INFINITY", "MAX", "MIN", "NAN", "NULL", "OVERFLOW", "PATH_MAX", "PLOSS",
        "RAND_MAX", "SING", "TLOSS", "TRUE", "UNDERFLOW", "alloca", "assert", "errno", "i386",
        "linux", "major", "makedev", "minor", "offsetof", "stderr", "stdin", "stdout", "unix",
        // Errors and signals.
        "E2BIG", "EACCES", "EAGAIN", "EBADF", "EBUSY", "ECHILD", "ECONNABORTED", "ECONNREFUSED",
        "ECONNRESET", "EDEADLK", "EDOM", "EEXIST", "EFAULT", "EFBIG", "EHOSTUNREACH", "EILSEQ",
        "EINTR", "EINVAL", "EIO", "EISDIR", "EMFILE", "EMLINK", "ENFILE", "ENODEV", "ENOENT",
        "ENOEXEC", "ENOLCK", "ENOMEM", "ENOSPC", "ENOSYS", "ENOTBLK", "ENOTDIR", "ENOTEMPTY",
        "ENOTSUP", "ENOTTY", "ENXIO", "EPERM", "EPIPE", "ERANGE", "EROFS", "ESPIPE", "ESRCH",
        "ETIMEDOUT", "ETXTBSY", "EXDEV", "SIGABRT", "SIGALRM", "SIGCHLD", "SIGCONT", "SIGFPE",
        "SIGHUP", "SIGILL", "SIGINT", "SIGKILL", "SIGPIPE", "SIGQUIT", "SIGSEGV", "SIGSTOP",
        "SIGTERM", "SIGUSR1", "SIGUSR2",
        // Namespaces and names that every generated file uses.
        "std", "Pegasus", "velmar_remote", "cim", "paths"};
    return names;
}

}  // namespace

bool isReserved(const std::string& name) {
    // Whole families of macros.
    for (const char* prefix : {"PEGASUS_", "PTHREAD_", "SCHED_"}) {
        if (name.rfind(prefix, 0) == 0) {
            return true;
        }
    }
    return reserved().count(name) > 0;
}

std::string Scope::add(const std::string& text) {
    std::string name;
    for (const char c : text) {
        // Two underscores together are the compiler's.
        const bool isFit = std::isalnum(static_cast<unsigned char>(c)) != 0;
        if (isFit || (c == '_' && (name.empty() || name.back() != '_'))) {
            name += c;
        } else if (!name.empty() && name.back() != '_') {
            name += '_';
        }
    }
    while (name.size() > 1 && name.back() == '_' && text.back() != '_') {
        name.pop_back();
    }
    if (name.empty() || name == "_") {
        name = "Value";
    }
    if (std::isdigit(static_cast<unsigned char>(name[0])) != 0) {
        name = "V" + name;
    } else if (name[0] == '_') {
        name = "V" + name;
    }
    if (isReserved(name)) {
        name += "_";
    }
    std::string unique = name;
    for (unsigned i = 2; !_taken.insert(unique).second; i++) {
        unique = name + (name.back() == '_' ? "" : "_") + (i > 2 ? std::to_string(i - 1) : "");
    }
    return unique;
}

std::string classNameOf(const std::string& name) {
    // What a provider class inherits hides a class of the same name.
    return Scope({"AlertProvider", "CIMAssociationProvider", "CIMIndicationProvider",
                  "CIMInstanceProvider", "CIMMethodProvider", "CIMProvider",
                  "CachedInstanceProvider", "IndicationMethodProvider",
                  "InstanceAssociationProvider", "InstanceCache", "InstanceMethodProvider",
                  "Object", "Provider", "Typed", "WithMethods"})
        .add(name);
}

std::string literal(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        if (static_cast<unsigned char>(c) < 0x20) {
            result += fmt::format("\\{:03o}", static_cast<unsigned>(c));
        } else {
            result += c;
        }
    }
    return result + "\"";
}

std::string comment(const std::string& text, unsigned indentation) {
    const std::string start = "///";
    std::string result;
    std::string line;
    const auto end = [&] {
        // A backslash there would take the next line into the comment.
        while (!line.empty() && (line.back() == '\\' || line.back() == ' ')) {
            line.pop_back();
        }
        if (!line.empty()) {
            result += start + line + "\n";
        }
        line.clear();
    };
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (!line.empty() && indentation + start.size() + line.size() + 1 + word.size() > 100) {
            end();
        }
        line += " " + word;
    }
    end();
    return result;
}

namespace {

// After the last comma, bracket or operator outside a literal that leaves a line of that length; 0
// where there is none.
size_t placeToBreak(const std::string& line, size_t length) {
    size_t place = 0;
    bool isText = false;
    char before = ' ';
    for (size_t i = 0; i < line.size() && i < length; before = line[i++]) {
        if (line[i] == '"' && before != '\\') {
            isText = !isText;
        }
        const bool isEnd =
            line[i] == ' ' && std::string_view(",&|=").find(before) != std::string::npos;
        if (!isText && (isEnd || line[i] == '(')) {
            place = i + 1;
        }
    }
    return place;
}

}  // namespace

std::string wrapped(const std::string& code) {
    std::string result;
    std::istringstream lines(code);
    for (std::string line; std::getline(lines, line);) {
        const size_t start = line.find_first_not_of(' ');
        const bool isCode = start != std::string::npos && line[start] != '#' && line[start] != '/';
        std::string indentation;
        while (isCode && indentation.size() + line.size() > 100) {
            const size_t place = placeToBreak(line, 100 - indentation.size());
            if (place == 0) {
                break;
            }
            std::string first = indentation + line.substr(0, place);
            first.resize(first.find_last_not_of(' ') + 1);
            result += first + "\n";
            line.erase(0, place);
            indentation.assign(start + 4, ' ');
        }
        result += indentation + line + "\n";
    }
    return result;
}

}  // namespace velmar_generator
