// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Mutates a text by its parts, so that most of what comes out is still well-formed: a part is left
// out, doubled, exchanged with another or filled with other bytes. Parts of XML are elements,
// attribute values and texts; parts of MOF are words, texts, what brackets hold, and statements.
#ifndef VELMAR_FUZZ_PARTS_H
#define VELMAR_FUZZ_PARTS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace velmar_fuzz {

struct Part {
    size_t begin;
    size_t end;
};

/// The parts of a text, in any order.
using Split = std::vector<Part> (*)(const std::string& text);
std::vector<Part> partsOfXml(const std::string& text);
std::vector<Part> partsOfMof(const std::string& text);

/// `text` with one to four changes; `seed` says which. Reads parts of `other`, too, where it is not
/// empty. Longer than `most` it is cut.
std::string mutated(std::string text, const std::string& other, unsigned seed, size_t most,
                    Split split);

}  // namespace velmar_fuzz

/// libFuzzer's entry points for a target whose whole input is such a text.
#define VELMAR_FUZZ_BY_PARTS(split)                                                         \
    extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t most,      \
                                              unsigned seed) {                              \
        const std::string text(reinterpret_cast<const char*>(data), size);                  \
        const std::string result = velmar_fuzz::mutated(text, "", seed, most, split);       \
        return result.copy(reinterpret_cast<char*>(data), most);                            \
    }                                                                                       \
    extern "C" size_t LLVMFuzzerCustomCrossOver(const uint8_t* one, size_t size,            \
                                                const uint8_t* two, size_t otherSize,       \
                                                uint8_t* out, size_t most, unsigned seed) { \
        const std::string text(reinterpret_cast<const char*>(one), size);                   \
        const std::string other(reinterpret_cast<const char*>(two), otherSize);             \
        const std::string result = velmar_fuzz::mutated(text, other, seed, most, split);    \
        return result.copy(reinterpret_cast<char*>(out), most);                             \
    }

#endif
