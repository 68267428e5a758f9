#include "server/Mof.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace Pegasus {
void PrintTo(const CIMValue& value, std::ostream* out) {
    *out << cimTypeToString(value.getType()) << (value.isArray() ? "[] " : " ")
         << (value.isNull() ? "null" : value.toString().getCString());
}
}  // namespace Pegasus

using namespace Pegasus;
using namespace velmar_embedded;

namespace {

const CIMNamespaceName NS("root/test");

const char* const DECLARATIONS = R"(
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(Restricted);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier In : boolean = true, Scope(parameter);
Qualifier Out : boolean = false, Scope(parameter);
Qualifier Description : string = null, Scope(any), Flavor(Translatable);
Qualifier ValueMap : string[], Scope(property);
Qualifier MaxLen : uint32 = 10, Scope(property), Flavor(ToSubclass);
class B { [Key] string Name; };
class V {
    [Key] string Id = "v";
    boolean Flag; uint8 U8; sint8 S8; uint64 U64; sint64 S64; real32 R32; real64 R64;
    char16 C; string S; datetime D; B REF R; string A[]; uint16 N[4]; sint8 K[]; boolean F[];
};)";

class MofTest : public testing::Test {
 protected:
    MofTest() { compileMofText(schema, NS, DECLARATIONS, "declarations"); }

    void compile(const std::string& text) { compileMofText(schema, NS, text, "text.mof"); }

    CIMValue value(const char* path, const char* property) {
        const CIMInstance instance = schema.getInstance(NS, CIMObjectPath(path));
        return instance.getProperty(instance.findProperty(CIMName(property))).getValue();
    }

    Schema schema;
};

template <class Element>
CIMValue qualifierOf(const Element& element, const char* name) {
    const Uint32 index = element.findQualifier(CIMName(name));
    return index == PEG_NOT_FOUND ? CIMValue() : element.getQualifier(index).getValue();
}

TEST_F(MofTest, ClassWithEverything) {
    compile(R"(
        /* an association, with keywords in odd case */
        [Association, Abstract, Description ("one, " "two\n" // and
                                             "three")]
        CLASS A as $A { [KEY] b ref Left; [key : DisableOverride] B REF Right;
            [ValueMap {"1", "2" "3"}, MaxLen, Description] uint32 Num = 0x1f;
            string List[]; sint8 Fixed[3] = {-1, 0, +1};
            [Description("adds")] uint32 Add([In] uint32 X, [Out, In(false)] uint8 Y[], B REF Z);
            boolean Nothing();
        };
        class A2 : A { real64 R = -1.5e-3; };)");
    const CIMClass a = schema.getClass(NS, CIMName("A"));
    EXPECT_TRUE(a.isAssociation());
    EXPECT_TRUE(a.isAbstract());
    EXPECT_EQ(CIMValue(String("one, two\nthree")), qualifierOf(a, "description"));
    Array<CIMName> keys;
    a.getKeyNames(keys);
    ASSERT_EQ(2u, keys.size());
    EXPECT_EQ(CIMName("b"), a.getProperty(0).getReferenceClassName());
    const CIMConstProperty num = a.getProperty(a.findProperty(CIMName("Num")));
    EXPECT_EQ(CIMValue(Uint32(31)), num.getValue());
    Array<String> map;
    map.append(String("1"));
    map.append(String("23"));
    EXPECT_EQ(CIMValue(map), qualifierOf(num, "ValueMap"));
    EXPECT_EQ(CIMValue(Uint32(10)), qualifierOf(num, "MaxLen"));
    EXPECT_EQ(CIMValue(CIMTYPE_STRING, false), qualifierOf(num, "Description"));
    EXPECT_EQ(CIMValue(CIMTYPE_STRING, true),
              a.getProperty(a.findProperty(CIMName("List"))).getValue());
    const CIMConstProperty fixed = a.getProperty(a.findProperty(CIMName("Fixed")));
    EXPECT_EQ(3u, fixed.getArraySize());
    EXPECT_EQ(String("-1 0 1 "), fixed.getValue().toString());

    ASSERT_EQ(2u, a.getMethodCount());
    const CIMConstMethod add = a.getMethod(0);
    EXPECT_EQ(CIMTYPE_UINT32, add.getType());
    ASSERT_EQ(3u, add.getParameterCount());
    EXPECT_EQ(CIMValue(Boolean(true)), qualifierOf(add.getParameter(0), "In"));
    const CIMConstParameter y = add.getParameter(1);
    EXPECT_TRUE(y.isArray());
    EXPECT_EQ(CIMValue(Boolean(false)), qualifierOf(y, "In"));
    EXPECT_EQ(CIMValue(Boolean(true)), qualifierOf(y, "Out"));
    EXPECT_EQ(CIMName("B"), add.getParameter(2).getReferenceClassName());

    const CIMClass a2 = schema.getClass(NS, CIMName("A2"));
    EXPECT_TRUE(a2.isAssociation());
    EXPECT_FALSE(a2.isAbstract());
    EXPECT_EQ(CIMValue(Real64(-1.5e-3)), a2.getProperty(a2.findProperty(CIMName("R"))).getValue());
}

