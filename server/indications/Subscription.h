// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A filter, its subscriber, and the providers that serve it.
#ifndef VELMAR_EMBEDDED_INDICATIONS_SUBSCRIPTION_H
#define VELMAR_EMBEDDED_INDICATIONS_SUBSCRIPTION_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/OperationContext.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "indications/IndicationQueue.h"
#include "requests/Query.h"

namespace velmar_embedded {

class IndicationSource;

struct Subscription {
    std::string id;
    std::shared_ptr<const Query> query;
    Pegasus::CIMName className;  ///< the query's
    std::vector<Pegasus::CIMNamespaceName> nameSpaces;
    Pegasus::CIMObjectPath path;        ///< of the subscription instance, for providers
    Pegasus::OperationContext context;  ///< for providers
    std::shared_ptr<IndicationQueue> queue;
    /// Who accepted it, with the class paths that they were given. Set before it is active.
    std::vector<std::pair<IndicationSource*, Pegasus::Array<Pegasus::CIMObjectPath>>> accepted;
};

}  // namespace velmar_embedded

#endif
