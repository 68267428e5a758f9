// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Sends arbitrary bytes to a connection of the server, which has classes, stored instances and a
// namespace that anything may be done to. XML alone gets the head that belongs to it.
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
#include "Parts.h"

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

// Replaces the server every 1,000 inputs, so that what they store does not add up.
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

// The text between `key` and the next quotation mark.
std::string valueAfter(const std::string& text, const std::string& key) {
    const size_t place = text.find(key);
    if (place == std::string::npos) {
        return "";
    }
    const size_t begin = place + key.size();
    return text.substr(begin, text.find('"', begin) - begin);
}

std::string withHead(const std::string& body) {
    return "POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\n"
           "CIMOperation: MethodCall\r\nCIMMethod: " +
           valueAfter(body, "METHODCALL NAME=\"") +
           "\r\nCIMObject: " + valueAfter(body, "<NAMESPACE NAME=\"") +
           "%2Fvelmar_remote\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace

// A leak check may stop a thread between its start and the moment the checker knows it: the
// destructors that such a thread has registered look like a leak.
extern "C" const char* __lsan_default_suppressions() { return "leak:__cxa_thread_atexit_impl\n"; }

// The body by its parts, mostly, with the length that it has then.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most, unsigned seed) {
    std::string text(reinterpret_cast<const char*>(data), size);
    const size_t head = text.find("\r\n\r\n");
    const size_t length = text.find("Content-Length:");
    if (text[0] == '<') {
        text = velmar_fuzz::mutated(text, "", seed, most, velmar_fuzz::partsOfXml);
    } else if (head == std::string::npos || length >= head || seed % 4 == 0) {
        text = velmar_fuzz::mutated(text, "", seed, most, velmar_fuzz::partsOfMof);
    } else {
        const size_t room = most > head + 32 ? most - head - 32 : 0;
        const std::string body =
            velmar_fuzz::mutated(text.substr(head + 4), "", seed, room, velmar_fuzz::partsOfXml);
        text.resize(head + 4);
        text.replace(length, text.find("\r\n", length) - length,
                     "Content-Length: " + std::to_string(body.size()));
        text += body;
    }
    return text.copy(reinterpret_cast<char*>(data), most);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string sent(reinterpret_cast<const char*>(data), size);
    if (sent[0] == '<') {
        sent = withHead(sent);
    }
    freshServer();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) {
        abort();
    }
    static const int never = eventfd(0, 0);
    std::thread client([&] {
        // The connection may end before it has read all.
        static_cast<void>(send(ends[0], sent.data(), sent.size(), MSG_NOSIGNAL));
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