TEST_F(MofTest, InstanceValues) {
    const Uint16 numbers[] = {2, 5};
    String escaped("a\"\\\n\tA");
    escaped.append(Char16(0x20AC));
    const struct {
        const char* property;
        const char* literal;
        CIMValue expected;
    } cases[] = {
        {"Flag", "TRUE", CIMValue(Boolean(true))},
        {"Flag", "NULL", CIMValue(CIMTYPE_BOOLEAN, false)},
        {"U8", "255", CIMValue(Uint8(255))},
        {"U8", "0xfF", CIMValue(Uint8(255))},
        {"U8", "101b", CIMValue(Uint8(5))},
        {"S8", "-128", CIMValue(Sint8(-128))},
        {"S8", "+017", CIMValue(Sint8(15))},
        {"U64", "18446744073709551615", CIMValue(Uint64(-1))},
        {"S64", "-9223372036854775808", CIMValue(Sint64(Uint64(1) << 63))},
        {"R32", "1.5e3", CIMValue(Real32(1500))},
        {"R64", "-.25E+1", CIMValue(Real64(-2.5))},
        {"R64", "4", CIMValue(Real64(4))},
        {"C", "'x'", CIMValue(Char16('x'))},
        {"C", "'\\''", CIMValue(Char16('\''))},
        {"S", R"("a\"\\\n" "\t\x41\x20AC")", CIMValue(escaped)},
        {"S", "\"\xE2\x82\xAC // no comment\"", CIMValue(String("\xE2\x82\xAC // no comment"))},
        {"D", "\"20240229120000.000000+060\"",
         CIMValue(CIMDateTime(String("20240229120000.000000+060")))},
        {"R", R"("//h/root/x:B.Name=\"q\"")",
         CIMValue(CIMObjectPath(String("//h/root/x:B.Name=\"q\"")))},
        {"R", "$one", CIMValue(CIMObjectPath(String("B.Name=\"one\"")))},
        {"R", "NULL", CIMValue(CIMTYPE_REFERENCE, false)},
        {"A", "NULL", CIMValue(CIMTYPE_STRING, true)},
        {"A", "{}", CIMValue(Array<String>())},
        {"N", "{ 2, /**/ 5 }", CIMValue(Array<Uint16>(numbers, 2))},
        {"F", "{ true }", CIMValue(Array<Boolean>(1, true))},
    };
    std::string text = "instance of B as $One { Name = \"one\"; };\n";
    for (std::size_t i = 0; i < std::size(cases); ++i)
        text += "instance of V { Id = \"" + std::to_string(i) + "\"; " + cases[i].property + " = " +
                cases[i].literal + "; };\n";
    compile(text);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].expected,
                  value(("V.Id=\"" + std::to_string(i) + "\"").c_str(), cases[i].property))
            << cases[i].property << " = " << cases[i].literal;
    EXPECT_EQ(CIMValue(CIMTYPE_UINT16, true), value("V.Id=\"0\"", "N"));
}

struct Mistake {
    const char* text;
    unsigned line;
    const char* reason;  ///< a part of it
};

