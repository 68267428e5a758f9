// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar check: loads a package, asks it everything that clients ask, and says what is wrong.
#include <fmt/format.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <mutex>
#include <nlohmann/json.hpp>
#include <thread>
#include <vector>

#include "Commands.h"
#include "Crash.h"
#include "MofRemedy.h"
#include "Package.h"
#include "checks/driver/Driver.h"
#include "checks/driver/DriverRules.h"

using velmar_checks::Finding;
using velmar_checks::Severity;
using velmar_driver::ClassReport;

namespace velmar_cli {

namespace {

struct CheckOptions {
    Package package;
    velmar_driver::DriveOptions drive;
    bool json = false;
    std::vector<std::string> allowed;  // ids of rules
};

struct Results {
    std::vector<Finding> findings;
    size_t allowed = 0;  // findings that are not among them
    std::vector<ClassReport> classes;
    bool hangs = false;  // a provider that does not return, so that nothing can be ended in order
    bool leavesThread = false;  // in a module, where it would see the objects of the process end
};

// Findings of the driver beside those of the server: each once, with a count.
class DriverFindings {
 public:
    void add(Finding finding) {
        std::lock_guard<std::mutex> guard(_lock);
        const auto same = std::find_if(_all.begin(), _all.end(), [&](const Finding& one) {
            return one.id == finding.id && one.className == finding.className &&
                   one.element == finding.element;
        });
        if (same == _all.end()) {
            _all.push_back(std::move(finding));
        } else {
            same->count++;
        }
    }
    const std::vector<Finding>& all() const { return _all; }

