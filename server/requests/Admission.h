// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Admits requests while the server runs, gives each a worker, and hands its outcome over.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_ADMISSION_H
#define VELMAR_EMBEDDED_REQUESTS_ADMISSION_H

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "client/Gate.h"
#include "client/LocalServer.h"
#include "requests/Dispatch.h"

namespace velmar_embedded {

class Admission {
 public:
    explicit Admission(Services& services) : _services(services) {}
    Admission(const Admission&) = delete;
    Admission& operator=(const Admission&) = delete;

    /// False when it was open before, or is closed for good.
    bool open();
    /// Admits nothing more but the upcalls of what runs. False when it was not open.
    bool close();
    /// Waits until nothing runs any more; after close.
    void waitForLast();

    /// Serves a request on a worker. `chain` are the gates that the caller holds until the answer
    /// is there. Throws CIMException: CIM_ERR_SERVER_IS_SHUTTING_DOWN when it is not open.
    std::shared_ptr<Pending> submit(std::shared_ptr<const Request> request, Gate::Chain chain);
    /// Runs `work` on a worker and waits for it. Throws what it throws, as a CIMException.
    void complete(const std::function<void()>& work);

 private:
    enum class State { Prepared, Running, Draining, Stopped };

    std::shared_ptr<Pending> run(bool fromHandle, Gate::Chain chain,
                                 std::function<Answer(AnswerSink&)> work);
    bool enter(bool fromHandle);
    void leave();

    Services& _services;
    std::mutex _lock;
    std::condition_variable _left;
    State _state = State::Prepared;
    size_t _running = 0;
};

}  // namespace velmar_embedded

#endif
