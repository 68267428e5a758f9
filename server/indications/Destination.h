// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Where indications go whose subscription names a place outside of this process. The server does
// not know how they get there: whoever does gives it the Destinations (the room http/).
#ifndef VELMAR_EMBEDDED_INDICATIONS_DESTINATION_H
#define VELMAR_EMBEDDED_INDICATIONS_DESTINATION_H

#include <Pegasus/Common/CIMInstance.h>

#include <functional>
#include <memory>
#include <string>

namespace velmar_embedded {

/// Thread-safe.
class Destination {
 public:
    virtual ~Destination() = default;
    /// Takes an indication, which stays unchanged from then on, and returns at once.
    virtual void take(const Pegasus::CIMInstance& indication) = 0;
};

/// Thread-safe.
class Destinations {
 public:
    /// Hears of indications that are lost; on any thread.
    using Report = std::function<void(const std::string&)>;

    virtual ~Destinations() = default;
    /// The destination at a URL. Throws CIMException for one that cannot be delivered to.
    virtual std::shared_ptr<Destination> open(const std::string& url, const Report& report) = 0;
};

}  // namespace velmar_embedded

#endif
