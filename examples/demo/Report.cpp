// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Report.h"

#include <Pegasus/Common/Exception.h>
#include <fmt/core.h>

#include <algorithm>
#include <exception>

#include "site/SiteModel.h"

using namespace Pegasus;

namespace demo {

namespace {

// Columns on a terminal, for the alphabets that need one for each character.
size_t width(const std::string& text) {
    return std::count_if(text.begin(), text.end(),
                         [](unsigned char c) { return (c & 0xC0) != 0x80; });
}

std::string pad(const std::string& text, size_t columns) {
    return text + std::string(columns - std::min(columns, width(text)), ' ');
}

void printTree(const std::list<Node>& nodes, const std::string& indent) {
    for (const Node& node : nodes) {
        const bool last = &node == &nodes.back();
        fmt::print("{}{}{}\n", indent, last ? "└─ " : "├─ ", node.label);
        printTree(node.children, indent + (last ? "   " : "│  "));
    }
}

}  // namespace

std::string Step::fails(CIMStatusCode code, const std::function<void()>& request) {
    const std::string expected = cimStatusCodeToString(code);
    try {
        ask(request);
    } catch (const CIMException& error) {
        const std::string got = cimStatusCodeToString(error.getCode());
        expect(error.getCode() == code, "fails with " + expected + ", not with " + got);
        return got + (error.getCode() == code ? ", as it should" : "");
    }
    expect(false, "fails with " + expected);
    return "answered";
}

void Step::expect(bool holds, const std::string& what) {
    _expectations++;
    if (!holds) {
        _failures.push_back(what);
    }
}

void Report::section(const std::string& heading) {
    printTable();
    fmt::print("\n{}\n", heading);
    for (size_t i = width(heading); i > 0; i--) {
        fmt::print("─");
    }
    fmt::print("\n");
}

void Report::step(const std::string& name, const std::string& request,
                  const std::function<std::string(Step&)>& run) {
    Step step;
    std::string outcome;
    try {
        outcome = run(step);
    } catch (const Exception& error) {
        step.expect(false, "is answered, not: " + site::toStd(error.getMessage()));
        outcome = "failed";
    } catch (const std::exception& error) {
        step.expect(false, std::string("is answered, not: ") + error.what());
        outcome = "failed";
    }
    _rows.push_back(Row{name, request, outcome, fmt::format("{:.2f} ms", step._time.count())});
    _expectations += step._expectations;
    for (const std::string& failure : step._failures) {
        _failures.push_back(fmt::format("{} {}: expected: {}", name, request, failure));
    }
}

void Report::skip(const std::string& name, const std::string& reason) {
    _rows.push_back(Row{name, "", reason, ""});
}

void Report::tree(const std::list<Node>& roots) {
    printTable();
    for (const Node& root : roots) {
        fmt::print("\n  {}\n", root.label);
        printTree(root.children, "  ");
    }
}

void Report::text(const std::string& line) {
    printTable();
    fmt::print("{}\n", line);
}

void Report::printTable() {
    if (!_rows.empty()) {
        size_t columns[3] = {width("step"), width("request"), width("outcome")};
        size_t timeColumn = width("time");
        for (const Row& row : _rows) {
            columns[0] = std::max(columns[0], width(row.name));
            columns[1] = std::max(columns[1], width(row.request));
            columns[2] = std::max(columns[2], width(row.outcome));
            timeColumn = std::max(timeColumn, width(row.time));
        }
        const auto print = [&](const Row& row) {
            fmt::print("  {}  {}  {}  {:>{}}\n", pad(row.name, columns[0]),
                       pad(row.request, columns[1]), pad(row.outcome, columns[2]), row.time,
                       timeColumn);
        };
        print(Row{"step", "request", "outcome", "time"});
        std::for_each(_rows.begin(), _rows.end(), print);
    }
    for (const std::string& failure : _failures) {
        fmt::print("  ✗ {}\n", failure);
    }
    _failed += _failures.size();
    _rows.clear();
    _failures.clear();
}

bool Report::finish() {
    printTable();
    if (_failed == 0) {
        fmt::print("\nAll {} were met.\n", count(_expectations, "expectation"));
    } else {
        fmt::print("\n{} of {} failed, see the lines with ✗.\n", _failed,
                   count(_expectations, "expectation"));
    }
    return _failed == 0;
}

std::string count(size_t number, const std::string& what) {
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

}  // namespace demo
