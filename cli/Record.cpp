// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar record: a namespace of a server or package as MOF.
#include <fmt/format.h>

#include <memory>

#include "AskOutput.h"
#include "Commands.h"
#include "Progress.h"
#include "Target.h"
#include "generate/Package.h"
#include "record/Recorder.h"

namespace velmar_cli {

namespace {

struct RecordArguments {
    Package package;
    std::string target;
    std::string folder;
    Login login;
};

ExitCode record(const RecordArguments& arguments, Pegasus::CIMClient& client) {
    velmar_recording::RecordOptions options;
    options.source = arguments.target;
    options.standardQualifiers = velmar_generator::standardMofWith("Key")->text;
    velmar_recording::Recording recording;
    {
        client.setTimeout(LONG_ANSWER);
        Progress progress;
        options.progress = [&](const velmar_recording::Step& step) {
            progress.show(step.done, step.all, fmt::format("classes ({})", step.what),
                          step.className);
        };
        recording = velmar_recording::record(
            client, Pegasus::CIMNamespaceName(arguments.package.nameSpace.c_str()),
            arguments.folder, options);
    }
    for (const std::string& note : recording.notes) {
        fmt::print(stderr, "note: {}\n", printable(note));
    }
    fmt::print("{}: {} classes, {} instances of {}\n", recording.file, recording.classes,
               recording.instances, arguments.package.nameSpace);
    return recording.notes.empty() ? Good : Findings;
}

}  // namespace

void addRecord(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "record", "Writes the classes and instances of a server or package as MOF");
    const auto arguments = std::make_shared<RecordArguments>();
    arguments->package.needs = Needs::Model;
    command
        ->add_option("target", arguments->target,
                     "Folder or MOF file, or http(s)://HOST:PORT of a server")
        ->type_name("PACKAGE|URL")
        ->required();
    command->add_option("folder", arguments->folder, "Folder to write, empty or new")
        ->type_name("FOLDER")
        ->required();
    command->add_option("-n,--namespace", arguments->package.nameSpace, "Namespace to read")
        ->capture_default_str();
    arguments->login.addOptions(*command);
    command->footer(
        "Ends with 1 where notes say what is not in the recording as the server has it.\n\n"
        "Examples:\n"
        "  velmar record http://localhost:5988 recorded -n root/cimv2\n"
        "  velmar serve recorded/recording.mof -n root/cimv2");
    command->callback([&run, arguments] {
        run = [arguments] {
            return withClient(
                arguments->target, arguments->package, arguments->login,
                [&](Pegasus::CIMClient& client) { return record(*arguments, client); });
        };
    });
}

}  // namespace velmar_cli
