// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "model/CIMPathParser.h"

#include <arpa/inet.h>

#include <algorithm>
#include <string>

#include "model/CIMNumber.h"

namespace Pegasus {

namespace {

bool isDigit(Uint16 unit) { return unit >= '0' && unit <= '9'; }

bool isHostUnit(Uint16 unit) {
    return isDigit(unit) || (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z') ||
           unit == '-' || unit == '_';
}

bool isAddress(int family, const Char16* text, Uint32 size) {
    std::string address;
    for (Uint32 i = 0; i < size; i++) {
        if (text[i] == '\0' || Uint16(text[i]) > 0x7F) {
            return false;
        }
        address += char(Uint16(text[i]));
    }
    unsigned char binary[sizeof(in6_addr)];
    return inet_pton(family, address.c_str(), binary) == 1;
}

bool isHostName(const Char16* text, Uint32 size) {
    const Char16* const end = text + size;
    for (;;) {
        const Char16* dot = std::find(text, end, Char16('.'));
        if (text == dot || *text == '-' || !std::all_of(text, dot, isHostUnit)) {
            return false;
        }
        if (dot == end) {
            return !std::all_of(text, end, isDigit);
        }
        text = dot + 1;
    }
}

bool isPort(const Char16* text, Uint32 size) {
    Uint32 port = 0;
    for (Uint32 i = 0; i < size; i++) {
        if (!isDigit(text[i])) {
            return false;
        }
        port = port * 10 + (text[i] - '0');
        if (port > 65535) {
            return false;
        }
    }
    return size > 0;
}

bool isWord(const Char16* text, Uint32 size, const char* word) {
    for (Uint32 i = 0; i < size; i++) {
        if ((Uint16(text[i]) | 0x20) != Uint8(word[i]) || Uint16(text[i]) > 0x7F) {
            return false;
        }
    }
    return word[size] == '\0';
}

}  // namespace

PathParser::PathParser(const String& text, PathParts& parts)
    : _next(text.getChar16Data()), _end(_next + text.size()), _parts(parts) {}

bool PathParser::parse(String& reason) {
    bool good = parseHost() && parseNameSpace() && parseClass();
    while (good && _next != _end) {
        good = parseKey();
    }
    if (good) {
        sortBindings(_parts.keys);
    } else {
        reason = _reason;
    }
    return good;
}

bool PathParser::isHost(const Char16* text, Uint32 size) {
    const Char16* const end = text + size;
    const bool bracketed = size > 0 && text[0] == '[';
    const Char16* name = std::find(text, end, Char16(bracketed ? ']' : ':'));
    if (bracketed) {
        if (name == end || !isAddress(AF_INET6, text + 1, Uint32(name - text - 1))) {
            return false;
        }
        name++;
    } else if (!isHostName(text, Uint32(name - text)) &&
               !isAddress(AF_INET, text, Uint32(name - text))) {
        return false;
    }
    return name == end || (*name == ':' && isPort(name + 1, Uint32(end - name - 1)));
}

String PathParser::withReason(const String& text, const String& reason) {
    return text + ", reason:\"" + reason + "\"";
}

bool PathParser::fail(const char* reason) {
    _reason = reason;
    return false;
}

bool PathParser::fail(const char* before, const String& subject, const char* after) {
    _reason = String(before) + subject + after;
    return false;
}

const Char16* PathParser::find(char unit) const {
    return std::find(_next, _end, Char16(Uint8(unit)));
}

String PathParser::upTo(const Char16* end) const { return String(_next, Uint32(end - _next)); }

bool PathParser::parseHost() {
    if (_end - _next < 2 || _next[0] != '/' || _next[1] != '/') {
        return true;
    }
    _next += 2;
    const Char16* slash = find('/');
    if (!isHost(_next, Uint32(slash - _next))) {
        return fail("invalid hostname ", upTo(slash), "");
    }
    if (slash == _end) {
        return fail("missing slash after hostname");
    }
    _parts.host = upTo(slash);
    _next = slash + 1;
    return true;
}

bool PathParser::parseNameSpace() {
    const Char16* colon = find(':');
    if (colon == _end || find('.') < colon) {
        if (_parts.host.size() == 0) {
            return true;
        }
        return fail("missing namespace after hostname");
    }
    const String text = upTo(colon);
    if (!CIMNamespaceName::legal(text)) {
        return fail("namespace name ", text, " not a legal CIM namespace name");
    }
    _parts.nameSpace = text;
    _next = colon + 1;
    return true;
}

bool PathParser::parseClass() {
    const Char16* dot = find('.');
    const String text = upTo(dot);
    if (!CIMName::legal(text)) {
        return fail("class name ", text, " not a legal CIM name");
    }
    _parts.className = text;
    _next = dot == _end ? _end : dot + 1;
    return true;
}

// One `key=value` and the comma after it.
bool PathParser::parseKey() {
    const Char16* equal = find('=');
    if (equal == _end) {
        return fail("invalid key-value pair, missing equal sign");
    }
    const String text = upTo(equal);
    if (!CIMName::legal(text)) {
        return fail("invalid key-value pair, key name ", text, " not a legal CIM name");
    }
    const CIMName name(text);
    _next = equal + 1;
    if (_next == _end) {
        return fail("invalid key-value pair, missing value");
    }
    return *_next == '"' ? parseQuoted(name) : parseUnquoted(name);
}

bool PathParser::parseQuoted(const CIMName& name) {
    String text;
    const Char16* run = ++_next;
    for (; _next != _end && *_next != '"'; _next++) {
        if (*_next != '\\') {
            continue;
        }
        text.append(run, Uint32(_next - run));
        run = ++_next;  // the escaped unit itself starts the next run
        if (_next == _end || (*_next != '"' && *_next != '\\')) {
            return fail("invalid escape sequence in the value of key ", name.getString(), "");
        }
    }
    if (_next == _end) {
        return fail("missing quote after the value of key ", name.getString(), "");
    }
    text.append(run, Uint32(_next - run));
    if (++_next != _end && *_next++ != ',') {
        return fail("unexpected text after the value of key ", name.getString(), "");
    }

    PathParts reference;
    String reason;
    const bool mayBeReference =
        text.find(Char16('=')) != PEG_NOT_FOUND && text.find(Char16('.')) != PEG_NOT_FOUND;
    if (mayBeReference && PathParser(text, reference).parse(reason) && reference.keys.size() != 0) {
        _parts.keys.append(CIMKeyBinding(name, reference.toString(), CIMKeyBinding::REFERENCE));
    } else {
        _parts.keys.append(CIMKeyBinding(name, text, CIMKeyBinding::STRING));
    }
    return true;
}

bool PathParser::parseUnquoted(const CIMName& name) {
    const Char16* comma = find(',');
    const Uint32 size = Uint32(comma - _next);
    Uint64 number;
    Sint64 signedNumber;
    if (isWord(_next, size, "true")) {
        _parts.keys.append(CIMKeyBinding(name, "TRUE", CIMKeyBinding::BOOLEAN));
    } else if (isWord(_next, size, "false")) {
        _parts.keys.append(CIMKeyBinding(name, "FALSE", CIMKeyBinding::BOOLEAN));
    } else if (parseUnsigned(_next, size, number) ||
               (size > 0 && *_next == '-' && parseSigned(_next, size, signedNumber))) {
        _parts.keys.append(CIMKeyBinding(name, upTo(comma), CIMKeyBinding::NUMERIC));
    } else {
        return fail("invalid key-value pair, invalid value ", upTo(comma), "");
    }
    _next = comma == _end ? _end : comma + 1;
    return true;
}

}  // namespace Pegasus
