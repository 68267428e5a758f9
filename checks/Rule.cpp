// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/Rule.h"

namespace velmar_checks {

RuleList allRules() {
    RuleList all;
    for (const RuleList& group :
         {registrationRules(), loadingRules(), protocolRules(), instanceRules(), sharingRules(),
          associationRules(), methodRules(), indicationRules(), creationRules()}) {
        all.insert(all.end(), group.begin(), group.end());
    }
    return all;
}

}  // namespace velmar_checks
