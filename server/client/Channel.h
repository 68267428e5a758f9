// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The way that the requests of a CIMClient, or of a CIMOMHandle and its copies, take to a server.
#ifndef VELMAR_EMBEDDED_EXCHANGE_CHANNEL_H
#define VELMAR_EMBEDDED_EXCHANGE_CHANNEL_H

#include "client/Request.h"

namespace velmar_embedded {

class Channel {
 public:
    virtual ~Channel() = default;
    /// Waits for its turn and for the answer. Throws what the request failed with.
    virtual Answer exchange(Request request) = 0;

    /// Counts that the provider behind the handle wants to stay loaded, or no longer does.
    virtual void keepLoaded(bool) {}
    /// Whether it was asked for more often than taken back.
    virtual bool staysLoaded() const { return true; }
};

}  // namespace velmar_embedded

#endif
