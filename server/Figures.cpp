// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Figures.h>

#include <algorithm>
#include <tuple>
#include <utility>

#include "model/Text.h"

namespace velmar_embedded {

namespace {

// Sizes of times: sixteen to each power of two of nanoseconds.
const unsigned perPower = 16;

unsigned sizeOf(std::chrono::nanoseconds time) {
    uint64_t value = static_cast<uint64_t>(std::max<int64_t>(time.count(), 0));
    unsigned power = 0;
    for (; value >= 2 * perPower; value /= 2) {
        power++;
    }
    return power * perPower + static_cast<unsigned>(value);
}

// The longest time of a size.
std::chrono::nanoseconds longest(unsigned size) {
    const unsigned power = size < 2 * perPower ? 0 : size / perPower - 1;
    const uint64_t value = size - power * perPower;
    return std::chrono::nanoseconds(((value + 1) << power) - 1);
}

std::chrono::nanoseconds quantile(const std::map<unsigned, uint64_t>& times, uint64_t calls,
                                  uint64_t percent) {
    const uint64_t wanted = (calls * percent + 99) / 100;
    uint64_t passed = 0;
    for (const auto& [size, count] : times) {
        passed += count;
        if (passed >= wanted) {
            return longest(size);
        }
    }
    return {};
}

std::string operationOf(const Step& step) {
    return step.method.empty() ? step.operation : step.operation + " " + step.method;
}

}  // namespace

void Figures::onBegin(const Step& step) {
    const std::lock_guard<std::mutex> guard(_lock);
    if (step.kind == Step::Kind::Call) {
        _requests[step.id] = 0;
    } else if (step.kind == Step::Kind::Request || step.kind == Step::Kind::Upcall) {
        const auto asking = _requests.find(step.parent);
        if (asking != _requests.end()) {
            asking->second++;
        }
    }
}

void Figures::onEnd(const Step& step, const StepEnd& end) {
    if (step.kind != Step::Kind::Call) {
        return;
    }
    const std::lock_guard<std::mutex> guard(_lock);
    Counts& counts = _counts[{utf8(step.path.getClassName()), operationOf(step)}];
    counts.figure.calls++;
    counts.figure.errors += !end.error.empty();
    counts.figure.delivered += end.delivered;
    counts.figure.largest = std::max(counts.figure.largest, end.elapsed);
    counts.times[sizeOf(end.elapsed)]++;
    const auto asking = _requests.find(step.id);
    if (asking != _requests.end()) {
        counts.figure.requests += asking->second;
        _requests.erase(asking);
    }
}

std::vector<Figure> Figures::figures() const {
    const std::lock_guard<std::mutex> guard(_lock);
    std::vector<Figure> result;
    for (const auto& [name, counts] : _counts) {
        Figure figure = counts.figure;
        std::tie(figure.className, figure.operation) = name;
        figure.p50 = std::min(quantile(counts.times, figure.calls, 50), figure.largest);
        figure.p90 = std::min(quantile(counts.times, figure.calls, 90), figure.largest);
        figure.p99 = std::min(quantile(counts.times, figure.calls, 99), figure.largest);
        result.push_back(figure);
    }
    return result;
}

}  // namespace velmar_embedded
