// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Names, object paths and key bindings: parsing, the stored form of keys, equality and hashing.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "support/Objects.h"

using namespace Pegasus;
using support::text;

namespace {

CIMKeyBinding key(const char* name, const char* value, CIMKeyBinding::Type type) {
    return CIMKeyBinding(name, value, type);
}

Array<CIMKeyBinding> unsortedKeys() {
    Array<CIMKeyBinding> keys;
    keys.append(key("right", "root:B.z=0x1,a=\"x\"", CIMKeyBinding::REFERENCE));
    keys.append(key("Left", "C", CIMKeyBinding::REFERENCE));
    keys.append(key("a", "say \"\\\"", CIMKeyBinding::STRING));
    return keys;
}

const std::string sortedText =
    "a=\"say \\\"\\\\\\\"\",Left=\"C\",right=\"root:B.a=\\\"x\\\",z=0x1\"";

TEST(CIMName, LegalText) {
    for (const char* name : {"_9", "aZ", "\xc2\x80", "\xef\xbf\xaf"}) {  // up to 0xFFEF
        EXPECT_TRUE(CIMName::legal(name) && CIMNamespaceName::legal(name)) << name;
    }
    for (const String& bad : std::vector<String>{"9a", "a@", "a[", "a`", "a{", "a:", "a/9", "\x7f",
                                                 "a\xef\xbf\xb0", String("a\0", 2)}) {
        EXPECT_FALSE(CIMName::legal(bad) || CIMNamespaceName::legal(bad)) << text(bad);
    }
}

TEST(CIMObjectPath, TextIsParsedAndWrittenInStoredForm) {
    for (const char* kept :
         {"//my_host-1.example.com:65535/root:A", "//10.1.2.255:0/root:A", "//[fe80::1]/root:A",
          "//[::1]:5989/root:A.k=TRUE", "A.k=18446744073709551615",
          "A.k=\"B.c=\\\"C.b=1,d=\\\\\\\"x\\\\\\\"\\\"\""}) {
        EXPECT_EQ(text(CIMObjectPath(kept)), kept);
    }
    const char* const changed[][2] = {
        {"//h//root:A.", "//h/root:A"},
        {"A.b=tRuE,a=0XfF,", "A.a=0XfF,b=TRUE"},
        {"L.r=\"//h/ns:M.z=1,b=\\\"N.y=1,a=2\\\"\"", "L.r=\"//h/ns:M.b=\\\"N.a=2,y=1\\\",z=1\""},
    };
    for (const auto& [read, written] : changed) {
        EXPECT_EQ(text(CIMObjectPath(read)), written);
    }
}

TEST(CIMObjectPath, MalformedTextIsRejectedWithItsReason) {
    const std::pair<const char*, std::vector<const char*>> cases[] = {
        {"hostname",
         {"//h:65536/root:A", "//h:/root:A", "//h.1/root:A", "//h..x/root:A", "//h.-x/root:A",
          "//[::1/root:A", "//[::x]/root:A", "//[::1]x/root:A"}},
        {"namespace", {"//h/A.k=\":\"", "ro ot:A"}},
        {"key name", {"A.=1"}},
        {"equal sign", {"A.k=1,l"}},
        {"value", {"A.k=", "A.k=+1", "A.k=0x10000000000000000"}},
        {"quote", {"A.k=\"x"}},
        {"unexpected text", {"A.k=\"x\" "}},
        {"escape", {"A.k=\"\\x\""}},
    };
    for (const auto& [reason, texts] : cases) {
        for (const char* bad : texts) {
            try {
                ADD_FAILURE() << bad << " was read as " << text(CIMObjectPath(bad));
            } catch (const MalformedObjectNameException& e) {
                EXPECT_NE(text(e.getMessage()).rfind(reason), std::string::npos) << bad;
            }
        }
    }
}

TEST(CIMObjectPath, StoredKeysAreSortedAndReferencesNormalised) {
    Array<CIMKeyBinding> keys = unsortedKeys();
    CIMObjectPath path(String(), "root", "A", keys);
    EXPECT_EQ(text(path), "root:A." + sortedText);
    EXPECT_EQ(text(keys[0].getName()), "a");  // sorted on shared storage

    CIMObjectPath other("h", CIMNamespaceName(), "A");
    other.setKeyBindings(unsortedKeys());
    keys.append(key("bad", "B.c=x", CIMKeyBinding::REFERENCE));
    EXPECT_THROW(other.setKeyBindings(keys), MalformedObjectNameException);
    EXPECT_THROW(other.set("h", "root", "A", keys), MalformedObjectNameException);
    EXPECT_EQ(text(other), "//h/:A." + sortedText);
}

TEST(CIMObjectPath, HostsAreCheckedButForTheSystemsOwnName) {
    CIMObjectPath path("//h/root:A");
    EXPECT_THROW(path.setHost("1.2.3"), MalformedObjectNameException);
    const String own = System::getHostName();
    System::setHostName("-own host-");
    EXPECT_THROW(CIMObjectPath("-own host-", "root", "A"), MalformedObjectNameException);
    EXPECT_EQ(text(path), "//h/root:A");
    path.setHost("-own host-");
    System::setHostName(own);
    EXPECT_EQ(text(path), "//-own host-/root:A");
}

TEST(CIMObjectPath, CopiesAreIndependentAndArgumentsMayBeItsOwnParts) {
    CIMObjectPath path("//h/root:A.k=1");
    path.set(path.getHost(), "other", path.getClassName(), path.getKeyBindings());
    const CIMObjectPath copy(path);
    path.setKeyBindings(Array<CIMKeyBinding>());
    path = String("B");
    EXPECT_EQ(text(path), "B");
    EXPECT_EQ(text(copy), "//h/other:A.k=1");
    path.setClassName(CIMName());
    EXPECT_TRUE(path == CIMObjectPath());
}

TEST(CIMObjectPath, EqualityAndHashFollowTheMeaningOfTheParts) {
    const auto check = [](const CIMObjectPath& a, const CIMObjectPath& b, bool equal) {
        EXPECT_EQ(a == b, equal) << text(a) << " and " << text(b);
        EXPECT_EQ(a.makeHashCode() == b.makeHashCode(), equal) << text(a) << " and " << text(b);
    };
    const char* const equal[][2] = {
        {"//H/ROOT:cim_a.K=1", "//h/root:CIM_A.k=1"},
        {"A.b=1,a=2", "A.A=2,B=1"},
        {"A.k=16", "A.k=0x10"},
        {"A.k=-0x1", "A.k=-1"},
        {"A.k=\"B.c=1,d=2\"", "A.k=\"b.D=0x2,C=1\""},
    };
    for (const auto& [a, b] : equal) {
        check(CIMObjectPath(a), CIMObjectPath(b), true);
    }
    CIMObjectPath last;
    for (const char* other :
         {"//h:1/root:A", "//h/root:A", "root:A", "A", "A.k=18446744073709551615", "A.k=-1",
          "A.k=\"x\"", "A.k=\"X\"", "A.k=\"B.c=\\\"x\\\"\"", "A.k=\"B.c=\\\"y\\\"\""}) {
        check(last, CIMObjectPath(other), false);
        last = CIMObjectPath(other);
    }
    // Such as are not read from a path.
    const auto keyed = [](const char* value, CIMKeyBinding::Type type) {
        return CIMObjectPath("", "root", "A", Array<CIMKeyBinding>(1, key("k", value, type)));
    };
    check(keyed("true", CIMKeyBinding::BOOLEAN), keyed("TRUE", CIMKeyBinding::BOOLEAN), true);
    check(keyed("+5", CIMKeyBinding::NUMERIC), keyed("5", CIMKeyBinding::NUMERIC), true);
    check(keyed("1.5", CIMKeyBinding::NUMERIC), keyed("1.50", CIMKeyBinding::NUMERIC), false);
}

TEST(CIMKeyBinding, StandsForTypedValues) {
    const struct {
        const char* text;
        CIMKeyBinding::Type type;
        CIMValue value;
        bool equal;
    } cases[] = {
        {"-1", CIMKeyBinding::NUMERIC, Sint8(-1), true},
        {"255", CIMKeyBinding::NUMERIC, Sint8(-1), false},
        {"-1", CIMKeyBinding::NUMERIC, Uint32(0xFFFFFFFF), false},
        {"1.5000000000000000e+00", CIMKeyBinding::NUMERIC, Real32(1.5), true},
        {"1.5x", CIMKeyBinding::NUMERIC, Real64(1.5), false},
        {"20240102030405.000000+000", CIMKeyBinding::STRING, CIMDateTime(), false},
        {"A.k=", CIMKeyBinding::REFERENCE, CIMObjectPath("A.k=1"), false},
        {"", CIMKeyBinding::BOOLEAN, CIMValue(), false},
        {"1", CIMKeyBinding::NUMERIC, Array<Uint8>(1, 1), false},
        {"x", CIMKeyBinding::STRING, CIMObject(CIMInstance("x")), false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(key("k", c.text, c.type).equal(c.value), c.equal)
            << c.text << " for " << text(c.value.toString());
    }
}

// What a server does with the strings, arrays and paths that its threads share; run under the
// thread sanitizer.
TEST(CIMObjectPath, SharedPartsAreReadAndCopiedConcurrently) {
    const CIMObjectPath shared(String("h"), "root", "A", unsortedKeys());
    const std::string expected = text(shared);
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; i++) {
                CIMObjectPath copy(shared);
                copy.setNameSpace("other");
                const CIMObjectPath rebuilt(shared.getHost(), shared.getNameSpace(),
                                            shared.getClassName(), shared.getKeyBindings());
                copy.setNameSpace("root");
                String host(shared.getHost());
                host[0] = Uint16('z');
                Array<CIMKeyBinding> keys(shared.getKeyBindings());
                keys[0].setValue("new");
                good[t] += copy == rebuilt && text(copy) == expected && text(shared) == expected;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, std::vector<int>(4, 200));
}

}  // namespace
