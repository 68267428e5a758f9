#include "server/Channel.h"

#include <utility>

using namespace Pegasus;

namespace velmar_embedded {

ServerChannel::ServerChannel(std::weak_ptr<Core> server, const std::string& providerName)
    : _server(std::move(server)), _gate("the CIMOMHandle of provider \"" + providerName + "\"") {}

Answer ServerChannel::exchange(Request request) {
    const std::shared_ptr<Core> server = _server.lock();
    if (!server)
        throw CIMException(CIM_ERR_SERVER_IS_SHUTTING_DOWN, String("the server was stopped"));
    request.fromHandle = true;
    Gate::Pass pass(_gate, operationName(request.operation));
    const std::shared_ptr<Pending> pending =
        server->submit(std::make_shared<const Request>(std::move(request)), pass.chain());
    pending->wait(std::nullopt);
    if (pending->failure())
        throw pending->failure()->exception();
    return std::move(pending->answer());
}

Answer ClientChannel::exchange(Request request) {
    std::lock_guard<std::mutex> guard(_lock);
    if (!_connection.isConnected())
        _connection.connectLocal();
    try {
        return _connection.exchange(std::move(request));
    } catch (const CIMException& e) {
        // Another server may be there for the next upcall.
        if (e.getCode() == CIM_ERR_SERVER_IS_SHUTTING_DOWN)
            _connection.disconnect();
        throw;
    }
}

}  // namespace velmar_embedded
