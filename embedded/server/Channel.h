// What a CIMOMHandle and its copies share: the way that their upcalls take, one at a time.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_CHANNEL_H
#define VELMAR_EMBEDDED_CHANNEL_H

#include <memory>
#include <mutex>
#include <string>

#include "server/ClientConnection.h"
#include "server/Core.h"
#include "server/Gate.h"
#include "server/Request.h"

namespace velmar_embedded {

class Channel {
 public:
    virtual ~Channel() = default;
    /// Waits for its turn and for the answer. Throws what the request failed with.
    virtual Answer exchange(Request request) = 0;
};

/// The channel of a handle that the server gave to a provider: in memory, nothing is copied.
class ServerChannel : public Channel {
 public:
    ServerChannel(std::weak_ptr<Core> server, const std::string& providerName);
    Answer exchange(Request request) override;

 private:
    const std::weak_ptr<Core> _server;
    Gate _gate;
};

/// The channel of any other handle: a client that connects at the first upcall.
class ClientChannel : public Channel {
 public:
    Answer exchange(Request request) override;

 private:
    std::mutex _lock;
    ClientConnection _connection;
};

}  // namespace velmar_embedded

#endif
