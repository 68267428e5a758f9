// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Enumerations of many instances over HTTP: time to the first and the last one, and the largest
// resident memory of server and client, each a process of its own.
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <arpa/inet.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <string>

#include <velmar_embedded/Server.h>
#include <velmar_wire/WireServer.h>

using namespace Pegasus;

namespace {

using Clock = std::chrono::steady_clock;
const char nameSpace[] = "root/bench";

CIMInstance instanceOf(const CIMName& className, Uint32 number) {
    CIMInstance instance(className);
    const String key(std::to_string(number).c_str());
    instance.addProperty(CIMProperty(CIMName("Name"), CIMValue(key)));
    instance.addProperty(CIMProperty(CIMName("Number"), CIMValue(number)));
    if (className.equal(CIMName("T_Large"))) {
        instance.addProperty(
            CIMProperty(CIMName("Text"), CIMValue(String(std::string(1024, 'x').c_str()))));
    }
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(CIMName("Name"), key, CIMKeyBinding::STRING));
    instance.setPath(CIMObjectPath(String(), nameSpace, className, keys));
    return instance;
}

// Makes its instances for each request.
class Maker : public CIMInstanceProvider {
 public:
    explicit Maker(Uint32 count) : _count(count) {}
    void initialize(CIMOMHandle&) override {}
    void terminate() override { delete this; }
    void getInstance(const OperationContext&, const CIMObjectPath&, const Boolean, const Boolean,
                     const CIMPropertyList&, InstanceResponseHandler&) override {}
    void enumerateInstances(const OperationContext&, const CIMObjectPath& path, const Boolean,
                            const Boolean, const CIMPropertyList&,
                            InstanceResponseHandler& handler) override {
        handler.processing();
        for (Uint32 i = 0; i < _count; i++) {
            handler.deliver(instanceOf(path.getClassName(), i));
        }
        handler.complete();
    }
    void enumerateInstanceNames(const OperationContext&, const CIMObjectPath&,
                                ObjectPathResponseHandler&) override {}
    void modifyInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        const Boolean, const CIMPropertyList&, ResponseHandler&) override {}
    void createInstance(const OperationContext&, const CIMObjectPath&, const CIMInstance&,
                        ObjectPathResponseHandler&) override {}
    void deleteInstance(const OperationContext&, const CIMObjectPath&, ResponseHandler&) override {}

 private:
    const Uint32 _count;
};

// MB of a process.
double memory(const char* what, pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        if (word == what) {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes / 1000;
        }
    }
    return 0;
}

struct Figures {
    double first, all;    // seconds
    double peak, at_end;  // MB
};

