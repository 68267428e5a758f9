// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Generator.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "Model.h"
#include "Names.h"
#include "Writers.h"

namespace fs = std::filesystem;

namespace velmar_generator {

namespace {

// The classes whose paths are needed, superclasses first: those of the served classes and of all
// that they refer to.
std::vector<PathClass> pathClasses(const Reader& reader, const std::vector<ClassModel>& models) {
    std::vector<PathClass> result;
    std::set<std::string> known;
    std::map<std::string, std::string> cppNames;
    const auto take = [&](const std::string& name) {
        // A class that the schema leaves out, as it may those of references that are not used.
        const std::vector<std::string> lineage =
            reader.has(name) ? reader.lineage(name) : std::vector<std::string>{name};
        for (size_t i = lineage.size(); i-- > 0;) {
            if (known.insert(lineage[i]).second) {
                const auto same = cppNames.insert({classNameOf(lineage[i]), lineage[i]});
                if (!same.second) {
                    throw GeneratorError(fmt::format("classes {} and {} would both be {} in C++",
                                                     same.first->second, lineage[i],
                                                     same.first->first));
                }
                result.push_back({lineage[i], i + 1 < lineage.size() ? lineage[i + 1] : ""});
            }
        }
    };
    for (const ClassModel& model : models) {
        take(model.name);
        for (const Element& property : model.properties) {
            if (property.type == Pegasus::CIMTYPE_REFERENCE) {
                take(property.referenceClass);
            }
        }
        for (const Method& method : model.methods) {
            for (const Element& parameter : method.parameters) {
                if (parameter.type == Pegasus::CIMTYPE_REFERENCE) {
                    take(parameter.referenceClass);
                }
            }
        }
    }
    return result;
}

void checkOptions(const Options& options) {
    const auto check = [](const std::string& name, const char* what) {
        if (Scope().add(name) != name) {
            throw GeneratorError(fmt::format(
                "\"{}\" cannot be {}: {}", name, what,
                isReserved(name) ? "C++ or the generated code has that name for something else"
                                 : "letters, digits and single underscores, a letter first"));
        }
    };
    if (!options.module.empty()) {
        check(options.module, "the name of a module (--module)");
    }
    if (options.cppNamespace.empty()) {
        throw GeneratorError("no C++ namespace is named (--cpp-namespace)");
    }
    check(options.cppNamespace, "a C++ namespace (--cpp-namespace)");
    if (!options.watcher.empty()) {
        check(options.watcher, "the name of a watcher (--watcher)");
        if (options.module.empty()) {
            throw GeneratorError("--watcher: it belongs to a factory, which --module asks for");
        }
    }
    if (options.classes.empty()) {
        throw GeneratorError("no class is named");
    }
}

void checkNamespace(const Options& options, const ClassModel& model) {
    const bool isBound = model.kind == Kind::Alert || model.kind == Kind::Association;
    if (isBound && !isUsualNamespace(options)) {
        throw GeneratorError(fmt::format(
            "class {} is {}, which the library serves in the namespace {} only, not in {}",
            model.name, model.kind == Kind::Alert ? "an indication" : "an association",
            USUAL_NAMESPACE, options.cimNamespace));
    }
}

std::vector<ClassModel> readClasses(const Reader& reader, const Options& options) {
    std::vector<ClassModel> models;
    for (const std::string& name : options.classes) {
        ClassModel model = reader.read(name);
        if (model.isAbstract) {
            throw GeneratorError("class " + model.name +
                                 " is abstract, so it has no instances; name a subclass");
        }
        checkNamespace(options, model);
        const bool isKnown = std::any_of(models.begin(), models.end(), [&](const ClassModel& one) {
            return one.name == model.name;
        });
        if (!isKnown) {
            models.push_back(std::move(model));
        }
    }
    return models;
}

// A served class takes three names, each of a C++ class and of a header.
void checkClashes(const Options& options, const std::vector<ClassModel>& models) {
    std::map<std::string, std::string> taken = {{options.cppNamespace, "the C++ namespace"},
                                                {"Paths", "a generated header"}};
    const auto take = [&](const std::string& name, const std::string& what) {
        const auto [same, isNew] = taken.insert({name, what});
        if (!isNew) {
            throw GeneratorError(
                fmt::format("{} would be the name of {} and of {}: {}", name, same->second, what,
                            name == options.cppNamespace ? "choose another namespace"
                                                         : "make them in packages of their own"));
        }
    };
    if (!options.watcher.empty()) {
        take(options.watcher, "the watcher");
    }
    for (const ClassModel& model : models) {
        take(model.cppName, "class " + model.name);
        take(model.cppName + "ProviderBase",
             "what the provider of " + model.name + " derives from");
        if (model.kind != Kind::None) {
            take(model.cppName + "Provider", "the provider of " + model.name);
        }
    }
}

// The library creates and deletes associations as a client; the others are what the device has.
void setClients(const Options& options, std::vector<ClassModel>& models) {
    for (ClassModel& model : models) {
        model.clients = model.kind == Kind::Association ? "cim::CREATE | cim::DELETE" : "cim::READ";
    }
    const std::map<std::string, std::string> rights = {
        {"create", "cim::CREATE"},
        {"delete", "cim::DELETE"},
        {"create,delete", "cim::CREATE | cim::DELETE"},
        {"delete,create", "cim::CREATE | cim::DELETE"}};
    auto right = rights.end();
    for (const std::string& word : options.clientsMay) {
        const auto next = rights.find(word);
        right = next == rights.end() ? right : next;
        if (right == rights.end()) {
            throw GeneratorError(fmt::format(
                "--clients-may: found {}, expected create, delete or create,delete before it",
                word));
        }
        if (next != rights.end()) {
            continue;
        }
        const auto model = std::find_if(models.begin(), models.end(), [&](const ClassModel& one) {
            return one.kind == Kind::Instances &&
                   Pegasus::String::equalNoCase(one.name.c_str(), word.c_str());
        });
        if (model == models.end()) {
            throw GeneratorError("--clients-may: found " + word +
                                 ", expected a class with instances that --class names, too");
        }
        model->clients = right->second;
    }
}

}  // namespace

bool isUsualNamespace(const Options& options) {
    return Pegasus::CIMNamespaceName(options.cimNamespace.c_str()) ==
           Pegasus::CIMNamespaceName(USUAL_NAMESPACE);
}

std::vector<GeneratedFile> generate(const velmar_embedded::Repository& schema,
                                    const Options& options) {
    checkOptions(options);
    const Reader reader(schema, options);
    std::vector<ClassModel> models = readClasses(reader, options);
    checkClashes(options, models);
    setClients(options, models);
    std::vector<GeneratedFile> files = {
        {"Paths.h", pathsHeader(options, models, pathClasses(reader, models))}};
    std::vector<ClassModel> served;
    for (const ClassModel& model : models) {
        files.push_back({model.cppName + ".h", classHeader(options, model)});
        if (model.kind == Kind::None) {
            // Can be used, for example embedded in others. Who served it, before a key was lost,
            // hears why there is no base any more.
            files.push_back(
                {model.cppName + "ProviderBase.h",
                 "// Generated by velmar from the schema; changes are lost.\n#error \"" +
                     model.refusal() + "; or take its provider out of the build\"\n"});
            continue;
        }
        served.push_back(model);
        files.push_back({model.cppName + "ProviderBase.h",
                         providerHeader(options, model, reader.enriches(options))});
    }
    if (!options.module.empty()) {
        files.push_back({"Factory.cpp", factorySource(options, served)});
    }
    for (GeneratedFile& file : files) {
        file.text = wrapped(file.text);
    }
    if (!options.module.empty()) {
        files.push_back({options.module + "Registration.mof", registrationMof(options, served)});
    }
    return files;
}

namespace {

std::string textOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw fs::filesystem_error("cannot write", path, std::make_error_code(std::errc::io_error));
    }
}

}  // namespace

void writeFiles(const std::string& folder, const std::vector<GeneratedFile>& files) {
    std::string listed;
    std::set<std::string> names;
    for (const GeneratedFile& file : files) {
        const fs::path path = fs::path(folder) / file.path;
        fs::create_directories(path.parent_path());
        if (!fs::exists(path) || textOf(path) != file.text) {
            writeFile(path, file.text);
        }
        listed += file.path + "\n";
        names.insert(file.path);
    }
    // What only an earlier call wrote would still be compiled against.
    const fs::path list = fs::path(folder) / ".velmar-generated";
    const std::string before = textOf(list);
    std::istringstream lines(before);
    for (std::string name; std::getline(lines, name);) {
        if (names.count(name) == 0) {
            fs::remove(fs::path(folder) / name);
        }
    }
    if (listed != before) {
        writeFile(list, listed);
    }
}

bool writeNew(const std::string& folder, const GeneratedFile& file) {
    const fs::path path = fs::path(folder) / file.path;
    if (fs::exists(path)) {
        return false;
    }
    fs::create_directories(path.parent_path());
    writeFile(path, file.text);
    return true;
}

}  // namespace velmar_generator
