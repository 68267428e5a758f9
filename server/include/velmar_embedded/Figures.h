// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Counts what providers are called for, and how long they take.
#ifndef VELMAR_EMBEDDED_FIGURES_H
#define VELMAR_EMBEDDED_FIGURES_H

#include <velmar_embedded/Observer.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace velmar_embedded {

/// Of one class and operation.
struct Figure {
    std::string className;  ///< of the object that the provider is asked for or about
    std::string operation;  ///< of a method "invokeMethod NAME"
    uint64_t calls = 0;
    uint64_t errors = 0;     ///< calls that ended with an exception
    uint64_t delivered = 0;  ///< objects and values
    uint64_t requests = 0;   ///< that the provider made meanwhile: upcalls, and of its clients
    /// What half of the calls, nine of ten and 99 of 100 took at most, to a sixteenth.
    std::chrono::nanoseconds p50{0}, p90{0}, p99{0};
    std::chrono::nanoseconds largest{0};
};

/// Counts the calls of providers. Thread-safe.
class Figures : public Observer {
 public:
    void onBegin(const Step& step) override;
    void onEnd(const Step& step, const StepEnd& end) override;

    /// So far, by class and operation.
    std::vector<Figure> figures() const;

 private:
    struct Counts {
        Figure figure;
        std::map<unsigned, uint64_t> times;  // how many calls took a time of each size
    };

    mutable std::mutex _lock;
    std::map<std::pair<std::string, std::string>, Counts> _counts;
    std::map<uint64_t, uint64_t> _requests;  // of the calls that run, by their ids
};

}  // namespace velmar_embedded

#endif
