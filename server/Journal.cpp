// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/Journal.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <optional>
#include <utility>

#include "model/Text.h"
#include "model/TraceHook.h"
#include "providers/Course.h"

namespace velmar_embedded {

// Steps in the order of their begin, so that a step stands behind its parent.
struct Journal::Tree {
    struct Entry {
        Step step;
        std::optional<StepEnd> end;
    };
    std::map<uint64_t, Entry> entries;
    size_t open = 0;
    size_t omitted = 0;

    Event event() const;
};

// A step that was kept has a parent that was, since that began before.
Event Journal::Tree::event() const {
    std::map<uint64_t, Event> events;
    for (const auto& [id, entry] : entries) {
        events[id] = {entry.step, entry.end.value_or(StepEnd()), {}, 0};
    }
    const uint64_t root = entries.begin()->first;
    for (auto last = entries.rbegin(); last->first != root; ++last) {
        Event& event = events[last->first];
        std::reverse(event.events.begin(), event.events.end());
        events[last->second.step.parent].events.push_back(std::move(event));
    }
    Event& event = events[root];
    std::reverse(event.events.begin(), event.events.end());
    event.omitted = omitted;
    return std::move(event);
}

Journal::Journal(std::function<void(const Event&)> take, size_t limit)
    : _take(std::move(take)), _limit(limit) {}

namespace {

std::atomic<Journal*> journalOfTraces{nullptr};

void takeTrace(const char*, size_t, const char* text) {
    if (Journal* const journal = journalOfTraces) {
        Step step;
        step.kind = Step::Kind::Trace;
        step.operation = text;
        beginStep(step, journal);
        journal->onEnd(step, {});
    }
}

}  // namespace

void Journal::followTraces() {
    journalOfTraces = this;
    traceHook = takeTrace;
}

Journal::~Journal() {
    if (journalOfTraces == this) {
        traceHook = nullptr;
        journalOfTraces = nullptr;
    }
}

void Journal::onBegin(const Step& step) {
    const std::lock_guard<std::mutex> guard(_lock);
    const auto parent = _trees.find(step.parent);
    const auto tree = parent != _trees.end() ? parent->second : std::make_shared<Tree>();
    _trees[step.id] = tree;
    tree->open++;
    if (tree->entries.size() < _limit) {
        tree->entries[step.id] = {step, {}};
    } else {
        tree->omitted++;
    }
}

// The step's tree if it was the last one in it.
std::shared_ptr<Journal::Tree> Journal::leave(const Step& step, const StepEnd& end) {
    const std::lock_guard<std::mutex> guard(_lock);
    const auto found = _trees.find(step.id);
    if (found == _trees.end()) {
        return nullptr;  // it began before the journal heard of anything
    }
    const std::shared_ptr<Tree> tree = std::move(found->second);
    _trees.erase(found);
    const auto entry = tree->entries.find(step.id);
    if (entry != tree->entries.end()) {
        entry->second.end = end;
    }
    return --tree->open == 0 ? tree : nullptr;
}

void Journal::onEnd(const Step& step, const StepEnd& end) {
    if (const std::shared_ptr<Tree> whole = leave(step, end)) {
        _take(whole->event());
    }
}

std::chrono::nanoseconds Event::waited() const {
    auto until = step.began + end.waited;
    std::chrono::nanoseconds sum = end.waited;
    for (const Event& one : events) {
        if (one.step.kind != Step::Kind::Delivery) {
            const auto from = std::max(until, one.step.began);
            const auto to = std::max(from, one.step.began + one.end.elapsed);
            sum += to - from;
            until = to;
        }
    }
    return std::min(sum, end.elapsed);
}

namespace {

double milliseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string textOf(const Event& event) {
    const Step& step = event.step;
    std::string what = step.operation;
    if (!step.method.empty()) {
        what += " " + step.method;
    }
    if (!step.path.getClassName().isNull()) {
        what += " " + utf8(withoutPlace(step.path));
    }
    const std::string by = step.asker.empty() ? "" : " by " + step.asker;
    switch (step.kind) {
        case Step::Kind::Connect:
        case Step::Kind::Request:
            return step.asker.empty() ? what : "client: " + what + by;
        case Step::Kind::Upcall:
            return "upcall: " + what + by;
        case Step::Kind::Load:
        case Step::Kind::Call:
            return step.provider + ": " + what;
        case Step::Kind::Indication:
            return step.provider + " delivers" + what.substr(step.operation.size());
        case Step::Kind::Delivery:
            return "delivery to a subscriber";
        case Step::Kind::Trace:
            break;
    }
    return "trace: " + what;
}

std::string resultOf(const Event& event) {
    if (!event.end.error.empty()) {
        return " -> " + event.end.error;
    }
    return event.end.delivered == 0 ? "" : " -> " + std::to_string(event.end.delivered);
}

// Depth first, without recursion deeper than requests are nested.
template <class Visit>
void visit(const Event& event, unsigned depth, const Visit& see) {
    see(event, depth);
    for (const Event& one : event.events) {
        visit(one, depth + 1, see);
    }
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const bool isControl = static_cast<unsigned char>(c) < 0x20;
        result += c == '&'    ? "&amp;"
                  : c == '<'  ? "&lt;"
                  : c == '>'  ? "&gt;"
                  : isControl ? " "
                              : std::string(1, c);
    }
    return result;
}

template <class... Values>
std::string formatted(const char* format, Values... values) {
    char text[256];
    snprintf(text, sizeof text, format, values...);
    return text;
}

}  // namespace

