// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A library with nothing to load: BROKEN refers to a symbol that is nowhere, else the entry point
// lacks extern "C".
#include <Pegasus/Common/String.h>
#include <Pegasus/Provider/CIMProvider.h>

#ifdef BROKEN
int definedNowhere();
int (*needed)() = definedNowhere;  // not constant: optimised builds would leave it out
#endif

PEGASUS_EXPORT Pegasus::CIMProvider* PegasusCreateProvider(const Pegasus::String&);
Pegasus::CIMProvider* PegasusCreateProvider(const Pegasus::String&) { return nullptr; }
