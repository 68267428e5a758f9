// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Numbers that may be left out: arguments and results of the pull operations (DSP0200).
//
// Value classes, not thread-safe.
#ifndef Pegasus_UintArgs_h
#define Pegasus_UintArgs_h

#include <Pegasus/Common/Config.h>

namespace Pegasus {

template <class T>
class UintArg {
 public:
    /// Null.
    UintArg() = default;
    UintArg(T value) : _value(value), _isNull(false) {}

    Boolean isNull() const { return _isNull; }
    /// 0 if null.
    T getValue() const { return _value; }
    void setValue(T value) { *this = UintArg(value); }
    void setNullValue() { *this = UintArg(); }

 private:
    T _value = 0;
    Boolean _isNull = true;
};

typedef UintArg<Uint32> Uint32Arg;
typedef UintArg<Uint64> Uint64Arg;

}  // namespace Pegasus

#endif
