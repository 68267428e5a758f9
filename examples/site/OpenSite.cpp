// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "OpenSite.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/Tracer.h>
#include <stdlib.h>

#include <mutex>

using namespace Pegasus;

namespace site {

std::shared_ptr<const Site> openSite() {
    static std::mutex mutex;
    static std::weak_ptr<const Site> shared;
    const std::lock_guard<std::mutex> lock(mutex);
    std::shared_ptr<const Site> result = shared.lock();
    if (result) {
        return result;
    }
    const char* const file = getenv("VELMAR_SITE_FILE");
    try {
        result = std::make_shared<const Site>(
            loadSite(file != nullptr ? file : "/etc/velmar_remote/site.json"));
    } catch (const SiteError& error) {
        // The server tells clients only that the provider could not be initialized. The component
        // is the one that the library's own records carry.
        PEG_TRACE((TRC_WSMSERVER, Tracer::LEVEL1, "Site: %s", error.what()));
        throw CIMException(CIM_ERR_FAILED, String(error.what()));
    }
    shared = result;
    return result;
}

}  // namespace site
