// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// MOF and what is stored of it: inheritance, values, mistakes, stored instances.
#include <Pegasus/Common/CIMClass.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include <velmar_embedded/schema/Mof.h>
#include <velmar_embedded/schema/Repository.h>
#include "schema/MofOutline.h"
#include "schema/MofWriter.h"
#include "support/Objects.h"

using namespace Pegasus;
using namespace support;

namespace {

const char* const DECLARATIONS = R"(
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Abstract : boolean = false, Scope(class, association, indication), Flavor(Restricted);
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier In : boolean = true, Scope(parameter);
Qualifier Out : boolean = false, Scope(parameter);
Qualifier Description : string = null, Scope(any), Flavor(Translatable, ToInstance);
Qualifier Values : string[], Scope(property), Flavor(EnableOverride, Restricted);
Qualifier MaxLen : uint32 = 10, Scope(property), Flavor(ToSubclass);
[Abstract, Description("b")]
class B {
    [Key, Description("id")] string Name;
    [Values {"1", "2" "3"}, MaxLen, Description] uint32 Num = 0x1f;
    string Notes[];
    [Description("run"), Values {}, MaxLen] uint32 Run([In(false), Out] sint8 How, B REF Who[]);
};
class M : b { boolean Extra = true; [Description("mine")] string NAME = "default";
    [Description("again")] uint32 RUN(); };
class O : B {};
class L : M {};
class K : O {};
/* an association, with keywords in odd case */
[Association, Description ("one, " "two\n" // and
                           "three")]
CLASS A as $A { [KEY] b ref Left; [key : EnableOverride ToInstance] B REF Right;
    sint8 Fixed[3] = {-1, 0, +1}; [Values {}] real64 R = -1.5e-3; boolean Nothing(); };
class A2 : A {};
class V {
    [Key] string Id = "v";
    boolean Flag; uint8 U8; sint8 S8; uint64 U64; real64 R64; char16 C; string S; datetime D;
    B REF R; string A[]; uint16 N[4];
};)";

std::string shown(const CIMValue& value) {
    return value.isNull() ? "null" : text(value.toString());
}
template <class Element>
std::string qualifiers(const Element& element) {
    std::string all;
    for (Uint32 i = 0; i < element.getQualifierCount(); i++) {
        const CIMConstQualifier one = element.getQualifier(i);
        all += text(one.getName()) + "(" + shown(one.getValue()) + ") ";
    }
    return all;
}
/// A property or method, with its origin at the end, after ^ if it is inherited.
template <class Feature>
std::string shown(const Feature& feature, const std::string& contents) {
    return qualifiers(feature) + cimTypeToString(feature.getType()) + " " +
           text(feature.getName()) + contents + (feature.getPropagated() ? " ^" : " ") +
           text(feature.getClassOrigin()) + "\n";
}
std::string shown(const CIMConstObject& object) {
    std::string all = qualifiers(object) + text(object.getPath()) + "\n";
    for (Uint32 i = 0; i < object.getPropertyCount(); i++) {
        const CIMConstProperty one = object.getProperty(i);
        all += shown(one, (one.isArray() ? "[" + std::to_string(one.getArraySize()) + "]=" : "=") +
                              shown(one.getValue()) + text(one.getReferenceClassName()));
    }
    for (Uint32 i = 0; object.isClass() && i < CIMConstClass(object).getMethodCount(); i++) {
        const CIMConstMethod one = CIMConstClass(object).getMethod(i);
        std::string parameters;
        for (Uint32 j = 0; j < one.getParameterCount(); j++) {
            const CIMConstParameter each = one.getParameter(j);
            parameters += qualifiers(each) + text(each.getReferenceClassName()) + " " +
                          text(each.getName()) + (each.isArray() ? "[]; " : "; ");
        }
        all += shown(one, "(" + parameters + ")");
    }
    return all;
}
std::string shown(const Array<CIMName>& names) {
    std::string all;
    for (Uint32 i = 0; i < names.size(); i++) {
        all += text(names[i]) + " ";
    }
    return all;
}

