// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The firmware's SMBIOS structure table (DSP0134) in parsed form.
//
// Plain values: different objects may be used from different threads at once, and one object by
// several threads that only read it. All multi-byte fields are little-endian.
#ifndef VELMAR_REMOTE_COMMON_SMBIOS_H
#define VELMAR_REMOTE_COMMON_SMBIOS_H

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

namespace velmar_remote {

/// A structure table; a copy is independent of the original.
class SmBios {
 public:
    /// One structure: its header fields and its bytes. Offsets count from the first header byte.
    /// Whatever the structure does not hold throws std::out_of_range with an empty message.
    class Table {
     public:
        /// All fields 0, no bytes.
        Table() : _type(0), _length(0), _handle(0) {}

        /// Parses the structure that begins at `bytes[0]`; what follows it is ignored. Fewer than 4
        /// bytes give an empty table; a structure that is cut off keeps the bytes that are there.
        Table(const std::vector<uint8_t>& bytes);

        Table(const Table& table) = default;             ///< a copy with bytes of its own
        Table(Table&& table) = default;                  ///< leaves `table` without bytes
        Table& operator=(const Table& table) = default;  ///< a copy with bytes of its own
        Table& operator=(Table&& table) = default;       ///< leaves `table` without bytes
        virtual ~Table() {}

        /// What the structure describes, as numbered by DSP0134.
        uint8_t getType() const { return _type; }
        /// Of the formatted area in bytes, header included, as the structure states it.
        uint8_t getLength() const { return _length; }
        /// The number by which other structures refer to this one.
        uint16_t getHandle() const { return _handle; }

        /// The formatted area and the strings, with the two NULs that end them.
        const std::vector<uint8_t>& getData() const { return _data; }

        /// The byte at `i`, strings included.
        uint8_t getByte(uint8_t i) const;

        /// The values that begin at `i` and end inside the formatted area, as far as it is there.
        uint16_t getWord(uint8_t i) const;
        uint32_t getDWord(uint8_t i) const;  ///< as getWord, of 4 bytes
        uint64_t getQWord(uint8_t i) const;  ///< as getWord, of 8 bytes

        /// The string of number `i`, counted from 1; a null pointer for 0, which stands for "no
        /// string". It belongs to this table and lives until the table is changed or destroyed;
        /// don't write to it.
        char* getString(uint8_t i) const;

     protected:
        uint8_t _type;               ///< see getType
        uint8_t _length;             ///< see getLength
        uint16_t _handle;            ///< see getHandle
        std::vector<uint8_t> _data;  ///< see getData

     private:
        friend class SmBios;
        __attribute__((visibility("hidden"))) Table(const uint8_t* bytes, std::size_t size);
    };

    /// A private copy of the machine's table as it was found at load time.
    SmBios();

    /// Parses the image of a whole structure table, to its last byte; the version is 0.
    SmBios(const std::vector<uint8_t>& bytes);

    /// Of the SMBIOS standard that the table follows; 0 for one that was made of an image.
    uint8_t getMajorVersion() const { return static_cast<uint8_t>(_version); }
    /// See getMajorVersion.
    uint8_t getMinorVersion() const { return static_cast<uint8_t>(_version >> 8); }
    /// See getMajorVersion; 0 where the entry point has none.
    uint8_t getRevision() const { return static_cast<uint8_t>(_version >> 16); }

    /// All structures, in the order of the table.
    const std::vector<Table>& getTables() const { return _tables; }

    /// The structure at position `i`, unchecked.
    const Table& operator[](uint8_t i) const { return _tables[i]; }

    /// The position of the first structure of that type; 255 when there is none below 255.
    uint8_t find(uint8_t type) const;

 protected:
    uint32_t _version;           ///< major, minor and revision, from the lowest byte on
    std::vector<Table> _tables;  ///< see getTables
};

/// The machine's table, found at load time; empty when there is no access to it. Only read it.
/// Ready for every static initialiser of priority 103 and up, that is for all ordinary ones.
extern SmBios _smbios;

/// Each writes every element between angle brackets, bytes and words as numbers in the stream's
/// base; a null pointer, which getString gives for "no string", as nothing.
std::ostream& operator<<(std::ostream& os, const std::vector<char*>& strings);
/// See above.
std::ostream& operator<<(std::ostream& os, const std::vector<uint16_t>& words);
/// See above.
std::ostream& operator<<(std::ostream& os, const std::vector<uint8_t>& bytes);

}  // namespace velmar_remote

#endif
