// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// One UTF-16 code unit.
#ifndef Pegasus_Char16_h
#define Pegasus_Char16_h

#include <Pegasus/Common/Config.h>

namespace Pegasus {

class PEGASUS_EXPORT Char16 {
 public:
    Char16() : _unit(0) {}
    Char16(Uint16 x) : _unit(x) {}
    Char16(const Char16& x) = default;
    ~Char16() = default;
    Char16& operator=(Uint16 x) {
        _unit = x;
        return *this;
    }
    Char16& operator=(const Char16& x) = default;
    operator Uint16() const { return _unit; }

 private:
    Uint16 _unit;
};

inline Boolean operator==(const Char16& x, const Char16& y) { return Uint16(x) == Uint16(y); }
inline Boolean operator==(const Char16& x, char y) { return Uint16(x) == Uint8(y); }
inline Boolean operator==(char x, const Char16& y) { return Uint8(x) == Uint16(y); }
inline Boolean operator!=(const Char16& x, const Char16& y) { return Uint16(x) != Uint16(y); }
inline Boolean operator!=(const Char16& x, char y) { return Uint16(x) != Uint8(y); }
inline Boolean operator!=(char x, const Char16& y) { return Uint8(x) != Uint16(y); }

}  // namespace Pegasus

#endif
