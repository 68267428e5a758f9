// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Helpers that need no server: object model, property moves, strings.
#include "Common/Util.h"

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <netdb.h>
#include <netinet/in.h>

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

// In place of the system's while it is set.
static hostent* (*resolver)(const char*) = nullptr;

extern "C" hostent* gethostbyname(const char* name) {
    static const auto system =
        reinterpret_cast<decltype(&gethostbyname)>(dlsym(RTLD_NEXT, "gethostbyname"));
    return resolver ? resolver(name) : system(name);
}

namespace {

std::string asText(const CIMValue& value) {
    return std::string(cimTypeToString(value.getType())) + ":" +
           (value.isNull() ? "(null)" : text(value.toString()));
}

TEST(Localize, KeepsClassAndKeysOnly) {
    const char* const cases[][2] = {
        {"//h/root/velmar_remote:A.b=2,a=\"x\"", "A.a=\"x\",b=2"},
        {"//h/root/velmar_remote:A", "A"},
        // Reference keys keep their own host and namespace: they are part of the key.
        {"root/x:A.r=\"//h/root/y:B.k=1\"", "A.r=\"//h/root/y:B.k=1\""}};
    for (const auto& [given, expected] : cases) {
        const CIMObjectPath whole = path(given);
        const CIMObjectPath local = localize(whole);
        EXPECT_EQ(text(local), expected);
        // Storage of its own: a path's bindings may be rewritten when another path is given them.
        EXPECT_TRUE(isClass(whole) ||
                    local.getKeyBindings().getData() != whole.getKeyBindings().getData());
    }
    EXPECT_EQ(text(localize(CIMObjectPath())), "");
}

TEST(Lookups, FirstMatchOrNull) {
    const char NONE[] = "boolean:(null)";
    Array<CIMKeyBinding> keys;
    EXPECT_EQ(asText(findKey(keys, "Name")), NONE);
    keys.append(CIMKeyBinding("name", "7", CIMKeyBinding::NUMERIC));
    keys.append(CIMKeyBinding("NAME", "second", CIMKeyBinding::STRING));
    CIMInstance inst = instanceAt("A.Name=7");
    support::add(inst, "Name", CIMValue(Uint32(9)));
    support::add(inst, "Size", CIMValue(Uint32(3)));
    support::add(inst, "Empty", CIMValue(CIMTYPE_UINT16, false));
    Array<CIMParamValue> params;
    EXPECT_EQ(asText(findParam(params, "X")), NONE);
    params.append(CIMParamValue("X", CIMValue(Uint8(1))));
    params.append(CIMParamValue("X", CIMValue(Uint8(2))));
    const struct {
        CIMValue found;
        const char* expected;
    } cases[] = {
        {findKey(keys, "Name"), "string:7"},
        {findKey(keys, "Other"), NONE},
        {getValue(inst, "name"), "string:7"},  // a key before the property
        {getValue(inst, "SIZE"), "uint32:3"},
        {getValue(inst, "Empty"), "uint16:(null)"},
        {getValue(inst, "None"), NONE},
        {getValue(CIMInstance(), "Name"), NONE},
        {findParam(params, "X"), "uint8:1"},
        {findParam(params, "x"), NONE},  // parameter names are matched exactly
    };
    for (const auto& c : cases) {
        EXPECT_EQ(asText(c.found), c.expected) << &c - cases;
    }
}

TEST(GetCharPtr, OwnedTextOrException) {
    CIMInstance inst = instanceAt("A.K=7");
    support::add(inst, "Text", "gr\xc3\xbc\xc3\x9f");
    support::add(inst, "Null", CIMValue(CIMTYPE_STRING, false));
    support::add(inst, "Number", CIMValue(Uint32(3)));
    support::add(inst, "List", CIMValue(Array<String>(1, String("x"))));
    const char* const cases[][2] = {
        {"Text", "gr\xc3\xbc\xc3\x9f"}, {"K", "7"}, {"Null", ""}, {"Absent", ""}};
    for (const auto& [name, expected] : cases) {
        char* got = getCharPtr(inst, name);
        EXPECT_STREQ(got, expected) << name;
        std::free(got);
    }
    EXPECT_THROW(getCharPtr(inst, "Number"), TypeMismatchException);
    EXPECT_THROW(getCharPtr(inst, "List"), TypeMismatchException);
    EXPECT_THROW(getCharPtr(inst, "not a name"), InvalidNameException);
}

TEST(Filters, EmptyOnesMatchEverything) {
    Array<CIMClass> classes;
    EXPECT_TRUE(findClass(classes, CIMName()));
    classes.append(CIMClass(CIMName("A")));
    EXPECT_TRUE(findClass(classes, "a"));
    EXPECT_FALSE(findClass(classes, "C"));
    EXPECT_TRUE(isClass(path("//h/root/x:A")));
    EXPECT_FALSE(isClass(path("A.k=1")));
    EXPECT_TRUE(emptyOrEqual("", "Left"));
    EXPECT_TRUE(emptyOrEqual("Left", "Left"));
    EXPECT_FALSE(emptyOrEqual("left", "Left"));
    EXPECT_FALSE(emptyOrEqual("Left", ""));
}

TEST(Properties, NeedDeleteReplaceNull) {
    mallopt(M_PERTURB, 0xA5);  // what is read after it was freed differs
    CIMInstance inst = instanceAt("A.k=1");
    support::add(inst, "Ptarmigan", "a text that needs memory of its own");
    support::add(inst, "Q", "two");
    const CIMPropertyList none{Array<CIMName>()};
    EXPECT_FALSE(needsProperty(inst, "q", none, false));
    EXPECT_TRUE(needsProperty(inst, "q", none, true));
    EXPECT_TRUE(needsProperty(inst, "R", CIMPropertyList(), false));

    const CIMName& name = inst.getProperty(0).getName();
    const CIMValue& value = inst.getProperty(0).getValue();
    replaceProp(inst, name, value);  // both are freed with the property that goes
    EXPECT_EQ(propertyNames(inst), "Q,Ptarmigan");
    EXPECT_EQ(property(inst, "Ptarmigan"), "a text that needs memory of its own");
    replaceProp(inst, "Q", CIMValue(Uint32(5)));
    replaceProp(inst, "R", CIMValue(String("new")));
    EXPECT_EQ(propertyNames(inst), "Ptarmigan,Q,R");
    EXPECT_EQ(property(inst, "Q"), "5");

    addNullValue(inst, "q", CIMTYPE_STRING, true);
    EXPECT_EQ(property(inst, "Q"), "5");
    addNullValue(inst, "S", CIMTYPE_STRING, true);
    const CIMProperty added = inst.getProperty(inst.findProperty(CIMName("S")));
    EXPECT_EQ(asText(added.getValue()), "string:(null)");
    EXPECT_TRUE(added.isArray());

    deleteProp(inst, "q");
    deleteProp(inst, "absent");
    EXPECT_EQ(propertyNames(inst), "Ptarmigan,R,S");
}

TEST(Flatten, GroupAfterGroup) {
    Array<Array<CIMInstance>> groups(3);
    groups[0].append(instanceAt("A.k=1"));
    groups[0].append(instanceAt("A.k=2"));
    groups[2].append(instanceAt("A.k=3"));
    Array<CIMInstance> all = flatten(groups);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(text(all[2].getPath()), "A.k=3");
    support::add(all[1], "P", "shared");
    EXPECT_EQ(property(groups[0][1], "P"), "shared");
}

// ---- moveProp ----------------------------------------------------------------------------------

class MoveProp : public ::testing::Test {
 protected:
    MoveProp() {
        for (int i = 0; i < 2; i++) {
            const std::string k = std::to_string(i);
            from.append(instanceAt("//h/root/x:A.k=" + k));
            support::add(from[i], "P", ("p" + k).c_str());
            to.append(instanceAt("A.k=" + k));
            self.insert(path("A.k=" + k), i);
            table.insert(path("A.k=" + k), 1 - i);  // crosswise, to tell index from position
        }
    }
    Array<CIMInstance> from, to;
    pathHT self, table;
};

TEST_F(MoveProp, ToTheCounterpart) {
    from.prepend(instanceAt("A.k=2"));  // not in the table
    support::add(from[0], "P", "stays");
    moveProp(from, "P", to, "Q", table);
    EXPECT_EQ(property(to[1], "Q"), "p0");
    EXPECT_EQ(property(to[0], "Q"), "p1");
    EXPECT_EQ(propertyNames(from[1]) + propertyNames(from[2]), "");
    EXPECT_EQ(property(from[0], "P"), "stays");
}

TEST_F(MoveProp, MissingAndKeyValues) {
    moveProp(from, "Absent", to, "Q", table);
    EXPECT_EQ(property(to[0], "Q"), "(null)");
    support::add(from[0], "k", CIMValue(Uint32(99)));
    moveProp(from, "k", to, "Moved", table);
    EXPECT_EQ(asText(getValue(to[1], "Moved")), "string:0");  // the key's text, not the property's
    EXPECT_EQ(propertyNames(from[0]), "P");
    EXPECT_EQ(text(from[0].getPath()), "//h/root/x:A.k=0");
}

TEST_F(MoveProp, WriteBackKeepsAndRenameMoves) {
    moveProp(from, "P", from, "p", self);
    EXPECT_EQ(property(from[0], "P"), "p0");
    moveProp(from, "P", to, "P", table);  // of the same name, but to another instance
    EXPECT_EQ(propertyNames(from[0]) + property(to[1], "P"), "p0");
    moveProp(to, "P", to, "R", self);
    EXPECT_EQ(propertyNames(to[1]) + property(to[1], "R"), "Rp0");
}

TEST_F(MoveProp, IndexOutsideTargetLeavesWhatWasDone) {
    table.remove(path("A.k=1"));
    table.insert(path("A.k=1"), 7);
    EXPECT_THROW(moveProp(from, "P", to, "Q", table), IndexOutOfBoundsException);
    EXPECT_EQ(property(to[1], "Q"), "p0");
    EXPECT_EQ(property(from[1], "P"), "p1");
}

// ---- Strings -----------------------------------------------------------------------------------

TEST(Tr, ReplacesOrRemoves) {
    EXPECT_EQ(text(tr("a-b-c", '-', '_')), "a_b_c");
    EXPECT_EQ(text(tr("a-b-c", '-', Char16(0))), "abc");
    EXPECT_EQ(text(tr("", '-', '_')), "");
}

TEST(SplitString, Pieces) {
    const char* const cases[][2] = {
        {"a:b:c", "[a][b][c]"}, {"a::c", "[a][][c]"}, {":a", "[][a]"}, {"a:", "[a]"},
        {"a:b:", "[a][b]"},     {"abc", "[abc]"},     {"", "[]"},      {":", "[]"},
        {"::", "[][]"}};
    for (const auto& [given, expected] : cases) {
        std::string pieces;
        const Array<String> split = splitString(given, ':');
        for (Uint32 i = 0; i < split.size(); i++) {
            pieces += "[" + text(split[i]) + "]";
        }
        EXPECT_EQ(pieces, expected) << given;
    }
    EXPECT_EQ(splitString("z\xc2\xa7z", '\xa7').size(), 2u) << "a delimiter beyond ASCII";
}

TEST(SplitSysName, FieldsOrNothing) {
    const char* const cases[][2] = {{"3*1234-ABC*0099XYZ", "1 3 1234 ABC 0099XYZ"},
                                    {"3*1234ABC*0099XYZ", "1 3 T M 0099XYZ"},
                                    {"3*1-2-3*S", "1 3 T M S"},
                                    {"3*1234-ABC*0099XYZ*", "1 3 1234 ABC 0099XYZ"},
                                    {"3*1234-ABC", "0 L T M S"},
                                    {"3*1234-ABC*0099XYZ*9", "0 L T M S"},
                                    {"", "0 L T M S"}};
    for (const auto& [name, expected] : cases) {
        String l("L"), t("T"), m("M"), s("S");
        const Boolean result = splitSysName(name, l, t, m, s);
        EXPECT_EQ(
            std::to_string(result) + " " + text(l) + " " + text(t) + " " + text(m) + " " + text(s),
            expected)
            << name;
    }
}

// A resolver that gives an address of another family.
hostent* otherFamily(const char*) {
    static in6_addr address = IN6ADDR_LOOPBACK_INIT;
    static char* addresses[] = {reinterpret_cast<char*>(&address), nullptr};
    static hostent host = {nullptr, nullptr, AF_INET6, sizeof address, addresses};
    return &host;
}

TEST(GetIPAddr, EmptyWithoutAnAddress) {
    System::setHostName("127.0.0.2");  // an address stands for itself, whatever the resolver knows
    EXPECT_EQ(text(getIPAddr()), "127.0.0.2");
    System::setHostName("::1");
    EXPECT_EQ(text(getIPAddr()), "");
    resolver = otherFamily;
    EXPECT_EQ(text(getIPAddr()), "");
    resolver = nullptr;
}

}  // namespace
