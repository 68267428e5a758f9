// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Recordings of a server that gives what MOF cannot say, and what a recording then has;
// differences.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "record/Recorder.h"
#include "record/Snapshot.h"
#include "support/ScriptedServer.h"

using namespace support;
namespace fs = std::filesystem;
using velmar_recording::Difference;
using velmar_recording::Snapshot;

namespace {

const char* const STANDARD =
    "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, "
    "ToSubclass);";

class Recording : public ScriptedServer {
 protected:
    const fs::path folder = fs::temp_directory_path() / ("recording-" + std::to_string(getpid()));
    ~Recording() override { fs::remove_all(folder); }

    // What the recording has, served by another server.
    Snapshot served(const std::string& file) {
        client.disconnect();
        server.stop();
        velmar_embedded::Server other;
        other.compileMof("root/other", file);
        other.start();
        CIMClient local;
        local.connectLocal();
        const Snapshot result = velmar_recording::snapshotOf(local, "root/other");
        local.disconnect();
        other.stop();
        return result;
    }
    // Each as "name part: a | b".
    static std::string texts(const std::vector<Difference>& all) {
        std::string result;
        for (const Difference& one : all) {
            result += one.name + " " + one.part + ": " + (one.isInA ? one.a : "-") + " | " +
                      (one.isInB ? one.b : "-") + "\n";
        }
        return result;
    }
    static std::string lines(const std::vector<std::string>& all) {
        std::string result;
        for (const std::string& one : all) {
            result += one + "\n";
        }
        return result;
    }
};

TEST_F(Recording, ServesWhatTheServerHas) {
    server.compileMofText("root/test", R"(
        Qualifier Odd : uint16[] = {7}, Scope(class, method), Flavor(EnableOverride, Restricted);
        [Odd{1, 2}] class T_All : T_A {
            [Description("quotes \" \\ \x0001 and \n lines"), Key] string k = "x";
            boolean b; uint8 u8; sint64 s64 = -5; real32 r32; real64 r64; char16 c; datetime d;
            string list[]; uint16 sized[4]; string left = "by default"; T_A REF peer;
            [Odd] uint32 Do(T_Far REF Other[], string Names[3]); };
        instance of T_Far { k = "a,\"b\"=c\\"; };
        instance of T_All as $one { k = "\x00E4 \x0007 \"*/ // \\"; b = TRUE; u8 = 255;
            s64 = -9223372036854775808; r32 = 1.1; r64 = 2.2250738585072014e-308; c = '\'';
            d = "20240229123456.123456-120"; list = {"", "a\nb", "{}"}; sized = {};
            left = NULL; peer = "T_A.k=\"1\""; };
        instance of T_All { k = "2"; peer = $one; list = {}; };
        instance of T_Link { Near = $one; Far = "T_Far.k=\"a,\\\"b\\\"=c\\\\\""; };
    )");
    start();
    const Snapshot original = velmar_recording::snapshotOf(client, ns);
    const auto recording =
        velmar_recording::record(client, ns, folder.string(), {"a\nserver", STANDARD, {}});
    EXPECT_EQ(lines(recording.notes), "");
    EXPECT_EQ(original.instances.size(), 4u);
    EXPECT_EQ(recording.instances, 4u);
    EXPECT_THROW(velmar_recording::record(client, ns, folder.string(), {}), std::runtime_error);
    const Snapshot copy = served(recording.file);
    EXPECT_EQ(texts(velmar_recording::differences(original, copy)), "");
}

TEST_F(Recording, NamesWhatMofCannotSay) {
    server.compileMofText("root/test", R"(
        Qualifier EmbeddedObject : boolean = false, Scope(property);
        class T_Rest : T_A { real64 r; [EmbeddedObject] string o; uint8 u; };
        class T_NoKey { uint32 n; };
    )");
    provide("rest", {"T_Rest"})->enumerate = [](const Call&, InstanceResponseHandler& handler) {
        for (const char* key : {"1", "2"}) {
            CIMInstance instance = item("T_Rest.k=\"" + std::string(key) + "\"");
            add(instance, "r", CIMValue(std::numeric_limits<Real64>::infinity()));
            add(instance, "o", CIMValue(CIMObject(item(A1))));
            handler.deliver(instance);
        }
        handler.deliver(item("T_Rest.k=\"3\""));
        handler.deliver(item("T_Rest.k=\"3\""));
        CIMInstance instance = item("T_Rest.k=\"4\"");
        instance.setPath(path("T_Rest.k=\"5\""));
        handler.deliver(instance);
    };
    provide("keyless", {"T_NoKey"})->enumerate = [](const Call&, InstanceResponseHandler& handler) {
        handler.deliver(instanceAt("T_NoKey"));
    };
    provide("failing", {"T_Far"})->enumerate = [](const Call&, InstanceResponseHandler&) {
        throw CIMException(CIM_ERR_ACCESS_DENIED, "secret");
    };
    server.start();
    client.connectLocal();  // over HTTP, infinity spoils the whole answer
    const Snapshot original = velmar_recording::snapshotOf(client, ns);
    const auto recording =
        velmar_recording::record(client, ns, folder.string(), {"", STANDARD, {}});
    EXPECT_EQ(
        lines(recording.notes),
        R"(T_Rest.r: left out: syntax error at inf: expected a value, in T_Rest.k="1" and 1 more
T_Rest.o: an embedded object, recorded as a string with its MOF, in T_Rest.k="1" and 1 more
instances of T_Rest: given twice, and read once: T_Rest.k="3"
path of T_Rest: its keys say T_Rest.k="4", in T_Rest.k="5"
instances of T_Far: CIM_ERR_ACCESS_DENIED: secret
instance of T_NoKey: left out: CIM_ERR_FAILED: class has no keys: T_NoKey, in T_NoKey
)");
    EXPECT_EQ(recording.instances, 4u);
    EXPECT_EQ(texts(velmar_recording::differences(original, served(recording.file))),
              R"(T_NoKey :  | -
T_Rest.k="1" r: inf | -
T_Rest.k="2" r: inf | -
T_Rest.k="4" : - | 
T_Rest.k="5" :  | -
)");
}

TEST_F(Recording, DifferencesOfClassesAndInstances) {
    const std::string qualifiers =
        std::string(STANDARD) + "Qualifier Description : string = null, Scope(any);";
    server.compileMofText("root/one", qualifiers + R"(
        class T_A { [Key, Description("d")] string k; uint32 n; string s;
                    uint32 Do([Description("p")] uint8 Small, string Text); };
        class T_Super { [Key] string k; };
        class T_Sub : T_Super { };
        instance of T_A { k = "1"; n = 1; s = "same"; };
        instance of T_A { k = "2"; };
    )");
    server.compileMofText("root/other", qualifiers + R"(
        class T_a { [Key, Description("other")] string K; uint64 n; string s = "x"; string more;
                    uint32 Do(string Text); };
        class T_Sub { [Key] string k; };
        instance of T_A { k = "1"; n = 2; s = "same"; };
        instance of T_A { k = "3"; };
    )");
    start();
    const Snapshot a = velmar_recording::snapshotOf(client, "root/one", {"N"});
    const Snapshot b = velmar_recording::snapshotOf(client, "root/other", {"N"});
    EXPECT_EQ(texts(velmar_recording::differences(a, b)),
              R"(T_A Do(): uint32 Do(uint8 Small, string Text) | uint32 Do(string Text)
T_A Do() Small [Description]: "p" | -
T_A k: string k | string K
T_A k [Description]: "d" | "other"
T_A more: - | string more
T_A n: uint32 n | uint64 n
T_A s: string s | string s = "x"
T_Sub (superclass): T_Super | -
T_Sub k: - | string k
T_Sub k [Key]: - | TRUE
T_Super :  | -
T_A.k="2" :  | -
T_a.K="3" : - | 
)");
}

}  // namespace
