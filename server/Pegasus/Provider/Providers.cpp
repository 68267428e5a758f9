// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Constructors and destructors out of line, so that vtables and type information exist once and a
// cast from CIMProvider works across provider libraries.
#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMIndicationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

namespace Pegasus {

CIMProvider::CIMProvider() {}
CIMProvider::~CIMProvider() {}

CIMInstanceProvider::CIMInstanceProvider() {}
CIMInstanceProvider::~CIMInstanceProvider() {}

CIMMethodProvider::CIMMethodProvider() {}
CIMMethodProvider::~CIMMethodProvider() {}

CIMAssociationProvider::CIMAssociationProvider() {}
CIMAssociationProvider::~CIMAssociationProvider() {}

CIMIndicationProvider::CIMIndicationProvider() {}
CIMIndicationProvider::~CIMIndicationProvider() {}

}  // namespace Pegasus
