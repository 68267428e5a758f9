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
#include <thread>
#include <utility>
#include <vector>

#include "support/Objects.h"

using namespace Pegasus;
using support::outcome;
using support::propertyNames;
using support::text;

namespace {

/// Uses that throw an exception whose message begins so.
typedef std::pair<const char*, std::vector<std::function<void()>>> Refused;

void expectRefusals(const std::vector<Refused>& all) {
    for (const auto& [message, uses] : all) {
        for (std::size_t i = 0; i < uses.size(); i++) {
            EXPECT_EQ(outcome(uses[i]).find(message), 0u) << message << ", use " << i;
        }
    }
}

TEST(Array, EveryChangeKeepsTheOtherElements) {
    typedef Array<std::shared_ptr<char>> Items;  // misplaced and lost ones show in their counts
    const auto one = std::make_shared<char>('1'), two = std::make_shared<char>('2');
    const std::pair<const char*, std::function<void(Items&)>> changes[] = {
        // of 1 2 1
        {"1212", [](Items& a) { a.append(a[1]); }},
        {"121121", [](Items& a) { a.appendArray(a); }},
        {"1221", [&](Items& a) { a.insert(1, two); }},
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
            EXPECT_EQ(original.size(), 3u);
            EXPECT_EQ(original[1], two);
        }
    }
    EXPECT_EQ(one.use_count() + two.use_count(), 2);
}