class Schema : public testing::Test {
 protected:
    const CIMNamespaceName ns{"root/test"};
    velmar_embedded::Repository repository;

    Schema() { EXPECT_EQ(compile(DECLARATIONS), "ok"); }
    std::string compile(const std::string& mof) {
        return outcome([&] { velmar_embedded::compileMofText(repository, ns, mof, "mof"); });
    }
    CIMInstance o(const std::string& name) {
        return CIMInstance("o").addProperty(CIMProperty("name", String(name.c_str())));
    }
};

TEST_F(Schema, ClassesAndWhatTheyInherit) {
    const std::pair<const char*, const char*> classes[] = {
        {"B",
         "Abstract(TRUE) Description(b) B\n"
         "Key(TRUE) Description(id) string Name=null B\n"
         "Values(1 23 ) MaxLen(10) Description(null) uint32 Num=31 B\n"
         "string Notes[0]=null B\n"
         "Description(run) Values() MaxLen(10) uint32 Run(In(FALSE) Out(TRUE)  How; B Who[]; ) "
         "B\n"},
        {"l",
         "Description(b) L\n"
         "Description(mine) Key(TRUE) string NAME=default ^M\n"
         "MaxLen(10) Description(null) uint32 Num=31 ^B\n"
         "string Notes[0]=null ^B\n"
         "boolean Extra=TRUE ^M\n"
         "Description(again) MaxLen(10) uint32 RUN() ^M\n"},
        {"A2",
         "Association(TRUE) Description(one, two\nthree) A2\n"
         "Key(TRUE) reference Left=nullb ^A\n"
         "Key(TRUE) reference Right=nullB ^A\n"
         "sint8 Fixed[3]=-1 0 1  ^A\n"
         "real64 R=-1.5000000000000000e-03 ^A\n"
         "boolean Nothing() ^A\n"},
    };
    for (const auto& [name, expected] : classes) {
        EXPECT_EQ(shown(repository.getClass("ROOT/Test", name)), expected);
    }
    const CIMConstClass a = repository.getClass(ns, "A");
    const char* const flavors[] = {"DisableOverride ToSubclass",
                                   "EnableOverride ToSubclass ToInstance"};
    for (Uint32 i = 0; i < 2; i++) {
        EXPECT_EQ(text(a.getProperty(i).getQualifier(0).getFlavor().toString()), flavors[i]);
    }
    EXPECT_EQ(shown(repository.subclassNames(ns, CIMName(), false)), "B A V ");
    EXPECT_EQ(shown(repository.subclassNames(ns, "b", true)), "M O L K ");
    EXPECT_EQ(shown(repository.lineage(ns, "l")), "L M B ");
    repository.deleteClass(ns, "K");
    EXPECT_EQ(shown(repository.subclassNames(ns, "O", false)), "");
    EXPECT_FALSE(repository.hasClass(ns, "K"));

    // Made by a program: the declaration tells a qualifier's flavor; a value may have another size.
    CIMProperty pair("Pair", Array<Uint8>(2, 1), 2, CIMName(), "Elsewhere", true);
    pair.setValue(Array<Uint8>(3, 1));
    pair.addQualifier(CIMQualifier("Values", Array<String>()));
    CIMClass upper("Upper");
    upper.addQualifier(CIMQualifier("abstract", true)).addQualifier(CIMQualifier("New", true));
    repository.createClass(ns, upper.addProperty(pair));
    repository.createClass(ns, CIMClass("Lower", "Upper"));
    EXPECT_EQ(shown(repository.getClass(ns, "Upper")) + shown(repository.getClass(ns, "Lower")),
              "abstract(TRUE) New(TRUE) Upper\nValues() uint8 Pair[2]=1 1 1  Upper\n"
              "New(TRUE) Lower\nuint8 Pair[2]=1 1 1  ^Upper\n");
}

