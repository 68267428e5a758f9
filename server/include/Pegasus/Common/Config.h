// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Fixed-width types and the macros every other header builds on.
#ifndef Pegasus_Config_h
#define Pegasus_Config_h

#include <cstddef>
#include <iosfwd>

#ifndef PEGASUS_PLATFORM_LINUX_GENERIC_GNU
#define PEGASUS_PLATFORM_LINUX_GENERIC_GNU
#endif

#define PEGASUS_NAMESPACE_BEGIN namespace Pegasus {
#define PEGASUS_NAMESPACE_END }
#define PEGASUS_USING_PEGASUS using namespace Pegasus
#define PEGASUS_USING_STD using namespace std
#define PEGASUS_STD(x) std::x

#define PEGASUS_EXPORT __attribute__((visibility("default")))
#define PEGASUS_IMPORT
#define PEGASUS_FORMAT(a, b) __attribute__((format(printf, a, b)))

#define PEG_NOT_FOUND Uint32(-1)

PEGASUS_NAMESPACE_BEGIN

typedef bool Boolean;
typedef unsigned char Uint8;
typedef signed char Sint8;
typedef unsigned short Uint16;
typedef signed short Sint16;
typedef unsigned int Uint32;
typedef signed int Sint32;
typedef unsigned long long Uint64;
typedef signed long long Sint64;
typedef float Real32;
typedef double Real64;

PEGASUS_NAMESPACE_END

#endif
