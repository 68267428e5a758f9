// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar new: a provider package for classes of a schema.
#include <fmt/format.h>
#include <velmar_embedded/schema/Mof.h>
#include "schema/MofOutline.h"

#include <cctype>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>

#include "Commands.h"
#include "GeneratorOptions.h"
#include "Package.h"
#include "generate/Names.h"
#include "generate/Package.h"
#include "model/Text.h"

namespace fs = std::filesystem;

namespace velmar_cli {

namespace {

using velmar_generator::GeneratedFile;

struct NewOptions : GeneratorOptions {
    std::string folder;
};

// Of the folder's name: "acme-switches" gives AcmeSwitches.
std::string moduleName(const std::string& folder) {
    fs::path path = fs::absolute(folder).lexically_normal();
    if (!path.has_filename()) {
        path = path.parent_path();
    }
    std::string name;
    bool starts = true;
    for (const char c : path.filename().string()) {
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) {
            starts = true;
            continue;
        }
        name += starts ? static_cast<char>(std::toupper(static_cast<unsigned char>(c))) : c;
        starts = false;
    }
    return name;
}

// Standard files by their places in the list: each comes after those that it needs.
using StandardFiles = std::set<const velmar_generator::MofFile*>;

// A schema that declares one class of a standard file and needs another of it.
void refuseSecondDeclaration(const velmar_embedded::MofError& error, const StandardFiles& added) {
    const velmar_generator::MofFile* file = velmar_generator::standardMofWith(error.name());
    if (error.mistake() == velmar_embedded::MofMistake::AlreadyExists && added.count(file) != 0) {
        throw UsageError(
            fmt::format("{0}:{1}: {2} is declared here, and in the standard file {3}, which is "
                        "added for other classes that the schema lacks; remove it here, or declare "
                        "those other classes, too",
                        error.file(), error.line(), error.name(), file->name));
    }
}

// The standard files that the schema lacks: those that it cannot be compiled without, and those of
// classes that it refers to, as a server's compiler may want to know them; not the latter where the
// schema has other classes of the same file itself.
StandardFiles lackedBy(const NewOptions& options) {
    velmar_embedded::Repository trial;
    const Pegasus::CIMNamespaceName nameSpace(options.generator.cimNamespace.c_str());
    StandardFiles lacked;
    velmar_embedded::MofOptions mof;
    mof.declaring = [&](const std::string& name) -> std::optional<velmar_embedded::MofSource> {
        const velmar_generator::MofFile* const file = velmar_generator::standardMofWith(name);
        if (file == nullptr) {
            return std::nullopt;
        }
        lacked.insert(file);
        return velmar_embedded::MofSource{file->name, file->text};
    };
    try {
        options.compile(trial, mof.declaring);
    } catch (const velmar_embedded::MofError&) {
        return lacked;  // compiling the package's files in their order says it
    }
    while (const auto* file = velmar_generator::standardMofReferredTo(trial, nameSpace)) {
        const StandardFiles before = lacked;
        lacked.insert(file);
        try {
            velmar_embedded::compileMofText(trial, nameSpace, file->text, file->name, mof);
        } catch (const velmar_embedded::MofError&) {
            return before;
        }
    }
    return lacked;
}

// Compiles the schema after the standard files that it lacks, which it returns.
StandardFiles compile(const NewOptions& options, velmar_embedded::Repository& result) {
    StandardFiles lacked = lackedBy(options);
    for (const velmar_generator::MofFile* file : lacked) {
        velmar_embedded::compileMofText(result, options.generator.cimNamespace.c_str(), file->text,
                                        file->name);
    }
    try {
        options.compile(result);
    } catch (const velmar_embedded::MofError& error) {
        refuseSecondDeclaration(error, lacked);
        throw;
    }
    return lacked;
}

bool isOutside(const fs::path& place) { return place.empty() || *place.begin() == ".."; }

std::string textOf(const std::string& file) {
    std::string text;
    velmar_embedded::readMof(file, text);
    return text;
}

// Build tools and MOF take no such character for a part of a name.
void refuseUnfit(const std::string& what, const std::string& name) {
    const auto isUnfit = [](unsigned char c) {
        return c < 0x20 || c == 0x7F || std::strchr("\"\\$[];", c) != nullptr;
    };
    if (std::any_of(name.begin(), name.end(), isUnfit)) {
        throw UsageError(
            fmt::format("{} {}: its name has one of the characters \" \\ $ [ ] ; or a control "
                        "character, which build tools do not take for a part of a name; rename it",
                        what, velmar_generator::literal(name)));
    }
}

// Where a file stands in the package: as seen from the folder of the first schema or from an
// include folder, whichever is nearer.
fs::path placeOf(const std::string& file, const NewOptions& options) {
    const fs::path base = fs::absolute(options.schemas.front()).parent_path().lexically_normal();
    const fs::path path = fs::absolute(file).lexically_normal();
    fs::path place = path.lexically_relative(base);
    for (const std::string& folder : options.includes) {
        const fs::path from = path.lexically_relative(fs::absolute(folder).lexically_normal());
        if (!isOutside(from) &&
            (isOutside(place) || from.string().size() < place.string().size())) {
            place = from;
        }
    }
    if (isOutside(place)) {
        throw UsageError(file + ": is not in or below " + base.string() +
                         ", where the first MOF file is, nor of a folder of --include; put what "
                         "belongs together there");
    }
    refuseUnfit("the MOF file", place.string());
    return "mof" / place;
}

// The user's files as they are, where they find each other.
std::vector<GeneratedFile> userMofFiles(const NewOptions& options) {
    std::vector<GeneratedFile> files;
    for (const std::string& file :
         velmar_embedded::withIncludes(options.schemas, options.includes)) {
        const fs::path place = placeOf(file, options);
        const std::string text = textOf(file);
        for (const std::string& name : velmar_embedded::outlineOfMof(text).includes) {
            const std::string included =
                velmar_embedded::includedFile(file, name, options.includes);
            const fs::path expected = (place.parent_path() / name).lexically_normal();
            if (fs::path(name).is_relative() && placeOf(included, options) != expected) {
                throw UsageError(fmt::format(
                    "{}: includes \"{}\", which is {} and would stand in the package as {}; write "
                    "the path from {} in the #pragma, or give one --include folder",
                    file, name, included, placeOf(included, options).string(),
                    fs::path(file).parent_path().string()));
            }
        }
        files.push_back({place.string(), text});
    }
    return files;
}

// What a shell and CMake take as it is.
bool isPlain(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || std::strchr("_./+:,@%-", c) != nullptr;
    });
}