TEST_F(Schema, ValuesAndMistakes) {
    const struct {
        const char *property, *literal, *outcome;  // the value's text or the mistake
    } values[] = {
        {"Flag", "TRUE", "TRUE"},
        {"Flag", "1", "the value 1 is not a boolean"},
        {"U8", "-1", "the value -1 is out of range for uint8"},
        {"U8", "101b", "5"},
        {"U8", "12abc", "the value 12abc is not a uint8"},
        {"S8", "128", "the value 128 is out of range for sint8"},
        {"S8", "-128", "-128"},
        {"S8", "+017", "15"},
        {"U64", "0XffffFFFFffffFFFF", "18446744073709551615"},
        {"R64", "+.25E+1", "2.5000000000000000e+00"},
        {"C", "'ab'", "the value 'ab' is not a char16"},
        {"A", "{\"a\", NULL}", "the value NULL is not a string"},
        {"A", "{}", ""},
        {"A", "NULL", "(null)"},
        {"A", "\"a\"", "a list in { } is needed for an array of string"},
        {"N", "{2, /**/ 5}", "2 5 "},
        {"D", "\"now\"", "the value \"now\" is not a datetime"},
        {"R", "\"B.N=\"", "the value \"B.N=\" is not a reference"},
        {"S", R"("a\"\\\n" "//\x41\x20AC\53")", "a\"\\\n//A\xE2\x82\xAC+"},
    };
    for (const auto& v : values) {
        const std::string id = "\"" + std::to_string(&v - values) + "\"", name = v.property;
        std::string result =
            compile("instance of V { Id = " + id + "; " + name + " =\n" + v.literal + "; };");
        if (result == "ok") {
            result =
                "mof:2: " + property(repository.getInstance(ns, path("V.Id=" + id)), v.property);
        }
        EXPECT_EQ(result.find(std::string("mof:2: ") + v.outcome), 0u)
            << name << v.literal << result;
    }
    const std::string longName = "class " + std::string(1025, 'x') + " {};";
    const char* const mistakes[][2] = {
        {"class X {\n string S = \"0123456789012345678901234567890123456789\n; };",
         "2: unterminated string \"012345678901234567890123456789012345678..."},
        {"\n/* class X {\n};", "2: unterminated comment"},
        {longName.c_str(), "1: a name has more than 1024 characters: xxxx"},
        {"class X {\n/* \n */ string S = \"\\q\"; };", "3: unknown escape \\q"},
        {"class X { string S = \"\xff\"; };", "1: a literal is not UTF-8"},
        {"class X { string S; }\nclass Y {};", "2: syntax error at class: expected ;"},
        {"class X { uint8 A[0]; };", "1: syntax error at 0: expected an array size"},
        {"class X { text S; };", "1: unknown type text; expected boolean,"},
        {"Qualifier Q : boolean, Scope(all);", "1: syntax error at all: expected a scope"},
        {"class X { B REF M(); };", "1: the method M returns a reference"},
        {"class X { B REF R[]; };", "1: the property R is an array of references"},
        {"\nclass X : Missing {\n};",
         "2: CIM_ERR_INVALID_SUPERCLASS: Missing; a superclass is declared before"},
        {"class X {\n[Key,\nNoSuch] string S; };",
         "3: Could not find declaration for Qualifier named NoSuch; declare it, or include"},
        {"class X { string S;\nuint8 s; };", "2: already exists: property \"s\""},
        {"instance of O {\nNom = \"n\"; };", "2: the class O has no property Nom"},
        {"instance of O {};\n\ninstance\nof O\n{};",
         "3: CIM_ERR_ALREADY_EXISTS: O.Name=\"\"; it is declared before"},
        {"\ninstance of Missing {};", "2: CIM_ERR_INVALID_CLASS: Missing; declare the class"},
        {"instance of V {\nR = $nobody; };", "2: unknown alias $nobody"},
        {"instance of V as $a {};\ninstance of V as $A {};", "2: the alias $A is used twice"},
    };
    for (const auto& [mof, mistake] : mistakes) {
        EXPECT_EQ(compile(mof).find(std::string("mof:") + mistake), 0u) << compile(mof);
    }
    EXPECT_NE(compile("class Early {}; /* class Late {};"), "ok");
    EXPECT_TRUE(repository.hasClass(ns, "Early")) << "what comes before a mistake stays";
    const std::string second = "#pragma locale (\"en_US\")\n#pragma namespace (\"root/second\")\n";
    EXPECT_NE(compile(second + "class X { [Key] string S; };").find("; mind the #pragma namespace"),
              std::string::npos);
    EXPECT_EQ(compile(second + "class X { string S; };"), "ok");
    EXPECT_TRUE(!repository.hasClass(ns, "X") && repository.hasClass("root/second", "X"));
}

