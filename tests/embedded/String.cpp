// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/MessageLoader.h>
#include <Pegasus/Common/String.h>
//
#include <Pegasus/Common/InternalException.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace Pegasus;

namespace {

std::string utf8(const String& s) { return static_cast<const char*>(s.getCString()); }

TEST(String, DecodesAndEncodesUtf8) {
    const struct {
        const char* bytes;
        std::vector<Uint16> units;  // with the zero behind the last
    } rows[] = {
        {"", {0}},
        {"aZ\x7f", {'a', 'Z', 0x7F, 0}},
        {"\xc2\x80\xdf\xbf", {0x80, 0x7FF, 0}},
        {"\xe0\xa0\x80\xef\xbf\xbf", {0x800, 0xFFFF, 0}},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", {0xD800, 0xDC00, 0xDBFF, 0xDFFF, 0}},
    };
    for (const auto& row : rows) {
        const String s(row.bytes);
        std::vector<Uint16> units;
        for (Uint32 i = 0; i <= s.size(); i++) {
            units.push_back(s[i]);
        }
        EXPECT_EQ(row.units, units) << row.bytes;
        EXPECT_EQ(row.bytes, utf8(s));
        EXPECT_TRUE(s == row.bytes && !(s == "a") && !(s == "aZ\x7f\xc3\xa9"));
    }
    for (const char* bad : {"\x80", "\xc0\xaf", "\xc3", "\xc3(", "\xe0\x80\xaf", "\xed\xa0\x80",
                            "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xff"}) {
        String s("kept");
        EXPECT_THROW(s.assign(bad), Exception) << bad;
        EXPECT_EQ("kept", utf8(s));
    }
    String lone("a");
    lone.append(Char16(0xD800)).append(Char16('b')).append(Char16(0xDC00));
    EXPECT_EQ(std::string("a\xef\xbf\xbd") + "b\xef\xbf\xbd", utf8(lone));
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), NullPointer);
}

TEST(String, ChangesStayWithTheirOwnerAndMayTakeTheirOwnParts) {
    const String original("aBc");
    String s(original);
    s.append(s);
    s.append(s.getChar16Data() + 1, 2);
    s.append(s[0]);
    EXPECT_EQ("aBcaBcBca", utf8(s));
    s.remove(1, 7);
    s.assign(s.getChar16Data(), 1);
    EXPECT_EQ("a", utf8(s));
    s = original;
    s.toLower();
    s.appendPrintf("%s%d%%", std::string(5000, 'x').c_str(), 42);
    EXPECT_EQ("abc" + std::string(5000, 'x') + "42%", utf8(s));
    s = original;
    s.remove(1);
    s.clear();
    EXPECT_EQ("", utf8(s));
    EXPECT_EQ("aBc", utf8(original));
}

TEST(String, FindsOrdersAndStreams) {
    const String s("a*b*ab\0c", 8);
    EXPECT_EQ(3u, s.reverseFind('*'));
    EXPECT_EQ(6u, s.find(String("\0c", 2)));
    EXPECT_EQ("*a", utf8(s.subString(3, 2)));
    // The rows are in ascending order of their units.
    const std::vector<String> rows = {"", "A", "AB", "B", "_", "a", "aB", "b", "\xc3\xa9"};
    for (std::size_t i = 0; i < rows.size(); i++) {
        for (std::size_t j = 0; j < rows.size(); j++) {
            EXPECT_EQ(i < j, rows[i] < rows[j]);
            EXPECT_EQ(i >= j, rows[i] >= rows[j]);
        }
    }
    EXPECT_LT(String::compareNoCase("a", "AB"), 0);
    EXPECT_FALSE(String::equalNoCase("[", "{"));  // 32 apart as well
    std::ostringstream os;
    os << String("a\xc3\xa9\xe2\x82\xac\0", 7);  // units, not UTF-8
    EXPECT_EQ(std::string("a\xe9\\x20AC\\x0000"), os.str());
}

}  // namespace
