// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "requests/ServerChannel.h"

#include <chrono>
#include <optional>
#include <utility>

#include "providers/Course.h"

using namespace Pegasus;

namespace velmar_embedded {

ServerChannel::ServerChannel(std::weak_ptr<Admission> server, const std::string& providerName)
    : _server(std::move(server)),
      _providerName(providerName),
      _gate("the CIMOMHandle of provider \"" + providerName + "\"") {}

Answer ServerChannel::exchange(Request request) {
    const std::shared_ptr<Admission> server = _server.lock();
    if (!server) {
        throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN, String("the server was stopped"));
    }
    request.fromHandle = true;
    request.asked = std::chrono::steady_clock::now();
    Gate::Pass pass(_gate, operationName(request.operation));
    // Its own threads follow no course.
    const Course::Scope following(Course::current().into(_providerName));
    const std::shared_ptr<Pending> pending =
        server->submit(std::make_shared<const Request>(std::move(request)), pass.chain());
    pending->wait(std::nullopt);
    if (pending->failure()) {
        throw pending->failure()->exception();
    }
    return std::move(pending->answer());
}

}  // namespace velmar_embedded
