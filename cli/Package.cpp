// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Package.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>

#include "GeneratorOptions.h"
#include "model/Text.h"
#include "schema/MofOutline.h"

namespace fs = std::filesystem;

namespace velmar_cli {

namespace {

bool isModule(const fs::path& file) {
    return file.extension() == ".so" && file.filename().string().rfind("lib", 0) == 0;
}

// What a folder holds, each list sorted so that every machine finds the same order.
struct Contents {
    std::set<std::string> schemas;
    std::set<std::string> registrations;
    std::set<std::string> modules;
    std::map<std::string, std::set<std::string>> libraries;  // by file name, the folders of each
};

// What build tools and version control keep for themselves.
bool isPrivate(const fs::path& folder) {
    const std::string name = folder.filename().string();
    return name.rfind('.', 0) == 0 || name == "CMakeFiles";
}

Contents contentsOf(const std::string& folder) {
    Contents found;
    for (auto entry = fs::recursive_directory_iterator(folder);
         entry != fs::recursive_directory_iterator(); ++entry) {
        const fs::path& path = entry->path();
        if (entry->is_directory()) {
            if (isPrivate(path)) {
                entry.disable_recursion_pending();
            }
        } else if (velmar_embedded::lowerCase(path.extension().string()) == ".mof") {
            const std::string file = path.lexically_normal().string();
            (velmar_embedded::outlineOfMofFile(file).registersProviders() ? found.registrations
                                                                          : found.schemas)
                .insert(file);
        } else if (isModule(path)) {
            found.modules.insert(path.parent_path().string());
            found.libraries[path.filename().string()].insert(path.parent_path().string());
        }
    }
    return found;
}

// What another file includes comes with that one.
std::set<std::string> withoutIncluded(const std::set<std::string>& files,
                                      const std::vector<std::string>& includeDirectories) {
    std::set<fs::path> included;
    for (const std::string& file : files) {
        const std::vector<std::string> read =
            velmar_embedded::withIncludes({file}, includeDirectories);
        for (size_t i = 1; i < read.size(); i++) {
            included.insert(fs::weakly_canonical(read[i]));
        }
    }
    std::set<std::string> result;
    for (const std::string& file : files) {
        if (included.count(fs::weakly_canonical(file)) == 0) {
            result.insert(file);
        }
    }
    return result;
}

// Of a file that several build folders hold, the one in the first of them.
std::set<std::string> onceEach(const std::set<std::string>& files) {
    std::set<std::string> result;
    std::set<std::string> names;
    for (const std::string& file : files) {
        if (names.insert(fs::path(file).filename().string()).second) {
            result.insert(file);
        }
    }
    return result;
}

// Several builds of one library: the one that is not taken may be the one that was meant.
void tellChoice(const Contents& found) {
    for (const auto& [name, folders] : found.libraries) {
        if (folders.size() > 1) {
            fmt::print(stderr, "note: {} is taken from {}, not from {}; --modules names another\n",
                       name, *folders.begin(),
                       fmt::join(std::next(folders.begin()), folders.end(), ", "));
        }
    }
}

void fill(std::vector<std::string>& list, const std::set<std::string>& found) {
    if (list.empty()) {
        list.assign(found.begin(), found.end());
    }
}

}  // namespace

void Package::addOptions(CLI::App& command, Needs given) {
    needs = given;
    command
        .add_option("package", folder,
                    needs == Needs::All ? "Folder with the package's MOF files and modules"
                                        : "Folder with MOF files and modules, or a MOF file")
        ->check(needs == Needs::All ? CLI::Validator(CLI::ExistingDirectory)
                                    : CLI::Validator(CLI::ExistingPath));
    command.add_option("--schema", schemas, "MOF files of the classes, in this order")
        ->check(CLI::ExistingPath);
    command.add_option("--registration", registrations, "MOF files of the registrations")
        ->check(CLI::ExistingPath);
    command.add_option("--modules", modules, "Folders of the provider libraries (lib*.so)")
        ->check(CLI::ExistingDirectory);
    command.add_option("-n,--namespace", nameSpace, "Namespace of the classes")
        ->capture_default_str();
    addIncludeOption(command, includes);
}

void Package::takeFolder(std::vector<std::string>& list) {
    if (folder.empty() && !list.empty() && fs::is_directory(list.back())) {
        folder = list.back();
        list.pop_back();
    }
}

void Package::resolve() {
    takeFolder(schemas);
    takeFolder(registrations);
    if (modules.size() > 1 && (schemas.empty() || registrations.empty())) {
        takeFolder(modules);
    }
    for (const auto* list : {&schemas, &registrations}) {
        const auto isFolder = [](const std::string& path) { return fs::is_directory(path); };
        const auto found = std::find_if(list->begin(), list->end(), isFolder);
        if (found != list->end()) {
            throw UsageError(*found + " is a folder, where a MOF file is expected");
        }
    }
    if (!folder.empty() && !fs::is_directory(folder)) {
        (velmar_embedded::outlineOfMofFile(folder).registersProviders() ? registrations : schemas)
            .push_back(folder);
    } else if (!folder.empty()) {
        const Contents found = contentsOf(folder);
        fill(schemas, withoutIncluded(found.schemas, includes));
        fill(registrations, onceEach(found.registrations));
        if (modules.empty()) {
            tellChoice(found);
        }
        fill(modules, found.modules);
    }
    const std::string place = folder.empty() ? "" : " in " + folder;
    if (needs == Needs::Model && (registrations.empty() || modules.empty())) {
        leaveOutProviders(place);
    }
    if (schemas.empty()) {
        throw UsageError("no MOF file of the classes" + place + "; name it with --schema");
    }
    if (needs == Needs::All && registrations.empty()) {
        throw UsageError("no MOF file of the registrations (instances of PG_Provider)" + place +
                         "; build the package, or name it with --registration");
    }
    if (needs == Needs::All && modules.empty()) {
        throw UsageError("no provider library (lib*.so)" + place +
                         "; build the package, or name the folder with --modules");
    }
}

void Package::leaveOutProviders(const std::string& place) {
    if (!modules.empty()) {
        fmt::print(stderr,
                   "note: no MOF file of the registrations{}: the classes are served without "
                   "providers\n",
                   place);
    } else if (!registrations.empty() || fs::exists(fs::path(folder) / "CMakeLists.txt")) {
        fmt::print(stderr,
                   "note: no provider library (lib*.so){}: the classes are served without "
                   "providers; build the package to have them\n",
                   place);
    }
    registrations.clear();
    modules.clear();
}

void Package::load(velmar_embedded::Server& server) const {
    for (const std::string& file : schemas) {
        server.compileMof(nameSpace, file, includes);
    }
    for (const std::string& file : registrations) {
        server.compileMof(velmar_embedded::interopNamespace, file, includes);
    }
    for (const std::string& directory : modules) {
        server.addProviderDirectory(directory);
    }
}

}  // namespace velmar_cli
