#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/MessageLoader.h>
#include <Pegasus/Common/String.h>
//
#include <Pegasus/Common/InternalException.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace {

std::string utf8(const String& s) { return static_cast<const char*>(s.getCString()); }

TEST(String, DecodesAndEncodesUtf8) {
    const struct {
        const char* bytes;
        std::vector<Uint16> units;
    } rows[] = {
        {"", {}},
        {"aZ\x7f", {'a', 'Z', 0x7F}},
        {"\xc2\x80\xdf\xbf", {0x80, 0x7FF}},
        {"\xe0\xa0\x80\xef\xbf\xbf", {0x800, 0xFFFF}},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", {0xD800, 0xDC00, 0xDBFF, 0xDFFF}},
    };
    for (const auto& row : rows) {
        const String s(row.bytes);
        ASSERT_EQ(row.units.size(), s.size()) << row.bytes;
        for (Uint32 i = 0; i < s.size(); i++)
            EXPECT_EQ(row.units[i], Uint16(s[i])) << row.bytes;
        EXPECT_EQ(0, Uint16(s.getChar16Data()[s.size()]));
        EXPECT_EQ(row.bytes, utf8(s));
        EXPECT_TRUE(s == row.bytes && row.bytes == s);
        EXPECT_FALSE(s == "a" || s == "aZ\x7f\xc3\xa9");
    }
}

TEST(String, RefusesInvalidUtf8AndNullPointers) {
    for (const char* bad : {"\x80", "\xc0\xaf", "\xc3", "\xc3(", "\xe0\x80\xaf", "\xed\xa0\x80",
                            "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xff"}) {
        String s("kept");
        EXPECT_THROW(s.assign(bad), Exception) << bad;
        EXPECT_TRUE(s == "kept");
    }
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), NullPointer);
    EXPECT_THROW(String(static_cast<const char*>(nullptr), 1), NullPointer);
    EXPECT_THROW(String(static_cast<const Char16*>(nullptr)), NullPointer);
    EXPECT_THROW(String("\xc3\xa9", 1), Exception);
}

TEST(String, LoneSurrogateStillGivesValidUtf8) {
    String s("a");
    s.append(Char16(0xD800));
    EXPECT_EQ("a\xef\xbf\xbd", utf8(s));
    s.append(Char16('b'));
    s.append(Char16(0xDC00));
    EXPECT_EQ(
        "a\xef\xbf\xbd"
        "b\xef\xbf\xbd",
        utf8(s));
}

TEST(String, ChangesStayWithTheirOwner) {
    const String original("abc");
    String s(original);
    s.append(s);
    EXPECT_TRUE(s == "abcabc");
    s.append(s.getChar16Data() + 1, 2);
    EXPECT_TRUE(s == "abcabcbc");
    s.append(s[0]);
    EXPECT_TRUE(s == "abcabcbca");
    s.remove(1, 7);
    EXPECT_TRUE(s == "aa");
    s.assign(s.getChar16Data(), 1);
    EXPECT_TRUE(s == "a");
    s = original;
    s.remove(1);
    EXPECT_TRUE(s == "a");
    s = original;
    s.toLower();
    s.append(String::EMPTY);
    s.clear();
    EXPECT_EQ(0u, s.size());
    EXPECT_EQ(0, Uint16(s[0]));
    EXPECT_TRUE(original == "abc");
    EXPECT_EQ(0u, String::EMPTY.size());
}

TEST(String, FindsAndCuts) {
    const String s("a*b*ab\0c", 8);
    EXPECT_EQ(1u, s.find('*'));
    EXPECT_EQ(3u, s.find(2, '*'));
    EXPECT_EQ(3u, s.reverseFind('*'));
    EXPECT_EQ(0u, s.reverseFind(Char16('a')) - 4);
    EXPECT_EQ(4u, s.find(String("ab")));
    EXPECT_EQ(6u, s.find(String("\0c", 2)));
    EXPECT_EQ(PEG_NOT_FOUND, s.find(String("abc")));
    EXPECT_TRUE(s.subString(2, 2) == "b*");
    EXPECT_EQ(2u, s.subString(6, 99).size());
    EXPECT_THROW(s[9], IndexOutOfBoundsException);
}

TEST(String, Orders) {
    // The rows are in ascending order of their units.
    const std::vector<String> rows = {"", "A", "AB", "B", "_", "a", "aB", "b", "\xc3\xa9"};
    for (std::size_t i = 0; i < rows.size(); i++) {
        for (std::size_t j = 0; j < rows.size(); j++) {
            EXPECT_EQ(i < j, rows[i] < rows[j]);
            EXPECT_EQ(i > j, rows[i] > rows[j]);
            EXPECT_EQ(i <= j, rows[i] <= rows[j]);
            EXPECT_EQ(i >= j, String::compare(rows[i], rows[j]) >= 0);
            EXPECT_EQ(i != j, rows[i] != rows[j]);
        }
    }
    EXPECT_LT(String::compareNoCase("a", "AB"), 0);
    EXPECT_EQ(0, String::compareNoCase("aBz", "AbZ"));
    EXPECT_GT(String::compare("ab", "a", 2), 0);
    EXPECT_FALSE(String::equalNoCase("[", "{"));  // 32 apart as well
    EXPECT_FALSE(String::equalNoCase("ab", "a"));
}

TEST(String, StreamsUnitsNotUtf8) {
    std::ostringstream os;
    os << String("a\xc3\xa9\xe2\x82\xac\0", 7);
    EXPECT_EQ(std::string("a\xe9\\x20AC\\x0000"), os.str());
}

TEST(String, AppendPrintfOfAnyLength) {
    String s;
    const std::string longText(5000, 'x');
    s.appendPrintf("%s%d%%", longText.c_str(), 42);
    EXPECT_EQ(longText + "42%", utf8(s));
}

TEST(String, SharedUnitsAreThreadSafe) {
    const String shared("abc");
    std::vector<std::thread> threads;
    std::atomic<int> wrong(0);
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&shared, &wrong] {
            for (int i = 0; i < 1000; i++) {
                String mine(shared), other(mine);
                mine[0] = Uint16('z');
                if (!(mine == "zbc") || !(other == "abc"))
                    wrong++;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
    EXPECT_TRUE(shared == "abc");
}

}  // namespace
