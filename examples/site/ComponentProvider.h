// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What is in each domain: InstanceAssociationProvider by hand. Both ends are keyed; an end may also
// be a class path, which stands for all instances of its class, but deleting any one of them then
// deletes that association for all.
#ifndef SITE_COMPONENTPROVIDER_H
#define SITE_COMPONENTPROVIDER_H

#include <Common/InstanceAssociationProvider.h>

#include <memory>

#include "SiteFile.h"

namespace site {

class ComponentProvider : public velmar_remote::InstanceAssociationProvider {
 public:
    ComponentProvider();

    /// Throws CIMException when the site cannot be loaded; the server then terminates this object
    /// and tries again with a new one at the next request.
    void initialize(Pegasus::CIMOMHandle& cimom) override;

 private:
    std::shared_ptr<const Site> _site;
};

}  // namespace site

#endif