// The MOF files of the package: the user's, and the standard ones that they need. The first of them
// includes all others: the user's, if there is one with a plain name, else one made for it.
std::vector<GeneratedFile> mofFiles(const NewOptions& options, const std::string& module,
                                    const StandardFiles& needed) {
    std::vector<GeneratedFile> files = userMofFiles(options);
    const auto isThere = [&](const std::string& path) {
        return std::any_of(files.begin(), files.end(),
                           [&](const GeneratedFile& one) { return one.path == path; });
    };
    std::string text;
    for (const velmar_generator::MofFile* file : needed) {
        const std::string place = std::string("cim/") + file->name;
        if (isThere("mof/" + place)) {
            throw UsageError(place +
                             ": has the place of a standard file that the schema needs, "
                             "too; give it another name");
        }
        files.push_back({"mof/" + place, file->text});
        text += "#pragma include (\"" + place + "\")\n";
    }
    if (options.schemas.size() == 1 && isPlain(files.front().path)) {
        if (!needed.empty()) {
            std::string& own = files.front().text;
            const std::string mark = "\xEF\xBB\xBF";  // of UTF-8, in front of anything
            own.insert(own.compare(0, mark.size(), mark) == 0 ? mark.size() : 0, text + "\n");
        }
        return files;
    }
    for (const std::string& schema : options.schemas) {
        const fs::path place = placeOf(schema, options).lexically_relative("mof");
        text += "#pragma include (\"" + place.string() + "\")\n";
    }
    std::string top = "mof/" + module + "Schema.mof";
    if (isThere(top)) {
        top = "mof/" + module + "Package.mof";
    }
    files.insert(files.begin(), {top, "// The schemas of this package, in their order.\n" + text});
    return files;
}

