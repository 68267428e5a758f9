// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Target.h"

#include <cstdlib>
#include <filesystem>

#include "Crash.h"
#include "model/Text.h"

using namespace Pegasus;

namespace velmar_cli {

bool isUrl(const std::string& target) { return target.rfind("http://", 0) == 0; }

namespace {

struct Place {
    std::string host;
    Uint32 port;
};

Place placeOf(const std::string& url) {
    const std::string scheme = "http://";
    const std::string place =
        url.substr(scheme.size(), url.find('/', scheme.size()) - scheme.size());
    const size_t colon =
        place.find(':', place.find(']') == std::string::npos ? 0 : place.find(']'));
    const std::string port = colon == std::string::npos ? "5988" : place.substr(colon + 1);
    const bool isNumber = !port.empty() && port.size() < 6 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (!isUrl(url) || place.substr(0, colon).empty() || !isNumber) {
        throw UsageError(url + ": expected http://HOST:PORT");
    }
    return {place.substr(0, colon), Uint32(std::stoul(port))};
}

}  // namespace

bool isThisHost(const std::string& url) {
    const std::string host = velmar_embedded::lowerCase(placeOf(url).host);
    return host == "localhost" || host == "[::1]" || host == "::1" || host.rfind("127.", 0) == 0;
}

void Login::addOptions(CLI::App& command) {
    command.add_option("--user", user,
                       "User at a server; VELMAR_PASSWORD in the environment is the password");
}

void connectTo(CIMClient& client, const std::string& url, const Login& login) {
    const Place place = placeOf(url);
    const char* const password = std::getenv("VELMAR_PASSWORD");
    client.connect(place.host.c_str(), place.port, login.user.c_str(),
                   password == nullptr ? "" : password);
}

ExitCode withClient(const std::string& target, Package& package, const Login& login,
                    const std::function<ExitCode(CIMClient&)>& work) {
    CIMClient client;
    if (isUrl(target)) {
        connectTo(client, target, login);
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
