// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Messages without a server: what is refused and how, and values that must come out as they went
// in.
#include <gtest/gtest.h>
#include <velmar_wire/Connect.h>

#include "CimHandler.h"
#include "Messages.h"
#include "support/ScriptedServer.h"

using namespace Pegasus;
using namespace support;
using namespace velmar_wire;
using velmar_embedded::Answer;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace {

const std::string place = "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"n\"/></LOCALNAMESPACEPATH>";

std::string message(const std::string& contents) {
    return "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
           "PROTOCOLVERSION=\"1.0\">" +
           contents + "</MESSAGE></CIM>";
}

std::string method(const std::string& name, const std::string& parameters) {
    return message("<SIMPLEREQ><IMETHODCALL NAME=\"" + name + "\">" + place + parameters +
                   "</IMETHODCALL></SIMPLEREQ>");
}

std::string creation(const std::string& property) {
    return method("CreateInstance", "<IPARAMVALUE NAME=\"NewInstance\"><INSTANCE CLASSNAME=\"C\">" +
                                        property + "</INSTANCE></IPARAMVALUE>");
}

// The status, the CIMError header if there is one, and the reason.
std::string refusal(const std::string& body, const std::string& name, HttpHeaders more = {}) {
    HttpRequest request;
    request.method = "POST";
    request.headers = {{"Host", "h"},
                       {"Content-Type", "text/xml"},
                       {"CIMMethod", name},
                       {"CIMOperation", "MethodCall"},
                       {"CIMObject", "n"}};
    more.insert(more.end(), request.headers.begin(), request.headers.end());  // the first counts
    request.headers = more;
    request.body = body;
    const HttpResponse response = answerTo(request);
    std::string text = std::to_string(response.status);
    for (const auto& header : response.headers) {
        if (header.first == "CIMError" || header.first == "PGErrorDetail") {
            text += " " + percentDecoded(header.second);
        }
    }
    return text;
}

std::string repeated(int times, const std::string& text) {
    std::string all;
    for (int i = 0; i < times; i++) {
        all += text;
    }
    return all;
}

std::string deep(int levels) {
    std::string text;
    for (int i = 0; i < levels; i++) {
        text = "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"k\">" + text +
               "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE>";
    }
    return "<PROPERTY.REFERENCE NAME=\"p\">" + text + "</PROPERTY.REFERENCE>";
}

TEST(WireMessages, WhatIsNoRequestIsRefused) {
    const struct {
        std::string body;
        std::string method;
        const char* refusal;  // its begin
    } cases[] = {
        {creation("<PROPERTY NAME=\"p\" TYPE=\"uint8\"><VALUE>256</VALUE></PROPERTY>"), "",
         "400 request-not-valid Semantic error: on line 1: Invalid uint8 value: 256"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"real32\"><VALUE>nan</VALUE></PROPERTY>"), "",
         "400 request-not-valid Semantic"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"char16\"><VALUE>ab</VALUE></PROPERTY>"), "",
         "400 request-not-valid Semantic"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"integer\"/>"), "", "400 request-not-valid Semantic"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"uint8\"/><PROPERTY NAME=\"P\" TYPE=\"uint8\"/>"), "",
         "400 request-not-valid already exists"},
        {creation("<PROPERTY.ARRAY NAME=\"p\" TYPE=\"uint8\"><VALUE.ARRAY><VALUE.VOID/>"
                  "</VALUE.ARRAY></PROPERTY.ARRAY>"),
         "", "400 request-not-valid Validation error: on line 1: Expected VALUE in VALUE.ARRAY"},
        {creation("\n<PROPERTY NAME=\"p\" TYPE=\"string\" EmbeddedObject=\"object\"><VALUE>"
                  "&lt;INSTANCE/></VALUE></PROPERTY>"),
         "", "400 request-not-valid Validation error: on line 2: Missing INSTANCE.CLASSNAME"},
        {repeated(65, "<a>"), "",
         "400 request-not-valid Validation error: on line 1: Elements are"},
        {repeated(250'001, "<a b='/>'/>"), "",
         "400 request-not-valid Validation error: on line 1: Too"},
        // What looks like the end of a comment or of a processing instruction is its beginning.
        {"<!--><![CDATA[-->" + repeated(65, "<a>"), "",
         "400 request-not-valid Validation error: on line 1: Elements are"},
        {"<?><![CDATA[?>" + repeated(65, "<a>"), "",
         "400 request-not-valid Validation error: on line 1: Elements are"},
        {"<a>" + repeated(500'001, "x<!---->"), "",
         "400 request-not-valid Validation error: on line 1: Too"},
        {"<?xml " + repeated(500'001, "a='' ") + "?>", "",
         "400 request-not-valid Validation error: on line 1: Too"},
        {creation(deep(30)), "", "400 request-not-valid Validation error: on line 1: Elements are"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE>&any;</VALUE></PROPERTY>"), "",
         "400 request-not-well-formed Malformed reference: on line 1"},
        {creation("<PROPERTY NAME=\"p\" TYPE=\"string\"><VALUE>&#0;</VALUE></PROPERTY>"), "",
         "400 request-not-well-formed"},
        {creation("</VALUE>"), "", "400 request-not-well-formed"},
        {"<?xml version=\"1.0\"?><!DOCTYPE CIM [<!ENTITY e \"x\">]><CIM/>", "",
         "400 request-not-valid"},
        {"<?xml version=\"1.0\"?><HTML/>", "", "400 request-not-valid"},
        {message("<MULTIREQ/>"), "", "400 header-mismatch Missing CIMBatch"},
        {message("<SIMPLEREQ/>"), "", "400 request-not-valid"},
        {method("GetClass", "<IPARAMVALUE NAME=\"ClassName\"><VALUE>C</VALUE></IPARAMVALUE>"),
         "GetClass", "400 request-not-valid Validation"},
    };
    for (const auto& each : cases) {
        const std::string got =
            refusal(each.body, each.method.empty() ? "CreateInstance" : each.method);
        EXPECT_EQ(got.substr(0, strlen(each.refusal)), each.refusal) << each.body;
    }
}

TEST(WireMessages, HeadersMustSayWhatTheMessageSays) {
    const std::string body = method("EnumerateClassNames", "");
    const struct {
        HttpHeaders headers;
        const char* refusal;
    } cases[] = {
        {{{"CIMObject", "other"}}, "400 header-mismatch"},
        {{{"CIMObject", "n:C"}}, "400 request-not-valid"},
        {{{"CIMObject", "%FF"}}, "400 request-not-valid"},
        {{{"CIMOperation", "Other"}}, "400 unsupported-operation"},
        {{{"CIMProtocolVersion", "2.0"}}, "400 header-mismatch"},
        {{{"CIMProtocolVersion", "1.5"}}, "503"},
        {{{"CIMBatch", ""}}, "501 multiple-requests-unsupported"},
        {{{"Content-Type", "text/xml; charset=latin1"}}, "400 HTTP Content-Type"},
        {{}, "503"},  // nothing is wrong, but no server is started
    };
    for (const auto& each : cases) {
        const std::string got = refusal(body, "EnumerateClassNames", each.headers);
        EXPECT_EQ(got.substr(0, strlen(each.refusal)), each.refusal);
    }
    const std::string newer = std::string(body).replace(body.find("N=\"1.0") + 3, 1, "2");
    EXPECT_EQ(refusal(newer, "EnumerateClassNames", {{"CIMProtocolVersion", "2.0"}}).substr(0, 32),
              "501 unsupported-protocol-version");
    EXPECT_EQ(velmar_wire::percentEncoded("root/n: \xC3"), "root%2Fn%3A%20%C3");
    const auto refused = readCall(method("GetClass", "<IPARAMVALUE NAME=\"Colour\"/>"));
    EXPECT_EQ(text(refused.refusal->codedMessage()),
              "CIM_ERR_NOT_SUPPORTED: Unrecognized or invalid request input parameter \"Colour\"");
    // What the header says literally is the same, whatever type its text would be read as.
    for (const auto type : {CIMKeyBinding::STRING, CIMKeyBinding::NUMERIC}) {
        const char* const key = type == CIMKeyBinding::STRING ? "A.b=1" : "1.5";
        const CIMObjectPath object("", "n", "C", Array<CIMKeyBinding>(1, {"k", key, type}));
        const Request call =
            Request(Operation::InvokeMethod, "n", object).method("m", Array<CIMParamValue>());
        const HttpHeaders said = {{"CIMObject", objectOf(call)}};
        EXPECT_EQ(refusal(requestMessage(call, 1), "m", said), "503");
    }
}

template <class T>
void append(std::vector<CIMValue>& values, std::vector<T> items) {
    Array<T> array;
    for (const T& item : items) {
        values.push_back(CIMValue(item));
        array.append(item);
    }
    values.push_back(CIMValue(array));
    values.push_back(CIMValue(Array<T>()));
    values.push_back(CIMValue(values.back().getType(), false));
    values.push_back(CIMValue(values.back().getType(), true));
}

// As a parameter, a return value, and a property of an object in an object.
TEST(WireMessages, ValuesOfAllTypesTravel) {
    std::vector<CIMValue> values;
    append<Boolean>(values, {true, false});
    append<Uint8>(values, {0, 255});
    append<Sint64>(values, {-0x7FFFFFFFFFFFFFFFLL - 1, 5});
    append<Uint64>(values, {0xFFFFFFFFFFFFFFFFULL});
    append<Real32>(values, {1.5f, -3.4e38f});
    append<Real64>(values, {0.1, -1.7976931348623157e308});
    append<Char16>(values, {Char16('<'), Char16(0xE9), Char16(' ')});
    append<String>(values, {"", " <&\"'> \n\t\r \xF0\x9F\x98\x80 \xC3\xA9", "]]>"});
    append<CIMDateTime>(values, {CIMDateTime("20240229235959.123456-300"),
                                 CIMDateTime("00000001020304.000000:000")});
    append<CIMObjectPath>(values,
                          {path("C"), path("C.k=1,l=TRUE,m=\"a\\\"b\""), path("n/m:C.k=\"x\""),
                           path("//h:5988/n:C.r=\"//i/m:D.k=\\\"1\\\"\"")});
    CIMInstance inner = instanceAt("C");
    for (const CIMValue& value : std::vector<CIMValue>(values)) {
        if (value.getType() != CIMTYPE_REFERENCE || !value.isArray()) {
            add(inner, ("p" + std::to_string(inner.getPropertyCount())).c_str(), value);
        }
    }
    append<CIMInstance>(values, {inner});
    CIMInstance outer = instanceAt("D");
    add(outer, "o", CIMValue(CIMObject(inner)));
    append<CIMObject>(values, {CIMObject(outer), CIMObject(CIMClass("E", "C"))});

    for (const CIMValue& value : values) {
        SCOPED_TRACE(cimTypeToString(value.getType()) + (" " + text(value.toString())));
        Array<CIMParamValue> parameters;
        parameters.append(CIMParamValue("typed", value));
        const Request request =
            Request(Operation::InvokeMethod, "n", path("C.k=\"1\"")).method("m", parameters);
        const velmar_wire::Call call = readCall(requestMessage(request, 7));
        ASSERT_TRUE(call.request);
        // Of a null array nothing but its type is said.
        const CIMValue wanted = value.isNull() ? CIMValue(value.getType(), false) : value;
        EXPECT_EQ(call.request->parameters[0].getValue(), wanted);
        EXPECT_EQ(text(call.request->path.toString()), "n:C.k=\"1\"");
        Answer answer;
        answer.returnValue = value;
        answer.parameters = parameters;
        const Answer got = readResponse(request, responseTo(call, answer));
        EXPECT_EQ(got.returnValue, wanted);
        EXPECT_EQ(got.parameters[0].getValue(), wanted);
    }
}

TEST(WireMessages, NullElementsAreDefaults) {
    const auto call =
        readCall(creation("<PROPERTY.ARRAY NAME=\"p\" TYPE=\"string\"><VALUE.ARRAY><VALUE.NULL/>"
                          "<VALUE>b</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"));
    Array<String> wanted;
    wanted.append(String());
    wanted.append("b");
    EXPECT_EQ(call.request->instance.getProperty(0).getValue(), CIMValue(wanted));
}

TEST(WireMessages, ClassesAndQualifiersTravel) {
    velmar_embedded::Server server;
    server.compileMofText("n", R"(
        Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);
        Qualifier Texts : string[], Scope(any), Flavor(Restricted, Translatable);
        Qualifier Size : uint32 = 7, Scope(method, parameter), Flavor(ToInstance);
        [Texts{"a", "<b>"}] class A { [Key] string k = "x"; uint8 fixed[3]; A REF r;
            [Size(9)] uint32 m([Size] sint16 a, string b[], A REF c, A REF d[]); };
        class B : A { real64 more = 1.5; };)");
    const CIMClass original = server.repository().getClass("n", "B");
    Request request(Operation::CreateClass, "n", "B");
    request.cimClass = original;
    auto call = readCall(requestMessage(request, 1));
    EXPECT_EQ(text(CIMObject(call.request->cimClass).toString()),
              text(CIMObject(original).toString()));

    const auto declared = server.repository().qualifiers("n");
    ASSERT_EQ(declared.size(), 3u);
    for (const auto& each : declared) {
        Request setting(Operation::SetQualifier, "n", CIMObjectPath());
        setting.qualifier = each;
        call = readCall(requestMessage(setting, 1));
        EXPECT_TRUE(call.request->qualifier.name.equal(each.name));
        EXPECT_EQ(call.request->qualifier.defaultValue, each.defaultValue);
        EXPECT_TRUE(call.request->qualifier.flavor.equal(each.flavor));
        EXPECT_EQ(call.request->qualifier.scopes, each.scopes);
    }
}

TEST(WireMessages, UrlsNameAServer) {
    const auto read = [](const std::string& url) {
        const Address address = addressOf(url);
        return address.host + " " + std::to_string(address.port) +
               (address.isEncrypted ? " encrypted" : "");
    };
    EXPECT_EQ(read("http://a"), "a 5988");
    EXPECT_EQ(read("https://a.b/cimom"), "a.b 5989 encrypted");
    EXPECT_EQ(read("https://[fe80::1]:1?x"), "fe80::1 1 encrypted");
    EXPECT_EQ(read("http://[::1]"), "::1 5988");
    for (const char* url : {"", "a", "ftp://a", "http://", "http://:1", "http://a:", "http://a:0",
                            "http://a:65536", "http://a:1a", "http://[::1", "http://[::1]1",
                            "http://[]:1", "http://u@a", "https://u:p@a:1"}) {
        EXPECT_THROW(addressOf(url), std::invalid_argument) << url;
    }
}

}  // namespace
