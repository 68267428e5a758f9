// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The CIM server of this process as clients and handles see it: something that takes requests.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_EXCHANGE_LOCALSERVER_H
#define VELMAR_EMBEDDED_EXCHANGE_LOCALSERVER_H

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <queue>

#include "client/Request.h"

namespace velmar_embedded {

/// The outcome of a submitted request, which its caller may have stopped waiting for.
class Pending : public AnswerSink {
 public:
    static constexpr size_t mostPieces = 2;  ///< that wait for the caller

    void take(Answer piece) override;
    void finish(Answer answer, std::optional<Failure> failure);

    /// Waits for the next piece; nullopt if there is none before the outcome.
    std::optional<Answer> nextPiece();
    /// Lets the operation go on without a caller.
    void giveUp();

    /// Waits for the outcome, for ever without a time; false when the time ran out. After true the
    /// outcome belongs to the caller.
    bool wait(std::optional<std::chrono::milliseconds> time);
    Answer& answer() { return _answer; }
    const std::optional<Failure>& failure() const { return _failure; }

 private:
    std::mutex _lock;
    std::condition_variable _changed;
    bool _finished = false;
    bool _givenUp = false;
    std::queue<Answer> _pieces;
    Answer _answer;
    std::optional<Failure> _failure;
};

class LocalServer {
 public:
    virtual ~LocalServer() = default;

    /// Hands a request over and returns at once. Throws CIMException
    /// (CIM_ERR_SERVER_IS_SHUTTING_DOWN) when the server takes no more.
    virtual std::shared_ptr<Pending> submit(std::shared_ptr<const Request> request) = 0;

    /// A client connects. Throws CannotConnectException where it is refused.
    virtual void connecting() {}

    /// The client of a submitted request has stopped waiting for it, after so many milliseconds.
    virtual void noteTimeout(const Request& request, Pegasus::Uint32 milliseconds) = 0;

    /// The one that connectLocal reaches; null without one.
    static std::shared_ptr<LocalServer> started();

 protected:
    /// Makes `server` the started one; false when another is.
    static bool announce(const std::shared_ptr<LocalServer>& server);
    /// Undoes announce; quiet when `server` is not the started one.
    static void withdraw(const LocalServer& server);
};

}  // namespace velmar_embedded

#endif