TEST_F(Schema, WhatIsMissingIsAskedForOnce) {
    std::string asked, text = "class Base : Deep {}; class Deep {};";
    velmar_embedded::MofOptions options;
    options.declaring = [&](const std::string& name) -> std::optional<velmar_embedded::MofSource> {
        asked += name + " ";
        if (name == "No") {
            return std::nullopt;
        }
        return velmar_embedded::MofSource{"source", text};
    };
    try {
        velmar_embedded::compileMofText(repository, ns, "class X : Base {};", "mof", options);
        ADD_FAILURE() << "Deep is asked for, and its source is open already";
    } catch (const velmar_embedded::MofError& error) {
        EXPECT_EQ(error.mistake(), velmar_embedded::MofMistake::UnknownSuperclass);
        EXPECT_EQ(error.file() + " " + error.name(), "source Deep");
    }
    EXPECT_EQ(asked, "Base Deep ");
    asked.clear();
    const std::string uses = "class Y : Base {}; class Z : Base {}; instance of No {};";
    text = "class Base {};";
    try {
        velmar_embedded::compileMofText(repository, ns, uses, "mof", options);
        ADD_FAILURE() << "there is nothing that declares No";
    } catch (const velmar_embedded::MofError& error) {
        EXPECT_EQ(error.file() + " " + error.name(), "mof No");
    }
    EXPECT_EQ(asked, "Base No ");
}

