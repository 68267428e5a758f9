// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The course of a request: what of it a thread does, and how the observer is told.
//
// Followed through clients and handles, on whatever threads the requests are served. A thread that
// a provider has made starts with none. Thread-safe: of each thread its own.
#ifndef VELMAR_EMBEDDED_PROVIDERS_COURSE_H
#define VELMAR_EMBEDDED_PROVIDERS_COURSE_H

#include <stdint.h>

#include <algorithm>
#include <chrono>
#include <string>

#include <velmar_embedded/Observer.h>
#include "client/Request.h"
#include "providers/Notices.h"

namespace velmar_embedded {

struct Course {
    /// Deeper than any chain of providers that ends.
    static constexpr unsigned depthLimit = 100;

    unsigned depth = 0;  ///< a request that a provider makes while it serves one is one deeper
    uint64_t step = 0;   ///< that began last and runs; 0: none
    const std::string* asker = nullptr;  ///< the provider whose operation runs; null: none

    static const Course& current() { return ofThread(); }
    /// The course on into an operation of a provider, whose name outlives it.
    Course into(const std::string& provider) const { return {depth, step, &provider}; }

    class Scope;

 private:
    static Course& ofThread() {
        static thread_local Course course;
        return course;
    }
};

/// This thread follows a course for a while.
class Course::Scope {
 public:
    explicit Scope(const Course& course) : _before(ofThread()) { ofThread() = course; }
    ~Scope() { ofThread() = _before; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

 private:
    const Course _before;
};

/// Begins a step in this thread's course, and tells the observer. It began at `step.began` if that
/// is set.
void beginStep(Step& step, Observer* observer);
/// Tells the observer that it has ended now.
void endStep(const Step& step, StepEnd end, Observer* observer);

/// Runs `work`, which returns how many objects it delivered, as the step that `describe` returns:
/// the observer hears of it, and faults may come in its way. Only runs it where there are neither.
template <class Describe, class Work>
void asStep(Notices& notices, Describe&& describe, Work&& work) {
    if (!notices.wantsSteps()) {
        work();
        return;
    }
    Step step = describe();
    const auto start = std::chrono::steady_clock::now();
    beginStep(step, notices.observer());
    StepEnd end;
    end.waited = std::max(std::chrono::nanoseconds(0), start - step.began);
    try {
        Course course = Course::current();
        course.step = step.id;
        const Course::Scope scope(course);
        if (step.kind != Step::Kind::Load) {  // which is more than the initialize that may fail
            notices.faults.apply(step);
        }
        end.delivered = work();
    } catch (...) {
        const Pegasus::CString text = Failure::ofCurrentException().codedMessage().getCString();
        end.error = static_cast<const char*>(text);
        endStep(step, end, notices.observer());
        throw;
    }
    endStep(step, end, notices.observer());
}

}  // namespace velmar_embedded

#endif
