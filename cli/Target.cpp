// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Target.h"

#include <cstdlib>
#include <filesystem>

#include "Crash.h"

using namespace Pegasus;

namespace velmar_cli {

bool isUrl(const std::string& target) { return target.rfind("http://", 0) == 0; }

void connectTo(CIMClient& client, const std::string& url, const std::string& user) {
    const std::string scheme = "http://";
    const std::string place =
        url.substr(scheme.size(), url.find('/', scheme.size()) - scheme.size());
    const size_t colon =
        place.find(':', place.find(']') == std::string::npos ? 0 : place.find(']'));
    const std::string port = colon == std::string::npos ? "5988" : place.substr(colon + 1);
    const bool isNumber = !port.empty() && port.size() < 6 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (place.substr(0, colon).empty() || !isNumber) {
        throw UsageError(url + ": expected http://HOST:PORT");
    }
    const char* const password = std::getenv("VELMAR_PASSWORD");
    client.connect(place.substr(0, colon).c_str(), Uint32(std::stoul(port)), user.c_str(),
                   password == nullptr ? "" : password);
}

ExitCode withClient(const std::string& target, Package& package, const std::string& user,
                    const std::function<ExitCode(CIMClient&)>& work) {
    CIMClient client;
    if (isUrl(target)) {
        connectTo(client, target, user);
        return work(client);
    }
    if (!std::filesystem::exists(target)) {
        throw UsageError(target +
                         ": is not there; expected a package, a MOF file or "
                         "http://HOST:PORT");
    }
    package.folder = target;
    package.resolve();
    static LastCall last;
    watchForCrashes(last);
    CallObserver observer;
    velmar_embedded::ServerOptions options;
    options.observer = &observer;
    options.checks = false;  // velmar check says what is wrong
    velmar_embedded::Server server(options);
    package.load(server);
    server.start();
    client.connectLocal();
    const ExitCode code = work(client);
    client.disconnect();
    server.stop();
    return code;
}

}  // namespace velmar_cli
