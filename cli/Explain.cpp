// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar explain: what a finding means, and what to do about it.
#include <fmt/format.h>

#include <memory>
#include <string>

#include "Commands.h"
#include "Package.h"
#include "checks/Rules.h"
#include "checks/Wording.h"

namespace velmar_cli {

namespace {

struct ExplainOptions {
    std::string id;
    bool markdown = false;
};

ExitCode list() {
    for (const velmar_checks::RuleGroup& group : velmar_checks::allRules()) {
        for (const velmar_checks::Rule& rule : group.rules) {
            fmt::print("{:<32} {}\n", rule.id, rule.meaning);
        }
    }
    return Good;
}

ExitCode explain(const std::string& id) {
    const velmar_checks::Rule* const rule = velmar_checks::findRule(id);
    if (rule == nullptr) {
        std::vector<std::string> ids;
        for (const velmar_checks::RuleGroup& group : velmar_checks::allRules()) {
            for (const velmar_checks::Rule& one : group.rules) {
                ids.push_back(one.id);
            }
        }
        const std::string near = velmar_checks::didYouMean(id, ids);
        throw UsageError("there is no rule " + id +
                         (near.empty() ? "; velmar explain lists all" : near));
    }
    fmt::print("{}: {}\n\n{}\n{}\n", nameOf(rule->severity), rule->id, rule->meaning, rule->remedy);
    return Good;
}

ExitCode run(const ExplainOptions& arguments) {
    if (arguments.markdown) {
        fmt::print("{}", velmar_checks::rulesAsMarkdown());
        return Good;
    }
    return arguments.id.empty() ? list() : explain(arguments.id);
}

}  // namespace

void addExplain(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "explain", "Says what a finding means, and what to do about it; without an id lists all");
    const auto arguments = std::make_shared<ExplainOptions>();
    command->add_option("id", arguments->id, "In brackets after the finding's text")
        ->type_name("ID");
    command->add_flag("--markdown", arguments->markdown, "Print the tables of docs/findings.md");
    command->callback(
        [&run, arguments] { run = [arguments] { return velmar_cli::run(*arguments); }; });
}

}  // namespace velmar_cli
