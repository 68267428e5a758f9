// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <velmar_embedded/schema/Mof.h>

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

using namespace Pegasus;
using namespace velmar_embedded;

namespace {

const CIMNamespaceName NS("root/test");

std::string shown(const CIMValue& value) {
    return std::string(cimTypeToString(value.getType())) + (value.isArray() ? "[] " : " ") +
           (value.isNull() ? "null" : (const char*)value.toString().getCString());
}

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

    CIMValue value(std::size_t id, const char* property) {
        const CIMObjectPath path(("V.Id=\"" + std::to_string(id) + "\"").c_str());
        const CIMInstance instance = schema.getInstance(NS, path);
        return instance.getProperty(instance.findProperty(CIMName(property))).getValue();
    }

    Repository schema;
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
    const CIMClass a = schema.getClass(NS, CIMName("A")), a2 = schema.getClass(NS, CIMName("A2"));
    EXPECT_TRUE(a.isAssociation() && a.isAbstract());
    EXPECT_TRUE(a2.isAssociation() && !a2.isAbstract());
    EXPECT_EQ(CIMName("b"), a.getProperty(0).getReferenceClassName());
    EXPECT_EQ(3u, a.getProperty(4).getArraySize());
    ASSERT_EQ(2u, a.getMethodCount());
    const CIMConstMethod add = a.getMethod(0);
    ASSERT_EQ(3u, add.getParameterCount());
    EXPECT_TRUE(add.getParameter(1).isArray());
    EXPECT_EQ(CIMName("B"), add.getParameter(2).getReferenceClassName());
    const CIMConstProperty num = a.getProperty(2);
    const std::pair<const char*, CIMValue> values[] = {
        {"string one, two\nthree", qualifierOf(a, "description")},
        {"boolean TRUE", qualifierOf(a.getProperty(1), "Key")},
        {"uint32 31", num.getValue()},
        {"string[] 1 23 ", qualifierOf(num, "ValueMap")},
        {"uint32 10", qualifierOf(num, "MaxLen")},
        {"string null", qualifierOf(num, "Description")},
        {"string[] null", a.getProperty(3).getValue()},
        {"real64 -1.5000000000000000e-03", a2.getProperty(5).getValue()},
        {"boolean FALSE", qualifierOf(add.getParameter(1), "In")},
        {"boolean TRUE", qualifierOf(add.getParameter(1), "Out")},
    };
    for (const auto& [expected, value] : values) {
        EXPECT_EQ(expected, shown(value));
    }
}

TEST_F(MofTest, ValuesAreReadAsTheirType) {
    const struct {
        const char* property;
        const char* literal;
        const char* outcome;  // the value's text or the mistake
    } cases[] = {
        {"Flag", "TRUE", "boolean TRUE"},
        {"Flag", "1", "the value 1 is no boolean"},
        {"U8", "0xfF", "uint8 255"},
        {"U8", "-1", "the value -1 is out of range for uint8"},
        {"U8", "101b", "uint8 5"},
        {"S8", "128", "the value 128 is out of range for sint8"},
        {"S8", "-128", "sint8 -128"},
        {"U8", "12abc", "the value 12abc is no uint8"},
        {"S8", "+017", "sint8 15"},
        {"U8", "08", "the value 08 is no uint8"},
        {"A", "NULL", "string[] null"},
        {"A", "{}", "string[] "},
        {"C", "'ab'", "the value 'ab' is no char16"},
        {"C", "'\\''", "char16 '"},
        {"A", "{\"a\", NULL}", "the value NULL is no string"},
        {"S", "{\"a\"}", "a list does not fit a single string"},
        {"D", "\"now\"", "the value \"now\" is no datetime"},
        {"N", "{2, /**/ 5}", "uint16[] 2 5 "},
        {"R", "\"B.N=\"", "the value \"B.N=\" is no reference"},
        {"S", "\"// no\"", "string // no"},
        {"R64", "-.25E+1", "real64 -2.5000000000000000e+00"},
        {"U64", "18446744073709551615", "uint64 18446744073709551615"},
        {"U64", "18446744073709551616", "the value 18446744073709551616 is no uint64"},
        {"S", R"("a\"\\\n" "\t\x41\x20AC")", "string a\"\\\n\tA\xE2\x82\xAC"},
        {"A", "\"a\"", "a list in { } is needed for an array of string"},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const std::string id = "Id = \"" + std::to_string(i) + "\"";
        std::string outcome;
        try {
            compile("instance of V { " + id + "; " + cases[i].property + " =\n" + cases[i].literal +
                    "; };");
            outcome = shown(value(i, cases[i].property));
        } catch (const MofError& e) {
            EXPECT_EQ(2u, e.line());
            outcome = e.reason().substr(0, e.reason().find(": "));
        }
        EXPECT_EQ(cases[i].outcome, outcome) << cases[i].property << " = " << cases[i].literal;
    }
}

