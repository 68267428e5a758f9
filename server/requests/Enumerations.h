// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Answers that clients take piece by piece: the open enumerations of DSP0200.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_ENUMERATIONS_H
#define VELMAR_EMBEDDED_REQUESTS_ENUMERATIONS_H

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "client/AnswerSlices.h"

namespace velmar_embedded {

class Enumerations {
 public:
    static constexpr Pegasus::Uint32 mostObjects = 10'000;  ///< of one answer
    static constexpr Pegasus::Uint32 defaultTimeout = 30;   ///< seconds between two pulls
    static constexpr Pegasus::Uint32 longestTimeout = 90;
    static constexpr size_t mostOpen = 100;

    ~Enumerations() { stop(); }

    /// The first piece of an answer whose `enumeration` says what it was made of; keeps the rest.
    /// Throws CIMException (CIM_ERR_SERVER_LIMITS_EXCEEDED) when too many are open.
    Answer open(Answer whole, Pegasus::Uint32 most);
    /// The next piece. What was taken is kept no longer. Throws CIMException for a context that is
    /// unknown or of the other kind; the latter ends the enumeration.
    Answer pull(const Request& request);
    void close(const Request& request);
    /// How many objects are left.
    Pegasus::Uint64 count(const Request& request);
    /// Ends them all, for good.
    void stop();

 private:
    using Clock = std::chrono::steady_clock;

    struct Enumeration {
        AnswerSlices slices;
        Clock::time_point end;

        const Request& request() const { return *slices.rest().enumeration; }
        bool hasPaths() const { return slices.rest().instances.size() == 0; }
    };
    using Open = std::map<std::string, Enumeration>;

    static void extend(Enumeration& enumeration);
    std::string keep(Enumeration enumeration);
    Open::iterator find(const Request& request);
    void endOverdue();

    const std::string _prefix = std::to_string(std::random_device()()) + "-";
    std::mutex _lock;
    std::condition_variable _changed;
    Open _open;
    unsigned _lastId = 0;
    bool _stopped = false;
    std::thread _watch;  // from the first one that is kept
};

}  // namespace velmar_embedded

#endif
