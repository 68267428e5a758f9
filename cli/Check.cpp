// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar check: loads a package, asks it everything that clients ask, and says what is wrong.
#include <errno.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Apart.h"
#include "CheckReport.h"
#include "CheckServer.h"
#include "Commands.h"
#include "Package.h"
#include "Progress.h"
#include "Watch.h"
#include "check/Driver.h"
#include "checks/Findings.h"
#include "checks/Rules.h"

using velmar_checks::Finding;
using velmar_checks::Reporter;

namespace velmar_cli {

namespace {

struct CheckOptions {
    Package package;
    ServerToCheck server;  // instead of the package
    velmar_driver::DriveOptions drive;
    WatchOptions seen;
    std::string junit;  // file; empty: none
    bool json = false;
    bool figures = false;
    std::vector<std::string> allowed;  // ids of rules
};

// Stops the server; false where a provider does not return.
bool stopped(velmar_embedded::Server& server) {
    std::promise<void> done;
    std::future<void> end = done.get_future();
    std::thread stopping([&server, done = std::move(done)]() mutable {
        server.stop();
        done.set_value();
    });
    if (end.wait_for(std::chrono::seconds(15)) == std::future_status::timeout) {
        stopping.detach();
        return false;
    }
    stopping.join();
    return true;
}

// Descriptors that everybody in the process relies on.
class StandardDescriptors {
 public:
    StandardDescriptors() : _open(openOnes()) {}

    void check(const Reporter& package) const {
        const std::vector<int> left = openOnes();
        if (left != _open) {
            package.add(
                "driver.process", "descriptors",
                fmt::format("of the standard descriptors {} the process has {} left: a "
                            "provider closes what it did not open",
                            fmt::join(_open, ", "),
                            left.empty() ? "none" : fmt::format("{}", fmt::join(left, ", "))));
        }
    }

 private:
    static std::vector<int> openOnes() {
        std::vector<int> result;
        for (const int one : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            if (fcntl(one, F_GETFD) != -1) {
                result.push_back(one);
            }
        }
        return result;
    }
    const std::vector<int> _open;
};

// Keeps in the record what is heard, in case the end is missing.
class CheckObserver : public Watcher {
 public:
    CheckObserver(Record& record, const WatchOptions& seen) : Watcher(seen), _record(record) {}

    void onBegin(const velmar_embedded::Step& step) override {
        Watcher::onBegin(step);
        if (step.kind == velmar_embedded::Step::Kind::Request) {
            char text[sizeof _record.request.text] = "";
            snprintf(text, sizeof text, "%s of %s", step.operation.c_str(),
                     static_cast<const char*>(step.path.toString().getCString()));
            _record.request.note(text);
        }
    }
    void onProblem(const std::string& text) override {
        std::string line = text;
        std::replace(line.begin(), line.end(), '\n', ' ');
        _record.problems.append(line + "\n");
    }
    void onFinding(const Finding& finding) override {
        const std::lock_guard<std::mutex> guard(_lock);
        _record.findingsLost += !_record.findings.append(textOf(toJson(finding), -1));
    }

 private:
    Record& _record;
    std::mutex _lock;
};

// A server that does not stop, and its observer, stay.
struct CheckedServer {
    CheckedServer(Record& record, const WatchOptions& seen)
        : observer(record, seen), server(optionsWith(observer)) {}

    CheckObserver observer;
    velmar_embedded::Server server;