TEST_F(Schema, FilesIncludeOthersAndAreNamedInMistakes) {
    namespace fs = std::filesystem;
    std::string at = testing::TempDir() + "mofXXXXXX";
    ASSERT_NE(mkdtemp(at.data()), nullptr);
    fs::create_directory(at + "/sub");
    const char* const files[][2] = {
        {"/good.mof",
         "\xEF\xBB\xBF#pragma include (\"sub/outer.mof\")\ninstance of X { R = $B; };"},
        {"/sub/outer.mof", "#pragma include (\"inner.mof\")\n#pragma namespace (\"root/x\")\n"},
        {"/sub/inner.mof", "class X { [Key] O REF R; };\ninstance of O as $b { Name = \"b\"; };"},
        {"/main.mof", "\n#pragma include (\"sub/bad.mof\")"},
        {"/sub/bad.mof", "\n\nclass X"},
        {"/user.mof", "\n#pragma include (\"absent.mof\")"},
        {"/ring.mof", "#pragma include (\"sub/ring.mof\")"},
        {"/sub/ring.mof", "\n#pragma include (\"../ring.mof\")"},
        {"/twice.mof", "#pragma include (\"ok.mof\")\n#pragma include (\"ok.mof\")"},
        {"/note.mof",
         "/* #pragma include (\"a.mof\") */ // #pragma include (\"b.mof\")\n# PRAGMA include"
         "(\"sub/\" \"ring.mof\") instance of pg_Provider { s = \"#pragma include "
         "(\\\"ok.mof\\\")\""},
        {"/far.mof", "#pragma include (\"inner.mof\")\n#pragma include (\"ok.mof\")"},
        {"/later.mof", "#pragma include (\"needs.mof\")"},
        {"/needs.mof", "class Needs : Later {};"},
        {"/zero.mof", "#pragma include (\"/dev/zero\")"},
        {"/ok.mof", "class Twice {};"}};
    for (const auto& [name, mof] : files) {
        std::ofstream(at + name) << mof;
    }
    mkfifo((at + "/pipe.mof").c_str(), 0600);
    std::ofstream(at + "/huge.mof").close();
    fs::resize_file(at + "/huge.mof", 64 * 1024 * 1024 + 1);
    for (int i = 0; i < 65; i++) {  // a chain, and a tree of as many levels
        const std::string next = "#pragma include (\"c" + std::to_string(i + 1) + ".mof\")\n";
        std::ofstream(at + "/c" + std::to_string(i) + ".mof") << next << (i >= 40 ? next : "");
    }
    std::ofstream(at + "/c65.mof").close();
    const std::string outcomes[][2] = {
        {"/good.mof", "ok"},
        {"/twice.mof", "ok"},
        {"/main.mof", at + "/sub/bad.mof:3: syntax error at end of file: expected {"},
        {"/absent.mof", at + "/absent.mof:0: cannot read the file: No such file or directory"},
        {"/sub", at + "/sub:0: cannot read the file: it is not a regular file"},
        {"/pipe.mof", at + "/pipe.mof:0: cannot read the file: it is not a regular file"},
        {"/huge.mof", at + "/huge.mof:0: cannot read the file: it has more than 67108864 bytes"},
        {"/zero.mof", at + "/zero.mof:1: cannot read the included file /dev/zero: it is not a "
                           "regular file"},
        {"/c0.mof", at + "/c64.mof:1: files are included more than 64 deep"},
        {"/c40.mof", at + "/c60.mof:1: more than 10000 files are included, each time counted"},
        {"/user.mof", at + "/user.mof:2: cannot read the included file " + at +
                          "/absent.mof: No such file or directory"},
        {"/ring.mof", at + "/sub/ring.mof:2: the file " + at + "/sub/../ring.mof includes itself"}};
    for (const auto& [name, expected] : outcomes) {
        EXPECT_EQ(outcome([&, &file = name] { compileMof(repository, ns, at + file); }), expected);
    }
    // What has failed, or has gone, is compiled again.
    const auto later = [&] {
        return outcome([&] { compileMof(repository, ns, at + "/later.mof"); });
    };
    EXPECT_NE(later(), "ok");
    EXPECT_EQ(compile("class Later {};"), "ok");
    for (int i = 0; i < 2; i++) {
        EXPECT_EQ(later(), "ok");
        repository.deleteClass(ns, "Needs");
    }
    EXPECT_EQ(velmar_embedded::withIncludes({at + "/note.mof"}, {}),
              (std::vector<std::string>{at + "/note.mof", at + "/sub/ring.mof", at + "/ring.mof"}));
    EXPECT_EQ(velmar_embedded::withIncludes({at + "/far.mof"}, {at, at + "/sub"}).size(), 3u);
    const velmar_embedded::MofOptions options = {{}, {at + "/sub"}, {}};
    EXPECT_EQ(outcome([&] {
                  compileMof(repository, "n", at + "/far.mof", options);
              }).find(at + "/sub/inner.mof:1: Could not find declaration for Qualifier named Key"),
              0u);
    EXPECT_TRUE(velmar_embedded::outlineOfMofFile(at + "/note.mof").registersProviders());
    EXPECT_FALSE(velmar_embedded::outlineOfMofFile(at + "/good.mof").registersProviders());
    // An alias outlives its file, a change of namespace ends with it.
    EXPECT_EQ(repository.instances(ns, "X").size(), 1u);
    fs::remove_all(at);
}

TEST_F(Schema, StoredInstances) {
    CIMInstance given = o("one");
    given.setPath(path("//elsewhere/root/x:o.name=\"two\""));
    given.addQualifier(CIMQualifier("Description", String("q")));
    EXPECT_EQ(text(repository.createInstance(ns, given)), "O.Name=\"one\"");
    given.getProperty(0).setValue(CIMValue(String("edited")));
    const std::string stored =
        "Description(q) O.Name=\"one\"\nstring Name=one ^B\nuint32 Num=31 ^B\nstring Notes[0]=null "
        "^B\n";
    const CIMObjectPath one = path("//h/root/other:O.NAME=\"one\"");
    CIMInstance got = repository.getInstance(ns, one);
    EXPECT_EQ(shown(CIMObject(got)), stored);
    got.getProperty(1).setValue(Uint32(8));  // of a copy
    repository.instances(ns, "O")[0].getProperty(1).setValue(Uint32(9));
    EXPECT_EQ(shown(CIMObject(repository.getInstance(ns, one))), stored);
    repository.modifyInstance(ns, got);
    EXPECT_TRUE(repository.instances(ns, "o")[0].identical(got));
    for (const char* id : {"c", "a", "b"}) {
        repository.createInstance(ns, o(id));
    }
    repository.deleteInstance(ns, path("O.Name=\"a\""));
    repository.createInstance(ns, o("a"));
    std::string order;
    for (Uint32 i = 0; i < 4; i++) {
        order += property(repository.instances(ns, "O")[i], "Name") + " ";
    }
    EXPECT_EQ(order, "one c b a ");
}