TEST(String, Utf8AndItsOwnParts) {
    for (const char* whole : {"\x7f\xc2\x80\xdf\xbf", "\xe0\xa0\x80\xed\x9f\xbf\xef\xbf\xbf",
                              "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"}) {
        EXPECT_EQ(text(String(whole)), whole);
    }
    const String original("aBc");
    String s(original);
    for (const char* bad : {"\x80", "\xc0\xaf", "\xc3", "\xc3(", "\xc3\xc3", "\xe0\x80\xaf",
                            "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xff"}) {
        expectRefusals({{"The text is not valid UTF-8", {[&] { s.assign(bad); }}}});
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
    EXPECT_EQ(original.reverseFind('c'), 2u);
    s = "\xf0\x90\x80\x80";
    s[1] = Char16('b');  // what is left is half a pair
    EXPECT_EQ(text(s),
              "\xef\xbf\xbd"
              "b");
    EXPECT_LT(String::compareNoCase("a", "AB"), 0);
    EXPECT_LT(String::compare("a", "aB"), 0);
    EXPECT_FALSE(String::equalNoCase("[", "{"));  // 32 apart, as letters are
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
    const auto reading = [](std::initializer_list<const char*> forms) {
        std::vector<std::function<void()>> uses;
        for (const char* form : forms) {
            uses.push_back([form] { CIMDateTime{form}; });
        }
        return uses;
    };
    const CIMDateTime day(86400000000, true), second(1000000, true), stamp(0, false);
    expectRefusals(
        {{"invalid datetime format",
          reading({"20240229235959.999999 000", "20240229235959.999999:001",
                   "20240229235959.9*9999+000", "2024022923595*.******+000",
                   "1234****235959.999999:000", "20240229235959.99999\xc3\xa9+00"})},
         {"datetime out of range",
          reading({"19000229000000.000000+000", "20240001000000.000000+000",
                   "20240100000000.000000+000", "20240101240000.000000+000",
                   "20240101006000.000000+000", "20240101000060.000000+000"})},
         {"datetime out of range", {[&] { second - day; }, [&] { day * ~0ULL; }}},
         {"type mismatch", {[&] { (void)(day < stamp); }, [&] { (void)(day - stamp); }}}});
    const CIMDateTime newYear("20240101000000.000000+060");
    const std::pair<CIMDateTime, const char*> results[] = {
        {newYear - second, "20231231235959.000000+060"},
        {newYear + day * 60, "20240301000000.000000+060"},
        {CIMDateTime("21000301000000.000000+000") - newYear, "00027818010000.000000:000"}};
    for (const auto& [result, expected] : results) {
        EXPECT_EQ(text(result.toString()), expected);
    }
    const char* const rows[][3] = {// ? for neither equal nor less
                                   {"20240101120000.000000-060", "?", "20240101125959.999999+000"},
                                   {"20240101000000.000000+060", "<", "20231231230000.000001+000"},
                                   {"202402********.******+000", "<", "20240301000000.000000+000"},
                                   {"202402********.******+000", "?", "20240229235959.999999+000"},
                                   {"202402********.******+000", "?", "20240201000000.000000+000"}};
    for (const auto& [first, order, other] : rows) {
        const CIMDateTime x(first), y(other);
        EXPECT_STREQ(x == y ? "=" : x < y ? "<" : "?", order) << first << " and " << other;
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
        {"//[fe80::1]:0/root:A.k=18446744073709551615", nullptr},
        {"A.b=tRuE,a=0XfF,", "A.a=0XfF,b=TRUE"},
        {"L.r=\"//h/ns:M.z=1,b=\\\"N.y=1,a=2\\\"\"", "L.r=\"//h/ns:M.b=\\\"N.a=2,y=1\\\",z=1\""}};
    for (const auto& [read, written] : texts) {
        EXPECT_EQ(text(CIMObjectPath(read)), written ? written : read);
    }
    const std::pair<const char*, std::vector<const char*>> malformed[] = {
        {"hostname",
         {"//h:65536/r:A", "//h:/r:A", "//h.1/r:A", "//h..x/r:A", "//h.-x/r:A", "//[::1/r:A",
          "//[::x]/r:A", "//[::1]x/r:A"}},
        {"namespace", {"//h/A.k=\":\"", "ro ot:A"}},
        {"value", {"A.k=", "A.k=+1", "A.k=0x10000000000000000", "A.k=\xc5\xb4rue"}},
        {"quote", {"A.k=\"x"}}};
    for (const auto& [reason, bad] : malformed) {
        for (const char* each : bad) {
            const std::string error = outcome([&] { CIMObjectPath{each}; });
            EXPECT_NE(error.rfind(reason), std::string::npos) << each << ": " << error;
        }
    }
    for (const char* name : {"a`", "a{", "a@", "a[", "a:", "a/9", "\xef\xbf\xb0"}) {
        EXPECT_FALSE(CIMName::legal(name) || CIMNamespaceName::legal(name)) << name;
    }

    const std::string keys = "a=\"say \\\"\\\\\\\"\",Left=\"C\",right=\"root:B.a=\\\"x\\\",z=0x1\"";
    CIMObjectPath path("h", CIMNamespaceName(), "A", unsortedKeys());
    const CIMObjectPath copy(path);
    const Array<CIMKeyBinding> bad = unsortedKeys("B.c=x");
    expectRefusals({{"malformed object name",
                     {[&] { path.setKeyBindings(bad); }, [&] { path.set("h", "r", "A", bad); },
                      [&] { path.setHost("1.2.3"); }, [&] { path.set("-h", "r", "A"); }}}});
    EXPECT_EQ(text(path), "//h/:A." + keys);
    path.set(path.getHost(), "root", path.getClassName(), path.getKeyBindings());
    const String own = System::getHostName();
    System::setHostName("-own host-");
    path.setHost("-own host-");
    System::setHostName(own);
    EXPECT_EQ(text(path), "//-own host-/root:A." + keys);
    EXPECT_EQ(text(copy), "//h/:A." + keys);
}

TEST(CIMObjectPath, EqualityAndHash) {
    const auto keyed = [](const char* value, CIMKeyBinding::Type type) {
        return CIMObjectPath("", "root", "A", {1, CIMKeyBinding("k", value, type)});
    };
    // Those of one row are equal. The first rows have keys that are not read from a text.
    std::vector<std::vector<CIMObjectPath>> rows = {
        {keyed("true", CIMKeyBinding::BOOLEAN), keyed("TRUE", CIMKeyBinding::BOOLEAN)},
        {keyed("+5", CIMKeyBinding::NUMERIC), keyed("5", CIMKeyBinding::NUMERIC)},
        {keyed("1.5", CIMKeyBinding::NUMERIC)},
        {keyed("1.50", CIMKeyBinding::NUMERIC)}};
    for (const std::vector<const char*>& texts :
         std::vector<std::vector<const char*>>{{"//H/ROOT:cim_a.K=1,b=2", "//h/root:CIM_A.B=2,k=1"},
                                               {"//h/root:CIM_A.b=2,k=2"},
                                               {"//h/root:CIM_A.b=2,j=1"},
                                               {"A.k=16", "A.k=0x10"},
                                               {"A.k=-1", "A.k=-0x1"},
                                               {"A.k=\"x\""},
                                               {"A.k=\"X\""},
                                               {"A.k=\"B.c=1,d=2\"", "A.k=\"b.D=0x2,C=1\""},
                                               {"A.k=\"B.c=1,d=3\""},
                                               {"A.k=18446744073709551615"}}) {
        rows.emplace_back(texts.begin(), texts.end());
    }
    for (const auto& row : rows) {
        for (const auto& other : rows) {
            SCOPED_TRACE(text(row[0]) + " and " + text(other.back()));
            EXPECT_EQ(row[0] == other.back(), &row == &other);
            EXPECT_EQ(row[0].makeHashCode() == other.back().makeHashCode(), &row == &other);
        }
    }
    CIMKeyBinding minusOne("k", "-1", CIMKeyBinding::NUMERIC),
        real("k", "1.5x", CIMKeyBinding::NUMERIC),
        stamp("k", "20240102030405.000000+000", CIMKeyBinding::STRING);
    EXPECT_TRUE(minusOne.equal(Sint8(-1)));
    EXPECT_FALSE(minusOne.equal(Uint32(~0u)) || real.equal(Real64(1.5)) ||
                 stamp.equal(CIMDateTime()));
    minusOne.setValue("255");
    EXPECT_FALSE(minusOne.equal(Sint8(-1)));
}

// What a server does with the strings, arrays and paths that its threads share.
TEST(CIMObjectPath, SharedPartsAreReadAndCopiedConcurrently) {
    const CIMObjectPath shared("h", "root", "A", unsortedKeys());
    const std::string expected = text(shared);
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (int& count : good) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; i++) {
                CIMObjectPath copy(shared);
                copy.setNameSpace("other");
                copy.set(shared.getHost(), "root", "A", shared.getKeyBindings());
                String host(shared.getHost());
                host[0] = Uint16('z');
                Array<CIMKeyBinding> keys(shared.getKeyBindings());
                keys[0].setValue("new");
                count += copy == shared && text(copy) == expected && text(shared) == expected;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, std::vector<int>(4, 200));
}

