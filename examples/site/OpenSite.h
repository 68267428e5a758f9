// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The site that all providers of this module serve.
#ifndef SITE_OPENSITE_H
#define SITE_OPENSITE_H

#include <memory>

#include "SiteFile.h"

namespace site {

/// The file named by the environment variable VELMAR_SITE_FILE, or /etc/velmar_remote/site.json.
/// Loaded by the first caller and shared as long as anybody holds it, so that a module which was
/// disabled and enabled again reads the file again. Throws CIMException with the reason, which is
/// also written to the trace. Thread-safe.
std::shared_ptr<const Site> openSite();

}  // namespace site

#endif
