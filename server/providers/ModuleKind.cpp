// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/ModuleKind.h"

#include <link.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace velmar_embedded {

namespace {

// An ELF file of this machine's kind. What cannot be read is zeros and empty texts: a broken file
// is the loader's to refuse.
class ElfFile {
 public:
    explicit ElfFile(const std::string& file) : _in(file, std::ios::binary) {
        _header = at<ElfW(Ehdr)>(0);
        if (std::memcmp(_header.e_ident, ELFMAG, SELFMAG) != 0) {
            _header = {};  // no segments
        }
    }

    // The names of the libraries that it needs.
    std::vector<std::string> needed() {
        std::vector<std::string> names;
        for (unsigned i = 0; i < _header.e_phnum; i++) {
            const auto segment = at<ElfW(Phdr)>(_header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (segment.p_type == PT_DYNAMIC) {
                readDynamic(segment, names);
            }
        }
        return names;
    }

 private:
    template <class T>
    T at(std::size_t offset) {
        T value = {};
        seek(offset);
        if (!_in.read(reinterpret_cast<char*>(&value), sizeof value)) {
            value = {};
        }
        return value;
    }

    std::string textAt(std::size_t offset) {
        std::string text;
        seek(offset);
        std::getline(_in, text, '\0');
        return text;
    }

    void seek(std::size_t offset) {
        _in.clear();
        _in.seekg(static_cast<std::streamoff>(offset));
    }

    void readDynamic(const ElfW(Phdr) & segment, std::vector<std::string>& names) {
        std::vector<std::size_t> offsets;
        std::size_t texts = 0;
        for (std::size_t offset = 0; offset < segment.p_filesz; offset += sizeof(ElfW(Dyn))) {
            const auto entry = at<ElfW(Dyn)>(segment.p_offset + offset);
            if (entry.d_tag == DT_NULL) {
                break;
            } else if (entry.d_tag == DT_NEEDED) {
                offsets.push_back(entry.d_un.d_val);
            } else if (entry.d_tag == DT_STRTAB) {
                texts = offsetOf(entry.d_un.d_ptr);
            }
        }
        for (const std::size_t offset : offsets) {
            names.push_back(textAt(texts + offset));
        }
    }

    // Where in the file the byte lies that is loaded at `address`.
    std::size_t offsetOf(ElfW(Addr) address) {
        for (unsigned i = 0; i < _header.e_phnum; i++) {
            const auto segment = at<ElfW(Phdr)>(_header.e_phoff + i * sizeof(ElfW(Phdr)));
            if (segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
                address - segment.p_vaddr < segment.p_filesz) {
                return segment.p_offset + (address - segment.p_vaddr);
            }
        }
        return 0;
    }

    std::ifstream _in;
    ElfW(Ehdr) _header;
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
