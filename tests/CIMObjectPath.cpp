// Object paths and key bindings: parsing, the stored form of keys, equality and hashing.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace {

std::string text(const String& s) { return std::string(s.getCString()); }

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

const char* const sortedText =
    "a=\"say \\\"\\\\\\\"\",Left=\"C\",right=\"root:B.a=\\\"x\\\",z=0x1\"";

TEST(CIMObjectPath, TextIsParsedAndWrittenInStoredForm) {
    const struct {
        const char* text;
        const char* written;  // nullptr: as it was read
    } cases[] = {
        {"//h/root/cimv2:CIM_A.k=1", nullptr},
        {"//my_host-1.example.com:65535/root:A", nullptr},
        {"//10.1.2.255:0/root:A", nullptr},
        {"//[::1]:5989/root:A.k=TRUE", nullptr},
        {"//[fe80::1]/root:A", nullptr},
        {"//h//root:A", "//h/root:A"},
        {"/root:A.", "root:A"},
        {"A.b=tRuE,a=0XfF,", "A.a=0XfF,b=TRUE"},
        {"A.k=18446744073709551615", nullptr},
        {"A.k=-0x8000000000000000", nullptr},
        {"A.k=\"B.c=\\\"C.b=1,d=\\\\\\\"x\\\\\\\"\\\"\"", nullptr},
        {"L.r=\"//h/ns:M.z=1,b=\\\"N.y=1,a=2\\\"\"", "L.r=\"//h/ns:M.b=\\\"N.a=2,y=1\\\",z=1\""},
    };
    for (const auto& c : cases) {
        const String written = CIMObjectPath(c.text).toString();
        EXPECT_EQ(text(written), c.written ? c.written : c.text);
        EXPECT_EQ(text(CIMObjectPath(written).toString()), text(written));
    }
}

TEST(CIMObjectPath, MalformedTextIsRejectedWithItsReason) {
    const struct {
        const char* text;
        const char* reason;
    } cases[] = {
        {"//h:65536/root:A", "hostname"},
        {"//h:/root:A", "hostname"},
        {"//h.1/root:A", "hostname"},
        {"//h..x/root:A", "hostname"},
        {"//h.-x/root:A", "hostname"},
        {"//[::1/root:A", "hostname"},
        {"//[::x]/root:A", "hostname"},
        {"//[::1]x/root:A", "hostname"},
        {"//h/A.k=\":\"", "namespace"},
        {"ro ot:A", "namespace"},
        {"root/:A", "namespace"},
        {" A", "class name"},
        {"A.k =1", "key name"},
        {"A.=1", "key name"},
        {"A.k", "equal sign"},
        {"A.k=1,l", "equal sign"},
        {"A.k=", "value"},
        {"A.k=,l=1", "value"},
        {"A.k= 1", "value"},
        {"A.k=+1", "value"},
        {"A.k=1.5", "value"},
        {"A.k=-01", "value"},
        {"A.k=0x10000000000000000", "value"},
        {"A.k=\"x", "quote"},
        {"A.k=\"x\" ", "unexpected text"},
        {"A.k=\"\\x\"", "escape"},
    };
    for (const auto& c : cases) {
        try {
            CIMObjectPath path(c.text);
            ADD_FAILURE() << c.text << " was read as " << text(path.toString());
        } catch (const MalformedObjectNameException& e) {
            const std::string message = text(e.getMessage());
            EXPECT_EQ(message.find("malformed object name: " + std::string(c.text) + ", reason:\""),
                      0u);
            EXPECT_NE(message.rfind(c.reason), std::string::npos) << message;
        }
    }
}

