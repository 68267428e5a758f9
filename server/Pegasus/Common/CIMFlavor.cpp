// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMFlavor.h>

#include "model/CIMReps.h"

namespace Pegasus {

// Constant-initialized: other static objects may use them.
const CIMFlavor CIMFlavor::NONE(0);
const CIMFlavor CIMFlavor::OVERRIDABLE(1);
const CIMFlavor CIMFlavor::TOSUBCLASS(2);
const CIMFlavor CIMFlavor::TOINSTANCE(4);
const CIMFlavor HandleAccess::translatable(8);
const CIMFlavor CIMFlavor::DISABLEOVERRIDE(16);
const CIMFlavor CIMFlavor::RESTRICTED(32);
const CIMFlavor CIMFlavor::DEFAULTS(1 | 2);

String CIMFlavor::toString() const {
    static const struct {
        const CIMFlavor& flavor;
        const char* keyword;
    } keywords[] = {{OVERRIDABLE, "EnableOverride"}, {DISABLEOVERRIDE, "DisableOverride"},
                    {TOSUBCLASS, "ToSubclass"},      {RESTRICTED, "Restricted"},
                    {TOINSTANCE, "ToInstance"},      {HandleAccess::translatable, "Translatable"}};
    String text;
    for (const auto& entry : keywords) {
        if (!hasFlavor(entry.flavor)) {
            continue;
        }
        if (text.size() != 0) {
            text.append(Char16(' '));
        }
        text.append(entry.keyword);
    }
    return text;
}

}  // namespace Pegasus
