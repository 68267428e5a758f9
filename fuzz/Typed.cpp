// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Makes instances with properties of arbitrary names, types and values, and reads them as a
// generated class. What is accepted must be written so that it is read as the same again.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "TRAP_Types.h"

using namespace Pegasus;

namespace {

/// What is left of the input; zeros after its end.
class Bytes {
 public:
    Bytes(const uint8_t* data, size_t size) : _data(data), _left(size) {}
    template <class T>
    T take() {
        T value{};
        const size_t size = std::min(sizeof value, _left);
        memcpy(static_cast<void*>(&value), _data, size);
        _data += size;
        _left -= size;
        return value;
    }
    bool any() const { return _left > 0; }

 private:
    const uint8_t* _data;
    size_t _left;
};

template <class T>
T one(Bytes& bytes) {
    return bytes.take<T>();
}
template <>
Boolean one(Bytes& bytes) {
    return bytes.take<uint8_t>() % 2 == 1;
}
template <>
String one(Bytes& bytes) {
    String text;
    for (unsigned left = bytes.take<uint8_t>() % 8; left > 0; left--) {
        text.append(Char16(bytes.take<uint16_t>()));
    }
    return text;
}
template <>
Char16 one(Bytes& bytes) {
    return Char16(bytes.take<uint16_t>());
}
template <>
CIMDateTime one(Bytes& bytes) {
    return CIMDateTime(bytes.take<uint64_t>() % 100000000000000, one<Boolean>(bytes));
}
template <>
CIMObjectPath one(Bytes& bytes) {
    Array<CIMKeyBinding> keys;
    keys.append(
        CIMKeyBinding("Name", one<String>(bytes), CIMKeyBinding::Type(bytes.take<uint8_t>() % 4)));
    return CIMObjectPath(String(), "n", bytes.take<uint8_t>() % 2 ? "TRAP_Part" : "TRAP_Types",
                         keys);
}
template <>
CIMInstance one(Bytes& bytes) {
    CIMInstance part(bytes.take<uint8_t>() % 2 ? "TRAP_Part" : "TRAP_Other");
    part.addProperty(CIMProperty("Name", CIMValue(one<String>(bytes))));
    return part;
}
template <>
CIMObject one(Bytes& bytes) {
    return CIMObject(one<CIMInstance>(bytes));
}

template <class T>
CIMValue valueOf(Bytes& bytes) {
    const uint8_t form = bytes.take<uint8_t>();
    if (form % 8 == 0) {
        return CIMValue(CIMValue(one<T>(bytes)).getType(), form & 8, form >> 6);
    }
    if (form % 2 == 0) {
        return CIMValue(one<T>(bytes));
    }
    Array<T> several;
    for (unsigned left = form / 8 % 4; left > 0; left--) {
        several.append(one<T>(bytes));
    }
    return CIMValue(several);
}

CIMValue anyValue(Bytes& bytes) {
    static CIMValue (*const made[])(Bytes&) = {
        valueOf<Boolean>,      valueOf<Uint8>,       valueOf<Sint8>,       valueOf<Uint16>,
        valueOf<Sint16>,       valueOf<Uint32>,      valueOf<Sint32>,      valueOf<Uint64>,
        valueOf<Sint64>,       valueOf<Real32>,      valueOf<Real64>,      valueOf<Char16>,
        valueOf<String>,       valueOf<CIMDateTime>, valueOf<CIMInstance>, valueOf<CIMObject>,
        valueOf<CIMObjectPath>};
    return made[bytes.take<uint8_t>() % std::size(made)](bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const names[] = {
        "Name",      "caption",   "State", "B",     "U8",   "S8",       "U16",    "S16",
        "U32",       "S32",       "U64",   "S64",   "R32",  "R64",      "C",      "S",
        "D",         "Bs",        "U8s",   "S8s",   "U16s", "S16s",     "U32s",   "S32s",
        "U64s",      "S64s",      "Ds",    "Ss",    "Cs",   "R64s",     "Big",    "Word",
        "Instances", "Reference", "Media", "Plain", "R32s", "Instance", "Unknown"};
    Bytes bytes(data, size);
    try {
        CIMInstance instance(bytes.take<uint8_t>() % 8 ? "TRAP_Types" : "TRAP_Part");
        if (bytes.take<uint8_t>() % 4) {
            instance.addProperty(CIMProperty("Name", one<String>(bytes)));
        }
        while (bytes.any() && instance.getPropertyCount() < std::size(names)) {
            const char* name = names[bytes.take<uint8_t>() % std::size(names)];
            instance.addProperty(CIMProperty(name, anyValue(bytes)));
        }
        const CIMInstance read = traps::TRAP_Types::from(instance).instance();
        const CIMInstance again = traps::TRAP_Types::from(read).instance();
        if (CIMObject(again).toString() != CIMObject(read).toString()) {
            abort();
        }
    } catch (const Exception&) {
        // Refused in the one way that there is.
    }
    return 0;
}