TEST_F(MofTest, MistakesNameLineAndText) {
    const struct {
        const char* text;
        const char* mistake;  // its beginning
    } mistakes[] = {
        {"class X {\n string S = \"abc\n; };", "2: unterminated string \"abc"},
        {"\n/* class X {\n};", "2: unterminated comment"},
        {"class X {\n/* \n */ string S = \"\\q\"; };", "3: unknown escape \\q"},
        {"class X { string S = \"\xff\"; };", "1: a literal is not UTF-8"},
        {"class X { string S }\n;", "1: syntax error at }: expected ;"},
        {"class X { string S; }\nclass Y {};", "2: syntax error at class: expected ;"},
        {"class X { uint8 A[] = {1,}; };", "1: syntax error at }: expected a value"},
        {"class X { text S; };", "1: unknown type text"},
        {"Qualifier Q : boolean, Scope(all);", "1: syntax error at all: expected a scope"},
        {"class X { B REF M(); };", "1: the method M returns a reference"},
        {"class X { B REF R[]; };", "1: the property R is an array of references"},
        {"Qualifier Q : boolean,\n Skope(any);", "2: expected Scope or Flavor instead of Skope"},
        {"\nclass X : Missing {\n};", "2: CIM_ERR_INVALID_SUPERCLASS: Missing"},
        {"class X {\n[Key,\nNoSuch] string S; };", "3: Could not find declaration for Qualifier"},
        {"class X { string S;\nuint8 s; };", "2: already exists: property \"s\""},
        {"instance of B {\nNom = \"n\"; };", "2: the class B has no property Nom"},
        {"instance of B {};\n\ninstance of B {};", "3: CIM_ERR_ALREADY_EXISTS: B.Name=\"\""},
        {"instance of V {\nR = $nobody; };", "2: unknown alias $nobody"},
        {"instance of B as $a {};\ninstance of V as $A {};", "2: the alias $A is used twice"},
    };
    for (const auto& mistake : mistakes) {
        Repository fresh;
        compileMofText(fresh, NS, DECLARATIONS, "declarations");
        try {
            compileMofText(fresh, NS, mistake.text, "dir/text.mof");
            ADD_FAILURE() << "compiled: " << mistake.text;
        } catch (const MofError& e) {
            EXPECT_EQ(0u,
                      std::string(e.what()).find(std::string("dir/text.mof:") + mistake.mistake))
                << e.what();
        }
    }
}

TEST_F(MofTest, WhatIsDeclaredBeforeAMistakeStaysInItsNamespace) {
    EXPECT_THROW(compile("class Early {}; /* class Late {};"), MofError);
    EXPECT_TRUE(schema.hasClass(NS, CIMName("Early")));

    const std::string second = "#pragma locale (\"en_US\")\n#pragma namespace (\"root/second\")\n";
    EXPECT_THROW(compile(second + "class X { [Key] string S; };"), MofError);
    compile(second +
            "Qualifier Key : boolean = false, Scope(property);\n"
            "class X { [Key] string S; };");
    EXPECT_FALSE(schema.hasClass(NS, CIMName("X")));
    EXPECT_TRUE(schema.hasClass(CIMNamespaceName("root/second"), CIMName("X")));
}

TEST_F(MofTest, FilesIncludeOthersAndAreNamedInMistakes) {
    namespace fs = std::filesystem;
    std::string at = testing::TempDir() + "mofXXXXXX";
    ASSERT_NE(nullptr, mkdtemp(at.data()));
    fs::create_directory(at + "/sub");
    const char* const files[][2] = {
        {"/good.mof",
         "\xEF\xBB\xBF#pragma include (\"sub/outer.mof\")\n"
         "instance of M { R = $b; };"},
        {"/sub/outer.mof", "#pragma include (\"inner.mof\")\n#pragma namespace (\"root/x\")\n"},
        {"/sub/inner.mof", "class M { [Key] B REF R; };\ninstance of B as $B { Name = \"b\"; };"},
        {"/main.mof", "\n#pragma include (\"sub/bad.mof\")"},
        {"/sub/bad.mof", "\n\nclass X"},
        {"/user.mof", "\n#pragma include (\"absent.mof\")"},
        {"/ring.mof", "#pragma include (\"sub/ring.mof\")"},
        {"/sub/ring.mof", "\n#pragma include (\"../ring.mof\")"},
        {"/twice.mof", "#pragma include (\"ok.mof\")\n#pragma include (\"ok.mof\")"},
        {"/ok.mof", ""},
    };
    for (const auto& [name, text] : files) {
        std::ofstream(at + name) << text;
    }
    const std::string outcomes[][2] = {
        {"/good.mof", "none"},
        {"/twice.mof", "none"},
        {"/main.mof", at + "/sub/bad.mof:3: syntax error at end of file: expected {"},
        {"/absent.mof", at + "/absent.mof:0: cannot read the file"},
        {"/sub", at + "/sub:0: cannot read the file"},
        {"/user.mof", at + "/user.mof:2: cannot read the included file " + at + "/absent.mof"},
        {"/ring.mof", at + "/sub/ring.mof:2: the file " + at + "/sub/../ring.mof includes itself"},
    };
    for (const auto& [name, expected] : outcomes) {
        std::string mistake = "none";
        try {
            compileMof(schema, NS, at + name);
        } catch (const MofError& e) {
            mistake = e.what();
        }
        EXPECT_EQ(expected, mistake);
    }
    // An alias outlives its file, a change of namespace ends with it.
    EXPECT_EQ(1u, schema.instances(NS, CIMName("M")).size());
    fs::remove_all(at);
}

}  // namespace
