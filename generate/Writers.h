// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The texts of the generated files, one function each.
#ifndef VELMAR_GENERATOR_WRITERS_H
#define VELMAR_GENERATOR_WRITERS_H

#include <string>
#include <vector>

#include "Model.h"

namespace velmar_generator {

/// A class's place among the typed paths.
struct PathClass {
    std::string name;
    std::string superclass;  ///< empty: none
};

/// The one in which the library raises alerts and looks for associations.
inline constexpr const char* USUAL_NAMESPACE = "root/velmar_remote";
bool isUsualNamespace(const Options& options);

/// Paths.h: superclasses stand before their subclasses. `models` have headers of their own.
std::string pathsHeader(const Options& options, const std::vector<ClassModel>& models,
                        const std::vector<PathClass>& classes);
/// NAME.h: the typed class.
std::string classHeader(const Options& options, const ClassModel& model);
/// NAMEProviderBase.h: what the user's provider class derives from.
std::string providerHeader(const Options& options, const ClassModel& model, bool enriched);
/// Factory.cpp: PegasusCreateProvider.
std::string factorySource(const Options& options, const std::vector<ClassModel>& served);
/// The registration, MOF for root/PG_InterOp.
std::string registrationMof(const Options& options, const std::vector<ClassModel>& served);

}  // namespace velmar_generator

#endif
