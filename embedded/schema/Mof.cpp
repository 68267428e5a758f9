// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/Mof.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "schema/MofParser.h"

namespace velmar_embedded {

namespace {

namespace fs = std::filesystem;

bool readFile(const std::string& file, std::string& text) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return false;
    }
    try {
        text.assign(std::istreambuf_iterator<char>(in), {});
    } catch (const std::exception&) {  // a folder, say, opens but cannot be read
        return false;
    }
    return true;
}

class Compiler {
 public:
    Compiler(Repository& repository, const MofObserver& stored,
             const std::vector<std::string>& includeDirectories)
        : _repository(repository), _stored(stored), _includeDirectories(includeDirectories) {}

    void compile(const Pegasus::CIMNamespaceName& nameSpace, const std::string& text,
                 const std::string& name) {
        _open.push_back(identity(name));
        const auto include = [&](const std::string& file, unsigned line,
                                 const Pegasus::CIMNamespaceName& current) {
            this->include(current, includedFile(name, file, _includeDirectories), name, line);
        };
        const auto stored = [&](const Pegasus::CIMNamespaceName& current,
                                const Pegasus::CIMObjectPath& path, unsigned line) {
            if (_stored) {
                _stored(current, path, name, line);
            }
        };
        try {
            MofParser(_repository, _aliases, nameSpace, text, include, stored).run();
        } catch (const MofFault& fault) {
            throw MofError(name, fault.line(), fault.what());
        }
        _open.pop_back();
    }

 private:
    // What two names of the same file have in common.
    static fs::path identity(const std::string& file) {
        std::error_code ignored;
        return fs::weakly_canonical(file, ignored);
    }

    void include(const Pegasus::CIMNamespaceName& nameSpace, const std::string& file,
                 const std::string& from, unsigned line) {
        if (std::count(_open.begin(), _open.end(), identity(file)) != 0) {
            throw MofError(from, line, "the file " + file + " includes itself");
        }
        std::string text;
        if (!readFile(file, text)) {
            throw MofError(from, line, "cannot read the included file " + file);
        }
        // A file that several packages bring, as a standard one, declares what is there already.
        if (_repository.isNewText(nameSpace, text)) {
            compile(nameSpace, text, file);
        }
    }

    Repository& _repository;
    const MofObserver& _stored;
    const std::vector<std::string>& _includeDirectories;
    MofAliases _aliases;
    std::vector<fs::path> _open;  // files being compiled, outermost first
};

}  // namespace

MofError::MofError(const std::string& file, unsigned line, const std::string& reason)
    : std::runtime_error(file + ":" + std::to_string(line) + ": " + reason),
      _file(file),
      _line(line),
      _reason(reason) {}

void compileMof(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                const std::string& file, const MofObserver& stored,
                const std::vector<std::string>& includeDirectories) {
    std::string text;
    if (!readFile(file, text)) {
        throw MofError(file, 0, "cannot read the file");
    }
    compileMofText(repository, nameSpace, text, file, stored, includeDirectories);
}

void compileMofText(Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                    const std::string& text, const std::string& name, const MofObserver& stored,
                    const std::vector<std::string>& includeDirectories) {
    repository.createNamespace(nameSpace);
    Compiler(repository, stored, includeDirectories).compile(nameSpace, text, name);
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
