// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A mistake that only a warning tells of: the array form of the hook is hidden.
#include <Common/CachedInstanceProvider.h>

class HidingProvider : public velmar_remote::CachedInstanceProvider {
 protected:
    virtual void fillProperties(Pegasus::CIMInstance&) {}
};
HidingProvider provider;
