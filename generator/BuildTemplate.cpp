// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Build file and README of a package.
#include <fmt/format.h>

#include <cctype>

#include "Names.h"
#include "PackageWriters.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

// The file of each class that is served, one a line.
std::string files(const std::vector<ClassModel>& models, const char* before, const char* after) {
    std::string text;
    for (const ClassModel& model : models) {
        text += model.kind == Kind::None
                    ? ""
                    : fmt::format("\n            {}{}{}", before, model.cppName, after);
    }
    return text;
}

}  // namespace

std::string packageBuildFile(const Options& options, const std::vector<ClassModel>& models,
                             const std::string& schema) {
    std::string classes;
    for (const ClassModel& model : models) {
        classes += "\n            " + model.name;
    }
    std::string more = options.watcher.empty() ? "" : "\n    WATCHER " + options.watcher;
    more += options.clientsMay.empty() ? "" : "\n    CLIENTS_MAY";
    for (const std::string& word : options.clientsMay) {
        more += " " + word;
    }
    return fmt::format(
        "cmake_minimum_required(VERSION 3.20)\nproject({0} LANGUAGES CXX)\n"
        "# Unless told otherwise: optimised, and reports name file and line.\n"
        "if(NOT CMAKE_BUILD_TYPE)\n    set(CMAKE_BUILD_TYPE RelWithDebInfo)\nendif()\n"
        "find_package(velmar_remote REQUIRED)\n\n"
        "# Typed classes, provider bases, the factory and the registration are made of the MOF "
        "file\n"
        "# whenever it changes. The library is lib{0}.so.\n"
        "velmar_add_provider({0} {1}\n    CPP_NAMESPACE {2}{3}{4}{8}\n    CLASSES{5}\n"
        "    SOURCES{6})\n"
        "target_compile_options({0}_objects PRIVATE -Wall -Wextra -Wconversion "
        "-Woverloaded-virtual)\n\n"
        "include(CTest)\n"
        "if(BUILD_TESTING AND velmar_remote_SERVER STREQUAL \"embedded\")\n"
        "    velmar_add_provider_test({0}{7})\nendif()\n",
        options.module, schema, options.cppNamespace,
        isUsualNamespace(options) ? "" : "\n    CIM_NAMESPACE " + options.cimNamespace,
        options.enrichment == false ? "\n    NO_ENRICHMENT" : "", classes,
        (options.watcher.empty() ? "" : "\n            src/" + options.watcher + ".cpp") +
            files(models, "src/", "Provider.cpp"),
        files(models, "tests/", "Test.cpp"), more);
}

std::string packageReadme(const Options& options, const std::vector<ClassModel>& models,
                          const std::string& schema, const std::string& checkOptions) {
    std::string classes;
    std::string first;
    bool firstIsAlert = false;
    for (const ClassModel& model : models) {
        if (model.kind == Kind::None) {
            classes += fmt::format("| `{}` | none, a typed class only: {} | |\n", model.name,
                                   model.reason);
            continue;
        }
        if (first.empty() || firstIsAlert) {  // alerts are not enumerated
            first = model.name;
            firstIsAlert = model.kind == Kind::Alert;
        }
        classes += fmt::format(
            "| `{0}` | [src/{1}Provider.cpp](src/{1}Provider.cpp) | "
            "[tests/{1}Test.cpp](tests/{1}Test.cpp) |\n",
            model.name, model.cppName);
    }
    return fmt::format(
        "# {0}\n\nA provider package for an OpenPegasus CIM server, made by `velmar new`.\n\n"
        "| Class | Provider | Test |\n|---|---|---|\n{1}\n"
        "The places to fill in are marked `FILL IN`. `{2}` is the source of everything else: "
        "typed\n"
        "classes, provider bases, the factory and the registration are generated from it into the\n"
        "build folder (`build/{0}-generated`) and are not to be edited.\n\n"
        "## Build, test, check, serve\n\n```sh\ncmake -B build        # -DCMAKE_PREFIX_PATH=PREFIX "
        "where velmar_remote is installed\ncmake --build build\nctest --test-dir build "
        "--output-on-failure\nvelmar check{5} .\nvelmar serve{6} . --port 5988\n"
        "wbemcli ein http://127.0.0.1:5988/{3}:{4}    # Debian: sblim-wbemcli\n```\n\n"
        "## Into a real server, and out again\n\n```sh\n"
        "cmake -B build-server -DVELMAR_REMOTE_SERVER=pegasus -DCMAKE_INSTALL_PREFIX=/usr/local "
        "\\\n"
        "      -DVELMAR_PROVIDER_DIR=$PEGASUS_HOME/lib\ncmake --build build-server\n"
        "cmake --install build-server\n"
        "/usr/local/share/{0}/register install   # schema and registration; again after an update\n"
        "/usr/local/share/{0}/register check\n"
        "/usr/local/share/{0}/register remove    # provider, registration and classes\n```\n",
        options.module, classes, schema, options.cimNamespace, first, checkOptions,
        checkOptions.substr(0, checkOptions.find(" --allow")));
}

}  // namespace velmar_generator
