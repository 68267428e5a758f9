// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The channel of a CIMOMHandle that the server gave to a provider: in memory, nothing is copied,
// one upcall at a time.
//
// Thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_SERVERCHANNEL_H
#define VELMAR_EMBEDDED_REQUESTS_SERVERCHANNEL_H

#include <atomic>
#include <memory>
#include <string>

#include "client/Channel.h"
#include "client/Gate.h"
#include "requests/Admission.h"

namespace velmar_embedded {

class ServerChannel : public Channel {
 public:
    ServerChannel(std::weak_ptr<Admission> server, const std::string& providerName);
    Answer exchange(Request request) override;
    void keepLoaded(bool keep) override { _keepLoaded += keep ? 1 : -1; }
    bool staysLoaded() const override { return _keepLoaded > 0; }

 private:
    const std::weak_ptr<Admission> _server;
    const std::string _providerName;
    Gate _gate;
    std::atomic<int> _keepLoaded{0};
};

}  // namespace velmar_embedded

#endif
