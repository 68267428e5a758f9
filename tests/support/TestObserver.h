// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What a test hears of a server.
#ifndef VELMAR_TESTS_TESTOBSERVER_H
#define VELMAR_TESTS_TESTOBSERVER_H

#include <velmar_embedded/Server.h>

#include <functional>
#include <string>

namespace support {

/// An observer made of functions, set before what they hear of happens.
struct TestObserver : velmar_embedded::Observer {
    std::function<void(const velmar_embedded::Step&)> begin = [](const auto&) {};
    std::function<void(const velmar_embedded::Step&, const velmar_embedded::StepEnd&)> end =
        [](const auto&...) {};
    std::function<void(const std::string&)> problem = [](const auto&) {};
    std::function<void(const velmar_checks::Finding&)> finding = [](const auto&) {};

    void onBegin(const velmar_embedded::Step& step) override { begin(step); }
    void onEnd(const velmar_embedded::Step& step, const velmar_embedded::StepEnd& how) override {
        end(step, how);
    }
    void onProblem(const std::string& text) override { problem(text); }
    void onFinding(const velmar_checks::Finding& one) override { finding(one); }
    /// Options with this observer.
    velmar_embedded::ServerOptions with(velmar_embedded::ServerOptions options = {}) {
        options.observer = this;
        return options;
    }
};

}  // namespace support

#endif