TEST(CIMObjectPath, StoredKeysAreSortedAndReferencesNormalised) {
    Array<CIMKeyBinding> keys = unsortedKeys();
    CIMObjectPath path(String(), "root", "A", keys);
    EXPECT_EQ(text(path.toString()), std::string("root:A.") + sortedText);
    EXPECT_EQ(text(keys[0].getName().getString()), "a");  // sorted on shared storage

    CIMObjectPath other("h", CIMNamespaceName(), "A");
    other.setKeyBindings(unsortedKeys());
    EXPECT_EQ(text(other.toString()), std::string("//h/:A.") + sortedText);

    keys = unsortedKeys();
    keys.append(key("bad", "B.c=x", CIMKeyBinding::REFERENCE));
    EXPECT_THROW(other.setKeyBindings(keys), MalformedObjectNameException);
    EXPECT_THROW(other.set("h", "root", "A", keys), MalformedObjectNameException);
    EXPECT_EQ(text(other.toString()), std::string("//h/:A.") + sortedText);
}

TEST(CIMObjectPath, HostsAreCheckedButForTheSystemsOwnName) {
    CIMObjectPath path("//h/root:A");
    EXPECT_THROW(path.setHost("1.2.3"), MalformedObjectNameException);
    EXPECT_THROW(CIMObjectPath("a b", "root", "A"), MalformedObjectNameException);
    EXPECT_EQ(text(path.getHost()), "h");

    const String own = System::getHostName();
    System::setHostName("-own host-");
    path.setHost("-own host-");
    EXPECT_THROW(CIMObjectPath("-own host-", "root", "A"), MalformedObjectNameException);
    System::setHostName(own);
    EXPECT_EQ(text(path.toString()), "//-own host-/root:A");
    path.setHost(String());
    path.setNameSpace(CIMNamespaceName());
    path.setClassName(CIMName());
    EXPECT_TRUE(path == CIMObjectPath());
}

TEST(CIMObjectPath, CopiesAreIndependentAndArgumentsMayBeItsOwnParts) {
    CIMObjectPath path("//h/root:A.k=1");
    const CIMObjectPath copy(path);
    path.set(path.getHost(), "other", path.getClassName(), path.getKeyBindings());
    EXPECT_EQ(text(path.toString()), "//h/other:A.k=1");
    path.setKeyBindings(Array<CIMKeyBinding>());
    path = String("B");
    EXPECT_EQ(text(path.toString()), "B");
    EXPECT_EQ(text(copy.toString()), "//h/root:A.k=1");
    path.clear();
    EXPECT_EQ(text(path.toString()), "");
}

TEST(CIMObjectPath, EqualityAndHashFollowTheMeaningOfTheParts) {
    const struct {
        const char* a;
        const char* b;
        bool equal;
    } cases[] = {
        {"//H/ROOT:cim_a.K=1", "//h/root:CIM_A.k=1", true},
        {"//h:1/root:A", "//h/root:A", false},
        {"//h/root:A", "root:A", false},
        {"root:A", "A", false},
        {"A", "A.k=1", false},
        {"A.b=1,a=2", "A.A=2,B=1", true},
        {"A.k=16", "A.k=0x10", true},
        {"A.k=0", "A.k=-0", true},
        {"A.k=-0x1", "A.k=-1", true},
        {"A.k=18446744073709551615", "A.k=-1", false},
        {"A.k=\"x\"", "A.k=\"X\"", false},
        {"A.k=\"16\"", "A.k=16", false},
        {"A.k=\"B.c=1,d=2\"", "A.k=\"b.D=0x2,C=1\"", true},
        {"A.k=\"B.c=\\\"x\\\"\"", "A.k=\"B.c=\\\"y\\\"\"", false},
    };
    for (const auto& c : cases) {
        const CIMObjectPath a(c.a), b(c.b);
        EXPECT_EQ(a == b, c.equal) << c.a << " and " << c.b;
        EXPECT_EQ(b.identical(a), c.equal) << c.a << " and " << c.b;
        if (c.equal) {
            EXPECT_EQ(a.makeHashCode(), b.makeHashCode()) << c.a << " and " << c.b;
        }
    }
}

