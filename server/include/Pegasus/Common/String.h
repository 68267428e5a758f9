// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Text as UTF-16 code units with an explicit length, and its UTF-8 copy for C functions.
//
// Value classes: copies share their units until one of them changes. Distinct strings may be used
// on distinct threads even while they share; one string needs outside locking once it is changed.
#ifndef Pegasus_String_h
#define Pegasus_String_h

#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>

#include <atomic>
#include <memory>
#include <utility>

namespace Pegasus {

/// Owns an UTF-8 copy of a String.
class PEGASUS_EXPORT CString {
 public:
    CString();
    CString(const CString& x);
    ~CString();
    CString& operator=(const CString& x);
    /// Null-terminated, valid while the CString lives.
    operator const char*() const;

 private:
    friend class String;
    CString(std::unique_ptr<char[]> text, std::size_t size);
    std::unique_ptr<char[]> _text;  // null stands for the empty text
    std::size_t _size;
};

/// `const char*` arguments are UTF-8: invalid UTF-8 throws Exception, a null pointer NullPointer.
class PEGASUS_EXPORT String {
 public:
    static const String EMPTY;

    constexpr String() noexcept : _rep(nullptr) {}
    String(const String& str) noexcept : _rep(str._rep) {
        if (_rep) {
            _rep->refs.fetch_add(1, std::memory_order_relaxed);
        }
    }
    String(String&& str) noexcept : _rep(str._rep) { str._rep = nullptr; }
    /// The first `n` units; more than there are throws IndexOutOfBoundsException.
    String(const String& str, Uint32 n);
    String(const Char16* str);
    String(const Char16* str, Uint32 n);
    String(const char* str);
    /// `n` counts bytes.
    String(const char* str, Uint32 n);
    ~String() {
        if (_rep) {
            release(_rep);
        }
    }

    String& operator=(const String& str) { return assign(str); }
    String& operator=(String&& str) noexcept {
        std::swap(_rep, str._rep);
        return *this;
    }
    String& assign(const String& str);
    String& assign(const Char16* str);
    String& assign(const Char16* str, Uint32 n);
    String& assign(const char* str);
    String& assign(const char* str, Uint32 n);

    void clear();
    void reserveCapacity(Uint32 capacity);
    /// Counts UTF-16 units: a character outside the BMP counts two.
    Uint32 size() const { return _rep ? _rep->size : 0; }
    /// Null-terminated, valid until the string changes.
    const Char16* getChar16Data() const;
    CString getCString() const;

    /// The unit at size() reads 0; past it both throw IndexOutOfBoundsException.
    Char16& operator[](Uint32 index);
    const Char16 operator[](Uint32 index) const;

    String& append(const Char16& c);
    String& append(const Char16* str, Uint32 n);
    String& append(const String& str);
    /// Throws IndexOutOfBoundsException if the range reaches past the end.
    void remove(Uint32 index, Uint32 size = PEG_NOT_FOUND);
    /// Never throws: what lies past the end is left out.
    String subString(Uint32 index, Uint32 n = PEG_NOT_FOUND) const;

    /// Position or PEG_NOT_FOUND; the empty string is found nowhere.
    Uint32 find(Char16 c) const;
    /// An index greater than size() throws IndexOutOfBoundsException.
    Uint32 find(Uint32 index, Char16 c) const;
    Uint32 find(const String& s) const;
    Uint32 reverseFind(Char16 c) const;

    /// ASCII letters only.
    void toLower();
    void appendPrintf(const char* format, ...) PEGASUS_FORMAT(2, 3);

    /// By unit; only the sign counts. The NoCase forms fold ASCII letters to lower case.
    static int compare(const String& s1, const String& s2, Uint32 n);
    static int compare(const String& s1, const String& s2);
    static int compareNoCase(const String& s1, const String& s2);
    static Boolean equal(const String& s1, const String& s2);
    static Boolean equalNoCase(const String& s1, const String& s2);

 private:
    // The units follow in the same allocation, with a zero after the last one. An empty string
    // may have none at all.
    struct Rep {
        std::atomic<Uint32> refs;
        Uint32 size;
        Uint32 capacity;
        Char16* data() { return reinterpret_cast<Char16*>(this + 1); }
        void setSize(Uint32 n) {
            size = n;
            data()[n] = Uint16(0);
        }
    };
    static Rep* create(Uint32 capacity);
    static Rep* create(const Char16* str, Uint32 n);
    static Rep* decode(const char* str, std::size_t n);
    static void release(Rep* rep);
    void detach(Uint32 capacity);

    Rep* _rep;
};

PEGASUS_EXPORT Boolean operator==(const String& s1, const String& s2);
PEGASUS_EXPORT Boolean operator==(const String& s1, const char* s2);
PEGASUS_EXPORT Boolean operator==(const char* s1, const String& s2);
PEGASUS_EXPORT Boolean operator!=(const String& s1, const String& s2);
PEGASUS_EXPORT Boolean operator<(const String& s1, const String& s2);
PEGASUS_EXPORT Boolean operator<=(const String& s1, const String& s2);
PEGASUS_EXPORT Boolean operator>(const String& s1, const String& s2);
PEGASUS_EXPORT Boolean operator>=(const String& s1, const String& s2);
PEGASUS_EXPORT String operator+(const String& s1, const String& s2);
/// Units 1 to 0xFF as one byte each, others as \x and four hex digits: use getCString for UTF-8.
PEGASUS_EXPORT std::ostream& operator<<(std::ostream& os, const String& s);

}  // namespace Pegasus

#endif
