// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/schema/Mof.h>

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <vector>

#include "schema/MofParser.h"

namespace velmar_embedded {

namespace {

namespace fs = std::filesystem;

// What the files of one compilation may come to, and a standard schema stays far below.
constexpr size_t maximumDepth = 64;
constexpr size_t maximumFiles = 10'000;

class Compiler {
 public:
    Compiler(Repository& repository, const Pegasus::CIMNamespaceName& base,
             const MofOptions& options)
        : _repository(repository), _base(base), _options(options) {}

    void compile(const Pegasus::CIMNamespaceName& nameSpace, const std::string& text,
                 const std::string& name) {
        _open.push_back(identity(name));
        const auto include = [&](const std::string& file, unsigned line,
                                 const Pegasus::CIMNamespaceName& where) {
            this->include(where, includedFile(name, file, _options.includeDirectories), line);
        };
        const auto stored = [&](const Pegasus::CIMNamespaceName& where,
                                const Pegasus::CIMObjectPath& path, unsigned line) {
            if (_options.stored) {
                _options.stored(where, path, name, line);
            }
        };
        const auto missing = [&](const Pegasus::CIMNamespaceName& where, const std::string& lacks) {
            complete(where, lacks);
        };
        MofParser parser(_repository, _aliases, nameSpace, text, {include, stored, missing});
        try {
            parser.run();
        } catch (const MofFault& fault) {
            throw MofError(name, fault, !parser.nameSpace().equal(_base));
        }
        _open.pop_back();
    }

 private:
    // What two names of the same file have in common.
    static fs::path identity(const std::string& file) {
        std::error_code ignored;
        return fs::weakly_canonical(file, ignored);
    }

    void complete(const Pegasus::CIMNamespaceName& nameSpace, const std::string& missing) {
        const auto source = _options.declaring ? _options.declaring(missing) : std::nullopt;
        if (source && _completedBy.insert(source->name).second) {
            compile(nameSpace, source->text, source->name);
        }
    }

    void include(const Pegasus::CIMNamespaceName& nameSpace, const std::string& file,
                 unsigned line) {
        if (std::count(_open.begin(), _open.end(), identity(file)) != 0) {
            throw MofFault(line, "the file " + file + " includes itself");
        }
        if (_open.size() > maximumDepth) {
            throw MofFault(
                line, "files are included more than " + std::to_string(maximumDepth) + " deep");
        }
        if (++_included > maximumFiles) {
            throw MofFault(line, "more than " + std::to_string(maximumFiles) +
                                     " files are included, each time counted");
        }
        std::string text;
        const std::string problem = readMof(file, text);
        if (!problem.empty()) {
            throw MofFault(line, "cannot read the included file " + file + ": " + problem,
                           MofMistake::Unreadable, file);
        }
        _bytes += text.size();
        if (_bytes > maximumMofSize) {
            throw MofFault(line, "the included files have more than " +
                                     std::to_string(maximumMofSize) + " bytes together");
        }
        // A file that several packages bring, as a standard one, declares what is there already.
        // What one with directives or aliases declares depends on more than its text.
        const bool standsAlone = text.find_first_of("#$") == std::string::npos;
        if (!standsAlone || !_repository.hasText(nameSpace, text)) {
            compile(nameSpace, text, file);
            _repository.keepText(nameSpace, text);
        }
    }

    Repository& _repository;
    const Pegasus::CIMNamespaceName& _base;
    const MofOptions& _options;
    MofAliases _aliases;
    std::vector<fs::path> _open;         // files being compiled, outermost first
    std::set<std::string> _completedBy;  // names of sources; each is compiled once
    size_t _included = 0;
    size_t _bytes = 0;  // of those included
};

}  // namespace

std::string readMof(const std::string& file, std::string& text) {
    // Not blocking, which the opening of a pipe would be.
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return std::strerror(errno);
    }
    std::string problem;
    struct stat state = {};
    text.clear();
    if (fstat(descriptor, &state) != 0 || !S_ISREG(state.st_mode)) {
        problem = "it is not a regular file";
    } else if (size_t(state.st_size) > maximumMofSize) {
        problem = "it has more than " + std::to_string(maximumMofSize) + " bytes";
    } else {
        text.resize(size_t(state.st_size));
        size_t at = 0;
        for (ssize_t count = 1; at < text.size() && count > 0;
             at += size_t(std::max<ssize_t>(count, 0))) {
            count = read(descriptor, &text[at], text.size() - at);
            if (count < 0) {
                problem = std::strerror(errno);
            }
        }
        text.resize(at);
    }
    close(descriptor);
    return problem;
}

void compileMof(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                const std::string& file, const MofOptions& options) {
    std::string text;
    const std::string problem = readMof(file, text);
    if (!problem.empty()) {
        throw MofError(
            file, MofFault(0, "cannot read the file: " + problem, MofMistake::Unreadable, file));
    }
    compileMofText(repository, nameSpace, text, file, options);
}

void compileMofText(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name, const MofOptions& options) {
    repository.createNamespace(nameSpace);
    Compiler(repository, nameSpace, options).compile(nameSpace, text, name);
}

std::string includedFile(const std::string& from, const std::string& name,
                         const std::vector<std::string>& includeDirectories) {
    const std::string beside = (fs::path(from).parent_path() / name).string();
    std::error_code ignored;
    if (!fs::exists(beside, ignored)) {
        for (const std::string& directory : includeDirectories) {
            const fs::path file = fs::path(directory) / name;
            if (fs::exists(file, ignored)) {
                return file.string();
            }
        }
    }
    return beside;
}

}  // namespace velmar_embedded
