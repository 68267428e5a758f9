// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Build file and README of a package.
#include <vector>

#include "PackageWriters.h"
#include "Printer.h"
#include "Writers.h"

namespace velmar_generator {

namespace {

// The file of each class that is served, one a line.
std::string files(const std::vector<ClassModel>& models, const std::string& before,
                  const std::string& after) {
    std::string text;
    for (const ClassModel& model : models) {
        text += model.kind == Kind::None ? "" : "\n            " + before + model.cppName + after;
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
    std::string arguments;
    if (!isUsualNamespace(options)) {
        arguments += "\n    CIM_NAMESPACE " + options.cimNamespace;
    }
    arguments += options.enrichment == false ? "\n    NO_ENRICHMENT" : "";
    arguments += options.watcher.empty() ? "" : "\n    WATCHER " + options.watcher;
    arguments += options.clientsMay.empty() ? "" : "\n    CLIENTS_MAY";
    for (const std::string& word : options.clientsMay) {
        arguments += " " + word;
    }
    return filled(
        R"(
cmake_minimum_required(VERSION 3.20)
project($module$ LANGUAGES CXX)
# Unless told otherwise: optimised, and reports name file and line.
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()
find_package(velmar_remote REQUIRED)

# Typed classes, provider bases, the factory and the registration are made of the MOF file
# whenever it changes. The library is lib$module$.so.
velmar_add_provider($module$ $schema$
    CPP_NAMESPACE $namespace$$arguments$
    CLASSES$classes$
    SOURCES$sources$)
target_compile_options($module$_objects PRIVATE -Wall -Wextra -Wconversion -Woverloaded-virtual)

include(CTest)
if(BUILD_TESTING AND velmar_remote_SERVER STREQUAL "embedded")
    velmar_add_provider_test($module$$tests$)
endif()
)",
        {{"module", options.module},
         {"schema", schema},
         {"namespace", options.cppNamespace},
         {"arguments", arguments},
         {"classes", classes},
         {"sources",
          (options.watcher.empty() ? "" : "\n            src/" + options.watcher + ".cpp") +
              files(models, "src/", "Provider.cpp")},
         {"tests", files(models, "tests/", "Test.cpp")}});
}

std::string packageReadme(const Options& options, const std::vector<ClassModel>& models,
                          const std::string& schema, const std::string& checkOptions) {
    std::string classes;
    std::string first;
    bool firstIsAlert = false;
    for (const ClassModel& model : models) {
        if (model.kind == Kind::None) {
            classes +=
                "| `" + model.name + "` | none, a typed class only: " + model.reason + " | |\n";
            continue;
        }
        if (first.empty() || firstIsAlert) {  // alerts are not enumerated
            first = model.name;
            firstIsAlert = model.kind == Kind::Alert;
        }
        classes += filled(
            "| `$name$` | [src/$Class$Provider.cpp](src/$Class$Provider.cpp) | "
            "[tests/$Class$Test.cpp](tests/$Class$Test.cpp) |\n",
            {{"name", model.name}, {"Class", model.cppName}});
    }
    return filled(R"(
# $module$

A provider package for an OpenPegasus CIM server, made by `velmar new`.

| Class | Provider | Test |
|---|---|---|
$classes$

The places to fill in are marked `TODO`. `$schema$` is the source of everything else: typed
classes, provider bases, the factory and the registration are generated from it into the
build folder (`build/$module$-generated`) and are not to be edited.

## Build, test, check, serve

```sh
cmake -B build        # -DCMAKE_PREFIX_PATH=PREFIX where velmar_remote is installed
cmake --build build
ctest --test-dir build --output-on-failure
velmar check$checkOptions$ .
velmar serve$serveOptions$ . --port 5988
wbemcli ein http://127.0.0.1:5988/$namespace$:$first$    # Debian: sblim-wbemcli
```

## Into a real server, and out again

```sh
cmake -B build-server -DVELMAR_REMOTE_SERVER=pegasus -DCMAKE_INSTALL_PREFIX=/usr/local \
      -DVELMAR_PROVIDER_DIR=$$PEGASUS_HOME/lib
cmake --build build-server
cmake --install build-server
/usr/local/share/$module$/register install   # schema and registration; again after an update
/usr/local/share/$module$/register check
/usr/local/share/$module$/register remove    # provider, registration and classes
```
)",
                  {{"module", options.module},
                   {"classes", classes},
                   {"schema", schema},
                   {"namespace", options.cimNamespace},
                   {"first", first},
                   {"checkOptions", checkOptions},
                   {"serveOptions", checkOptions.substr(0, checkOptions.find(" --allow"))}});
}

}  // namespace velmar_generator
