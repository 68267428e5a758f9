// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What velmar check says: one JSON document, which machines get as it is and readers as a text.
#ifndef VELMAR_CLI_CHECKREPORT_H
#define VELMAR_CLI_CHECKREPORT_H

#include <velmar_embedded/Figures.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "check/Driver.h"

namespace velmar_cli {

struct Results {
    std::vector<velmar_checks::Finding> findings;
    size_t allowed = 0;  ///< findings that are not among them
    size_t more = 0;     ///< findings dropped for lack of room
    std::vector<velmar_driver::ClassReport> classes;
    std::vector<velmar_embedded::Figure> figures;
};

nlohmann::ordered_json toJson(const velmar_checks::Finding& finding);
nlohmann::ordered_json toJson(const Results& results);
nlohmann::ordered_json toJson(const std::vector<velmar_embedded::Figure>& figures);
/// A line for each of the figures in a list that toJson gave.
std::string tableOf(const nlohmann::ordered_json& figures);
/// Its text; bytes that are not UTF-8 are replaced.
std::string textOf(const nlohmann::ordered_json& document, int indentation);

/// Findings, a line each, a table of the classes, and their sums, of what toJson(Results) gave.
std::string forReaders(const nlohmann::ordered_json& document,
                       const velmar_driver::DriveOptions& options, bool figures);

/// The same as JUnit XML: a test case for each class, and one for what is not of a class that was
/// asked; it fails with all its findings.
std::string forBuildServers(const nlohmann::ordered_json& document);

}  // namespace velmar_cli

#endif
