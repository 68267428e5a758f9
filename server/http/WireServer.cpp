// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_wire/WireServer.h>

#include "CimHandler.h"
#include "Deliveries.h"
#include "HttpServer.h"

namespace velmar_wire {

struct WireServer::Impl {
    Impl(velmar_embedded::Server& served, const Options& options)
        : server(served),
          deliveries(std::make_shared<Deliveries>(options.delivery)),
          http(options.limits, checkHead, answerTo),
          port(http.start(options.port)) {
        server.setDestinations(deliveries);
    }
    ~Impl() {
        http.stop();
        server.setDestinations(nullptr);
        deliveries->stop();
    }

    velmar_embedded::Server& server;
    const std::shared_ptr<Deliveries> deliveries;
    HttpServer http;
    const uint16_t port;
};

WireServer::WireServer(velmar_embedded::Server& server, const Options& options)
    : _impl(std::make_unique<Impl>(server, options)) {}

WireServer::~WireServer() = default;

Refusals WireServer::refusals() const {
    Refusals result = _impl->http.refusals();
    result.destinations = _impl->deliveries->refusals().destinations;
    result.alerts = _impl->deliveries->refusals().alerts;
    return result;
}

uint16_t WireServer::port() const { return _impl->port; }

}  // namespace velmar_wire
