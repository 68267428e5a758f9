// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Target.h"

#include <fmt/format.h>

#include <filesystem>
#include <mutex>

#include "Crash.h"
#include "model/Text.h"
#ifdef VELMAR_HAS_WIRE
#include <velmar_wire/Connect.h>
#endif

using namespace Pegasus;

namespace velmar_cli {

bool isUrl(const std::string& target) {
    return target.rfind("http://", 0) == 0 || target.rfind("https://", 0) == 0;
}

#ifdef VELMAR_HAS_WIRE

bool isThisHost(const std::string& url) {
    const std::string host = velmar_embedded::lowerCase(velmar_wire::addressOf(url).host);
    return host == "localhost" || host == "::1" || host.rfind("127.", 0) == 0;
}

void connectTo(CIMClient& client, const std::string& url, const Login& login) {
    static std::once_flag told;
    if (!login.user.empty() && !velmar_wire::addressOf(url).isEncrypted && !isThisHost(url)) {
        std::call_once(told, [&] {
            fmt::print(stderr, "note: {} has no TLS: the password can be read on its way\n", url);
        });
    }
    velmar_wire::connect(client, url, login.user, login.password(), {login.trusted});
}

#else

bool isThisHost(const std::string&) { return false; }

void connectTo(CIMClient&, const std::string& url, const Login&) {
    throw UsageError(url + ": this velmar was built without HTTP");
}

#endif

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
                         "http(s)://HOST:PORT");
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
