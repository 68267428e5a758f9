// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Helpers that need no server: object model, property moves, strings.
#include "Common/Util.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "support/Objects.h"

using namespace Pegasus;
using namespace velmar_remote;
using support::instanceAt;
using support::path;
using support::property;
using support::propertyNames;
using support::text;

namespace {

CIMKeyBinding key(const char* name, const char* value) {
    return CIMKeyBinding(CIMName(name), String(value), CIMKeyBinding::STRING);
}

std::string asText(const CIMValue& value) {
    return value.isNull()
               ? "(null)"
               : std::string(cimTypeToString(value.getType())) + ":" + text(value.toString());
}

std::vector<std::string> split(const char* s, char delim) {
    const Array<String> pieces = splitString(s, delim);
    std::vector<std::string> result;
    for (Uint32 i = 0; i < pieces.size(); i++) {
        result.push_back(text(pieces[i]));
    }
    return result;
}

}  // namespace

TEST(Localize, KeepsClassAndKeysOnly) {
    EXPECT_EQ(text(localize(path("//h/root/velmar_remote:A.b=2,a=\"x\""))), "A.a=\"x\",b=2");
    EXPECT_EQ(text(localize(path("//h/root/velmar_remote:A"))), "A");
    EXPECT_EQ(text(localize(CIMObjectPath())), "");
    // Reference keys keep their own host and namespace: they are part of the key.
    EXPECT_EQ(text(localize(path("root/x:A.r=\"//h/root/y:B.k=1\""))), "A.r=\"//h/root/y:B.k=1\"");
}

TEST(Localize, LeavesItsInputAlone) {
    const CIMObjectPath given = path("//h/root/velmar_remote:A.r=\"root/y:B.k=1\",s=\"t\"");
    const CIMKeyBinding* const bindings = given.getKeyBindings().getData();
    const CIMObjectPath local = localize(given);
    EXPECT_EQ(text(given), "//h/root/velmar_remote:A.r=\"root/y:B.k=1\",s=\"t\"");
    // Storage of its own: a path's bindings may be rewritten when another path is given them.
    EXPECT_NE(local.getKeyBindings().getData(), bindings);
}

TEST(FindKey, FirstOfThatNameAsString) {
    Array<CIMKeyBinding> keys;
    EXPECT_EQ(asText(findKey(keys, "Name")), "(null)");
    keys.append(CIMKeyBinding(CIMName("name"), String("7"), CIMKeyBinding::NUMERIC));
    keys.append(key("NAME", "second"));
    EXPECT_EQ(asText(findKey(keys, "Name")), "string:7");
    EXPECT_EQ(asText(findKey(keys, "Other")), "(null)");
}

TEST(GetValue, KeyBeforePropertyBeforeNull) {
    CIMInstance inst = instanceAt("A.Name=7");
    support::add(inst, "Name", CIMValue(Uint32(9)));
    support::add(inst, "Size", CIMValue(Uint32(3)));
    support::add(inst, "Empty", CIMValue(CIMTYPE_UINT16, false));
    EXPECT_EQ(asText(getValue(inst, "name")), "string:7");
    EXPECT_EQ(asText(getValue(inst, "SIZE")), "uint32:3");
    EXPECT_EQ(getValue(inst, "Empty").getType(), CIMTYPE_UINT16);
    EXPECT_TRUE(getValue(inst, "Empty").isNull());
    EXPECT_EQ(asText(getValue(inst, "None")), "(null)");
    EXPECT_EQ(asText(getValue(CIMInstance(), "Name")), "(null)");
}

TEST(GetCharPtr, OwnedTextOrException) {
    CIMInstance inst = instanceAt("A.K=7");
    support::add(inst, "Text", "gr\xc3\xbc\xc3\x9f");
    support::add(inst, "Null", CIMValue(CIMTYPE_STRING, false));
    support::add(inst, "Number", CIMValue(Uint32(3)));
    support::add(inst, "List", CIMValue(Array<String>(1, String("x"))));
    const struct {
        const char* name;
        const char* expected;
    } cases[] = {{"Text", "gr\xc3\xbc\xc3\x9f"}, {"K", "7"}, {"Null", ""}, {"Absent", ""}};
    for (const auto& c : cases) {
        char* got = getCharPtr(inst, c.name);
        EXPECT_STREQ(got, c.expected) << c.name;
        std::free(got);
    }
    EXPECT_THROW(getCharPtr(inst, "Number"), TypeMismatchException);
    EXPECT_THROW(getCharPtr(inst, "List"), TypeMismatchException);
    EXPECT_THROW(getCharPtr(inst, "not a name"), InvalidNameException);
}