TEST_F(Schema, Errors) {
    const CIMObjectPath x = repository.createInstance(ns, o("x")), absent = path("O.Name=\"y\"");
    const auto with = [&](const char* name, const CIMValue& value) {
        return o("y").addProperty(CIMProperty(CIMName(name), value));
    };
    CIMInstance renamed = o("y"), partly = o("x");
    renamed.setPath(x);
    partly.setPath(x);
    partly.addProperty(CIMProperty("Num", Uint32(1))).addProperty(CIMProperty("Notes", true));
    repository.createInstance(ns, CIMInstance("L"));
    repository.createClass(ns, CIMClass("Keyless"));
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"3 root/none", [&] { repository.createClass("root/none", CIMClass("C")); }},
        {"10 C", [&] { repository.createClass(ns, CIMClass("D", "C")); }},
        {"11 l", [&] { repository.createClass(ns, CIMClass("l")); }},
        {"6 C", [&] { repository.getClass(ns, "C"); }},
        {"8 M", [&] { repository.deleteClass(ns, "M"); }},
        {"9 L", [&] { repository.deleteClass(ns, "L"); }},
        {"6 C", [&] { repository.modifyClass(ns, CIMClass("C")); }},
        {"8 M", [&] { repository.modifyClass(ns, CIMClass("M", "B")); }},
        {"9 L", [&] { repository.modifyClass(ns, CIMClass("L", "M")); }},
        {"10 B", [&] { repository.modifyClass(ns, CIMClass("K", "B")); }},
        {"5 C", [&] { repository.subclassNames(ns, "C", true); }},
        {"5 C", [&] { repository.createInstance(ns, CIMInstance("C")); }},
        {"11 O.Name=\"x\"", [&] { repository.createInstance(ns, o("x")); }},
        {"1 attempted to instantiate an abstract class B",
         [&] { repository.createInstance(ns, CIMInstance("b")); }},
        {"1 class has no keys: Keyless",
         [&] { repository.createInstance(ns, CIMInstance("keyless")); }},
        {"4 malformed object name: , reason:\"class name  not a legal CIM name\"",
         [&] { repository.createInstance(ns, CIMInstance("A2")); }},
        {"4 O.No: no such property", [&] { repository.createInstance(ns, with("No", true)); }},
        {"4 O.num: wrong type boolean", [&] { repository.createInstance(ns, with("num", true)); }},
        {"4 O.Notes: wrong type string",
         [&] { repository.createInstance(ns, with("Notes", String())); }},
        {"6 O.Name=\"y\"", [&] { repository.getInstance(ns, absent); }},
        {"4 O.Name=\"x\": keys cannot change", [&] { repository.modifyInstance(ns, renamed); }},
        {"4 O.Notes: wrong type boolean", [&] { repository.modifyInstance(ns, partly); }},
        {"6 O.Name=\"y\"", [&] { repository.deleteInstance(ns, absent); }},
    };
    for (const auto& [error, action] : cases) {
        EXPECT_EQ(outcome(action), error);
    }
    ASSERT_EQ(repository.instances(ns, "O").size(), 1u);
    EXPECT_EQ(property(repository.getInstance(ns, x), "Num"), "31");
    CIMClass changed("K", "O");
    repository.modifyClass(ns, changed.addProperty(CIMProperty("More", Uint8(3))));
    EXPECT_EQ(repository.getClass(ns, "K").findProperty("More"), 3u) << "after the inherited ones";
}