TEST(CIMValue, ArraysAndObjects) {
    Array<String> names(2, "a");
    const CIMValue before(names);
    names[1] = "b";
    EXPECT_FALSE(before == CIMValue(names) || before == CIMValue(Array<String>(1, "a")));
    EXPECT_EQ(text(CIMValue(Array<Sint8>(1, 65)).toString()), "65 ");
    CIMInstance instance("A");
    Array<CIMInstance> instances(1, instance);
    const CIMValue array(instances), object((CIMObject(instance)));
    instance.addProperty(CIMProperty("P", Uint8(1)));
    CIMObject read;
    for (int reading = 0; reading < 2; reading++) {
        array.get(instances);
        object.get(read);
        EXPECT_EQ(instances[0].getPropertyCount() + read.getPropertyCount(), 0u);
        instances[0].addProperty(CIMProperty("Q", Uint8(1)));
        read.addProperty(CIMProperty("Q", Uint8(1)));
    }
}

// Two keys, a plain property with a default, a method.
CIMClass sampleClass() {
    CIMClass c("VT_A", "VT_Base");
    const CIMQualifier key("Key", true);
    c.addQualifier(CIMQualifier("Description", String("d"), CIMFlavor::TOSUBCLASS));
    c.addProperty(CIMProperty("Id", CIMValue(CIMTYPE_STRING, false)).addQualifier(key.clone()));
    c.addProperty(CIMProperty("Size", Uint32(5), 0, CIMName(), "VT_Base", true));
    c.addProperty(
        CIMProperty("End", CIMValue(CIMTYPE_REFERENCE, false), 0, "B").addQualifier(key.clone()));
    c.addProperty(CIMProperty("Flag", true).addQualifier(CIMQualifier("Key", false)));
    c.addMethod(CIMMethod("Add", CIMTYPE_UINT32).addParameter(CIMParameter("X", CIMTYPE_UINT32)));
    return c;
}