TEST(FindParam, ExactNameFirstMatch) {
    Array<CIMParamValue> params;
    EXPECT_EQ(asText(findParam(params, "X")), "(null)");
    params.append(CIMParamValue("X", CIMValue(Uint8(1))));
    params.append(CIMParamValue("X", CIMValue(Uint8(2))));
    EXPECT_EQ(asText(findParam(params, "X")), "uint8:1");
    EXPECT_EQ(asText(findParam(params, "x")), "(null)");
}

TEST(FindClass, EmptyListMatchesEverything) {
    Array<CIMClass> classes;
    EXPECT_TRUE(findClass(classes, "Any"));
    EXPECT_TRUE(findClass(classes, CIMName()));
    classes.append(CIMClass(CIMName("A")));
    classes.append(CIMClass(CIMName("B")));
    EXPECT_TRUE(findClass(classes, "b"));
    EXPECT_FALSE(findClass(classes, "C"));
}

TEST(Filters, ClassPathsAndRoles) {
    EXPECT_TRUE(isClass(path("//h/root/x:A")));
    EXPECT_FALSE(isClass(path("A.k=1")));
    EXPECT_TRUE(emptyOrEqual("", "Left"));
    EXPECT_TRUE(emptyOrEqual("Left", "Left"));
    EXPECT_FALSE(emptyOrEqual("left", "Left"));
    EXPECT_FALSE(emptyOrEqual("Left", ""));
}

TEST(Properties, NeedDeleteReplaceNull) {
    CIMInstance inst = instanceAt("A.k=1");
    support::add(inst, "P", "one");
    support::add(inst, "Q", "two");
    const CIMPropertyList none{Array<CIMName>()};
    EXPECT_FALSE(needsProperty(inst, "p", none, false));
    EXPECT_TRUE(needsProperty(inst, "p", none, true));
    EXPECT_TRUE(needsProperty(inst, "R", none, false));

    replaceProp(inst, "P", CIMValue(Uint32(5)));
    EXPECT_EQ(propertyNames(inst), "Q,P");
    EXPECT_EQ(property(inst, "P"), "5");
    replaceProp(inst, "R", CIMValue(String("new")));
    EXPECT_EQ(propertyNames(inst), "Q,P,R");

    addNullValue(inst, "P", CIMTYPE_STRING, true);
    EXPECT_EQ(property(inst, "P"), "5");
    addNullValue(inst, "S", CIMTYPE_STRING, true);
    const CIMProperty added = inst.getProperty(inst.findProperty(CIMName("S")));
    EXPECT_TRUE(added.getValue().isNull());
    EXPECT_TRUE(added.isArray());
    EXPECT_EQ(added.getType(), CIMTYPE_STRING);

    deleteProp(inst, "q");
    deleteProp(inst, "absent");
    EXPECT_EQ(propertyNames(inst), "P,R,S");
}

TEST(Flatten, GroupAfterGroupSharingContents) {
    Array<Array<CIMInstance>> groups(3);
    groups[0].append(instanceAt("A.k=1"));
    groups[0].append(instanceAt("A.k=2"));
    groups[2].append(instanceAt("A.k=3"));
    Array<CIMInstance> all = flatten(groups);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(text(all[2].getPath()), "A.k=3");
    support::add(all[2], "P", "shared");
    EXPECT_EQ(property(groups[2][0], "P"), "shared");
    EXPECT_EQ(flatten(Array<Array<CIMInstance>>()).size(), 0u);
}

TEST(PathHash, HashesTheWholeText) {
    const CIMObjectPath p = path("//h/root/x:A.k=\"v\"");
    EXPECT_EQ(PathHashFunc::hash(p), HashFunc<String>::hash(p.toString()));
    EXPECT_NE(PathHashFunc::hash(p), PathHashFunc::hash(localize(p)));
}

// ---- moveProp --------------------------------------------------------------------------------

class MoveProp : public ::testing::Test {
 protected:
    MoveProp() {
        for (int i = 0; i < 2; i++) {
            const std::string k = std::to_string(i);
            from.append(instanceAt("//h/root/x:A.k=" + k));
            support::add(from[i], "P", ("p" + k).c_str());
            to.append(instanceAt("A.k=" + k));
        }
        table.insert(path("A.k=0"), 1);  // crosswise, to tell the index from the position
        table.insert(path("A.k=1"), 0);
    }
    Array<CIMInstance> from;
    Array<CIMInstance> to;
    pathHT table;
};

