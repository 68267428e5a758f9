// A client's connection: requests and answers go through it as copies, as through a socket.
//
// Not thread-safe: one request at a time.
#ifndef VELMAR_EMBEDDED_CLIENT_CONNECTION_H
#define VELMAR_EMBEDDED_CLIENT_CONNECTION_H

#include <Pegasus/Common/Config.h>

#include <memory>

#include "server/Core.h"
#include "server/Request.h"

namespace velmar_embedded {

/// The user that this process runs as.
Pegasus::String userName();

class ClientConnection {
 public:
    bool isConnected() const { return _server != nullptr; }
    /// Throws CannotConnectException without a started server.
    void connectLocal();
    void disconnect() { _server.reset(); }

    Pegasus::Uint32 timeout() const { return _timeout; }
    /// Milliseconds.
    void setTimeout(Pegasus::Uint32 timeout) { _timeout = timeout; }

    /// The answer is made on this thread, from what the provider delivered, after the operation
    /// has returned: whoever edits a delivered instance meanwhile races with it. Throws
    /// NotConnectedException, ConnectionTimeoutException, CIMException, CIMClientXmlException.
    Answer exchange(Request request);

 private:
    std::shared_ptr<Core> _server;
    Pegasus::Uint32 _timeout = 20000;
};

}  // namespace velmar_embedded

#endif
