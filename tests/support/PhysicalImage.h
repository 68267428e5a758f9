// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// An image of physical memory in place of "/dev/mem", with ranges that its kernel refuses to map,
// and the SMBIOS bytes that firmware would publish in it.
//
// One image at a time; it stands in for the device from its construction to its destruction.
#ifndef VELMAR_TESTS_SUPPORT_PHYSICALIMAGE_H
#define VELMAR_TESTS_SUPPORT_PHYSICALIMAGE_H

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "Common/PMemInternal.h"

namespace support {

using Bytes = std::vector<uint8_t>;

class PhysicalImage {
 public:
    /// Sparse and filled with 0; mappings that reach past `size` are refused.
    explicit PhysicalImage(unsigned long size = 0x200000)
        : _size(size),
          _file(memfd_create("physical memory", MFD_CLOEXEC)),
          _replaced(velmar_remote::memoryDevice),
          _outer(current) {
        if (_file == -1 || ftruncate(_file, static_cast<off_t>(size)) != 0) {
            abort();
        }
        velmar_remote::memoryDevice = {openFile, map, unmap, closeFile};
        current = this;
    }
    ~PhysicalImage() {
        velmar_remote::memoryDevice = _replaced;
        current = _outer;
        ::close(_file);
    }
    PhysicalImage(const PhysicalImage&) = delete;
    PhysicalImage& operator=(const PhysicalImage&) = delete;

    void write(unsigned long address, const Bytes& bytes) {
        if (pwrite(_file, bytes.data(), bytes.size(), static_cast<off_t>(address)) !=
            static_cast<ssize_t>(bytes.size())) {
            abort();
        }
    }
    void refuse(unsigned long begin, unsigned long end) { _refused.emplace_back(begin, end); }

    /// A path under which another process of this user can read the image.
    std::string path() const {
        return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(_file);
    }

    /// Nothing is mapped or open any more, and no call was given a wrong argument.
    bool clean() const { return _mapped.empty() && _descriptor == -1 && _wrong_calls == 0; }

    bool present = true;              // whether the device can be opened
    std::vector<unsigned long> maps;  // the addresses of all mappings so far
    std::size_t throw_at_map = 0;     // the mapping, counted from 1, that has no memory

 private:
    // Unreadable pages around each mapping turn an access outside it into a fault.
    static constexpr std::size_t GUARD = 0x1000;

    static int openFile(const char* path, int flags, ...) {
        PhysicalImage& image = *current;
        if (path != std::string("/dev/mem") || flags != O_RDONLY || image._descriptor != -1) {
            ++image._wrong_calls;
        }
        if (image.present) {
            image._descriptor = dup(image._file);
        }
        return image._descriptor;
    }

    static int closeFile(int descriptor) {
        if (descriptor == -1 || descriptor != current->_descriptor) {
            return -1;
        }
        current->_descriptor = -1;
        return close(descriptor);
    }

    static void* map(void*, std::size_t length, int protection, int flags, int descriptor,
                     off_t offset) {
        PhysicalImage& image = *current;
        const unsigned long begin = static_cast<unsigned long>(offset);
        if (protection != PROT_READ || flags != MAP_SHARED || begin % 0x1000 != 0 || length == 0) {
            ++image._wrong_calls;
        }
        bool refused = descriptor == -1 || descriptor != image._descriptor || begin > image._size ||
                       length > image._size - begin;
        for (const auto& [from, to] : image._refused) {
            refused |= begin < to && from < begin + length;
        }
        if (refused) {
            return MAP_FAILED;
        }
        image.maps.push_back(begin);
        if (image.maps.size() == image.throw_at_map) {
            throw std::bad_alloc();
        }
        char* reserved = static_cast<char*>(
            mmap(nullptr, length + 2 * GUARD, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        void* memory =
            mmap(reserved + GUARD, length, PROT_READ, MAP_SHARED | MAP_FIXED, descriptor, offset);
        image._mapped[memory] = length;
        return memory;
    }

    static int unmap(void* address, std::size_t length) {
        const auto found = current->_mapped.find(address);
        if (found == current->_mapped.end() || found->second != length) {
            ++current->_wrong_calls;
            return -1;
        }
        current->_mapped.erase(found);
        return munmap(static_cast<char*>(address) - GUARD, length + 2 * GUARD);
    }

    static inline PhysicalImage* current = nullptr;

    unsigned long _size;
    int _file;
    velmar_remote::MemoryDevice _replaced;
    PhysicalImage* _outer;
    int _descriptor = -1;
    int _wrong_calls = 0;
    std::vector<std::pair<unsigned long, unsigned long>> _refused;
    std::map<void*, std::size_t> _mapped;
};

inline void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

inline void append(Bytes& to, uint64_t value, int width) {
    for (int i = 0; i < width; ++i) {
        to.push_back(static_cast<uint8_t>(value >> 8 * i));
    }
}

/// `body` is the formatted area after the 4-byte header.
inline Bytes structure(uint8_t type, uint16_t handle, const Bytes& body,
                       const std::vector<std::string>& strings = {}) {
    Bytes bytes = {type, static_cast<uint8_t>(4 + body.size())};
    append(bytes, handle, 2);
    append(bytes, body);
    for (const std::string& string : strings) {
        append(bytes, Bytes(string.c_str(), string.c_str() + string.size() + 1));
    }
    bytes.insert(bytes.end(), strings.empty() ? 2 : 1, 0);
    return bytes;
}

/// System Information with the strings maker, product, version and serial number.
inline Bytes systemInformation(uint16_t handle, const Bytes& uuid) {
    Bytes body = {1, 2, 3, 4};
    append(body, uuid);
    append(body, {6, 0, 0});
    return structure(1, handle, body, {"Velmar", "Test Board", "1.0", "SN-42"});
}

/// Makes the sum of the bytes [begin, end) 0 by the byte at `at`.
inline void balance(Bytes& bytes, std::size_t begin, std::size_t end, std::size_t at) {
    const uint8_t before = bytes[at];
    bytes[at] = static_cast<uint8_t>(
        before - std::accumulate(bytes.begin() + begin, bytes.begin() + end, 0));
}

inline Bytes dmiEntryPoint(uint8_t revision, std::size_t length, uint32_t address,
                           uint16_t count = 1) {
    Bytes bytes = {'_', 'D', 'M', 'I', '_', 0};
    append(bytes, length, 2);
    append(bytes, address, 4);
    append(bytes, count, 2);
    bytes.push_back(revision);
    balance(bytes, 0, bytes.size(), 0x05);
    return bytes;
}

inline Bytes smEntryPoint(uint8_t major, uint8_t minor, std::size_t length, uint32_t address,
                          uint16_t count = 1) {
    Bytes bytes = {'_', 'S', 'M', '_', 0, 0x1F, major, minor, 0xFF, 0, 0, 0, 0, 0, 0, 0};
    append(bytes, dmiEntryPoint(static_cast<uint8_t>(major << 4 | minor), length, address, count));
    balance(bytes, 0, bytes.size(), 0x04);
    return bytes;
}

}  // namespace support

#endif
