#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

using namespace Pegasus;

namespace {

TEST(CIMName, LegalText) {
    const struct {
        String text;
        bool name, nameSpace;
    } rows[] = {
        {"a", true, true},
        {"_9", true, true},
        {"9a", false, false},
        {"a.b", false, false},
        {"a@", false, false},
        {"a[", false, false},
        {"a`", false, false},
        {"a{", false, false},
        {"a:", false, false},
        {"a/b", false, true},
        {"/a/b", false, true},
        {"a/9", false, false},
        {"a/b/", false, false},
        {"\x7f", false, false},
        {"\xc2\x80", true, true},
        {"\xef\xbf\xaf", true, true},    // 0xFFEF
        {"\xef\xbf\xb0", false, false},  // 0xFFF0
        {"a\xef\xbf\xb0", false, false},
        {String("a\0", 2), false, false},
    };
    for (const auto& row : rows) {
        const CString label = row.text.getCString();
        EXPECT_EQ(row.name, CIMName::legal(row.text)) << (const char*)label;
        EXPECT_EQ(row.nameSpace, CIMNamespaceName::legal(row.text)) << (const char*)label;
        if (row.name) {
            EXPECT_TRUE(CIMName(row.text).getString() == row.text);
        } else {
            EXPECT_THROW(CIMName n(row.text), InvalidNameException);
        }
        if (!row.nameSpace) {
            EXPECT_THROW(CIMNamespaceName n(row.text), InvalidNamespaceNameException);
        }
    }
}

TEST(CIMName, NullAndAssignment) {
    CIMName n("A_b");
    EXPECT_TRUE(n == "a_B");
    EXPECT_TRUE(n != CIMName());
    n = String("c");
    EXPECT_TRUE(n.getString() == "c");
    n.clear();
    EXPECT_TRUE(n.isNull());
    EXPECT_EQ(0u, n.getString().size());

    CIMNamespaceName s("root");
    EXPECT_TRUE(s == "/ROOT");
    EXPECT_THROW(s = String("a b"), InvalidNamespaceNameException);
    EXPECT_TRUE(s.getString() == "root");
    s = String("/x/Y");
    EXPECT_TRUE(s.getString() == "x/Y");
    s.clear();
    EXPECT_TRUE(s.isNull() && s == CIMNamespaceName());
}

}  // namespace
