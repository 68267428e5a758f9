// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The domains: CachedInstanceProvider by hand, for instances that are only read. Nothing but the
// cache's contents is needed.
#ifndef SITE_DOMAINPROVIDER_H
#define SITE_DOMAINPROVIDER_H

#include <Common/CachedInstanceProvider.h>

#include <memory>

#include "SiteFile.h"

namespace site {

class DomainProvider : public velmar_remote::CachedInstanceProvider {
 public:
    DomainProvider();

    /// Throws CIMException when the site cannot be loaded; the server then terminates this object
    /// and tries again with a new one at the next request.
    void initialize(Pegasus::CIMOMHandle& cimom) override;

 private:
    std::shared_ptr<const Site> _site;
};

}  // namespace site

#endif
