// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What build servers read of a check.
#include <fmt/format.h>
#include <string.h>

#include <vector>

#include "CheckReport.h"

using nlohmann::ordered_json;

namespace velmar_cli {

namespace {

// Of UTF-8. What XML 1.0 cannot say stands as U+FFFD.
std::string escaped(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); i++) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool isNonCharacter =  // U+FFFE, U+FFFF
            text.compare(i, 2, "\xEF\xBF") == 0 && i + 2 < text.size() &&
            static_cast<unsigned char>(text[i + 2]) >= 0xBE;
        if (isNonCharacter) {
            result += "\xEF\xBF\xBD";
            i += 2;
        } else if (strchr("\n\t&<>\"", text[i]) != nullptr && byte != 0) {
            result += fmt::format("&#{};", byte);
        } else if (byte < 0x20) {
            result += "\xEF\xBF\xBD";
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string testCase(const std::string& suite, const std::string& name, bool wasAsked,
                     const std::vector<const ordered_json*>& findings) {
    const std::string head =
        fmt::format("    <testcase classname=\"{}\" name=\"{}\"", escaped(suite), escaped(name));
    if (findings.empty()) {
        return head + (wasAsked ? "/>\n" : "><skipped message=\"not asked\"/></testcase>\n");
    }
    // Readers show the first failure of a case only.
    std::string message = findings.front()->at("text");
    if (findings.size() > 1) {
        message += fmt::format(" (and {} more)", findings.size() - 1);
    }
    std::string text;
    for (const ordered_json* const one : findings) {
        text += fmt::format("{}: {} [{}]\n  {}\n  {}\n", one->at("severity").get<std::string>(),
                            one->at("text").get<std::string>(), one->at("id").get<std::string>(),
                            one->at("meaning").get<std::string>(),
                            one->at("remedy").get<std::string>());
    }
    return fmt::format(
        "{}>\n      <failure type=\"{}\" message=\"{}\">{}</failure>\n    </testcase>\n", head,
        escaped(findings.front()->at("id")), escaped(message), escaped(text));
}

}  // namespace

std::string forBuildServers(const ordered_json& document) {
    const ordered_json& findings = document["findings"];
    std::vector<const ordered_json*> rest;
    for (const ordered_json& one : findings) {
        rest.push_back(&one);
    }
    std::string cases;
    size_t failures = 0, skipped = 0;
    for (const ordered_json& one : document["classes"]) {
        std::vector<const ordered_json*> own, others;
        for (const ordered_json* const finding : rest) {
            (finding->at("class") == one["class"] ? own : others).push_back(finding);
        }
        rest = others;
        const bool wasAsked = one["calls"] > 0;
        failures += own.empty() ? 0 : 1;
        skipped += own.empty() && !wasAsked ? 1 : 0;
        cases += testCase(one["namespace"], one["class"], wasAsked, own);
    }
    failures += rest.empty() ? 0 : 1;
    cases = testCase("velmar check", "package", true, rest) + cases;
    const std::string counts =
        fmt::format("tests=\"{}\" failures=\"{}\" skipped=\"{}\" errors=\"0\"",
                    document["classes"].size() + 1, failures, skipped);
    return fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites {}>\n"
        "  <testsuite name=\"velmar check\" {}>\n{}  </testsuite>\n</testsuites>\n",
        counts, counts, cases);
}

}  // namespace velmar_cli