CIMInstance sampleInstance() {
    CIMInstance i("vt_a");
    i.addProperty(CIMProperty("end", CIMObjectPath("root/b:B.k=\"C.d=TRUE\"")));
    i.addProperty(CIMProperty("SIZE", String("<&\">")));
    i.addProperty(CIMProperty("ID", Uint8(7)));
    return i;
}

TEST(CIMObject, HandlesShareAndClonesDoNot) {
    CIMInstance original = sampleInstance();
    const CIMInstance clone = original.clone();
    CIMObject object(original);
    original.getProperty(1).setValue(String("2"));
    object.setPath(CIMObjectPath("root:VT_a"));
    object.addProperty(CIMProperty("New", true));
    EXPECT_EQ(text(original.getPath()) + " " + propertyNames(original) + " " +
                  support::property(CIMInstance(object), "size"),
              "root:VT_a end,SIZE,ID,New 2");
    EXPECT_TRUE(clone.identical(sampleInstance()));
    // Each change is seen by whoever compares, and not in what was cloned.
    const std::function<void(CIMClass&)> changes[] = {
        [](CIMClass& c) { c.setPath(CIMObjectPath("root:vt_a")); },
        [](CIMClass& c) { c.addQualifier(CIMQualifier("Q", true)); },
        [](CIMClass& c) { c.getProperty(1).setValue(Uint32(9)); },
        [](CIMClass& c) { c.getProperty(1).setClassOrigin("VT_B"); },
        [](CIMClass& c) { c.getProperty(0).removeQualifier(0); },
        [](CIMClass& c) {
            const CIMProperty first = c.getProperty(0);
            c.removeProperty(0);
            c.addProperty(first);
        },
        [](CIMClass& c) { c.getMethod(0).setClassOrigin("VT_B"); },
        [](CIMClass& c) { c.getMethod(0).getParameter(0).addQualifier(CIMQualifier("In", true)); }};
    for (const auto& change : changes) {
        const CIMClass untouched = sampleClass();
        CIMClass changed = untouched.clone();
        change(changed);
        EXPECT_FALSE(changed.identical(untouched)) << "change " << &change - changes;
        EXPECT_TRUE(untouched.identical(sampleClass())) << "change " << &change - changes;
    }
    EXPECT_FALSE(CIMObject(CIMClass("A")).identical(CIMObject(CIMInstance("A"))));
}

