// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A 16-byte identifier with a fixed text form, and the machine's own.
//
// Plain values: different objects may be used from different threads at once, and one object by
// several threads that only read it.
#ifndef VELMAR_REMOTE_COMMON_UUID_H
#define VELMAR_REMOTE_COMMON_UUID_H

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "Config.h"
#include "SmBios.h"

namespace velmar_remote {

/// A structure seen as System Information (type 1 of DSP0134). As in SmBios::Table, fields that the
/// structure does not hold throw std::out_of_range, and strings belong to this object.
class TableType1 : public SmBios::Table {
 public:
    /// A copy of a structure, of whatever type it is.
    TableType1(const SmBios::Table& table) : SmBios::Table(table) {}

    /// Null when the structure names no string for the field, as for the three below.
    char* getManufacturer() const { return getString(getByte(0x04)); }
    char* getProductName() const { return getString(getByte(0x05)); }   ///< may be null
    char* getVersion() const { return getString(getByte(0x06)); }       ///< may be null
    char* getSerialNumber() const { return getString(getByte(0x07)); }  ///< may be null

    /// As stored, 16 bytes; fewer when the structure is shorter.
    std::vector<uint8_t> getUUID() const;

    /// The code of the event that switched the machine on, as numbered by DSP0134.
    uint8_t getWakeUpTime() const { return getByte(0x18); }
};

/// A system's identifier of 16 bytes, in the order in which its firmware stores them.
class Uuid {
 public:
    /// All bytes 0.
    Uuid() : _uuid() {}
    /// Copies the bytes.
    Uuid(const Uint8 (&bytes)[16]);
    /// All bytes 0 unless there are exactly 16.
    Uuid(const std::vector<Uint8>& bytes);
    ~Uuid() {}

    /// The machine's identifier as its firmware stores it, no field byte-swapped; all bytes 0 when
    /// the machine's table was not found at load time or holds none. From any thread.
    static const Uuid systemUuid();

    /// The text form: 32 uppercase hexadecimal digits in stored order, in groups of 8, 4, 4, 4 and
    /// 12 with dashes between them.
    operator std::string() const;
    /// The same text.
    operator Pegasus::String() const;
    /// The 16 bytes in stored order.
    operator std::vector<unsigned char>() const;

 private:
    Uint8 _uuid[16];
};

/// 16 bytes of 0: no identifier.
extern const Uint8 NULL_UUID[16];
/// 16 bytes of 0xFF: what firmware stores while none has been set.
extern const Uint8 INVALID_UUID[16];

/// Writes the text form.
std::ostream& operator<<(std::ostream& os, const Uuid& uuid);
/// Whether all 16 bytes are the same.
bool operator==(const Uuid& a, const Uuid& b);
/// Whether any of the 16 bytes differs.
bool operator!=(const Uuid& a, const Uuid& b);

}  // namespace velmar_remote

#endif
