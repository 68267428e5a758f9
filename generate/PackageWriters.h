// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The texts of a package's files that belong to the user, one function each.
#ifndef VELMAR_GENERATOR_PACKAGEWRITERS_H
#define VELMAR_GENERATOR_PACKAGEWRITERS_H

#include <string>
#include <vector>

#include "Model.h"

namespace velmar_generator {

// `models` are all classes of the package; those of kind None are typed classes only.
std::string packageBuildFile(const Options& options, const std::vector<ClassModel>& models,
                             const std::string& schema);
/// `checkOptions` as packageCheckOptions gives them.
std::string packageReadme(const Options& options, const std::vector<ClassModel>& models,
                          const std::string& schema, const std::string& checkOptions);
/// The class that watches the device, options.watcher.
std::string watcherHeader(const Options& options);
std::string watcherSource(const Options& options, const std::vector<ClassModel>& models);
std::string userHeader(const Options& options, const ClassModel& model);
std::string userSource(const Options& options, const ClassModel& model,
                       const std::vector<ClassModel>& models);
/// `element` is what an alert's test raises it about; null: nothing fits. Findings with the id
/// `allowed` do not fail it; empty: all fail it.
std::string userTest(const Options& options, const ClassModel& model, const ClassModel* element,
                     const std::string& allowed);

/// The types of a parameter and of the result of a method's hook.
std::string parameterType(const Element& parameter);
std::string resultType(const Method& method);

}  // namespace velmar_generator

#endif