// What is there belongs to the user.
void writeMissing(const std::string& folder, const std::vector<GeneratedFile>& files) {
    std::vector<const GeneratedFile*> kept;
    std::string sources;
    for (const GeneratedFile& file : files) {
        if (velmar_generator::writeNew(folder, file)) {
            fmt::print("wrote {}/{}\n", folder, file.path);
            sources += fs::path(file.path).extension() == ".cpp" ? "\n    " + file.path : "";
        } else {
            kept.push_back(&file);
        }
    }
    for (const GeneratedFile* file : kept) {
        fmt::print("kept  {}/{}\n", folder, file->path);
    }
    for (const GeneratedFile* file : kept) {
        if (file->path == "CMakeLists.txt" && !sources.empty()) {
            fmt::print("Name the new sources and their classes in {}/{}, which is yours:{}\n",
                       folder, file->path, sources);
        }
        if (file->path.rfind("mof/", 0) == 0 && textOf(folder + "/" + file->path) != file->text) {
            fmt::print(
                "{}/{} is yours, and what it says is not what the schema given now says: "
                "change it there.\n",
                folder, file->path);
        }
    }
}

// As a shell takes it.
std::string argument(const std::string& text) {
    if (isPlain(text)) {
        return text;
    }
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

ExitCode create(NewOptions& options) {
    velmar_generator::Options generator = options.resolved();
    while (options.folder.size() > 1 && options.folder.back() == '/') {
        options.folder.pop_back();
    }
    refuseUnfit("the folder", fs::absolute(options.folder).string());
    if (generator.module.empty()) {
        generator.module = moduleName(options.folder);
    }
    if (generator.cppNamespace.empty()) {
        generator.cppNamespace = velmar_embedded::lowerCase(generator.module);
    }
    velmar_embedded::Repository repository;
    const auto needed = compile(options, repository);
    velmar_generator::generate(repository,
                               generator);  // says what is wrong before anything is made
    const std::vector<GeneratedFile> mof = mofFiles(options, generator.module, needed);
    std::vector<GeneratedFile> files =
        velmar_generator::packageFiles(repository, generator, mof.front().path);
    files.insert(files.end(), mof.begin(), mof.end());
    writeMissing(options.folder, files);
    for (const std::string& remark : velmar_generator::packageRemarks(repository, generator)) {
        fmt::print("note: {}\n", remark);
    }
    fmt::print(
        "\nNext: look for TODO in {1}, then\n"
        "    cmake -S {0} -B {2} && cmake --build {2}\n"
        "    ctest --test-dir {2}\n    velmar check{3} {0}\n",
        argument(options.folder), argument(options.folder + "/src"),
        argument(options.folder + "/build"),
        velmar_generator::packageCheckOptions(repository, generator));
    return Good;
}

}  // namespace

void addNew(CLI::App& app, Run& run) {
    CLI::App& command = *app.add_subcommand(
        "new",
        "Writes a provider package for classes of a schema: it builds, passes its tests and "
        "velmar check, and has the places to fill in marked");
    auto options = std::make_shared<NewOptions>();
    command.add_option("folder", options->folder, "Folder of the package; what it holds is kept")
        ->required();
    options->addOptions(command);
    command.add_option("--module", options->generator.module,
                       "Name of the provider library (from the folder's name)");
    command.footer(
        "Standard qualifiers and classes that the schema uses and does not declare are added.\n\n"
        "Examples:\n"
        "  velmar new acme-switches --schema Acme.mof --class ACME_Switch ACME_Port\n"
        "  velmar new fans --schema Fans.mof --class EX_Fan --cpp-namespace ex --module ExFans");
    command.callback([options, &run] { run = [options] { return create(*options); }; });
}

}  // namespace velmar_cli
