// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Declares nothing: code that includes the definitions of Array or the internal exceptions includes
// this header, or the tracer's, before them.
#ifndef Pegasus_MessageLoader_h
#define Pegasus_MessageLoader_h
#endif