 private:
    std::mutex _lock;
    std::vector<Finding> _all;
};

Finding badMof(const velmar_embedded::MofError& error) {
    Finding finding;
    finding.id = "mof.error";
    finding.element = error.file();
    finding.text = withRemedy(error);
    return finding;
}

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

Results check(const CheckOptions& options, velmar_embedded::Server& server) {
    Results results;
    DriverFindings driven;
    server.observeFindings([](const Finding&) {});  // told at the end, all together
    server.observeProblems(
        [](const std::string& text) { fmt::print(stderr, "problem: {}\n", text); });
    watchForCrashes(server);
    try {
        options.package.load(server);
        server.start();
        results.classes = velmar_driver::drive(
            server, options.drive, [&](Finding finding) { driven.add(std::move(finding)); });
    } catch (const velmar_embedded::MofError& error) {
        if (error.line() == 0) {
            throw;  // a file that cannot be read
        }
        driven.add(badMof(error));
    }
    results.hangs = !stopped(server);
    results.findings = server.findings();
    for (const Finding& finding : results.findings) {
        results.leavesThread |= finding.id == "loading.thread-left";
    }
    results.findings.insert(results.findings.end(), driven.all().begin(), driven.all().end());
    const auto isAllowed = [&](const Finding& finding) {
        return std::count(options.allowed.begin(), options.allowed.end(), finding.id) > 0;
    };
    const auto end = std::remove_if(results.findings.begin(), results.findings.end(), isAllowed);
    results.allowed = static_cast<size_t>(results.findings.end() - end);
    results.findings.erase(end, results.findings.end());
    return results;
}

size_t findingsOf(const Results& results, const std::string& className) {
    return static_cast<size_t>(
        std::count_if(results.findings.begin(), results.findings.end(),
                      [&](const Finding& finding) { return finding.className == className; }));
}

std::string counted(size_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void printTable(const Results& results) {
    if (results.classes.empty()) {
        return;  // no provider was asked: a finding says why
    }
    size_t width = 5;
    for (const ClassReport& one : results.classes) {
        width = std::max(width, one.className.size());
    }
    fmt::print("{:<{}}  {:>6}  {:>9}  {:>8}  {:>9}  {:>10}  {}\n", "class", width, "calls",
               "instances", "findings", "median ms", "largest ms", "operations");
    for (const ClassReport& one : results.classes) {
        fmt::print("{:<{}}  {:>6}  {:>9}  {:>8}  {:>9.3f}  {:>10.3f}  {}\n", one.className, width,
                   one.milliseconds.size(), one.instances, findingsOf(results, one.className),
                   one.median(), one.largest(), fmt::join(one.operations, " "));
    }
}

void print(const Results& results, const velmar_driver::DriveOptions& options) {
    for (const Finding& finding : results.findings) {
        fmt::print("{}\n", velmar_checks::toLine(finding));
    }
    if (!results.findings.empty() && !results.classes.empty()) {
        fmt::print("\n");
    }
    printTable(results);
    for (const ClassReport& one : results.classes) {
        if (one.changes) {
            fmt::print("note: class {} changes while it is asked\n", one.className);
        }
    }
    if (options.clients > 0) {
        unsigned long calls = 0;
        for (const ClassReport& one : results.classes) {
            calls += one.callsUnderLoad;
        }
        fmt::print("\n{} at once: {} in {} s\n", counted(options.clients, "client"),
                   counted(calls, "call"), options.seconds);
    }
    const size_t errors = static_cast<size_t>(
        std::count_if(results.findings.begin(), results.findings.end(),
                      [](const Finding& one) { return one.severity == Severity::Error; }));
    const size_t all = results.findings.size();
    if (all == 0) {
        fmt::print("\nno findings");
    } else {
        fmt::print("\n{}: {}, {}", counted(all, "finding"), counted(errors, "error"),
                   counted(all - errors, "warning"));
    }
    fmt::print("{}\n", results.allowed == 0 ? "" : fmt::format("; {} allowed", results.allowed));
}

void printJson(const Results& results) {
    using nlohmann::ordered_json;
    ordered_json document = {{"findings", ordered_json::array()},
                             {"allowed", results.allowed},
                             {"classes", ordered_json::array()}};
    for (const Finding& one : results.findings) {
        document["findings"].push_back(
            {{"id", one.id},
             {"severity", one.severity == Severity::Error ? "error" : "warning"},
             {"provider", one.provider},
             {"class", one.className},
             {"element", one.element},
             {"text", one.text},
             {"count", one.count}});
    }
    for (const ClassReport& one : results.classes) {
        document["classes"].push_back({{"namespace", one.nameSpace},
                                       {"class", one.className},
                                       {"operations", one.operations},
                                       {"calls", one.milliseconds.size()},
                                       {"callsUnderLoad", one.callsUnderLoad},
                                       {"instances", one.instances},
                                       {"changes", one.changes},
                                       {"findings", findingsOf(results, one.className)},
                                       {"medianMilliseconds", one.median()},
                                       {"largestMilliseconds", one.largest()}});
    }
    fmt::print("{}\n", document.dump(2, ' ', false, ordered_json::error_handler_t::replace));
}

// What is wrong with the id of a rule; empty for one that there is.
std::string unknownRule(const std::string& id) {
    velmar_checks::RuleList rules = velmar_checks::allRules();
    const velmar_checks::RuleList driver = velmar_driver::driverRules();
    rules.insert(rules.end(), driver.begin(), driver.end());
    const bool isKnown =
        std::any_of(rules.begin(), rules.end(),
                    [&](const velmar_checks::Rule* rule) { return rule->id == id; });
    return isKnown ? "" : "no finding has the id " + id + "; it stands in brackets after its text";
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
    command
        .add_option("--allow", options->allowed,
                    "Id of a rule whose findings are counted, and no more; may be given again")
        ->check(CLI::Validator(unknownRule, "ID"))
        ->allow_extra_args(false);
    command.add_flag("--json", options->json, "Print the results for machines");
    command.footer(
        "Ends with 0 when nothing is wrong, 1 with findings, 2 for input that cannot be used.\n\n"
        "Examples:\n"
        "  velmar check build/fans\n"
        "  velmar check --schema Fans.mof --registration FansRegistration.mof --modules build\n"
        "  velmar check build/fans --write --call --clients 4 --seconds 30");
    command.callback([options, &run] {
        run = [options] {
            options->package.resolve();
            velmar_embedded::Server server;
            const Results results = check(*options, server);
            options->json ? printJson(results) : print(results, options->drive);
            const ExitCode status = results.hangs || !results.findings.empty() ? Findings : Good;
            if (results.hangs || results.leavesThread) {
                fflush(stdout);
                _exit(status);
            }
            return status;
        };
    });
}

}  // namespace velmar_cli
