// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "model/CIMNumber.h"

#include <charconv>
#include <limits>

namespace Pegasus {

namespace {

int digit(Uint16 unit) {
    if (unit >= '0' && unit <= '9') {
        return unit - '0';
    }
    if (unit >= 'a' && unit <= 'f') {
        return unit - 'a' + 10;
    }
    if (unit >= 'A' && unit <= 'F') {
        return unit - 'A' + 10;
    }
    return 16;
}

String characters(const char* first, const char* last) {
    return String(first, Uint32(last - first));
}

}  // namespace

bool parseUnsigned(const Char16* text, Uint32 size, Uint64& number) {
    const bool hexadecimal = size > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const Uint64 base = hexadecimal ? 16 : 10;
    Uint32 i = hexadecimal ? 2 : 0;
    if (i == size || (!hexadecimal && text[0] == '0' && size > 1)) {
        return false;
    }
    Uint64 result = 0;
    for (; i < size; i++) {
        const Uint64 d = Uint64(digit(text[i]));
        if (d >= base || result > (std::numeric_limits<Uint64>::max() - d) / base) {
            return false;
        }
        result = result * base + d;
    }
    number = result;
    return true;
}

bool parseUnsigned(const String& text, Uint64& number) {
    return parseUnsigned(text.getChar16Data(), text.size(), number);
}

bool parseSigned(const Char16* text, Uint32 size, Sint64& number) {
    const bool negative = size > 0 && text[0] == '-';
    const Uint32 start = negative || (size > 0 && text[0] == '+') ? 1 : 0;
    const Uint64 limit = Uint64(std::numeric_limits<Sint64>::max()) + (negative ? 1 : 0);
    Uint64 magnitude;
    if (!parseUnsigned(text + start, size - start, magnitude) || magnitude > limit) {
        return false;
    }
    number = negative ? Sint64(0 - magnitude) : Sint64(magnitude);
    return true;
}

bool parseSigned(const String& text, Sint64& number) {
    return parseSigned(text.getChar16Data(), text.size(), number);
}

String numberText(Uint64 number) {
    char text[24];
    return characters(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

String numberText(Sint64 number) {
    char text[24];
    return characters(text, std::to_chars(text, text + sizeof(text), number).ptr);
}

String numberText(Real64 number) {
    char text[40];
    return characters(
        text,
        std::to_chars(text, text + sizeof(text), number, std::chars_format::scientific, 16).ptr);
}

}  // namespace Pegasus