TEST_F(MofTest, MistakesNameLineAndText) {
    const Mistake mistakes[] = {
        // Tokens.
        {"class X {\n string S = \"abc\n; };", 2, "unterminated string \"abc"},
        {"class X {\n char16 C = 'a;", 2, "unterminated character 'a;"},
        {"\n/* class X {\n};", 2, "unterminated comment"},
        {"class X {\n/* \n */ string S = \"\\q\"; };", 3, "\\q"},
        {"class X { string S = \"\xff\"; };", 1, "UTF-8"},
        {"class X {\n @ };", 2, "'@'"},
        // Syntax.
        {"class X { string S }\n;", 1, "syntax error at }: expected ;"},
        {"class X { string S;\n", 2, "end of file"},
        {"class X { string S; }\nclass Y {};", 2, "syntax error at class: expected ;"},
        {"clas X {};", 1, "syntax error at clas"},
        {"class 1X {};", 1, "syntax error at 1X: expected a class name"},
        {"class X { text S; };", 1, "unknown type text"},
        {"class X { string S[0]; };", 1, "expected an array size"},
        {"class X { uint8 A[] = {1,}; };", 1, "expected a value"},
        {"class X { B REF R[]; };", 1, "array of references"},
        {"class X { B REF M(); };", 1, "M returns a reference"},
        {"Qualifier Q : boolean,\n Skope(any);", 2, "Skope"},
        {"Qualifier Q : boolean, Scope(any, all);", 1, "syntax error at all: expected a scope"},
        {"Qualifier Q : boolean, Scope(any), Flavor(X);", 1, "expected a flavor"},
        {"[Key :] class X {};", 1, "expected a flavor"},
        {"#pragma namespace (\"a//b\")", 1, "a//b"},
        // Declarations that clash with others.
        {"\nclass X : Missing {\n};", 2, "CIM_ERR_INVALID_SUPERCLASS: Missing"},
        {"\nclass b {};", 2, "CIM_ERR_ALREADY_EXISTS: b"},
        {"class X {\n[Key,\nNoSuch] string S; };", 3,
         "Could not find declaration for Qualifier named NoSuch"},
        {"class X { string S;\nuint8 s; };", 2, "already exists: property \"s\""},
        {"class X { [Key, Key] string S; };", 1, "already exists: qualifier \"Key\""},
        {"[MaxLen(\"1\")] class X {};", 1, "the value \"1\" is no uint32"},
        {"\n\ninstance of Missing {};", 3, "CIM_ERR_INVALID_CLASS: Missing"},
        {"instance of B {\nNom = \"n\"; };", 2, "the class B has no property Nom"},
        {"instance of B { Name = \"n\";\nName = \"n\"; };", 2, "already exists: property \"Name\""},
        {"instance of B {};\n\ninstance of B {};", 3, "CIM_ERR_ALREADY_EXISTS: B.Name=\"\""},
        {"instance of V {\nR = $nobody; };", 2, "unknown alias $nobody"},
        {"instance of B as $a {};\ninstance of V as $A {};", 2, "alias $A is used twice"},
        // Values.
        {"instance of V { U8 = 256; };", 1, "256 is out of range for uint8"},
        {"instance of V { U8 = -1; };", 1, "-1 is out of range for uint8"},
        {"instance of V { S8 =\n128; };", 2, "128 is out of range for sint8"},
        {"instance of V { S8 = -129; };", 1, "-129 is out of range for sint8"},
        {"instance of V { U64 = 18446744073709551616; };", 1, "18446744073709551616"},
        {"instance of V { U8 = 1.5; };", 1, "the value 1.5 is no uint8"},
        {"instance of V { U8 = 12abc; };", 1, "the value 12abc is no uint8"},
        {"instance of V { U8 = 08; };", 1, "the value 08 is no uint8"},
        {"instance of V { U8 = \"1\"; };", 1, "the value \"1\" is no uint8"},
        {"instance of V { R64 = 1e999; };", 1, "the value 1e999 is no real64"},
        {"instance of V { R32 = true; };", 1, "the value true is no real32"},
        {"instance of V { Flag = 1; };", 1, "the value 1 is no boolean"},
        {"instance of V { C = 'ab'; };", 1, "the value 'ab' is no char16"},
        {"instance of V { S = 5; };", 1, "the value 5 is no string"},
        {"instance of V { D = \"today\"; };", 1, "the value \"today\" is no datetime"},
        {"instance of V { R = \"B.Name=\"; };", 1, "the value \"B.Name=\" is no reference"},
        {"instance of V { A = \"a\"; };", 1, "array of string"},
        {"instance of V { S = {\"a\"}; };", 1, "does not fit a single string"},
        {"instance of V { A = {\"a\",\nNULL}; };", 2, "the value NULL is no string"},
    };
    for (const Mistake& mistake : mistakes) {
        SCOPED_TRACE(mistake.text);
        Schema fresh;
        compileMofText(fresh, NS, DECLARATIONS, "declarations");
        try {
            compileMofText(fresh, NS, mistake.text, "dir/text.mof");
            ADD_FAILURE() << "compiled";
        } catch (const MofError& e) {
            EXPECT_EQ(mistake.line, e.line());
            EXPECT_NE(std::string::npos, e.reason().find(mistake.reason)) << e.reason();
            EXPECT_EQ("dir/text.mof:" + std::to_string(mistake.line) + ": " + e.reason(), e.what());
        }
    }
}

