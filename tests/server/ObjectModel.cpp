// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The object model, where the recorded programs do not ask: sharing and copying, refusals, storage.
#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/HashTable.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <memory>
#include <sstream>

#include "support/Objects.h"

using namespace Pegasus;
using support::outcome;
using support::propertyNames;
using support::text;

namespace {

/// Each of the uses throws an exception with this message in it.
typedef std::vector<std::function<void()>> Uses;
void refused(const char* message, const Uses& uses) {
    for (std::size_t i = 0; i < uses.size(); i++) {
        const std::string actual = outcome(uses[i]);
        EXPECT_NE(actual.find(message), std::string::npos) << actual << " of use " << i;
    }
}
/// Reads a T from each of the words in a text.
template <class T>
Uses reading(const std::string& all) {
    Uses uses;
    std::istringstream words(all);
    for (std::string word; words >> word;) {
        uses.push_back([word] { T{String(word.c_str())}; });
    }
    return uses;
}

TEST(Array, EveryChangeKeepsTheOtherElements) {
    typedef Array<std::shared_ptr<char>> Items;  // misplaced and lost ones show in their counts
    const auto one = std::make_shared<char>('1'), two = std::make_shared<char>('2');
    const std::shared_ptr<char> both[] = {one, two};
    // Of 1 2 1.
    const std::pair<const char*, std::function<void(Items&)>> changes[] = {
        {"1212", [](Items& a) { a.append(a[1]); }},
        {"121121121121", [](Items& a) { a.appendArray(a), a.appendArray(a); }},
        {"11221", [&](Items& a) { a.insert(1, both, 2); }},
        {"12111", [&](Items& a) { a.grow(2, one); }},
        {"1", [](Items& a) { a.remove(1, 99); }},
        {"111", [&](Items& a) { a[1] = one; }},
        {"", [](Items& a) { a.clear(); }}};
    for (const auto& [expected, change] : changes) {
        for (const Uint32 capacity : {0u, 30u}) {  // shared, and alone with room
            Items original(3, one);
            original[1] = two;
            Items a(original);
            a.reserveCapacity(capacity);
            change(a);
            std::string left;
            for (Uint32 i = 0; i < a.size(); i++) {
                left += *a[i];
            }
            EXPECT_EQ(left, expected) << capacity;
            EXPECT_TRUE(original.size() == 3 && original[1] == two);
        }
    }
    EXPECT_EQ(one.use_count() + two.use_count(), 4);
}

TEST(String, Utf8AndItsOwnParts) {
    const String original("aBc");
    String s(original);
    for (const char* bad : {"\x80", "\xc0\xaf", "\xc3", "\xc3(", "\xc3\xc3", "\xe0\x80\xaf",
                            "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xff"}) {
        refused("The text is not valid UTF-8", {[&] { s.assign(bad); }});
    }
    s.append(s);
    s.append(s.getChar16Data() + 1, 2);
    EXPECT_EQ(text(s), "aBcaBcBc");
    s = original;
    s.remove(0, 1);
    s.toLower();
    s.appendPrintf("%s%d%%", std::string(5000, 'x').c_str(), 42);
    EXPECT_EQ(text(s), "bc" + std::string(5000, 'x') + "42%");
    EXPECT_EQ(text(original), "aBc");
    s = "\xf0\x90\x80\x80";
    s[1] = Char16('-');  // what is left is half a pair
    EXPECT_EQ(text(s), "\xef\xbf\xbd-");
    EXPECT_TRUE(String::compareNoCase("a", "AB") < 0 && String::compare("a", "aB") < 0);
    EXPECT_FALSE(String::equalNoCase("[", "{") || original.reverseFind('c') != 2);
    std::ostringstream os;
    os << String("a\xc3\xa9\xe2\x82\xac\0", 7);  // units, not UTF-8
    EXPECT_EQ(os.str(), "a\xe9\\x20AC\\x0000");
}

TEST(CIMDateTime, TextOrderAndRange) {
    for (const char* form :
         {"20240229235959.999999-000", "00000101000000.000000+999", "20240229235959.99****+000",
          "202402292359**.******-060", "2024**********.******+000", "**************.******:000"}) {
        EXPECT_EQ(text(CIMDateTime(form).toString()), form);
    }
    refused(
        "invalid datetime format",
        reading<CIMDateTime>(
            "20240229235959.999999_000 20240229235959.999999:001 20240229235959.9*9999+000 "
            "2024022923595*.******+000 1234****235959.999999:000 20240229235959.9999\xc3\xa9+0"));
    refused("datetime out of range",
            reading<CIMDateTime>(
                "19000229000000.000000+000 20240001000000.000000+000 20240100000000.000000+000 "
                "20240101240000.000000+000 20240101006000.000000+000 20240101000060.000000+000"));
    CIMDateTime emptied(5, true);
    refused("invalid datetime format", {[&] { emptied.set("x"); }});
    EXPECT_EQ(text(emptied.toString()), "00000000000000.000000:000");
    const CIMDateTime day(86400000000, true), second(1000000, true), stamp(0, false);
    const CIMDateTime newYear("20240101000000.000000+060"), later("21010301000000.000000+000");
    refused("datetime out of range", {[&] { second - day; }, [&] { second*(1ULL << 58); }});
    refused("type mismatch", {[&] { (void)(day < stamp); }, [&] { (void)(day - stamp); }});
    EXPECT_EQ(text((newYear - second).toString()), "20231231235959.000000+060");
    EXPECT_EQ(text((newYear + day * 60).toString()), "20240301000000.000000+060");
    EXPECT_EQ(text((later - newYear).toString()), "00028183010000.000000:000");
    const char* const rows[] = {// ? for neither equal nor less
                                "20240101120000.000000-060?20240101125959.999999+000",
                                "20240101000000.000000+060<20231231230000.000001+000",
                                "202402********.******+000<20240301000000.000000+000",
                                "202402********.******+000?20240229235959.999999+000",
                                "202402********.******+000?20240201000000.000000+000"};
    for (const char* row : rows) {
        const CIMDateTime x(String(row, 25)), y(String(row + 26));
        EXPECT_EQ(x == y ? '=' : x < y ? '<' : '?', row[25]) << row;
    }
    setenv("TZ", "TST+3:30", 1);  // 210 minutes west of Greenwich
    tzset();
    const CIMDateTime now = CIMDateTime::getCurrentDateTime(), epoch("19700101000000.000000+000");
    EXPECT_EQ(text(now.toString()).substr(21), "-210");
    const Sint64 hour = 3600000000, since = CIMDateTime::getDifference(epoch, now);
    EXPECT_LT(std::abs(since - Sint64(System::getCurrentTimeUsec())), hour);
}

Array<CIMKeyBinding> unsortedKeys(const char* reference = "root:B.z=0x1,a=\"x\"") {
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("right", reference, CIMKeyBinding::REFERENCE));
    keys.append(CIMKeyBinding("a", "say \"\\\"", CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding("Left", "C", CIMKeyBinding::REFERENCE));
    return keys;
}

TEST(CIMObjectPath, TextAndParts) {
    const char* const texts[][2] = {
        {"//h_1-x.example.com:65535//root:A.", "//h_1-x.example.com:65535/root:A"},
        {"//[fe80::1]:0/root:A.b=tRuE,a=0XfF,", "//[fe80::1]:0/root:A.a=0XfF,b=TRUE"},
        {"L.r=\"//h/ns:M.z=1,b=\\\"N.y=1,a=2\\\"\"", "L.r=\"//h/ns:M.b=\\\"N.a=2,y=1\\\",z=1\""}};
    for (const auto& [read, written] : texts) {
        EXPECT_EQ(text(CIMObjectPath(read)), written);
    }
    refused("hostname", reading<CIMObjectPath>("//h:65536/r:A //h:/r:A //h.1/r:A //h..x/r:A "
                                               "//h.-x/r:A //[::1/r:A //[::x]/r:A //[::1]x/r:A"));
    refused("value", reading<CIMObjectPath>("A.k= A.k=+1 A.k=0x10000000000000000 A.k=\xc5\xb4rue"));
    refused("namespace", reading<CIMObjectPath>("//h/A.k=\":\""));
    refused("valid: a", reading<CIMName>("a` a{ a@ a[ a: a/9 a\xef\xbf\xb0"));
    refused("name: a", reading<CIMNamespaceName>("a` a{ a@ a[ a: a/9 a\xef\xbf\xb0"));

    const std::string keys = "a=\"say \\\"\\\\\\\"\",Left=\"C\",right=\"root:B.a=\\\"x\\\",z=0x1\"";
    CIMObjectPath path("h", CIMNamespaceName(), "A", unsortedKeys());
    const CIMObjectPath copy(path);
    const Array<CIMKeyBinding> bad = unsortedKeys("B.c=x");
    refused("malformed object name",
            {[&] { path.setKeyBindings(bad); }, [&] { path.set("h", "r", "A", bad); },
             [&] { path.setHost("1.2.3"); }, [&] { path.set("-h", "r", "A"); }});
    EXPECT_EQ(text(path), "//h/:A." + keys);
    for (int again = 0; again < 2; again++) {  // shared with the copy, then alone
        path.set(path.getHost(), "root", path.getClassName(), path.getKeyBindings());
        EXPECT_EQ(text(path), "//h/root:A." + keys);
    }
    const String own = System::getHostName();
    System::setHostName("-own host-");
    path.setHost("-own host-");
    System::setHostName(own);
    EXPECT_EQ(text(path), "//-own host-/root:A." + keys);
    EXPECT_EQ(text(copy), "//h/:A." + keys);
}

TEST(CIMObjectPath, EqualityAndHash) {
    // The paths of one row are equal.
    std::vector<std::vector<CIMObjectPath>> rows;
    std::istringstream lines(
        "//H/ROOT:cim_a.K=1,b=2 //h/root:CIM_A.B=2,k=1\n//h/root:CIM_A.b=2,k=2\n"
        "//h/root:CIM_A.b=2,j=1\nA.k=16 A.k=0x10\nA.k=-1 A.k=-0x1\nA.k=18446744073709551615 "
        "A.k=0xFFFFFFFFFFFFFFFF\n"
        "A.k=\"x\"\nA.k=\"X\"\nA.k=\"B.c=1,d=2\" A.k=\"b.D=0x2,C=1\"\nA.k=\"B.c=1,d=3\"\n");
    for (std::string line, word; std::getline(lines, line);) {
        std::istringstream words(line);
        for (rows.emplace_back(); words >> word;) {
            rows.back().push_back(support::path(word));
        }
    }
    // Such keys are not read from a text.
    const auto add = [&](CIMKeyBinding::Type type, std::initializer_list<const char*> values) {
        rows.emplace_back();
        for (const char* value : values) {
            rows.back().push_back(
                CIMObjectPath("", "root", "A", {1, CIMKeyBinding("k", value, type)}));
        }
    };
    add(CIMKeyBinding::BOOLEAN, {"true", "TRUE"});
    add(CIMKeyBinding::NUMERIC, {"+5", "5"});
    add(CIMKeyBinding::NUMERIC, {"1.5"});
    add(CIMKeyBinding::NUMERIC, {"1.50"});
    for (const auto& row : rows) {
        for (const auto& other : rows) {
            SCOPED_TRACE(text(row[0]) + " and " + text(other.back()));
            EXPECT_EQ(row[0] == other.back(), &row == &other);
            EXPECT_EQ(row[0].makeHashCode() == other.back().makeHashCode(), &row == &other);
        }
    }
    const auto key = [](const char* value, CIMKeyBinding::Type type = CIMKeyBinding::NUMERIC) {
        return CIMKeyBinding("k", value, type);
    };
    EXPECT_TRUE(key("-1").equal(Sint8(-1)));
    EXPECT_FALSE(key("-1").equal(Uint32(~0u)) || key("255").equal(Sint8(-1)));
    EXPECT_FALSE(key("1.5x").equal(Real64(1.5)));
    EXPECT_FALSE(key("20240102030405.000000+000", CIMKeyBinding::STRING).equal(CIMDateTime()));
}

// What a server does with the strings, arrays and paths that its threads share.
TEST(CIMObjectPath, SharedPartsAreReadAndCopiedConcurrently) {
    const CIMObjectPath shared("h", "root", "A", unsortedKeys());
    const std::string expected = text(shared);
    support::inThreads(4, [&](int) {
        for (int i = 0; i < 200; i++) {
            CIMObjectPath copy(shared);
            copy.setNameSpace("other");
            copy.set(shared.getHost(), "root", "A", shared.getKeyBindings());
            String host(shared.getHost());
            host[0] = Uint16('z');
            Array<CIMKeyBinding> keys(shared.getKeyBindings());
            keys[0].setValue("new");
            EXPECT_TRUE(copy == shared && text(copy) == expected && text(shared) == expected);
        }
    });
}

TEST(CIMValue, ArraysAndObjects) {
    Array<String> names(2, "a");
    const CIMValue before(names);
    names[1] = "b";
    EXPECT_FALSE(before == CIMValue(names) || before == CIMValue(Array<String>(1, "a")));
    EXPECT_EQ(text(CIMValue(Array<Sint8>(1, 65)).toString()), "65 ");
    CIMInstance instance("A");
    Array<CIMInstance> instances(1, instance);
    const CIMValue array(instances);
    instance.addProperty(CIMProperty("P", Uint8(1)));
    for (int reading = 0; reading < 2; reading++) {
        array.get(instances);
        EXPECT_EQ(instances[0].getPropertyCount(), 0u);
        instances[0].addProperty(CIMProperty("Q", Uint8(1)));
    }
}

// Two keys, a plain property with a default, a method.
CIMClass sampleClass() {
    CIMClass c("VT_A", "VT_Base");
    const CIMValue id(CIMTYPE_STRING, false), end(CIMTYPE_REFERENCE, false);
    c.addQualifier(CIMQualifier("Description", String("d"), CIMFlavor::TOSUBCLASS));
    c.addProperty(CIMProperty("Id", id).addQualifier(CIMQualifier("Key", true)));
    c.addProperty(CIMProperty("Size", Uint32(5), 0, CIMName(), "VT_Base", true));
    c.addProperty(CIMProperty("End", end, 0, "B").addQualifier(CIMQualifier("Key", true)));
    c.addProperty(CIMProperty("Flag", true).addQualifier(CIMQualifier("Key", false)));
    CIMParameter x("X", CIMTYPE_UINT32);
    c.addMethod(
        CIMMethod("Add", CIMTYPE_UINT32).addParameter(x.addQualifier(CIMQualifier("In", true))));
    return c;
}

CIMInstance sampleInstance() {
    CIMInstance i("vt_a");
    i.addProperty(CIMProperty("end", CIMObjectPath("root/b:B.k=TRUE")));
    i.addProperty(CIMProperty("SIZE", Array<String>(1, "<&\">"), 1, CIMName(), "VT_Base", true));
    return i.addProperty(CIMProperty("ID", Uint8(7)));
}

TEST(CIMObject, HandlesShareAndClonesDoNot) {
    CIMInstance original = sampleInstance();
    const CIMInstance clone = original.clone();
    CIMObject object(original);
    original.getProperty(1).setValue(Array<String>(1, "2"));
    object.setPath(CIMObjectPath("root:VT_a"));
    object.addProperty(CIMProperty("New", true));
    EXPECT_EQ(text(original.getPath()) + " " + propertyNames(original),
              "root:VT_a end,SIZE,ID,New");
    EXPECT_EQ(support::property(CIMInstance(object), "size"), "2 ");
    EXPECT_TRUE(clone.identical(sampleInstance()));
    // Each change is seen by whoever compares, and not in what was cloned.
    const std::function<void(CIMClass&)> changes[] = {
        [](CIMClass& c) { c.setPath(CIMObjectPath("root:vt_a")); },
        [](CIMClass& c) { c.getQualifier(0).setValue(String("e")); },
        [](CIMClass& c) { c.getProperty(1).setValue(Uint32(9)); },
        [](CIMClass& c) { c.getProperty(1).setClassOrigin("VT_B"); },
        [](CIMClass& c) { c.getProperty(0).getQualifier(0).setValue(false); },
        [](CIMClass& c) {
            const CIMProperty first = c.getProperty(0);
            c.removeProperty(0);
            c.addProperty(first);
        },
        [](CIMClass& c) { c.getMethod(0).setClassOrigin("VT_B"); },
        [](CIMClass& c) { c.getMethod(0).getParameter(0).getQualifier(0).setValue(false); }};
    for (const auto& change : changes) {
        const CIMClass untouched = sampleClass();
        CIMClass changed = untouched.clone();
        change(changed);
        EXPECT_FALSE(changed.identical(untouched)) << "change " << &change - changes;
        EXPECT_TRUE(untouched.identical(sampleClass())) << "change " << &change - changes;
    }
}

TEST(CIMObject, KeysInstancesAndText) {
    CIMClass c = sampleClass();
    CIMInstance i = sampleInstance();
    EXPECT_EQ(
        text(CIMObject(i).toString()),
        "<INSTANCE CLASSNAME=\"vt_a\"><PROPERTY.REFERENCE NAME=\"end\"><VALUE.REFERENCE>"
        "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
        "NAME=\"b\"/></LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"B\"><KEYBINDING "
        "NAME=\"k\"><KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING>"
        "</INSTANCENAME></LOCALINSTANCEPATH></VALUE.REFERENCE></PROPERTY.REFERENCE>"
        "<PROPERTY.ARRAY NAME=\"SIZE\" TYPE=\"string\" ARRAYSIZE=\"1\" CLASSORIGIN=\"VT_Base\" "
        "PROPAGATED=\"true\"><VALUE.ARRAY><VALUE>&lt;&amp;&quot;&gt;</VALUE></VALUE.ARRAY>"
        "</PROPERTY.ARRAY><PROPERTY NAME=\"ID\" TYPE=\"uint8\"><VALUE>7</VALUE></PROPERTY>"
        "</INSTANCE>");
    i.setPath(CIMObjectPath("//h/root:VT_a.other=1"));
    EXPECT_EQ(text(i.buildPath(c)), "VT_a.End=\"root/b:B.k=TRUE\",Id=7");
    const CIMPropertyList everything;
    Array<CIMName> names(1, "size");
    names.append("ID");
    CIMInstance all = c.buildInstance(true, true, everything);
    all.instanceFilter(true, true, everything);
    EXPECT_EQ(propertyNames(all), "Id,Size,End,Flag");
    EXPECT_EQ(all.getQualifierCount() + all.getProperty(0).getQualifierCount(), 2u);
    EXPECT_FALSE(all.getProperty(1).getClassOrigin().isNull());
    all.getProperty(1).setValue(Uint32(6));
    all.instanceFilter(false, false, names);
    for (CIMInstance& one : std::vector<CIMInstance>{all, c.buildInstance(false, false, names)}) {
        EXPECT_EQ(propertyNames(one), "Id,Size");
        EXPECT_EQ(one.getQualifierCount() + one.getProperty(0).getQualifierCount(), 0u);
        EXPECT_TRUE(one.getProperty(1).getClassOrigin().isNull());
    }
    EXPECT_TRUE(c.identical(sampleClass())) << "shared with its instances";
    c.getProperty(0).removeQualifier(0);  // shared with the class, which has one key less
    c.getKeyNames(names);
    EXPECT_EQ(text(names[0]) + std::to_string(names.size()), "End1");
    c.addQualifier(CIMQualifier("association", true));
    c.addQualifier(CIMQualifier("Abstract", String("TRUE")));  // no boolean
    EXPECT_TRUE(c.isAssociation() && !c.isAbstract());
}

TEST(CIMObject, Refusals) {
    CIMClass c = sampleClass();
    CIMInstance i = sampleInstance(), sized("A");
    const CIMObject object(i), cimClass(c);
    const CIMValue reference((CIMObjectPath("B")));
    CIMMethod method = c.getMethod(c.findMethod("ADD"));
    CIMProperty id = c.getProperty(c.findProperty("ID")), owned("P", Uint8(1));
    sized.addProperty(CIMProperty("Id", Array<String>(2), 2)).addProperty(owned);
    sized.addProperty(CIMProperty("End", reference));
    CIMInstance("B").addProperty(owned);
    OperationContext context;
    context.insert(IdentityContainer("a"));
    refused("already exists", {[&] { c.addProperty(CIMProperty("size", Uint8(1))); },
                               [&] { method.addParameter(CIMParameter("x", CIMTYPE_STRING)); },
                               [&] { id.addQualifier(CIMQualifier("KEY", true)); },
                               [&] { context.insert(IdentityContainer("b")); }});
    refused("index out of bounds", {[&] { c.getProperty(4); }, [] { CIMPropertyList()[0]; }});
    refused(
        "type mismatch",
        {[] { CIMProperty("P", Array<CIMObjectPath>()); }, [] { CIMProperty("P", true, 0, "B"); },
         [] { CIMProperty("P", Array<Uint8>(2), 3); }, [&] { id.setValue(Array<String>()); },
         [&] { c.addProperty(CIMProperty("P", reference)); }, [&] { sized.buildPath(c); },
         [&] { i.setPath(CIMObjectPath("B.k=1")); }});
    refused("uninitialized object",
            {[&] { i.setPath(CIMObjectPath()); }, [&] { i.identical(CIMInstance()); },
             [] { CIMInstance{CIMName()}; }, [] { CIMProperty(CIMName(), true); },
             [] { CIMParamValue("", true); }, [] { CIMPropertyList(Array<CIMName>(1)); },
             [] { CIMValue{Array<CIMInstance>(2)}; }});
    refused("dynamic cast failed", {[&] { CIMClass{object}; }, [&] { CIMInstance{cimClass}; },
                                    [] { IdentityContainer{TimeoutContainer(1)}; }});
    refused("a property cannot be renamed",
            {[&] { owned.setName("Q"); }, [&] { sized.clone().getProperty(1).setName("Q"); }});
    EXPECT_TRUE(c.identical(sampleClass()) && i.identical(sampleInstance()));
    owned.setName("p");  // only its case changes
    sized.removeProperty(1);
    owned.setName("Q");
    sized.getProperty(0).setValue(CIMValue(CIMTYPE_STRING, true));  // not of the declared size
    EXPECT_TRUE(sized.clone().identical(sized));
    const OperationContext copy(context);
    context.set(IdentityContainer("b"));
    EXPECT_EQ(text(IdentityContainer(copy.get(IdentityContainer::NAME)).getUserName()), "a");
}

// Keys are looked for in the chain of their hash code only.
TEST(HashTable, ChainsInOrderOfInsertion) {
    typedef HashTable<String, Uint32, EqualNoCaseFunc, HashFunc<String>> Table;
    const auto show = [](const Table& table) {
        std::string all = std::to_string(table.size());
        for (Table::Iterator i = table.start(); i; i++) {
            all += " " + text(i.key()) + std::to_string(i.value());
        }
        return all;
    };
    Table table(4), odd(31), one(0);  // the last still has a chain
    for (const char* key : {"g", "b", "f", "k", "D"}) {
        EXPECT_TRUE(table.insert(key, 1) && odd.insert(key, 1) && one.insert(key, 1));
    }
    Table copy(table);
    EXPECT_FALSE(table.insert("d", 2) || odd.contains("d") || !one.contains("d"));
    EXPECT_TRUE(table.remove("B") && !table.remove("b") && table.insert("b", 2));
    copy.remove("D");
    EXPECT_EQ(show(table), "5 D1 f1 b2 g1 k1");
    EXPECT_EQ(show(copy), "4 b1 f1 g1 k1");
}

}  // namespace
