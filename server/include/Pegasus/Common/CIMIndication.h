// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An indication is an instance of an indication class.
#ifndef Pegasus_CIMIndication_h
#define Pegasus_CIMIndication_h

#include <Pegasus/Common/CIMInstance.h>

namespace Pegasus {

typedef CIMInstance CIMIndication;

}  // namespace Pegasus

#endif
