// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/InternalException.h>
#include <Pegasus/Common/String.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <ostream>
#include <utility>

namespace Pegasus {

namespace {

const Char16 noUnits[1] = {Char16()};

Uint16 fold(Uint16 unit) { return unit >= 'A' && unit <= 'Z' ? Uint16(unit + 32) : unit; }

Uint32 lengthOf(const Char16* str) {
    if (!str) {
        throw NullPointer();
    }
    Uint32 n = 0;
    while (Uint16(str[n]) != 0) {
        n++;
    }
    return n;
}

std::size_t lengthOf(const char* str) {
    if (!str) {
        throw NullPointer();
    }
    return std::strlen(str);
}

void copyUnits(Char16* to, const Char16* from, Uint32 n) {
    if (n != 0) {
        std::memmove(static_cast<void*>(to), from, n * sizeof(Char16));
    }
}

[[noreturn]] void throwInvalidUtf8() { throw Exception("The text is not valid UTF-8"); }

// Decodes the multi-byte sequence at `p`, leaving `p` behind it.
Uint32 decodeSequence(const unsigned char*& p, const unsigned char* end) {
    const Uint32 lead = *p++;
    const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    static const Uint32 smallest[] = {0, 0x80, 0x800, 0x10000};
    if (lead < 0xC2 || lead > 0xF4 || end - p < more) {
        throwInvalidUtf8();
    }
    Uint32 c = lead & (0x3Fu >> more);
    for (int i = 0; i < more; i++, p++) {
        if ((*p & 0xC0) != 0x80) {
            throwInvalidUtf8();
        }
        c = c << 6 | (*p & 0x3F);
    }
    if (c < smallest[more] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        throwInvalidUtf8();
    }
    return c;
}

char* encodeCharacter(char* out, Uint32 c) {
    if (c < 0x800) {
        *out++ = char(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            *out++ = char(0xE0 | c >> 12);
        } else {
            *out++ = char(0xF0 | c >> 18);
            *out++ = char(0x80 | (c >> 12 & 0x3F));
        }
        *out++ = char(0x80 | (c >> 6 & 0x3F));
    }
    *out++ = char(0x80 | (c & 0x3F));
    return out;
}

int compareUnits(const Char16* p, const Char16* q, Uint32 n) {
    for (Uint32 i = 0; i < n; i++) {
        if (Uint16(p[i]) != Uint16(q[i])) {
            return int(Uint16(p[i])) - int(Uint16(q[i]));
        }
    }
    return 0;
}

}  // namespace

// ---- CString ----

CString::CString() : _size(0) {}

CString::CString(std::unique_ptr<char[]> text, std::size_t size)
    : _text(std::move(text)), _size(size) {}

CString::CString(const CString& x) : _size(x._size) {
    if (x._text) {
        _text.reset(new char[_size + 1]);
        std::memcpy(_text.get(), x._text.get(), _size + 1);
    }
}

CString::~CString() = default;

CString& CString::operator=(const CString& x) {
    CString copy(x);
    _text.swap(copy._text);
    std::swap(_size, copy._size);
    return *this;
}

CString::operator const char*() const { return _text ? _text.get() : ""; }

// ---- String: storage ----

// Inline for its guard: the copies of a static library that a program and its modules carry meet
// one object and register one destruction.
inline const String String::EMPTY;

String::Rep* String::create(Uint32 capacity) {
    void* memory = ::operator new(sizeof(Rep) + (std::size_t(capacity) + 1) * sizeof(Char16));
    Rep* rep = new (memory) Rep;
    rep->refs.store(1, std::memory_order_relaxed);
    rep->capacity = capacity;
    rep->setSize(0);
    return rep;
}

String::Rep* String::create(const Char16* str, Uint32 n) {
    if (n == 0) {
        return nullptr;
    }
    Rep* rep = create(n);
    copyUnits(rep->data(), str, n);
    rep->setSize(n);
    return rep;
}

String::Rep* String::decode(const char* str, std::size_t n) {
    if (!str) {
        throw NullPointer();
    }
    if (n == 0) {
        return nullptr;
    }
    if (n >= PEG_NOT_FOUND) {
        throw std::bad_alloc();
    }
    String result;
    result._rep = create(Uint32(n));  // no character takes more units than bytes
    Char16* const first = result._rep->data();
    Char16* out = first;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(str);
    const unsigned char* const end = p + n;
    while (p != end) {
        if (*p < 0x80) {
            *out++ = Uint16(*p++);
            continue;
        }
        const Uint32 c = decodeSequence(p, end);
        if (c >= 0x10000) {
            *out++ = Uint16(0xD7C0 + (c >> 10));
            *out++ = Uint16(0xDC00 | (c & 0x3FF));
        } else {
            *out++ = Uint16(c);
        }
    }
    result._rep->setSize(Uint32(out - first));
    return std::exchange(result._rep, nullptr);
}

void String::release(Rep* rep) {
    if (rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        ::operator delete(rep);
    }
}

// Makes this string the only owner of storage for at least `capacity` units.
void String::detach(Uint32 capacity) {
    if (_rep && _rep->capacity >= capacity && _rep->refs.load(std::memory_order_acquire) == 1) {
        return;
    }
    Rep* fresh = create(std::max(capacity, size()));
    copyUnits(fresh->data(), getChar16Data(), size());
    fresh->setSize(size());
    if (_rep) {
        release(_rep);
    }
    _rep = fresh;
}

// ---- String: construction and assignment ----

String::String(const String& str, Uint32 n) : String() {
    if (n > str.size()) {
        throw IndexOutOfBoundsException();
    }
    if (n == str.size()) {
        assign(str);
    } else {
        _rep = create(str.getChar16Data(), n);
    }
}

String::String(const Char16* str) : _rep(create(str, lengthOf(str))) {}

String::String(const Char16* str, Uint32 n) : String() {
    if (!str) {
        throw NullPointer();
    }
    _rep = create(str, n);
}

String::String(const char* str) : _rep(decode(str, lengthOf(str))) {}

String::String(const char* str, Uint32 n) : _rep(decode(str, n)) {}

String& String::assign(const String& str) {
    if (_rep != str._rep) {
        String copy(str);
        std::swap(_rep, copy._rep);
    }
    return *this;
}

String& String::assign(const Char16* str) { return *this = String(str); }
String& String::assign(const Char16* str, Uint32 n) { return *this = String(str, n); }
String& String::assign(const char* str) { return *this = String(str); }
String& String::assign(const char* str, Uint32 n) { return *this = String(str, n); }

void String::clear() {
    if (_rep) {
        release(_rep);
    }
    _rep = nullptr;
}

void String::reserveCapacity(Uint32 capacity) {
    if (!_rep || capacity > _rep->capacity) {
        detach(capacity);
    }
}

// ---- String: access ----

const Char16* String::getChar16Data() const { return _rep ? _rep->data() : noUnits; }

CString String::getCString() const {
    const Uint32 n = size();
    std::unique_ptr<char[]> text(new char[std::size_t(n) * 3 + 1]);
    const Char16* const units = getChar16Data();
    char* out = text.get();
    for (Uint32 i = 0; i < n; i++) {
        Uint32 c = Uint16(units[i]);
        if (c < 0x80) {
            *out++ = char(c);
            continue;
        }
        if (c >= 0xD800 && c <= 0xDFFF) {
            const Uint32 low = Uint16(units[i + 1]);  // the zero after the last unit at worst
            if (c < 0xDC00 && low >= 0xDC00 && low <= 0xDFFF) {
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                i++;
            } else {
                c = 0xFFFD;  // half a pair has no UTF-8 form
            }
        }
        out = encodeCharacter(out, c);
    }
    *out = '\0';
    const std::size_t length = std::size_t(out - text.get());
    return CString(std::move(text), length);
}

Char16& String::operator[](Uint32 index) {
    if (index > size()) {
        throw IndexOutOfBoundsException();
    }
    detach(0);
    return _rep->data()[index];
}

const Char16 String::operator[](Uint32 index) const {
    if (index > size()) {
        throw IndexOutOfBoundsException();
    }
    return getChar16Data()[index];
}

// ---- String: changes ----

String& String::append(const Char16& c) {
    const Char16 unit = c;
    return append(&unit, 1);
}

String& String::append(const Char16* str, Uint32 n) {
    if (!str) {
        throw NullPointer();
    }
    if (n == 0) {
        return *this;
    }
    const Uint32 before = size();
    if (n >= PEG_NOT_FOUND - before) {
        throw std::bad_alloc();
    }
    const Uint32 wanted = before + n;
    const String old(str >= getChar16Data() && str <= getChar16Data() + before ? *this : String());
    if (!_rep || wanted > _rep->capacity) {
        detach(std::max(wanted, before + std::min(before, PEG_NOT_FOUND - 1 - before)));
    } else {
        detach(wanted);
    }
    copyUnits(_rep->data() + before, str, n);
    _rep->setSize(wanted);
    return *this;
}

String& String::append(const String& str) {
    return size() == 0 ? assign(str) : append(str.getChar16Data(), str.size());
}

void String::remove(Uint32 index, Uint32 size) {
    const Uint32 before = this->size();
    if (index > before || (size != PEG_NOT_FOUND && size > before - index)) {
        throw IndexOutOfBoundsException();
    }
    const Uint32 n = std::min(size, before - index);
    if (n == 0) {
        return;
    }
    detach(0);
    Char16* const at = _rep->data() + index;
    copyUnits(at, at + n, before - index - n);
    _rep->setSize(before - n);
}

void String::toLower() {
    for (Uint32 i = 0; i < size(); i++) {
        const Uint16 unit = getChar16Data()[i];
        if (fold(unit) != unit) {
            detach(0);
            _rep->data()[i] = fold(unit);
        }
    }
}

void String::appendPrintf(const char* format, ...) {
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int n = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    const std::unique_ptr<char[]> text(new char[std::size_t(std::max(n, 0)) + 1]);
    if (n > 0) {
        std::vsnprintf(text.get(), std::size_t(n) + 1, format, again);
    }
    va_end(again);
    if (n > 0) {
        append(String(text.get(), Uint32(n)));
    }
}

// ---- String: parts and comparison ----

String String::subString(Uint32 index, Uint32 n) const {
    if (index >= size()) {
        return String();
    }
    const Uint32 length = std::min(n, size() - index);
    return length == size() ? *this : String(getChar16Data() + index, length);
}

Uint32 String::find(Char16 c) const { return find(0, c); }

Uint32 String::find(Uint32 index, Char16 c) const {
    if (index > size()) {
        throw IndexOutOfBoundsException();
    }
    const Char16* const units = getChar16Data();
    for (Uint32 i = index; i < size(); i++) {
        if (units[i] == c) {
            return i;
        }
    }
    return PEG_NOT_FOUND;
}

Uint32 String::find(const String& s) const {
    if (s.size() == 0) {
        return PEG_NOT_FOUND;
    }
    const Char16* const end = getChar16Data() + size();
    const Char16* const at =
        std::search(getChar16Data(), end, s.getChar16Data(), s.getChar16Data() + s.size());
    return at == end ? PEG_NOT_FOUND : Uint32(at - getChar16Data());
}

Uint32 String::reverseFind(Char16 c) const {
    const Char16* const units = getChar16Data();
    for (Uint32 i = size(); i-- > 0;) {
        if (units[i] == c) {
            return i;
        }
    }
    return PEG_NOT_FOUND;
}

int String::compare(const String& s1, const String& s2, Uint32 n) {
    const Uint32 n1 = std::min(s1.size(), n), n2 = std::min(s2.size(), n);
    const int r = compareUnits(s1.getChar16Data(), s2.getChar16Data(), std::min(n1, n2));
    return r != 0 ? r : n1 < n2 ? -1 : n1 > n2 ? 1 : 0;
}

int String::compare(const String& s1, const String& s2) {
    return s1._rep == s2._rep ? 0 : compare(s1, s2, PEG_NOT_FOUND);
}

int String::compareNoCase(const String& s1, const String& s2) {
    if (s1._rep == s2._rep) {
        return 0;
    }
    const Char16 *p = s1.getChar16Data(), *q = s2.getChar16Data();
    const Uint32 n1 = s1.size(), n2 = s2.size();
    for (Uint32 i = 0; i < n1 && i < n2; i++) {
        if (const int r = int(fold(p[i])) - int(fold(q[i]))) {
            return r;
        }
    }
    return n1 < n2 ? -1 : n1 > n2 ? 1 : 0;
}

Boolean String::equal(const String& s1, const String& s2) {
    if (s1._rep == s2._rep) {
        return true;
    }
    const Uint32 n = s1.size();
    return n == s2.size() &&
           std::memcmp(s1.getChar16Data(), s2.getChar16Data(), n * sizeof(Char16)) == 0;
}

Boolean String::equalNoCase(const String& s1, const String& s2) {
    if (s1._rep == s2._rep) {
        return true;
    }
    const Uint32 n = s1.size();
    if (n != s2.size()) {
        return false;
    }
    const Char16 *p = s1.getChar16Data(), *q = s2.getChar16Data();
    for (Uint32 i = 0; i < n; i++) {
        if (Uint16(p[i]) != Uint16(q[i]) && fold(p[i]) != fold(q[i])) {
            return false;
        }
    }
    return true;
}

// ---- operators ----

Boolean operator==(const String& s1, const String& s2) { return String::equal(s1, s2); }

Boolean operator==(const String& s1, const char* s2) {
    const std::size_t n = lengthOf(s2);
    const Char16* const units = s1.getChar16Data();
    for (std::size_t i = 0; i < n; i++) {
        const unsigned char c = static_cast<unsigned char>(s2[i]);
        if (c >= 0x80) {
            return String::equal(s1, String(s2));
        }
        if (i >= s1.size() || Uint16(units[i]) != c) {
            return false;
        }
    }
    return n == s1.size();
}

Boolean operator==(const char* s1, const String& s2) { return s2 == s1; }
Boolean operator!=(const String& s1, const String& s2) { return !String::equal(s1, s2); }
Boolean operator<(const String& s1, const String& s2) { return String::compare(s1, s2) < 0; }
Boolean operator<=(const String& s1, const String& s2) { return String::compare(s1, s2) <= 0; }
Boolean operator>(const String& s1, const String& s2) { return String::compare(s1, s2) > 0; }
Boolean operator>=(const String& s1, const String& s2) { return String::compare(s1, s2) >= 0; }

String operator+(const String& s1, const String& s2) {
    if (s2.size() == 0) {
        return s1;
    }
    String result;
    result.reserveCapacity(s1.size() + s2.size());
    result.append(s1.getChar16Data(), s1.size());
    result.append(s2.getChar16Data(), s2.size());
    return result;
}

std::ostream& operator<<(std::ostream& os, const String& s) {
    const Char16* const units = s.getChar16Data();
    for (Uint32 i = 0; i < s.size(); i++) {
        const Uint16 unit = units[i];
        if (unit >= 1 && unit <= 0xFF) {
            os.put(char(unit));
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%04X", unsigned(unit));
            os << escaped;
        }
    }
    return os;
}

}  // namespace Pegasus
