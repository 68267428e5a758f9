// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Package.h"

#include <fmt/format.h>

#include <algorithm>

#include "Model.h"
#include "Names.h"
#include "PackageWriters.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

bool isServed(const ClassModel& model) { return model.kind != Kind::None; }

std::vector<ClassModel> readModels(const Reader& reader, const Options& options) {
    std::vector<ClassModel> models;
    for (const std::string& name : options.classes) {
        ClassModel model = reader.read(name);
        if (!isServed(model) && !model.keys().empty()) {
            throw GeneratorError(model.refusal());
        }
        const bool isNamedTwice =
            std::any_of(models.begin(), models.end(),
                        [&](const ClassModel& one) { return one.name == model.name; });
        if (!isNamedTwice) {
            models.push_back(std::move(model));
        }
    }
    if (std::none_of(models.begin(), models.end(), isServed)) {
        throw GeneratorError(models.front().refusal() + ", or name a class that it is embedded in");
    }
    return models;
}

// What an alert of a new package may be about: enrichment fails for a system that is in no domain,
// as those of a new package are.
const ClassModel* alertingElement(const Reader& reader, const Options& options,
                                  const std::vector<ClassModel>& models) {
    const auto isEnriched = [&](const std::string& name) {
        return name == "QORP_ComputerSystem" || name == "QORP_LPAR_CS";
    };
    for (const ClassModel& model : models) {
        const std::vector<std::string> lineage = reader.lineage(model.name);
        if (model.kind == Kind::Instances &&
            (!reader.enriches(options) ||
             std::none_of(lineage.begin(), lineage.end(), isEnriched))) {
            return &model;
        }
    }
    return nullptr;
}

// Concrete classes whose nearest served relative is a superclass, with that.
std::vector<std::pair<std::string, std::string>> unserved(const Reader& reader,
                                                          const std::vector<ClassModel>& models) {
    const auto isNamed = [&](const std::string& name) {
        return std::any_of(models.begin(), models.end(),
                           [&](const ClassModel& one) { return one.name == name; });
    };
    std::vector<std::pair<std::string, std::string>> result;
    for (const ClassModel& model : models) {
        if (model.kind == Kind::Alert || !isServed(model)) {
            continue;
        }
        for (const std::string& name : reader.concreteSubclasses(model.name)) {
            const std::vector<std::string> lineage = reader.lineage(name);
            const auto nearest = std::find_if(lineage.begin(), lineage.end(), isNamed);
            if (nearest != lineage.begin() && *nearest == model.name) {
                result.emplace_back(name, model.name);
            }
        }
    }
    return result;
}

const char* const UNSERVED_RULE = "registration.unserved-subclass";

std::string checkOptions(const Options& options, bool hasUnserved) {
    std::string result;
    if (!isUsualNamespace(options)) {
        result += " --namespace " + options.cimNamespace;
    }
    return result + (hasUnserved ? std::string(" --allow ") + UNSERVED_RULE : "");
}

}  // namespace

std::string packageCheckOptions(const velmar_embedded::Repository& repository,
                                const Options& options) {
    const Reader reader(repository, options);
    return checkOptions(options, !unserved(reader, readModels(reader, options)).empty());
}

std::vector<GeneratedFile> packageFiles(const velmar_embedded::Repository& repository,
                                        const Options& options, const std::string& schema) {
    const Reader reader(repository, options);
    const std::vector<ClassModel> models = readModels(reader, options);
    const ClassModel* const element = alertingElement(reader, options, models);
    const bool hasUnserved = !unserved(reader, models).empty();
    std::vector<GeneratedFile> files = {
        {"CMakeLists.txt", packageBuildFile(options, models, schema)},
        {"README.md", packageReadme(options, models, schema, checkOptions(options, hasUnserved))}};
    if (!options.watcher.empty()) {
        files.push_back({"src/" + options.watcher + ".h", watcherHeader(options)});
        files.push_back({"src/" + options.watcher + ".cpp", watcherSource(options, models)});
    }
    for (const ClassModel& model : models) {
        if (isServed(model)) {
            files.push_back({"src/" + model.cppName + "Provider.h", userHeader(options, model)});
            files.push_back(
                {"src/" + model.cppName + "Provider.cpp", userSource(options, model, models)});
            files.push_back({"tests/" + model.cppName + "Test.cpp",
                             userTest(options, model, element, hasUnserved ? UNSERVED_RULE : "")});
        }
    }
    for (GeneratedFile& file : files) {
        file.text = file.path.rfind("src/", 0) == 0 || file.path.rfind("tests/", 0) == 0
                        ? wrapped(file.text)
                        : file.text;
    }
    return files;
}

std::vector<std::string> packageRemarks(const velmar_embedded::Repository& repository,
                                        const Options& options) {
    const Reader reader(repository, options);
    std::vector<std::string> remarks;
    const std::vector<ClassModel> models = readModels(reader, options);
    const auto lacking = unserved(reader, models);
    for (const ClassModel& model : models) {
        const auto isOfThis = [&](const auto& one) { return one.second == model.name; };
        const auto first = std::find_if(lacking.begin(), lacking.end(), isOfThis);
        if (first != lacking.end()) {
            const auto others = std::count_if(lacking.begin(), lacking.end(), isOfThis) - 1;
            remarks.push_back(fmt::format(
                "class {}: no provider serves its subclass {}{}, and a registration is not "
                "inherited; "
                "name the classes that there are objects of",
                model.name, first->first, others == 0 ? "" : fmt::format(" and {} more", others)));
        }
        if (!isServed(model)) {
            remarks.push_back("class " + model.name + ": a typed class without a provider, since " +
                              model.reason);
        } else if (!model.reason.empty()) {
            remarks.push_back("class " + model.name + ": " + model.reason +
                              "; velmar check says so, too");
        }
        for (const Element& property : model.properties) {
            if (property.type == Pegasus::CIMTYPE_REFERENCE &&
                !reader.has(property.referenceClass)) {
                remarks.push_back(
                    fmt::format("class {}: {} refers to class {}, which the schema "
                                "lacks; is a file missing?",
                                model.name, property.name, property.referenceClass));
            }
        }
    }
    return remarks;
}

}  // namespace velmar_generator
