// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/Course.h"

#include <atomic>

namespace velmar_embedded {

void beginStep(Step& step, Observer* observer) {
    static std::atomic<uint64_t> last{0};
    const Course& course = Course::current();
    step.id = ++last;
    step.parent = course.step;
    step.asker = course.asker != nullptr ? *course.asker : "";
    if (step.began == std::chrono::steady_clock::time_point()) {
        step.began = std::chrono::steady_clock::now();
    }
    if (observer != nullptr) {
        observer->onBegin(step);
    }
}

void endStep(const Step& step, StepEnd end, Observer* observer) {
    if (observer != nullptr) {
        end.elapsed = std::chrono::steady_clock::now() - step.began;
        observer->onEnd(step, end);
    }
}

}  // namespace velmar_embedded
