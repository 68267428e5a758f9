// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A client's connection: requests and answers go through it as copies, as through a socket.
#ifndef VELMAR_EMBEDDED_EXCHANGE_CLIENTCONNECTION_H
#define VELMAR_EMBEDDED_EXCHANGE_CLIENTCONNECTION_H

#include <Pegasus/Common/Config.h>

#include <memory>
#include <optional>
#include <utility>

#include "client/AnswerSlices.h"
#include "client/Channel.h"
#include "client/Connector.h"
#include "client/Gate.h"
#include "client/LocalServer.h"

namespace velmar_embedded {

/// The user that this process runs as.
Pegasus::String userName();

/// An answer whose pieces are made, or waited for, one after the other. Not thread-safe.
class AnswerPieces {
 public:
    static constexpr Pegasus::Uint32 pieceSize = 10;  ///< objects

    AnswerPieces(std::shared_ptr<const Request> sent, std::shared_ptr<Pending> pending)
        : _sent(std::move(sent)), _pending(std::move(pending)) {}
    /// Waits for the operation to end, whose further objects are dropped.
    ~AnswerPieces();
    AnswerPieces(const AnswerPieces&) = delete;
    AnswerPieces& operator=(const AnswerPieces&) = delete;

    /// At least one piece; nullopt after the last. Throws as ClientConnection::exchange does; once
    /// a piece was returned, a CIMException has the provider's own text, as in a real server.
    std::optional<Answer> next();

 private:
    void fetch();

    const std::shared_ptr<const Request> _sent;
    const std::shared_ptr<Pending> _pending;
    AnswerSlices _slices;
    bool _hasBegun = false;
    bool _hasOutcome = false;
};

/// Not thread-safe: one request at a time.
class ClientConnection : public Channel {
 public:
    bool isConnected() const { return _server || _remote; }
    /// Throws CannotConnectException without a started server.
    void connectLocal();
    /// To a server outside of this process. Throws CannotConnectException.
    void connect(const Pegasus::String& host, Pegasus::Uint32 port, const Pegasus::String& user,
                 const Pegasus::String& password);
    void disconnect() {
        _server.reset();
        _remote.reset();
    }

    Pegasus::Uint32 timeout() const { return _timeout; }
    /// Milliseconds.
    void setTimeout(Pegasus::Uint32 timeout) { _timeout = timeout; }

    /// The answer is made on this thread, from what the provider delivered, after the operation
    /// has returned: whoever edits a delivered instance meanwhile races with it. Throws
    /// NotConnectedException, ConnectionTimeoutException, CIMException, CIMClientXmlException.
    Answer exchange(Request request) override;
    /// The same piece by piece, from a server in this process; waits without a time-out.
    std::unique_ptr<AnswerPieces> exchangePieces(Request request);

 private:
    std::shared_ptr<LocalServer> _server;
    std::unique_ptr<RemoteServer> _remote;
    Pegasus::Uint32 _timeout = 20000;
};

/// What a CIMOMHandle of the provider's own making uses: a client that connects at the first
/// upcall, and again after its server has stopped; one upcall at a time. Thread-safe.
class HandleConnection : public Channel {
 public:
    Answer exchange(Request request) override;

 private:
    Gate _gate{"a CIMOMHandle that its user has made"};
    ClientConnection _connection;  // used while the gate is held
};

}  // namespace velmar_embedded

#endif