// Runs `work` in a process of its own.
template <class Result>
Result forked(const std::function<Result()>& work) {
    int ends[2];
    Result result = {};
    if (pipe(ends) != 0) {
        abort();
    }
    const pid_t child = fork();
    if (child == 0) {
        result = work();
        _exit(write(ends[1], &result, sizeof result) != sizeof result);
    }
    close(ends[1]);
    if (read(ends[0], &result, sizeof result) != sizeof result) {
        fprintf(stderr, "a client failed\n");
        exit(1);
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
    return result;
}

double since(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

Figures withClient(uint16_t port, const char* className, Uint32 count) {
    CIMClient client;
    client.setTimeout(600000);
    client.connect("127.0.0.1", port, String(), String());
    const Clock::time_point begin = Clock::now();
    const Array<CIMInstance> instances = client.enumerateInstances(nameSpace, CIMName(className));
    Figures figures = {0, since(begin), 0, 0};
    if (instances.size() != count) {
        abort();
    }
    figures.peak = memory("VmHWM:", getpid());
    malloc_trim(0);
    figures.at_end = memory("VmRSS:", getpid());
    return figures;
}

Figures withPulls(uint16_t port, const char* className, Uint32 count) {
    CIMClient client;
    client.setTimeout(600000);
    client.connect("127.0.0.1", port, String(), String());
    CIMEnumerationContext context;
    Boolean isLast = false;
    const Clock::time_point begin = Clock::now();
    Uint32 pulled = client
                        .openEnumerateInstances(context, isLast, nameSpace, CIMName(className),
                                                true, false, CIMPropertyList(), String(), String(),
                                                Uint32Arg(), false, Uint32Arg(1000))
                        .size();
    Figures figures = {since(begin), 0, 0, 0};
    while (!isLast) {
        pulled += client.pullInstancesWithPath(context, isLast, 1000).size();
    }
    figures.all = since(begin);
    figures.peak = memory("VmHWM:", getpid());
    if (pulled != count) {
        abort();
    }
    return figures;
}

// Only counts the bytes.
Figures withBytes(uint16_t port, const char* className) {
    const std::string body =
        std::string(
            "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE "
            "ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"EnumerateInstances\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/>"
            "<NAMESPACE NAME=\"bench\"/></LOCALNAMESPACEPATH><IPARAMVALUE "
            "NAME=\"ClassName\"><CLASSNAME NAME=\"") +
        className + "\"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    const std::string request =
        "POST /cimom HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/xml\r\n"
        "CIMOperation: MethodCall\r\nCIMMethod: EnumerateInstances\r\nCIMObject: root/bench\r\n"
        "TE: chunked, trailers\r\nConnection: close\r\nContent-Length: " +
        std::to_string(body.size()) + "\r\n\r\n" + body;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const Clock::time_point begin = Clock::now();
    if (connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        send(socket, request.data(), request.size(), 0) != ssize_t(request.size())) {
        abort();
    }
    Figures figures = {};
    char buffer[65536];
    while (recv(socket, buffer, sizeof buffer, 0) > 0) {
        if (figures.first == 0) {
            figures.first = since(begin);
        }
    }
    figures.all = since(begin);
    return figures;
}

// Serves until its input ends; says its port.
[[noreturn]] void serve(int input, int output, Uint32 count) {
    velmar_embedded::ServerOptions options;
    options.checks = false;
    velmar_embedded::Server server(options);
    server.compileMofText(nameSpace,
                          "Qualifier Key : boolean = false, Scope(property, reference), "
                          "Flavor(DisableOverride, ToSubclass);"
                          "class T_Small { [Key] string Name; uint32 Number; };"
                          "class T_Large { [Key] string Name; uint32 Number; string Text; };");
    for (const char* const name : {"T_Small", "T_Large"}) {
        server.registerProvider(
            name, new Maker(count),
            {{name, {nameSpace}, {velmar_embedded::ProviderType::Instance}, {}}});
    }
    server.start();
    {
        velmar_wire::WireServer wire(server);
        const uint16_t port = wire.port();
        char end = 0;
        if (write(output, &port, sizeof port) != sizeof port || read(input, &end, 1) != 0) {
            abort();
        }
    }
    server.stop();
    _exit(0);
}

void measure(const char* className, Uint32 count, const std::string& how) {
    int input[2];
    int output[2];
    if (pipe(input) != 0 || pipe(output) != 0) {
        abort();
    }
    const pid_t server = fork();
    if (server == 0) {
        close(input[1]);
        serve(input[0], output[1], count);
    }
    uint16_t port = 0;
    if (read(output[0], &port, sizeof port) != sizeof port) {
        abort();
    }
    const Figures figures = forked<Figures>([&] {
        return how == "bytes"   ? withBytes(port, className)
               : how == "pulls" ? withPulls(port, className, count)
                                : withClient(port, className, count);
    });
    printf("| %u %s, %s | %.3f s | %.2f s | %.0f MB | %.0f MB | %.0f MB |\n", count, className,
           how.c_str(), figures.first, figures.all, memory("VmHWM:", server), figures.peak,
           figures.at_end);
    fflush(stdout);
    close(input[1]);
    close(input[0]);
    close(output[0]);
    close(output[1]);
    waitpid(server, nullptr, 0);
}

}  // namespace

int main() {
    printf("| | first | all | the server's peak | the client's peak | with the array alone |\n");
    printf("|---|---|---|---|---|---|\n");
    for (const char* const className : {"T_Small", "T_Large"}) {
        for (const Uint32 count : {1000, 100000}) {
            for (const char* const how : {"bytes", "array", "pulls"}) {
                measure(className, count, how);
            }
        }
    }
}
