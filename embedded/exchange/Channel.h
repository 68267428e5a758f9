// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The way that the requests of a CIMClient, or of a CIMOMHandle and its copies, take to a server.
#ifndef VELMAR_EMBEDDED_EXCHANGE_CHANNEL_H
#define VELMAR_EMBEDDED_EXCHANGE_CHANNEL_H

#include "exchange/Request.h"

namespace velmar_embedded {

class Channel {
 public:
    virtual ~Channel() = default;
    /// Waits for its turn and for the answer. Throws what the request failed with.
    virtual Answer exchange(Request request) = 0;
    /// The provider at this end must not be unloaded while it is idle, or may be again.
    virtual void keepProvider(bool /*keep*/) {}
};

}  // namespace velmar_embedded

#endif
