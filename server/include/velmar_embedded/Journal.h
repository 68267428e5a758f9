// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What each request causes: provider calls, upcalls, client connections, alerts, as a tree.
#ifndef VELMAR_EMBEDDED_JOURNAL_H
#define VELMAR_EMBEDDED_JOURNAL_H

#include <velmar_embedded/Observer.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmar_embedded {

/// A step that has ended, and those that happened in its course.
struct Event {
    Step step;
    StepEnd end;
    std::vector<Event> events;  ///< in the order in which they began
    size_t omitted = 0;         ///< further ones, beyond the journal's limit

    /// Waiting for its turn, and for others that work for it; deliveries are not waited for.
    std::chrono::nanoseconds waited() const;
    /// The rest of the time that it took.
    std::chrono::nanoseconds worked() const { return end.elapsed - waited(); }
};

/// Collects steps into trees. Thread-safe.
class Journal : public Observer {
 public:
    /// Hands each tree to `take` when all in it has ended, on the thread that ended the last of it.
    /// A tree keeps at most `limit` steps.
    explicit Journal(std::function<void(const Event&)> take, size_t limit = 10000);
    ~Journal() override;

    /// Takes trace records as steps from here on; of one journal in a process.
    void followTraces();

    void onBegin(const Step& step) override;
    void onEnd(const Step& step, const StepEnd& end) override;

 private:
    struct Tree;
    std::shared_ptr<Tree> leave(const Step& step, const StepEnd& end);

    const std::function<void(const Event&)> _take;
    const size_t _limit;
    std::mutex _lock;
    std::map<uint64_t, std::shared_ptr<Tree>> _trees;  // by each of their open steps
};

/// A line for each event: milliseconds of work, milliseconds of waiting, what and how it ended.
std::string treeOf(const Event& root);
/// The same as a time line, a document of SVG 1.1.
std::string drawingOf(const Event& root);

}  // namespace velmar_embedded

#endif