 private:
    static velmar_embedded::ServerOptions optionsWith(CheckObserver& observer) {
        velmar_embedded::ServerOptions options;
        options.observer = &observer;
        return options;
    }
};

// Registrations of classes that are not asked are left out, those that are allowed are counted.
void leaveOut(const CheckOptions& options, Results& results) {
    const auto remove = [&](const std::function<bool(const Finding&)>& isMeant) {
        const auto end = std::remove_if(results.findings.begin(), results.findings.end(), isMeant);
        const auto count = static_cast<size_t>(results.findings.end() - end);
        results.findings.erase(end, results.findings.end());
        return count;
    };
    remove([&](const Finding& finding) {
        return finding.id.rfind("registration.", 0) == 0 && !finding.className.empty() &&
               !options.drive.isAsked(finding.className);
    });
    results.allowed = remove([&](const Finding& finding) {
        return std::count(options.allowed.begin(), options.allowed.end(), finding.id) > 0;
    });
}

Results check(const CheckOptions& options, CheckedServer& checked, Record& record) {
    Results results;
    velmar_embedded::Server& server = checked.server;
    velmar_checks::Findings driven(
        [&](const Finding& finding) { checked.observer.onFinding(finding); });
    const Reporter package(driven, "", "");
    const StandardDescriptors descriptors;
    watchForCrashes(record.call);
    try {
        options.package.load(server);
        options.seen.disturb(server);
        server.start();
        Progress progress;
        velmar_driver::DriveOptions drive = options.drive;
        drive.progress = [&](size_t done, size_t all, const std::string& className) {
            progress.show(done, all, "classes", className);
        };
        const auto classes = velmar_driver::registeredClasses(server.repository());
        velmar_driver::requireClasses(classes, drive);
        velmar_driver::EmbeddedAccess access(server);
        results.classes = velmar_driver::drive(access, classes, drive, driven);
    } catch (const velmar_embedded::MofError& error) {
        if (error.line() == 0) {
            throw;  // a file that cannot be read
        }
        package.add("mof.error", error.file(), error.what());
    }
    const char end[sizeof record.request.text] = "the end of the server";
    record.request.note(end);
    record.hangs = !stopped(server);
    if (record.hangs) {
        package.add("driver.process", "stop",
                    std::string("the server does not stop within 15 s; what began last is ") +
                        (record.call.began == 0 ? "no provider call" : record.call.text) +
                        (strstr(record.call.text, "terminate") ? " or its destructor" : ""));
    }
    descriptors.check(package);
    results.findings = server.findings();
    for (const Finding& finding : results.findings) {
        record.hangs |= finding.id == "loading.thread-left";
    }
    const std::vector<Finding> more = driven.all();
    results.findings.insert(results.findings.end(), more.begin(), more.end());
    leaveOut(options, results);
    results.figures = checked.observer.figures.figures();
    return results;
}

// In the process that runs the package.
ExitCode checkInto(Record& record, const CheckOptions& options) {
    if (options.json) {
        dup2(STDERR_FILENO, STDOUT_FILENO);  // what providers print stays out of the document
    }
    auto server = std::make_unique<CheckedServer>(record, options.seen);
    Results results = check(options, *server, record);
    const ExitCode code = results.findings.empty() ? Good : Findings;
    while (!record.report.append(textOf(toJson(results), -1))) {
        results.more += results.findings.size() - results.findings.size() / 2;
        results.findings.resize(results.findings.size() / 2);
    }
    if (record.hangs) {
        static_cast<void>(server.release());  // it cannot be destroyed
    }
    return code;
}

// What was found before the process of the package ended, and how it ended.
nlohmann::ordered_json unfinished(const Record& record, const CheckOptions& options,
                                  const std::string& how) {
    nlohmann::ordered_json document = toJson(Results());
    if (record.isClosed && record.code != Unusable) {
        document = nlohmann::ordered_json::parse(record.report.get());
    } else {
        document["more"] = record.findingsLost.load();
        std::istringstream lines(record.findings.get());
        for (std::string line; std::getline(lines, line);) {
            auto finding = nlohmann::ordered_json::parse(line);
            const bool isAllowed =
                std::count(options.allowed.begin(), options.allowed.end(), finding["id"]) > 0;
            if (isAllowed) {
                document["allowed"] = document["allowed"].get<size_t>() + 1;
            } else {
                document["findings"].push_back(std::move(finding));
            }
        }
    }
    velmar_checks::Findings end;
    Reporter(end, "", "").add("driver.process", "", how);
    document["findings"].push_back(toJson(end.all().front()));
    return document;
}

// Each once, with a count.
void tellProblems(const Record& record) {
    std::vector<std::pair<std::string, unsigned>> problems;
    std::istringstream lines(record.problems.get());
    for (std::string line; std::getline(lines, line);) {
        const auto same = std::find_if(problems.begin(), problems.end(),
                                       [&](const auto& one) { return one.first == line; });
        if (same == problems.end()) {
            problems.emplace_back(line, 1);
        } else {
            same->second++;
        }
    }
    for (const auto& [text, count] : problems) {
        fmt::print(stderr, "problem: {}{}\n", text,
                   count == 1 ? "" : fmt::format(" ({} times)", count));
    }
}

// Throws UsageError for what cannot be written.
void report(const nlohmann::ordered_json& document, const CheckOptions& options) {
    const std::string text =
        options.json ? textOf(document, 2) : forReaders(document, options.drive, options.figures);
    if (fwrite(text.data(), 1, text.size(), stdout) != text.size() || fflush(stdout) != 0) {
        throw UsageError(fmt::format("cannot write the report: {}", strerror(errno)));
    }
    if (!options.junit.empty()) {
        std::ofstream file(options.junit);
        file << forBuildServers(document);
        file.close();
        if (!file) {
            throw UsageError(fmt::format("cannot write {}: {}", options.junit, strerror(errno)));
        }
    }
}

#ifdef VELMAR_HAS_WIRE
ExitCode checkDeployed(const CheckOptions& options) {
    const Package& package = options.package;
    if (!package.folder.empty() || !package.schemas.empty() || !package.registrations.empty() ||
        !package.modules.empty()) {
        throw UsageError("a package and --server " + options.server.url +
                         ": expected one of them; each is checked by itself");
    }
    if (options.seen.wantJournal() || !options.seen.faults.empty() || options.figures) {
        throw UsageError(
            options.server.url +
            " runs elsewhere: --explain, --trace, --svg, --fault and --figures need a package, "
            "which runs in a process of this command");
    }
    Results results = checkServer(options.server, options.package.nameSpace, options.drive);
    leaveOut(options, results);
    report(nlohmann::ordered_json::parse(textOf(toJson(results), -1)), options);
    return results.findings.empty() ? Good : Findings;
}
#endif

ExitCode checkApart(const CheckOptions& options) {
    Record& record = makeRecord();
    std::string fault = runApart(record, [&] { return checkInto(record, options); });
    Progress::clear();
    tellProblems(record);
    const bool isUnusable = fault.empty() && record.code == Unusable;
    if (isUnusable && !options.json) {
        return Unusable;  // it has been said why
    }
    if (isUnusable) {
        fault = "the package was not checked; stderr says why";
    }
    const nlohmann::ordered_json document = fault.empty()
                                                ? nlohmann::ordered_json::parse(record.report.get())
                                                : unfinished(record, options, fault);
    report(document, options);
    const ExitCode code = fault.empty() || isUnusable ? record.code : Findings;
    if (record.hangs && fault.empty()) {
        _exit(code);
    }
    return code;
}

void refuseUnknownRule(const std::string& id) {
    if (velmar_checks::findRule(id) == nullptr) {
        throw UsageError("--allow " + id +
                         ": no rule has this id; it stands in brackets after a finding's text, and "
                         "velmar explain lists all");
    }
}

}  // namespace

void addCheck(CLI::App& app, Run& run) {
    CLI::App& command = *app.add_subcommand(
        "check",
        "Loads a provider package, asks it everything that clients ask, and says what is "
        "wrong with it");
    auto options = std::make_shared<CheckOptions>();
    options->package.addOptions(command);
    command.add_flag("--write", options->drive.write,
                     "Create, read and delete instances too; they are deleted again");
    command.add_flag("--call", options->drive.call,
                     "Call methods too, with sample values, and raise alerts");
    command
        .add_option("--limit", options->drive.limit,
                    "Instances looked at one by one, for each class")
        ->capture_default_str();
    command.add_option("--clients", options->drive.clients,
                       "Ask from so many clients at once, after all else");
    command.add_option("--seconds", options->drive.seconds, "How long the clients go on")
        ->capture_default_str();
    command.add_option("--class", options->drive.only, "Ask this class only; may be given again")
        ->type_name("NAME")
        ->allow_extra_args(false)
        ->take_all();
    command
        .add_option("--allow", options->allowed,
                    "Ids of rules whose findings are counted, and no more")
        ->type_name("ID");
    options->seen.addOptions(command);
    command.add_flag("--figures", options->figures,
                     "Print for each class and operation how often providers were called, and how "
                     "long that took");
    command.add_flag("--json", options->json, "Print the results for machines");
    command
        .add_option("--junit", options->junit,
                    "Write the results as JUnit XML, a test case for each class and one for the "
                    "package")
        ->type_name("FILE");
#ifdef VELMAR_HAS_WIRE
    command
        .add_option("--server", options->server.url,
                    "Ask the providers of a running server instead; without --write and --call it "
                    "stays as it is")
        ->type_name("URL");
    command
        .add_option("--interop", options->server.interop, "Of a server: namespace of registrations")
        ->capture_default_str();
    options->server.login.addOptions(command);
#endif
    command.footer(
        "Ends with 0 when nothing is wrong, 1 with findings, 2 for input that cannot be used.\n\n"
        "Examples:\n"
        "  velmar check build/fans\n"
        "  velmar check --schema Fans.mof --registration FansRegistration.mof --modules build\n"
        "  velmar check build/fans --write --call --clients 4 --seconds 30\n"
        "  velmar check --server http://localhost:5988 -n root/velmar_remote --class EX_Fan");
    command.callback([options, &run] {
        run = [options] {
            options->package.takeFolder(options->allowed);
            std::for_each(options->allowed.begin(), options->allowed.end(), refuseUnknownRule);
#ifdef VELMAR_HAS_WIRE
            if (!options->server.url.empty()) {
                return checkDeployed(*options);
            }
#endif
            options->package.resolve();
            return checkApart(*options);
        };
    });
}

}  // namespace velmar_cli