TEST(CIMObject, KeysInstancesAndText) {
    CIMClass c = sampleClass();
    CIMInstance i = sampleInstance();
    EXPECT_EQ(text(CIMObject(i).toString()),
              "<INSTANCE CLASSNAME=\"vt_a\"><PROPERTY.REFERENCE NAME=\"end\"><VALUE.REFERENCE>"
              "<LOCALINSTANCEPATH><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
              "NAME=\"b\"/></LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"B\"><KEYBINDING "
              "NAME=\"k\"><VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"d\">"
              "<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING></INSTANCENAME>"
              "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH>"
              "</VALUE.REFERENCE></PROPERTY.REFERENCE><PROPERTY NAME=\"SIZE\" TYPE=\"string\">"
              "<VALUE>&lt;&amp;&quot;&gt;</VALUE></PROPERTY><PROPERTY NAME=\"ID\" TYPE=\"uint8\">"
              "<VALUE>7</VALUE></PROPERTY></INSTANCE>");
    i.setPath(CIMObjectPath("//h/root:VT_a.other=1"));
    EXPECT_EQ(text(i.buildPath(c)), "VT_a.End=\"root/b:B.k=\\\"C.d=TRUE\\\"\",Id=7");
    const CIMPropertyList everything;
    Array<CIMName> names(1, "size");
    names.append("ID");
    CIMInstance all = c.buildInstance(true, true, everything);
    all.instanceFilter(true, true, everything);
    EXPECT_EQ(propertyNames(all) + text(all.getProperty(1).getClassOrigin()),
              "Id,Size,End,FlagVT_Base");
    EXPECT_EQ(all.getQualifierCount() + all.getProperty(0).getQualifierCount(), 2u);
    all.getProperty(1).setValue(Uint32(6));
    all.instanceFilter(false, false, names);
    const CIMInstance built = c.buildInstance(false, false, names);
    for (const CIMConstInstance& one : {CIMConstInstance(all), CIMConstInstance(built)}) {
        EXPECT_EQ(propertyNames(one), "Id,Size");
        EXPECT_EQ(one.getQualifierCount() + one.getProperty(0).getQualifierCount(), 0u);
        EXPECT_TRUE(one.getProperty(1).getClassOrigin().isNull());
    }
    EXPECT_EQ(support::property(built, "size"), "5") << "shared with the class";
    EXPECT_TRUE(c.identical(sampleClass()));
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
    expectRefusals(
        {{"already exists",
          {[&] { c.addProperty(CIMProperty("size", Uint8(1))); },
           [&] { method.addParameter(CIMParameter("x", CIMTYPE_STRING)); },
           [&] { id.addQualifier(CIMQualifier("KEY", true)); }}},
         {"index out of bounds", {[&] { c.getProperty(4); }, [] { CIMPropertyList()[0]; }}},
         {"type mismatch",
          {[] { CIMProperty("P", Array<CIMObjectPath>()); }, [] { CIMProperty("P", true, 0, "B"); },
           [] { CIMProperty("P", Array<Uint8>(2), 3); }, [&] { id.setValue(Array<String>()); },
           [&] { c.addProperty(CIMProperty("P", reference)); }, [&] { sized.buildPath(c); },
           [&] { i.setPath(CIMObjectPath("B.k=1")); }}},
         {"uninitialized object",
          {[&] { i.setPath(CIMObjectPath()); }, [&] { i.identical(CIMInstance()); },
           [&] { i.addProperty(CIMProperty()); }, [&] { i.buildPath(CIMClass()); },
           [] { CIMInstance{CIMName()}; }, [] { CIMProperty(CIMName(), true); },
           [] { CIMObject(CIMInstance()).toString(); }, [] { CIMParamValue("", true); },
           [] { CIMPropertyList(Array<CIMName>(1)); }, [] { CIMValue{Array<CIMInstance>(2)}; }}},
         {"dynamic cast failed",
          {[&] { CIMClass{object}; }, [&] { CIMInstance{cimClass}; },
           [] { IdentityContainer{TimeoutContainer(1)}; }}},
         {"a property cannot be renamed",
          {[&] { owned.setName("Q"); }, [&] { sized.clone().getProperty(1).setName("Q"); }}},
         {"object already exists", {[&] { context.insert(IdentityContainer("b")); }}},
         {"object not found", {[&] { context.set(TimeoutContainer(1)); }}}});
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
    Uint32 value = 7, *stored = &value;
    EXPECT_FALSE(table.lookup("x", value) || table.lookupReference("x", stored));
    EXPECT_TRUE(table.lookupReference("f", stored));
    *stored = 3;
    EXPECT_TRUE(table.lookup("f", value));
    EXPECT_EQ(value, 3u);
}

}  // namespace
