// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Reads arbitrary bytes as a request, and as the response to each kind of request. What was read as
// a request must be written so that it is read as the same again; a response is read as the same
// however its bytes come.
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "Messages.h"
#include "Parts.h"

VELMAR_FUZZ_BY_PARTS(velmar_fuzz::partsOfXml)

using namespace Pegasus;
using namespace velmar_wire;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace {

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

// False for what is refused in the one way that there is.
template <class Read>
bool accepted(Read read) {
    try {
        read();
        return true;
    } catch (const MessageFault&) {
        return false;
    }
}

// What comes of a response that arrives so many bytes at a time.
std::string outcome(Operation operation, const std::string& body, size_t step) {
    const Request request(operation, "n", CIMObjectPath());
    try {
        ResponseReader reader(request);
        for (size_t at = 0; at < body.size(); at += step) {
            reader.read(body.data() + at, std::min(step, body.size() - at));
        }
        return std::to_string(reader.end().size());
    } catch (const MessageFault& fault) {
        return fault.what();
    } catch (const CIMException& e) {  // that the response holds
        return std::string(e.getMessage().getCString());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string body(reinterpret_cast<const char*>(data), size);
    Call call;
    if (accepted([&] { call = readCall(body); })) {
        require(bool(call.request) != bool(call.refusal));
        if (call.request) {
            const std::string written = requestMessage(*call.request, 1);
            const Call again = readCall(written);
            require(again.request && requestMessage(*again.request, 1) == written);
        }
    }
    Export alert;
    if (accepted([&] { alert = readExport(body); })) {
        const std::string written = exportMessage(alert.indication, 1);
        require(exportMessage(readExport(written).indication, 1) == written);
    }
    for (int i = 0; i <= int(Operation::InvokeMethod); i++) {
        require(outcome(Operation(i), body, 1) == outcome(Operation(i), body, body.size()));
    }
    return 0;
}
