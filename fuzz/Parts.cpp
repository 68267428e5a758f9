// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Parts.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <string_view>

// The fuzzer's own; a program without a fuzzer mutates nothing.
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t most) __attribute__((weak));

namespace velmar_fuzz {

namespace {

bool isWord(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_'; }

// Bytes of the fuzzer's choice, which knows what the program compares with.
std::string otherBytes(const std::string& text) {
    if (LLVMFuzzerMutate == nullptr) {
        return text;
    }
    std::string result = text + std::string(16, ' ');
    result.resize(
        LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(result.data()), text.size(), result.size()));
    return result;
}

}  // namespace

std::vector<Part> partsOfXml(const std::string& text) {
    std::vector<Part> parts;
    std::vector<size_t> open;
    size_t place = 0;
    while ((place = text.find('<', place)) != std::string::npos) {
        const size_t end = text.find('>', place);
        if (end == std::string::npos) {
            break;
        }
        if (text[place + 1] == '/') {
            if (!open.empty()) {
                parts.push_back({open.back(), end + 1});
                open.pop_back();
            }
        } else if (text[end - 1] == '/') {
            parts.push_back({place, end + 1});
        } else if (text[place + 1] != '?' && text[place + 1] != '!') {
            open.push_back(place);
        }
        for (size_t quote = place; (quote = text.find('"', quote)) < end;) {
            const size_t last = text.find('"', quote + 1);
            if (last >= end) {
                break;
            }
            parts.push_back({quote + 1, last});
            quote = last + 1;
        }
        place = text.find('<', end);
        if (place == std::string::npos) {
            break;
        }
        if (place > end + 1) {
            parts.push_back({end + 1, place});
        }
    }
    return parts;
}

std::vector<Part> partsOfMof(const std::string& text) {
    std::vector<Part> parts;
    std::vector<size_t> open;
    size_t statement = 0;
    for (size_t i = 0; i < text.size();) {
        const size_t begin = i++;
        if (isWord(text[begin])) {
            while (i < text.size() && isWord(text[i])) {
                i++;
            }
            parts.push_back({begin, i});
        } else if (text[begin] == '"') {
            while (i < text.size() && text[i] != '"') {
                i += text[i] == '\\' ? 2 : 1;
            }
            i = std::min(i + 1, text.size());
            parts.push_back({begin, i});
        } else if (std::string_view("([{").find(text[begin]) != std::string_view::npos) {
            open.push_back(begin);
            statement = text[begin] == '{' ? i : statement;
        } else if (std::string_view(")]}").find(text[begin]) != std::string_view::npos) {
            if (!open.empty()) {
                parts.push_back({open.back(), i});
                open.pop_back();
            }
        } else if (text[begin] == ';') {
            parts.push_back({statement, i});
            statement = i;
        }
    }
    return parts;
}

std::string mutated(std::string text, const std::string& other, unsigned seed, size_t most,
                    Split split) {
    std::minstd_rand random(seed);
    const auto any = [&](const std::vector<Part>& parts) { return parts[random() % parts.size()]; };
    for (auto changes = 1 + random() % 4; changes > 0; changes--) {
        const std::vector<Part> parts = split(text);
        if (parts.empty() || random() % 16 == 0) {
            text = otherBytes(text);
            continue;
        }
        const Part part = any(parts);
        const std::string was = text.substr(part.begin, part.end - part.begin);
        const std::vector<Part> others =
            random() % 2 == 0 ? split(other) : std::vector<Part>();  // empty for an empty text
        const Part from = any(others.empty() ? parts : others);
        const std::string found =
            (others.empty() ? text : other).substr(from.begin, from.end - from.begin);
        switch (random() % 5) {
            case 0:
                text.erase(part.begin, was.size());
                break;
            case 1:
                text.insert(part.end, was);
                break;
            case 2:
                text.insert(part.begin, found);
                break;
            case 3:
                text.replace(part.begin, was.size(), found);
                break;
            default:
                text.replace(part.begin, was.size(), otherBytes(was));
        }
        text.resize(std::min(text.size(), most));
    }
    return text;
}

}  // namespace velmar_fuzz
