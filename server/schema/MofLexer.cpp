// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "schema/MofLexer.h"

#include <Pegasus/Common/Exception.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace velmar_embedded {

namespace {

bool isLetter(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isWordPart(char c) { return isLetter(c) || isDigit(c); }

std::string shortened(const std::string& text) {
    return text.size() <= 40 ? text : text.substr(0, 40) + "...";
}

}  // namespace

bool MofToken::is(const char* word) const {
    return kind == Identifier && strcasecmp(text.c_str(), word) == 0;
}

std::string MofToken::shown() const { return kind == End ? "end of file" : shortened(text); }

MofLexer::MofLexer(const std::string& text) : _text(text) {
    if (_text.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        _at = 3;  // byte order mark
    }
}

void MofLexer::skipBlockComment() {
    const unsigned start = _line;
    const std::size_t end = _text.find("*/", _at + 2);
    if (end == std::string::npos) {
        throw MofFault(start, "unterminated comment");
    }
    _line += std::count(_text.begin() + _at, _text.begin() + end, '\n');
    _at = end + 2;
}

void MofLexer::skipBlanks() {
    while (_at < _text.size()) {
        if (std::isspace(static_cast<unsigned char>(peek()))) {
            _line += peek() == '\n';
            ++_at;
        } else if (peek() == '/' && peek(1) == '/') {
            _at = std::min(_text.find('\n', _at), _text.size());
        } else if (peek() == '/' && peek(1) == '*') {
            skipBlockComment();
        } else {
            return;
        }
    }
}

// Takes everything that looks like a part of a number, so that the value's conversion reports
// "12abc" as a whole.
void MofLexer::readNumber() {
    const std::size_t first = _at + (peek() == '+' || peek() == '-');
    const bool hexadecimal =
        _text.size() > first + 1 && _text[first] == '0' && std::tolower(_text[first + 1]) == 'x';
    _at = first;
    while (isWordPart(peek()) || peek() == '.') {
        const bool exponent = !hexadecimal && std::tolower(peek()) == 'e';
        ++_at;
        if (exponent && (peek() == '+' || peek() == '-')) {
            ++_at;
        }
    }
}

void MofLexer::readEscape(MofToken& token) {
    static const char names[] = "btnfrav\"'\\?";
    static const char values[] = "\b\t\n\f\r\a\v\"'\\?";
    const std::size_t start = _at++;  // the backslash
    const char name = peek();
    unsigned value = 0;
    std::size_t digits = 0;
    if (name == 'x' || name == 'X') {
        ++_at;
        for (; digits < 4 && std::isxdigit(static_cast<unsigned char>(peek())); ++digits, ++_at) {
            value = value * 16 + std::stoul(std::string(1, peek()), nullptr, 16);
        }
    } else if (name >= '0' && name <= '7') {
        for (; digits < 3 && peek() >= '0' && peek() <= '7'; ++digits, ++_at) {
            value = value * 8 + (peek() - '0');
        }
    } else if (const char* found = name ? std::strchr(names, name) : nullptr) {
        value = static_cast<unsigned char>(values[found - names]);
        digits = 1;
        ++_at;
    }
    if (digits == 0) {
        throw MofFault(_line, "unknown escape " + _text.substr(start, 2) + " in a literal");
    }
    token.value.append(Pegasus::Char16(static_cast<Pegasus::Uint16>(value)));
}

void MofLexer::readQuoted(MofToken& token) {
    const std::size_t start = _at;
    const char quote = _text[_at++];
    while (peek() != quote) {
        if (_at >= _text.size() || peek() == '\n') {
            throw MofFault(_line, std::string("unterminated ") +
                                      (quote == '"' ? "string " : "character ") +
                                      shortened(_text.substr(start, _at - start)));
        }
        if (peek() == '\\') {
            readEscape(token);
            continue;
        }
        const std::size_t plain = _at;
        while (_at < _text.size() && peek() != quote && peek() != '\\' && peek() != '\n') {
            ++_at;
        }
        try {
            token.value.append(
                Pegasus::String(_text.data() + plain, static_cast<Pegasus::Uint32>(_at - plain)));
        } catch (const Pegasus::Exception&) {
            throw MofFault(_line, "a literal is not UTF-8");
        }
    }
    ++_at;
}

MofToken MofLexer::next() {
    skipBlanks();
    MofToken token;
    token.line = _line;
    const std::size_t start = _at;
    const char c = peek();
    if (_at >= _text.size()) {
        return token;
    }
    if (isLetter(c) || (c == '$' && isLetter(peek(1)))) {
        token.kind = c == '$' ? MofToken::Alias : MofToken::Identifier;
        for (++_at; isWordPart(peek());) {
            ++_at;
        }
        if (_at - start > 1024) {
            throw MofFault(_line, "a name has more than 1024 characters: " +
                                      shortened(_text.substr(start, _at - start)));
        }
    } else if (isDigit(c) || ((c == '+' || c == '-' || c == '.') &&
                              (isDigit(peek(1)) || (peek(1) == '.' && isDigit(peek(2)))))) {
        token.kind = MofToken::Number;
        readNumber();
    } else if (c == '"' || c == '\'') {
        token.kind = c == '"' ? MofToken::String : MofToken::Char;
        readQuoted(token);
    } else if (c != '\0' && std::strchr("{}[]();:,=#", c)) {
        token.kind = MofToken::Punctuation;
        ++_at;
    } else {
        throw MofFault(_line, std::string("unexpected character '") + c + "'");
    }
    token.text = _text.substr(start, _at - start);
    return token;
}

}  // namespace velmar_embedded
