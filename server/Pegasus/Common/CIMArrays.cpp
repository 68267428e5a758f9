// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The arrays of the object model's classes.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/MessageLoader.h>

#include <Pegasus/Common/ArrayInternal.h>

namespace Pegasus {

template class Array<CIMKeyBinding>;
template class Array<CIMObjectPath>;
template class Array<CIMValue>;
template class Array<CIMQualifier>;
template class Array<CIMProperty>;
template class Array<CIMMethod>;
template class Array<CIMParameter>;
template class Array<CIMParamValue>;
template class Array<CIMInstance>;
template class Array<CIMObject>;
template class Array<CIMClass>;

}  // namespace Pegasus
