// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Sends arbitrary bytes to a connection of the server, which has classes, stored instances and a
// namespace that anything may be done to.
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <velmar_embedded/Server.h>
#include "CimHandler.h"
#include "HttpConnection.h"

using namespace velmar_wire;

namespace {

const char* const schema = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
class QORP_CEC_CS { [Key] string Name; string ElementName; uint16 EnabledState; real64 Load[];
    uint32 Do(uint8 A, string B[], QORP_CEC_CS REF C); };
class QORP_LPAR_CS : QORP_CEC_CS { datetime Since; };
[Association] class Link { [Key] QORP_CEC_CS REF Near; [Key] QORP_LPAR_CS REF Far; };
instance of QORP_CEC_CS as $a { Name = "8205-E6C*10F2A3T"; Load = { 1.5, 2 }; };
instance of QORP_LPAR_CS as $b { Name = "b"; Since = "20240101000000.000000+000"; };
instance of Link { Near = $a; Far = $b; };
)";

// A server that is made anew now and then, so that what the inputs store does not add up.
void freshServer() {
    static std::unique_ptr<velmar_embedded::Server> server;
    static int uses = 0;
    if (uses++ % 1000 != 0) {
        return;
    }
    server.reset();
    server = std::make_unique<velmar_embedded::Server>();
    server->compileMofText("root/velmar_remote", schema);
    server->start();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    freshServer();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        abort();
    }
    static const int never = eventfd(0, 0);
    std::thread client([&] {
        if (send(ends[0], data, size, MSG_NOSIGNAL) < 0 && size > 0) {
            // The connection ended before it has read all.
        }
        shutdown(ends[0], SHUT_WR);
        char buffer[4096];
        while (recv(ends[0], buffer, sizeof buffer, 0) > 0) {
        }
    });
    const HttpServer::Handler check = checkHead;
    const HttpServer::Handler handle = answerTo;
    const Limits limits;
    Traffic traffic;
    HttpConnection(ends[1], never, limits, traffic, check, handle).run();
    close(ends[1]);
    client.join();
    close(ends[0]);
    return 0;
}