TEST_F(MoveProp, ToTheCounterpart) {
    from.append(instanceAt("A.k=2"));  // not in the table
    support::add(from[2], "P", "stays");
    moveProp(from, "P", to, "Q", table);
    EXPECT_EQ(property(to[1], "Q"), "p0");
    EXPECT_EQ(property(to[0], "Q"), "p1");
    EXPECT_EQ(property(from[0], "P"), "(none)");
    EXPECT_EQ(property(from[2], "P"), "stays");
    EXPECT_EQ(table.size(), 2u);
}

TEST_F(MoveProp, MissingAndKeyValues) {
    moveProp(from, "Absent", to, "Q", table);
    EXPECT_EQ(property(to[0], "Q"), "(null)");
    EXPECT_EQ(propertyNames(from[0]), "P");
    support::add(from[0], "k", CIMValue(Uint32(99)));
    moveProp(from, "k", to, "Moved", table);
    EXPECT_EQ(asText(getValue(to[1], "Moved")), "string:0");  // the key's text, not the property's
    EXPECT_EQ(property(from[0], "k"), "(none)");
    EXPECT_EQ(text(from[0].getPath()), "//h/root/x:A.k=0");
}

TEST_F(MoveProp, WriteBackKeepsAndRenameMoves) {
    pathHT self;
    self.insert(path("A.k=0"), 0);
    self.insert(path("A.k=1"), 1);
    moveProp(from, "P", from, "p", self);
    EXPECT_EQ(property(from[0], "P"), "p0");
    moveProp(from, "P", from, "R", self);
    EXPECT_EQ(propertyNames(from[1]), "R");
    EXPECT_EQ(property(from[1], "R"), "p1");
}

TEST_F(MoveProp, IndexOutsideTargetLeavesWhatWasDone) {
    table.remove(path("A.k=1"));
    table.insert(path("A.k=1"), 7);
    EXPECT_THROW(moveProp(from, "P", to, "Q", table), IndexOutOfBoundsException);
    EXPECT_EQ(property(to[1], "Q"), "p0");
    EXPECT_EQ(property(from[1], "P"), "p1");
}

// ---- Strings ---------------------------------------------------------------------------------

TEST(Tr, ReplacesOrRemoves) {
    EXPECT_EQ(text(tr("a-b-c", '-', '_')), "a_b_c");
    EXPECT_EQ(text(tr("a-b-c", '-', Char16(0))), "abc");
    EXPECT_EQ(text(tr("", '-', '_')), "");
}

TEST(SplitString, Pieces) {
    typedef std::vector<std::string> Pieces;
    const struct {
        const char* given;
        Pieces expected;
    } cases[] = {{"a:b:c", {"a", "b", "c"}},
                 {"a::c", {"a", "", "c"}},
                 {":a", {"", "a"}},
                 {"a:", {"a"}},
                 {"a:b:", {"a", "b"}},
                 {"abc", {"abc"}},
                 {"", {""}},
                 {":", {""}},
                 {"::", {"", ""}}};
    for (const auto& c : cases) {
        EXPECT_EQ(split(c.given, ':'), c.expected) << "'" << c.given << "'";
    }
}

TEST(SplitSysName, FieldsOrNothing) {
    const struct {
        const char* name;
        bool result;
        const char* fields;
    } cases[] = {{"3*1234-ABC*0099XYZ", true, "3 1234 ABC 0099XYZ"},
                 {"3*1234ABC*0099XYZ", true, "3 T M 0099XYZ"},
                 {"3*1-2-3*S", true, "3 T M S"},
                 {"3*1234-ABC*0099XYZ*", true, "3 1234 ABC 0099XYZ"},
                 {"3*1234-ABC", false, "L T M S"},
                 {"3*1234-ABC*0099XYZ*9", false, "L T M S"},
                 {"", false, "L T M S"}};
    for (const auto& c : cases) {
        String l("L"), t("T"), m("M"), s("S");
        EXPECT_EQ(splitSysName(c.name, l, t, m, s), c.result) << c.name;
        EXPECT_EQ(text(l) + " " + text(t) + " " + text(m) + " " + text(s), c.fields) << c.name;
    }
}

TEST(GetIPAddr, AddressOfTheHostNameOrEmpty) {
    const String name = System::getHostName();
    System::setHostName("localhost");
    EXPECT_EQ(text(getIPAddr()).substr(0, 4), "127.");
    System::setHostName("no-such-host.invalid");
    EXPECT_EQ(text(getIPAddr()), "");
    System::setHostName(name);
}
