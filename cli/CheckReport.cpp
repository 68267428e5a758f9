// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "CheckReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "checks/Rules.h"

using nlohmann::ordered_json;
using velmar_checks::Finding;
using velmar_checks::Severity;
using velmar_driver::ClassReport;

namespace velmar_cli {

namespace {

std::string counted(size_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

// What the rule advises stands once, after its first finding.
std::string linesOf(const ordered_json& findings) {
    std::string text;
    std::set<std::string> helped;
    for (const ordered_json& json : findings) {
        Finding finding;
        finding.id = json["id"];
        finding.severity = json["severity"] == "error" ? Severity::Error : Severity::Warning;
        finding.text = json["text"];
        finding.count = json["count"];
        text += velmar_checks::toLine(finding) + "\n";
        if (helped.insert(finding.id).second) {
            text += velmar_checks::helpFor(finding) + "\n";
        }
    }
    return text;
}

std::string table(const ordered_json& classes) {
    if (classes.empty()) {
        return "";  // no provider was asked: a finding says why
    }
    size_t width = 5;
    for (const ordered_json& one : classes) {
        width = std::max(width, one["class"].get<std::string>().size());
    }
    std::string text =
        fmt::format("{:<{}}  {:>6}  {:>9}  {:>8}  {:>9}  {:>10}  {}\n", "class", width, "calls",
                    "instances", "findings", "median ms", "largest ms", "operations");
    for (const ordered_json& one : classes) {
        text += fmt::format("{:<{}}  {:>6}  {:>9}  {:>8}  {:>9.3f}  {:>10.3f}  {}\n",
                            one["class"].get<std::string>(), width, one["calls"].get<size_t>(),
                            one["instances"].get<size_t>(), one["findings"].get<size_t>(),
                            one["medianMilliseconds"].get<double>(),
                            one["largestMilliseconds"].get<double>(),
                            fmt::join(one["operations"].get<std::vector<std::string>>(), " "));
    }
    return text;
}

}  // namespace

ordered_json toJson(const Finding& finding) {
    const velmar_checks::Rule& rule = *velmar_checks::findRule(finding.id);
    return {{"id", finding.id},
            {"severity", nameOf(finding.severity)},
            {"provider", finding.provider},
            {"class", finding.className},
            {"element", finding.element},
            {"text", finding.text},
            {"meaning", rule.meaning},
            {"remedy", rule.remedy},
            {"count", finding.count}};
}

ordered_json toJson(const Results& results) {
    ordered_json document = {{"findings", ordered_json::array()},
                             {"allowed", results.allowed},
                             {"more", results.more},
                             {"classes", ordered_json::array()}};
    for (const Finding& one : results.findings) {
        document["findings"].push_back(toJson(one));
    }
    for (const ClassReport& one : results.classes) {
        const auto findings = std::count_if(
            results.findings.begin(), results.findings.end(),
            [&](const Finding& finding) { return finding.className == one.className; });
        document["classes"].push_back({{"namespace", one.nameSpace},
                                       {"class", one.className},
                                       {"operations", one.operations},
                                       {"calls", one.milliseconds.size()},
                                       {"callsUnderLoad", one.callsUnderLoad},
                                       {"instances", one.instances},
                                       {"changes", one.changes},
                                       {"findings", findings},
                                       {"medianMilliseconds", one.median()},
                                       {"largestMilliseconds", one.largest()}});
    }
    document["figures"] = toJson(results.figures);
    return document;
}

ordered_json toJson(const std::vector<velmar_embedded::Figure>& figures) {
    const auto milliseconds = [](std::chrono::nanoseconds time) {
        return std::chrono::duration<double, std::milli>(time).count();
    };
    ordered_json list = ordered_json::array();
    for (const velmar_embedded::Figure& one : figures) {
        list.push_back({{"class", one.className},
                        {"operation", one.operation},
                        {"calls", one.calls},
                        {"errors", one.errors},
                        {"delivered", one.delivered},
                        {"requests", one.requests},
                        {"p50Milliseconds", milliseconds(one.p50)},
                        {"p90Milliseconds", milliseconds(one.p90)},
                        {"p99Milliseconds", milliseconds(one.p99)},
                        {"largestMilliseconds", milliseconds(one.largest)}});
    }
    return list;
}

std::string tableOf(const ordered_json& figures) {
    if (figures.empty()) {
        return "";
    }
    const auto nameOf = [](const ordered_json& one) {
        return one["class"].get<std::string>() + " " + one["operation"].get<std::string>();
    };
    size_t width = 9;
    for (const ordered_json& one : figures) {
        width = std::max(width, nameOf(one).size());
    }
    std::string text = fmt::format(
        "{:<{}}  {:>6}  {:>6}  {:>7}  {:>8}  {:>8}  {:>8}  {:>8}  {:>10}\n", "operation", width,
        "calls", "errors", "objects", "upcalls", "p50 ms", "p90 ms", "p99 ms", "largest ms");
    for (const ordered_json& one : figures) {
        text += fmt::format(
            "{:<{}}  {:>6}  {:>6}  {:>7}  {:>8.1f}  {:>8.3f}  {:>8.3f}  {:>8.3f}  {:>10.3f}\n",
            nameOf(one), width, one["calls"].get<size_t>(), one["errors"].get<size_t>(),
            one["delivered"].get<size_t>(),
            one["requests"].get<double>() / one["calls"].get<double>(),
            one["p50Milliseconds"].get<double>(), one["p90Milliseconds"].get<double>(),
            one["p99Milliseconds"].get<double>(), one["largestMilliseconds"].get<double>());
    }
    return text;
}

std::string textOf(const ordered_json& document, int indentation) {
    return document.dump(indentation, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string forReaders(const ordered_json& document, const velmar_driver::DriveOptions& options,
                       bool figures) {
    const ordered_json& findings = document["findings"];
    const ordered_json& classes = document["classes"];
    std::string text = linesOf(findings);
    const auto errors =
        std::count_if(findings.begin(), findings.end(),
                      [](const ordered_json& one) { return one["severity"] == "error"; });
    text += findings.empty() || classes.empty() ? "" : "\n";
    text += table(classes);
    for (const ordered_json& one : classes) {
        text += one["changes"].get<bool>()
                    ? fmt::format("note: class {} changes while it is asked\n",
                                  one["class"].get<std::string>())
                    : "";
    }
    if (options.clients > 0 && !classes.empty()) {
        size_t calls = 0;
        for (const ordered_json& one : classes) {
            calls += one["callsUnderLoad"].get<size_t>();
        }
        text += fmt::format("\n{} at once: {} in {} s\n", counted(options.clients, "client"),
                            counted(calls, "call"), options.seconds);
    }
    if (figures) {
        text += "\n" + tableOf(document["figures"]);
    }
    text += findings.empty() ? "\nno findings"
                             : fmt::format("\n{}: {}, {}", counted(findings.size(), "finding"),
                                           counted(errors, "error"),
                                           counted(findings.size() - errors, "warning"));
    const size_t allowed = document["allowed"], more = document["more"];
    return text + (allowed == 0 ? "" : fmt::format("; {} allowed", allowed)) +
           (more == 0 ? "" : fmt::format("; {} more were dropped for lack of room", more)) + "\n";
}

}  // namespace velmar_cli