TEST(CIMObjectPath, HandMadeBindingsHashAsTheyCompare) {
    const struct {
        const char* a;
        const char* b;
        CIMKeyBinding::Type type;
        bool equal;
    } cases[] = {
        {"true", "TRUE", CIMKeyBinding::BOOLEAN, true},
        {"x", "X", CIMKeyBinding::STRING, false},
        {"+5", "5", CIMKeyBinding::NUMERIC, true},
        {"1.5", "1.50", CIMKeyBinding::NUMERIC, false},
        {"18446744073709551616", "18446744073709551616", CIMKeyBinding::NUMERIC, true},
    };
    for (const auto& c : cases) {
        Array<CIMKeyBinding> a(1, key("k", c.a, c.type)), b(1, key("K", c.b, c.type));
        EXPECT_EQ(a[0] == b[0], c.equal) << c.a << " and " << c.b;
        const CIMObjectPath first(String(), "root", "A", a), second(String(), "root", "A", b);
        EXPECT_EQ(first == second, c.equal);
        EXPECT_EQ(first.makeHashCode() == second.makeHashCode(), c.equal);
    }
}

TEST(CIMKeyBinding, StandsForTypedValues) {
    const struct {
        const char* text;
        CIMKeyBinding::Type type;
        CIMValue value;
        bool equal;
    } cases[] = {
        {"-1", CIMKeyBinding::NUMERIC, CIMValue(Sint8(-1)), true},
        {"255", CIMKeyBinding::NUMERIC, CIMValue(Sint8(-1)), false},
        {"-1", CIMKeyBinding::NUMERIC, CIMValue(Uint32(0xFFFFFFFF)), false},
        {"1.5000000000000000e+00", CIMKeyBinding::NUMERIC, CIMValue(Real32(1.5)), true},
        {"-1.0000000000000001e-01", CIMKeyBinding::NUMERIC, CIMValue(Real64(-0.1)), true},
        {"1.5x", CIMKeyBinding::NUMERIC, CIMValue(Real64(1.5)), false},
        {"x", CIMKeyBinding::STRING, CIMValue(Char16('x')), true},
        {"xy", CIMKeyBinding::STRING, CIMValue(Char16('x')), false},
        {"TRUE", CIMKeyBinding::STRING, CIMValue(true), false},
        {"yes", CIMKeyBinding::BOOLEAN, CIMValue(true), false},
        {"20240102030405.000000+000", CIMKeyBinding::STRING, CIMValue(CIMDateTime()), false},
        {"no time", CIMKeyBinding::STRING, CIMValue(CIMDateTime()), false},
        {"A.k=", CIMKeyBinding::REFERENCE, CIMValue(CIMObjectPath("A.k=1")), false},
        {"", CIMKeyBinding::BOOLEAN, CIMValue(), false},
        {"1", CIMKeyBinding::NUMERIC, CIMValue(Array<Uint8>(1, 1)), false},
        {"x", CIMKeyBinding::STRING, CIMValue(CIMObject(CIMInstance("x"))), false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(key("k", c.text, c.type).equal(c.value), c.equal)
            << c.text << " for " << text(c.value.toString());
}

// What a server does with the paths that its threads share; run under the thread sanitizer.
TEST(CIMObjectPath, SharedPathsAreReadAndCopiedConcurrently) {
    const CIMObjectPath shared(String("h"), "root", "A", unsortedKeys());
    const std::string expected = text(shared.toString());
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (int t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; i++) {
                CIMObjectPath copy(shared);
                copy.setNameSpace("other");
                const CIMObjectPath rebuilt(shared.getHost(), shared.getNameSpace(),
                                            shared.getClassName(), shared.getKeyBindings());
                copy.setNameSpace("root");
                good[t] += copy == rebuilt && text(copy.toString()) == expected;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, std::vector<int>(4, 200));
}

}  // namespace