TEST_F(MofTest, DeclarationsBeforeAMistakeStay) {
    EXPECT_THROW(compile("class Early {}; /* class Late {};"), MofError);
    EXPECT_TRUE(schema.hasClass(NS, CIMName("Early")));
}

TEST_F(MofTest, NamespacesKeepTheirDeclarations) {
    EXPECT_THROW(compile("#pragma namespace (\"root/second\")\n class X { [Key] string S; };"),
                 MofError);
    ASSERT_TRUE(schema.hasNamespace(CIMNamespaceName("root/second")));
    compile(
        "#pragma locale (\"en_US\")\n#pragma namespace (\"root/second\")\n"
        "Qualifier Key : boolean = false, Scope(property);\n class X { [Key] string S; };");
    EXPECT_FALSE(schema.hasClass(NS, CIMName("X")));
    EXPECT_TRUE(schema.hasClass(CIMNamespaceName("root/second"), CIMName("X")));
}

class MofFileTest : public MofTest {
 protected:
    MofFileTest() {
        std::string pattern = testing::TempDir() + "mofXXXXXX";
        folder = mkdtemp(pattern.data());
        std::filesystem::create_directory(folder / "sub");
    }
    ~MofFileTest() override { std::filesystem::remove_all(folder); }

    std::string write(const std::string& name, const std::string& text) {
        std::ofstream(folder / name) << text;
        return (folder / name).string();
    }
    std::string mistakeIn(const std::string& file) {
        try {
            compileMof(schema, NS, file);
        } catch (const MofError& e) {
            return e.what();
        }
        return "none";
    }

    std::filesystem::path folder;
};

TEST_F(MofFileTest, IncludesAreRelativeAndShareAliases) {
    write("sub/classes.mof", "#pragma include (\"more.mof\")\n#pragma namespace (\"root/x\")\n");
    write("sub/more.mof", "class M { [Key] B REF R; };\ninstance of B as $b { Name = \"b\"; };");
    compileMof(schema, NS,
               write("main.mof",
                     "\xEF\xBB\xBF#pragma include (\"sub/classes.mof\")\n"
                     "instance of M { R = $b; };"));
    // The include's change of namespace ended with it.
    EXPECT_EQ(CIMValue(CIMObjectPath("B.Name=\"b\"")), value(R"(M.R="B.Name=\"b\"")", "R"));
}

TEST_F(MofFileTest, MistakesNameTheirFile) {
    const std::string bad = write("sub/bad.mof", "\n\nclass X");
    const std::string main = write("main.mof", "\n#pragma include (\"sub/bad.mof\")");
    EXPECT_EQ(bad + ":3: syntax error at end of file: expected {", mistakeIn(main));

    const std::string absent = (folder / "absent.mof").string();
    EXPECT_EQ(absent + ":0: cannot read the file", mistakeIn(absent));
    EXPECT_EQ(folder.string() + ":0: cannot read the file", mistakeIn(folder.string()));
    const std::string user = write("user.mof", "\n#pragma include (\"absent.mof\")");
    EXPECT_EQ(user + ":2: cannot read the included file " + absent, mistakeIn(user));

    write("ring.mof", "#pragma include (\"sub/ring.mof\")");
    const std::string ring = write("sub/ring.mof", "\n#pragma include (\"../ring.mof\")");
    EXPECT_EQ(ring + ":2: the file " + (folder / "sub/../ring.mof").string() + " includes itself",
              mistakeIn((folder / "ring.mof").string()));
    const std::string twice = write("twice.mof",
                                    "#pragma include (\"ok.mof\")\n"
                                    "#pragma include (\"ok.mof\")");
    write("ok.mof", "");
    EXPECT_EQ("none", mistakeIn(twice));
}

}  // namespace