std::string treeOf(const Event& root) {
    std::string text = " working  waiting  ms\n";
    visit(root, 0, [&](const Event& event, unsigned depth) {
        text +=
            formatted("%8.3f %8.3f  ", milliseconds(event.worked()), milliseconds(event.waited())) +
            std::string(size_t(2) * depth, ' ') + textOf(event) + resultOf(event) + "\n";
    });
    if (root.omitted > 0) {
        text += "and " + std::to_string(root.omitted) + " steps more\n";
    }
    return text;
}

std::string drawingOf(const Event& root) {
    const double width = 1000, row = 18;
    auto last = root.step.began + root.end.elapsed;
    visit(root, 0, [&](const Event& event, unsigned) {
        last = std::max(last, event.step.began + event.end.elapsed);
    });
    const double scale = width / std::max(1e-6, milliseconds(last - root.step.began));
    double y = 0;
    std::string rows;
    visit(root, 0, [&](const Event& event, unsigned depth) {
        const double x = scale * milliseconds(event.step.began - root.step.began);
        const double length = scale * milliseconds(event.end.elapsed);
        const double turn = scale * milliseconds(event.end.waited);
        rows += formatted("<rect x='%.1f' y='%.0f' width='%.1f' height='14' class='wait'/>\n", x, y,
                          turn) +
                formatted("<rect x='%.1f' y='%.0f' width='%.1f' height='14' class='%s'/>\n",
                          x + turn, y, std::max(0.5, length - turn),
                          event.end.error.empty() ? "step" : "failed") +
                formatted("<text x='%.1f' y='%.0f'>", std::min(x, width - 300) + 4 + 6 * depth,
                          y + 11) +
                escaped(textOf(event) + resultOf(event)) +
                formatted("<title>%.3f ms, of these %.3f ms waiting</title></text>\n",
                          milliseconds(event.end.elapsed), milliseconds(event.waited()));
        y += row;
    });
    return formatted(
               "<svg xmlns='http://www.w3.org/2000/svg' version='1.1' width='%.0f' "
               "height='%.0f'>\n",
               width + 300, y) +
           "<style>text { font: 11px monospace } .step { fill: #b9d3ee } .failed { fill: #f4b6b0 } "
           ".wait { fill: #e4e4e4 }</style>\n" +
           rows + "</svg>\n";
}

}  // namespace velmar_embedded
