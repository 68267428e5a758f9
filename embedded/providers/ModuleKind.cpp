// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/ModuleKind.h"

#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

namespace velmar_embedded {

namespace {

// An ELF file of this machine's kind. Whatever lies outside of the file reads as zeros or as an
// empty text: a broken file is the loader's to refuse.
class ElfFile {
 public:
    explicit ElfFile(const std::string& file) {
        std::ifstream in(file, std::ios::binary);
        _bytes.assign(std::istreambuf_iterator<char>(in), {});
        _bytes.push_back('\0');  // ends every text
    }

    // The names of the libraries that it needs.
    std::vector<std::string> needed() const {
        std::vector<std::string> names;
        const auto header = at<ElfW(Ehdr)>(0);
        if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
            return names;
        }
        for (unsigned i = 0; i < header.e_phnum; i++) {
            const auto segment = at<ElfW(Phdr)>(header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (segment.p_type == PT_DYNAMIC) {
                readDynamic(header, segment, names);
            }
        }
        return names;
    }

 private:
    template <class T>
    T at(std::size_t offset) const {
        T value = {};
        if (offset < _bytes.size() && _bytes.size() - offset >= sizeof(T)) {
            std::memcpy(&value, &_bytes[offset], sizeof(T));
        }
        return value;
    }

    void readDynamic(const ElfW(Ehdr) & header, const ElfW(Phdr) & segment,
                     std::vector<std::string>& names) const {
        std::vector<std::size_t> offsets;
        std::size_t texts = 0;
        for (std::size_t i = 0; i < segment.p_filesz / sizeof(ElfW(Dyn)); i++) {
            const auto entry = at<ElfW(Dyn)>(segment.p_offset + i * sizeof(ElfW(Dyn)));
            if (entry.d_tag == DT_NULL) {
                break;
            } else if (entry.d_tag == DT_NEEDED) {
                offsets.push_back(entry.d_un.d_val);
            } else if (entry.d_tag == DT_STRTAB) {
                texts = offsetOf(header, entry.d_un.d_ptr);
            }
        }
        for (const std::size_t offset : offsets) {
            if (texts + offset < _bytes.size()) {
                names.emplace_back(&_bytes[texts + offset]);
            }
        }
    }

    // Where in the file the byte lies that is loaded at `address`.
    std::size_t offsetOf(const ElfW(Ehdr) & header, ElfW(Addr) address) const {
        for (unsigned i = 0; i < header.e_phnum; i++) {
            const auto segment = at<ElfW(Phdr)>(header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        return _bytes.size();
    }

    std::vector<char> _bytes;
};

}  // namespace

std::string reasonAgainstModule(const std::string& file) {
    const char* const real[] = {"libpegcommon.so", "libpegprovider.so", "libpegclient.so",
                                "libvelmar_remote.so"};
    for (const std::string& name : ElfFile(file).needed()) {
        for (const char* library : real) {
            if (name.compare(0, std::strlen(library), library) == 0) {
                return file + ": this module was built for a real OpenPegasus (it needs " + name +
                       "); for the embedded CIM server build it with VELMAR_REMOTE_SERVER=embedded";
            }
        }
    }
    return std::string();
}

}  // namespace velmar_embedded
