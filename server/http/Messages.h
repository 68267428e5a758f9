// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The messages of DSP0201: requests and their responses, exports and theirs.
#ifndef VELMAR_WIRE_MESSAGES_H
#define VELMAR_WIRE_MESSAGES_H

#include <Pegasus/Common/CIMInstance.h>

#include <optional>
#include <string>

#include "Intrinsics.h"
#include "ItemCutter.h"
#include "client/Request.h"

namespace velmar_wire {

/// A simple request as it was sent.
struct Call {
    std::string id;
    std::string method;
    const Intrinsic* intrinsic = nullptr;  ///< null for an extrinsic method, or when refused
    bool isExtrinsic = false;
    Pegasus::CIMNamespaceName nameSpace;
    Pegasus::CIMObjectPath object;  ///< of an extrinsic method: namespace, class and keys
    std::optional<velmar_embedded::Request> request;
    std::optional<velmar_embedded::Failure> refusal;  ///< why the request was not read
};

// Server side.

/// Throws MessageFault for anything but a simple request of the protocol version that its HTTP
/// header says; a request that cannot be served is one with a refusal.
Call readCall(const std::string& body, const std::string& protocolInHeader = "1.0");
/// Writes a response from the pieces of its answer; the call must outlive it. Not thread-safe.
class ResponseWriter {
 public:
    explicit ResponseWriter(const Call& call);
    void add(const velmar_embedded::Answer& piece);
    /// After the last piece, of which there is at least one.
    void end();
    size_t size() const { return _writer.size(); }
    /// What was written since the last time.
    std::string take() { return _writer.take(); }

 private:
    const Call& _call;
    Pegasus::XmlWriter _writer;
    bool _hasResult = false;
    std::optional<Pegasus::String> _continuation;
};
std::string responseTo(const Call& call, const velmar_embedded::Answer& answer);
/// `text` is the whole DESCRIPTION; an empty one is left out.
std::string errorTo(const Call& call, Pegasus::CIMStatusCode code, const Pegasus::String& text);
/// A response that lacks its result.
std::string emptyResponseTo(const Call& call);

// Client side.

std::string requestMessage(const velmar_embedded::Request& request, unsigned id);
/// "GetInstance", for an extrinsic method its own name.
std::string methodOf(const velmar_embedded::Request& request);
/// The value of the CIMObject header.
std::string objectOf(const velmar_embedded::Request& request);
/// The same for a request that was read.
std::string objectOf(const Call& call);
/// Reads a response while it comes; holds its answer, and a few elements of it as text. Not
/// thread-safe.
class ResponseReader {
 public:
    explicit ResponseReader(const velmar_embedded::Request& request);
    ResponseReader(const ResponseReader&) = delete;
    ResponseReader& operator=(const ResponseReader&) = delete;

    /// Throws MessageFault.
    void read(const char* data, size_t size) { _cutter.read(data, size); }
    /// The answer, once all was read. Throws CIMException for an error in the response,
    /// MessageFault if it is not a response to the request.
    velmar_embedded::Answer end();

 private:
    void add(const std::string& element);
    void readItems();

    const Intrinsic* const _intrinsic;  // null for an extrinsic method
    velmar_embedded::Answer _answer;
    std::string _items;  // elements that are not read yet
    ItemCutter _cutter;
};
/// Throws the CIMException of an error; MessageFault for a code that cannot be.
[[noreturn]] void throwStatus(const std::string& code, const std::string& text);
/// Reads a response that is there.
velmar_embedded::Answer readResponse(const velmar_embedded::Request& request,
                                     const std::string& body);

// Exports.

std::string exportMessage(const Pegasus::CIMInstance& indication, unsigned id);

/// An indication as a listener gets it.
struct Export {
    std::string id;  ///< of the message
    Pegasus::CIMInstance indication;
};
/// Throws MessageFault.
Export readExport(const std::string& body);
/// That the listener has it.
std::string exportResponse(const std::string& id);

}  // namespace velmar_wire

#endif
