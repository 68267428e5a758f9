// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar diff: what two servers, packages or recordings do not have in common.
#include <errno.h>
#include <fmt/format.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>

#include "AskOutput.h"
#include "Commands.h"
#include "Progress.h"
#include "Target.h"
#include "record/Snapshot.h"

namespace velmar_recording {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Entity, name, parts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Snapshot, classes, instances, problems)

}  // namespace velmar_recording

using nlohmann::ordered_json;
using velmar_recording::Difference;
using velmar_recording::Snapshot;

namespace velmar_cli {

namespace {

struct DiffArguments {
    Package package;  // what both have
    std::string targets[2];
    std::string otherNamespace;
    std::vector<std::string> ignored;
    Login login;
    bool isJson = false;
};

ExitCode readInto(FILE* file, const std::string& target, Package package,
                  const DiffArguments& arguments) {
    dup2(STDERR_FILENO, STDOUT_FILENO);  // what providers print is no difference
    return withClient(target, package, arguments.login, [&](Pegasus::CIMClient& client) {
        client.setTimeout(LONG_ANSWER);
        Progress progress;
        const Snapshot snapshot = velmar_recording::snapshotOf(
            client, Pegasus::CIMNamespaceName(package.nameSpace.c_str()),
            {arguments.ignored.begin(), arguments.ignored.end()},
            [&](const velmar_recording::Step& step) {
                progress.show(step.done, step.all,
                              fmt::format("classes of {} ({})", target, step.what), step.className);
            });
        const std::vector<uint8_t> bytes = nlohmann::json::to_cbor(snapshot);
        if (fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || fflush(file) != 0) {
            throw UsageError(fmt::format("cannot write a temporary file: {}", strerror(errno)));
        }
        return Good;
    });
}

// Two versions of a library would share in one process what C++ has once per process.
Snapshot readApart(const std::string& target, const Package& package,
                   const DiffArguments& arguments) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
    if (!file) {
        throw UsageError(fmt::format("cannot make a temporary file: {}", strerror(errno)));
    }
    fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // a killed parent leaves nothing behind
        const ExitCode code = getppid() != parent ? Unusable : guarded([&] {
            return readInto(file.get(), target, package, arguments);
        });
        fflush(nullptr);
        _exit(code);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (child < 0) {
        throw UsageError(fmt::format("cannot start a process: {}", strerror(errno)));
    }
    Progress::clear();
    if (WIFSIGNALED(status)) {
        throw UsageError(fmt::format("{}: its process was ended by a signal ({})", target,
                                     strsignal(WTERMSIG(status))));
    }
    if (WEXITSTATUS(status) == Unusable) {
        throw UsageError(target + ": cannot be compared");
    }
    rewind(file.get());
    const auto document = nlohmann::json::from_cbor(file.get(), true, false);
    if (document.is_discarded()) {
        throw UsageError(target +
                         ": its process ended before all was read, as where a provider calls exit");
    }
    return document.get<Snapshot>();
}

std::string lineOf(const Difference& difference, const std::string& text) {
    const std::string& part = difference.part;
    if (!difference.isClass) {
        return printable(part + " = " + text);
    }
    const bool isDeclaration = part.back() != ']' && part != velmar_recording::SUPERCLASS;
    return printable(isDeclaration ? text : part + " " + text);
}

// As diff -u: a line of A begins with -, one of B with +.
std::string forReaders(const std::vector<Difference>& all, const DiffArguments& arguments) {
    std::string text =
        all.empty() ? ""
                    : fmt::format("--- {}\n+++ {}\n", arguments.targets[0], arguments.targets[1]);
    const Difference* last = nullptr;
    for (const Difference& one : all) {
        const std::string head = (one.isClass ? "class " : "instance of ") + printable(one.name);
        if (one.part.empty()) {
            text += fmt::format("{} {}\n", one.isInA ? '-' : '+', head);
            continue;
        }
        if (last == nullptr || last->isClass != one.isClass || last->name != one.name) {
            text += fmt::format("  {}\n", head);
        }
        last = &one;
        text += one.isInA ? fmt::format("-     {}\n", lineOf(one, one.a)) : "";
        text += one.isInB ? fmt::format("+     {}\n", lineOf(one, one.b)) : "";
    }
    return text;
}

std::string forMachines(const std::vector<Difference>& all) {
    const auto side = [](const Difference& one, bool isIn, const std::string& text) {
        return !isIn ? ordered_json() : one.part.empty() ? ordered_json(true) : ordered_json(text);
    };
    ordered_json list = ordered_json::array();
    for (const Difference& one : all) {
        ordered_json entry = {{one.isClass ? "class" : "instance", one.name}};
        if (!one.part.empty()) {
            entry["part"] = one.part;
        }
        entry["a"] = side(one, one.isInA, one.a);
        entry["b"] = side(one, one.isInB, one.b);
        list.push_back(entry);
    }
    return list.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

ExitCode diff(const DiffArguments& arguments) {
    Snapshot snapshots[2];
    if (isUrl(arguments.targets[0]) || isUrl(arguments.targets[1])) {
        arguments.login.password();  // once, not in the process of each
    }
    for (int i = 0; i < 2; i++) {
        Package package = arguments.package;
        if (i == 1 && !arguments.otherNamespace.empty()) {
            package.nameSpace = arguments.otherNamespace;
        }
        snapshots[i] = readApart(arguments.targets[i], package, arguments);
        for (const std::string& problem : snapshots[i].problems) {
            fmt::print(stderr, "note: {}: {}\n", arguments.targets[i], printable(problem));
        }
    }
    const std::vector<Difference> all = velmar_recording::differences(snapshots[0], snapshots[1]);
    const std::string text = arguments.isJson ? forMachines(all) : forReaders(all, arguments);
    if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0) {
        throw UsageError(fmt::format("cannot write the differences: {}", strerror(errno)));
    }
    fmt::print(stderr, "{} difference{}; A has {} classes and {} instances, B {} and {}\n",
               all.size(), all.size() == 1 ? "" : "s", snapshots[0].classes.size(),
               snapshots[0].instances.size(), snapshots[1].classes.size(),
               snapshots[1].instances.size());
    return all.empty() ? Good : Findings;
}

}  // namespace

void addDiff(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "diff", "Says what two servers, packages or recordings do not have in common");
    const auto arguments = std::make_shared<DiffArguments>();
    arguments->package.needs = Needs::Model;
    const char* const names[] = {"a", "b"};
    for (int i = 0; i < 2; i++) {
        command
            ->add_option(names[i], arguments->targets[i],
                         "Folder or MOF file, or http(s)://HOST:PORT of a server")
            ->type_name("PACKAGE|URL")
            ->required();
    }
    command->add_option("-n,--namespace", arguments->package.nameSpace, "Namespace to compare")
        ->capture_default_str();
    command->add_option("--other-namespace", arguments->otherNamespace,
                        "Namespace of B, where it differs");
    command
        ->add_option("--ignore", arguments->ignored,
                     "Property of instances that may differ, a time, say; may be given again")
        ->type_name("PROPERTY")
        ->allow_extra_args(false)
        ->take_all();
    arguments->login.addOptions(*command);
    command->add_flag("--json", arguments->isJson, "Print JSON");
    command->footer(
        "Ends with 0 without differences, 1 with some, 2 where one of them cannot be read.\n\n"
        "Examples:\n"
        "  velmar diff old/fans new/fans\n"
        "  velmar diff recorded http://localhost:5988 -n root/cimv2 --ignore TimeOfLastChange");
    command->callback([&run, arguments] { run = [arguments] { return diff(*arguments); }; });
}

}  // namespace velmar_cli
