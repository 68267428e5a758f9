// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Package.h"

#include <fmt/format.h>

#include <algorithm>

#include "Model.h"
#include "Names.h"
#include "PackageWriters.h"

namespace velmar_generator {

std::vector<GeneratedFile> packageFiles(const velmar_embedded::Repository& repository,
                                        const Options& options, const std::string& schema) {
    const Reader reader(repository, options);
    std::vector<ClassModel> served;
    for (const std::string& name : options.classes) {
        ClassModel model = reader.read(name);
        if (model.kind == Kind::None) {
            throw GeneratorError("class " + model.name + " cannot be served: " + model.reason);
        }
        const bool isNamedTwice =
            std::any_of(served.begin(), served.end(),
                        [&](const ClassModel& one) { return one.name == model.name; });
        if (!isNamedTwice) {
            served.push_back(std::move(model));
        }
    }
    std::vector<GeneratedFile> files = {
        {"CMakeLists.txt", packageBuildFile(options, served, schema)},
        {"README.md", packageReadme(options, served, schema)}};
    for (const ClassModel& model : served) {
        files.push_back({"src/" + model.cppName + "Provider.h", userHeader(options, model)});
        files.push_back({"src/" + model.cppName + "Provider.cpp", userSource(options, model)});
        files.push_back({"tests/" + model.cppName + "Test.cpp", userTest(options, model, served)});
    }
    return files;
}

}  // namespace velmar_generator
