// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The element types without an object model class of their own; part of Array.h.
#ifndef Pegasus_Array_h_inter
#error "include <Pegasus/Common/Array.h> instead of ArrayInter.h"
#endif

namespace Pegasus {

extern template class Array<Boolean>;
extern template class Array<Uint8>;
extern template class Array<Sint8>;
extern template class Array<Uint16>;
extern template class Array<Sint16>;
extern template class Array<Uint32>;
extern template class Array<Sint32>;
extern template class Array<Uint64>;
extern template class Array<Sint64>;
extern template class Array<Real32>;
extern template class Array<Real64>;
extern template class Array<Char16>;
extern template class Array<String>;

}  // namespace Pegasus
