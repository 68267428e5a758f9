// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the demo shows: sections with a table of steps, and what was expected but did not happen.
//
// One thread only.
#ifndef DEMO_REPORT_H
#define DEMO_REPORT_H

#include <Pegasus/Common/CIMStatusCode.h>

#include <chrono>
#include <functional>
#include <list>
#include <string>
#include <vector>

namespace demo {

/// A line with lines below it.
struct Node {
    std::string label;
    std::list<Node> children;
};

/// One row of the table while it comes about.
class Step {
 public:
    /// Runs a request; what it takes is added to the row's time.
    template <class Request>
    auto ask(Request request) {
        const Timer timer{*this, std::chrono::steady_clock::now()};
        return request();
    }

    /// Runs a request that must fail with this code; anything else is a failed expectation.
    /// Returns what the row should say about it.
    std::string fails(Pegasus::CIMStatusCode code, const std::function<void()>& request);

    /// Notes a failed expectation unless `holds`; `what` says what should have been.
    void expect(bool holds, const std::string& what);

    /// Whether an expectation has failed so far.
    bool failed() const { return !_failures.empty(); }

 private:
    friend class Report;
    struct Timer {
        Step& step;
        std::chrono::steady_clock::time_point start;
        ~Timer() { step._time += std::chrono::steady_clock::now() - start; }
    };

    std::chrono::duration<double, std::milli> _time{0};
    std::vector<std::string> _failures;
    size_t _expectations = 0;
};

class Report {
 public:
    /// Prints the table of the section before, then the heading.
    void section(const std::string& heading);

    /// Adds a row. `run` makes the requests and returns the outcome in words; an exception out of
    /// it is a failed expectation.
    void step(const std::string& name, const std::string& request,
              const std::function<std::string(Step&)>& run);

    /// Adds a row for what cannot be shown with this site.
    void skip(const std::string& name, const std::string& reason);

    /// Prints the table so far, then trees or a line of text below it.
    void tree(const std::list<Node>& roots);
    void text(const std::string& line);

    /// Prints what is left and the sum. True when every expectation was met.
    bool finish();

 private:
    struct Row {
        std::string name, request, outcome, time;
    };

    void printTable();

    std::vector<Row> _rows;
    std::vector<std::string> _failures;  // of the rows not yet printed
    size_t _failed = 0;
    size_t _expectations = 0;
};

/// "1 partition", "3 partitions".
std::string count(size_t number, const std::string& what);

}  // namespace demo

#endif
