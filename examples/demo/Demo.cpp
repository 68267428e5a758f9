// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Demo.h"

#include <Common/Util.h>
#include <Pegasus/Common/Exception.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <stdexcept>

using namespace Pegasus;

namespace demo {

void Story::chapter(const std::string& heading) {
    fmt::print("\n{}\n{:-<{}}\n", heading, "", heading.size());
}

void Story::step(const std::string& operation, const std::string& request,
                 const std::function<std::string()>& run) {
    const auto start = std::chrono::steady_clock::now();
    std::string outcome, problem;
    try {
        outcome = "→ " + run();
    } catch (const Exception& error) {
        problem = utf8(error.getMessage());
    } catch (const std::exception& error) {
        problem = error.what();
    }
    if (!problem.empty()) {
        outcome = "✗ " + problem;
        _failures++;
    }
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    fmt::print("{:8.2f} ms  {:<15}  {} {}\n", time.count(), operation, request, outcome);
}

void Story::tell(const Places& places) {
    Place last;
    for (const Place& place : places) {
        const auto differs = std::mismatch(place.begin(), place.end(), last.begin(), last.end());
        for (auto label = differs.first; label != place.end(); ++label) {
            const auto depth = label - place.begin();
            fmt::print("{}{:{}}{}\n", depth == 0 ? "\n" : "", "", 2 + 3 * depth, *label);
        }
        last = place;
    }
}

void expectText(const std::string& what, const std::string& found, const std::string& wanted) {
    if (found != wanted) {
        throw std::runtime_error(fmt::format("{}: \"{}\", not \"{}\"", what, found, wanted));
    }
}

void expectPlaces(const Places& found, const Places& wanted) {
    std::vector<Place> differing;
    std::set_symmetric_difference(found.begin(), found.end(), wanted.begin(), wanted.end(),
                                  std::back_inserter(differing));
    std::string problems;
    for (const Place& place : differing) {
        problems += fmt::format(
            "\n             {} {}",
            found.count(place) < wanted.count(place) ? "missing:" : "not in the site file:",
            fmt::join(place, " / "));
    }
    if (!problems.empty()) {
        throw std::runtime_error("differs" + problems);
    }
}

std::string count(size_t number, const std::string& what) {
    return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

std::string text(const CIMInstance& instance, const char* name) {
    const CIMValue value = velmar_remote::getValue(instance, name);
    return value.isNull() ? "" : utf8(value.toString());
}

std::string stateOf(const CIMInstance& instance) {
    const std::string number = text(instance, "EnabledState");
    const site::State* const state =
        number.empty() ? nullptr : site::findState(static_cast<uint16_t>(std::stoul(number)));
    return state != nullptr ? state->name : number;
}

std::string shortText(const CIMObjectPath& path) {
    return utf8(velmar_remote::localize(path).toString());
}

}  // namespace demo
