// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Numbers as the keys of object paths write them: decimal without leading zeros, or `0x`
// hexadecimal, 64 bits.
#ifndef VELMAR_EMBEDDED_MODEL_CIMNUMBER_H
#define VELMAR_EMBEDDED_MODEL_CIMNUMBER_H

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

/// False, with `number` unchanged, for a text that is not a number or does not fit.
bool parseUnsigned(const Char16* text, Uint32 size, Uint64& number);
bool parseUnsigned(const String& text, Uint64& number);
/// The same with an optional sign before it.
bool parseSigned(const Char16* text, Uint32 size, Sint64& number);
bool parseSigned(const String& text, Sint64& number);

String numberText(Uint64 number);
String numberText(Sint64 number);
/// Scientific with 16 digits after the point, in any locale.
String numberText(Real64 number);

}  // namespace Pegasus

#endif