TEST_F(Schema, InheritanceAndWhatAllClassesHoldAreLimited) {
    std::string deep = "class D0 {};", wide =
                                           "Qualifier Key : boolean = false, Scope(property), "
                                           "Flavor(ToSubclass); class W0 {[Key] ";
    for (int i = 1; i <= 65; i++) {
        const std::string n = std::to_string(i);
        deep += "\nclass D" + n + " : D" + std::to_string(i - 1) + " {};";
        wide += "uint8 P" + n + ";";
    }
    EXPECT_EQ(compile(deep), "mof:66: CIM_ERR_FAILED: D65: has more than 64 superclasses");

    velmar_embedded::Repository small(270);
    small.createNamespace(ns);
    const auto add = [&](const std::string& mof) {
        return outcome([&] { velmar_embedded::compileMofText(small, ns, mof, "mof"); });
    };
    EXPECT_EQ(add(wide + "}; class W1 : W0 {}; class W2 : W1 {}; instance of W0 {};"), "ok");
    const std::string full =
        ": all classes and instances together have more than 270 properties, "
        "methods, parameters and qualifiers";
    EXPECT_EQ(add("class W3 : W0 {};"), "mof:1: CIM_ERR_FAILED: W3" + full);
    EXPECT_EQ(add("instance of W1 {};"), "mof:1: CIM_ERR_FAILED: W1" + full);
    small.deleteClass(ns, "W2");
    EXPECT_EQ(add("instance of W1 {};"), "ok");

    // A class of so many properties has an index.
    CIMClass indexed = small.getClass(ns, "W0");
    EXPECT_EQ(indexed.findProperty("p65"), 64u);
    indexed.addProperty(CIMProperty("P66", Uint8(1)));
    indexed.removeProperty(0);
    EXPECT_EQ(indexed.findProperty("P66"), 64u);
    EXPECT_EQ(indexed.findProperty("P1"), PEG_NOT_FOUND);
    indexed.removeProperty(64);
    EXPECT_EQ(indexed.clone().addProperty(CIMProperty("P66", Uint8(1))).findProperty("P66"), 64u);
    EXPECT_THROW(indexed.addProperty(CIMProperty("p2", Uint8(1))), AlreadyExistsException);
}

// What is written as MOF compiles again, to the same.
TEST(MofWriter, WritesWhatCompilesAgain) {
    velmar_embedded::Repository schema;
    const CIMNamespaceName first("root/first"), second("root/second");
    velmar_embedded::compileMofText(schema, first, std::string(DECLARATIONS) + R"(
        instance of V { Id = "a\"b\\c\n\x0007"; Flag = true; U8 = 255; S8 = -128; R64 = 1.5;
            U64 = 18446744073709551615; C = '\\'; S = "\xC3\xA4"; D = "20250101120000.000000+000";
            R = "K.Name=\"k\""; A = {"one, two", ""}; N = {1, 2, 3, 4}; };)",
                                    "first.mof");
    std::string mof;
    for (const char* name : {"B", "M", "A", "V"}) {
        mof += velmar_embedded::mofOf(schema.getClass(first, CIMName(name)));
    }
    const CIMInstance stored = schema.instances(first, CIMName("V"))[0];
    mof += velmar_embedded::mofOf(stored);
    EXPECT_NE(mof.find("sint8 Fixed[3] = {-1, 0, 1};"), std::string::npos) << mof;
    const std::string qualifiers(DECLARATIONS, std::string(DECLARATIONS).find("[Abstract"));
    velmar_embedded::compileMofText(schema, second, qualifiers + mof, "second.mof");
    std::string again;
    for (const char* name : {"B", "M", "A", "V"}) {
        again += velmar_embedded::mofOf(schema.getClass(second, CIMName(name)));
    }
    const CIMInstance read = schema.instances(second, CIMName("V"))[0];
    EXPECT_EQ(again + velmar_embedded::mofOf(read), mof);
    EXPECT_EQ(shown(read.getProperty(read.findProperty("Id")).getValue()), "a\"b\\c\n\x07");
}

}  // namespace
