// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Responses: written by servers, read by clients; and what all messages have around them.
#include <Pegasus/Common/Exception.h>
#include <string.h>

#include "CimReader.h"
#include "MessageParts.h"
#include "Messages.h"

using namespace Pegasus;
using velmar_embedded::Answer;
using velmar_embedded::Request;

namespace velmar_wire {

namespace {

const char* elementOf(const Call& call) {
    return call.isExtrinsic ? "METHODRESPONSE" : "IMETHODRESPONSE";
}

void openResponse(XmlWriter& writer, const Call& call) {
    openMessage(writer, call.id, "SIMPLERSP");
    writer.raw("<");
    writer.raw(elementOf(call));
    writer.attribute("NAME", stringOf(call.method));
    writer.raw(">");
}

void closeResponse(XmlWriter& writer, const Call& call) {
    writer.raw("</");
    writer.raw(elementOf(call));
    writer.raw(">");
    closeMessage(writer, "SIMPLERSP");
}

void writeMethodResult(XmlWriter& writer, const Answer& answer) {
    writer.raw("<RETURNVALUE");
    writer.valueAttributes(answer.returnValue, 0, "PARAMTYPE");
    writer.raw(">");
    writer.value(answer.returnValue);
    writer.raw("</RETURNVALUE>");
    for (Uint32 i = 0; i < answer.parameters.size(); i++) {
        const CIMParamValue& parameter = answer.parameters[i];
        writer.raw("<PARAMVALUE");
        writer.attribute("NAME", parameter.getParameterName());
        writer.valueAttributes(parameter.getValue(), 0, "PARAMTYPE");
        writer.raw(">");
        writer.value(parameter.getValue());
        writer.raw("</PARAMVALUE>");
    }
}

void writeContinuation(XmlWriter& writer, const String& continuation) {
    const bool isLast = continuation.size() == 0;
    writer.raw("<PARAMVALUE NAME=\"EndOfSequence\">");
    writer.value(CIMValue(Boolean(isLast)));
    writer.raw("</PARAMVALUE><PARAMVALUE NAME=\"EnumerationContext\">");
    writer.element("VALUE", continuation);
    writer.raw("</PARAMVALUE>");
}

// All but the objects.
void readIntrinsicResult(const Intrinsic& intrinsic, pugi::xml_node element, Answer& answer) {
    if (!intrinsic.result) {
        return;
    }
    bool isLast = false;
    for (auto part = firstElement(element); part; part = nextElement(part)) {
        const std::string name = part.attribute("NAME").as_string();
        if (is(part, "IRETURNVALUE")) {
            continue;  // its elements came before
        }
        if (is(part, "PARAMVALUE") && name == "EndOfSequence") {
            isLast = booleanOf(onlyElement(part));
        } else if (is(part, "PARAMVALUE") && name == "EnumerationContext") {
            const pugi::xml_node value = firstElement(part);
            answer.continuation = value ? stringOf(textIn(value)) : String();
        } else {
            invalid(part, std::string("Expected IRETURNVALUE, got ") + part.name());
        }
    }
    if (isLast) {
        answer.continuation = String();
    }
}

void readMethodResult(pugi::xml_node element, Answer& answer) {
    for (auto child = firstElement(element); child; child = nextElement(child)) {
        if (is(child, "RETURNVALUE")) {
            answer.returnValue = returnValueOf(child);
        } else if (is(child, "PARAMVALUE")) {
            answer.parameters.append(parameterOf(child));
        } else {
            invalid(child, std::string("Expected RETURNVALUE or PARAMVALUE, got ") + child.name());
        }
    }
}

void checkVersion(pugi::xml_node element, const char* attribute, const char* begin,
                  const char* what, const char* cimError) {
    const std::string version = utf8(attributeOf(element, attribute));
    const std::string text = std::string(what) + " version \"" + version + "\" is not supported.";
    if (version.rfind(begin, 0) != 0) {
        throw MessageFault(Defect::Unsupported, text, -1, cimError);
    }
}

bool isProtocol1(const std::string& version) { return version.rfind("1.", 0) == 0; }

}  // namespace

void openMessage(XmlWriter& writer, const std::string& id, const char* kind) {
    writer.raw(
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
        "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">\n<MESSAGE ID=\"");
    writer.escaped(stringOf(id), true);
    writer.raw("\" PROTOCOLVERSION=\"1.0\">\n<");
    writer.raw(kind);
    writer.raw(">\n");
}

void closeMessage(XmlWriter& writer, const char* kind) {
    writer.raw("\n</");
    writer.raw(kind);
    writer.raw(">\n</MESSAGE>\n</CIM>\n");
}

pugi::xml_node messageOf(const Document& document, const std::string* protocolInHeader) {
    if (!document.hasDeclaration()) {
        throw MessageFault(Defect::Invalid, "Expected <?xml ... ?> style declaration", 0);
    }
    const pugi::xml_node root = document.root();
    if (!is(root, "CIM")) {
        invalid(root, "Expected open of CIM element");
    }
    checkVersion(root, "CIMVERSION", "2.", "CIM", "unsupported-cim-version");
    checkVersion(root, "DTDVERSION", "2.", "DTD", "unsupported-dtd-version");
    const pugi::xml_node message = onlyElement(root);
    if (!is(message, "MESSAGE")) {
        invalid(message, std::string("Expected MESSAGE, got ") + message.name());
    }
    if (!message.attribute("ID")) {
        invalid(message, "Invalid or missing MESSAGE.ID attribute");
    }
    const std::string version = utf8(attributeOf(message, "PROTOCOLVERSION"));
    if (protocolInHeader && version != *protocolInHeader &&
        !(isProtocol1(version) && isProtocol1(*protocolInHeader))) {
        throw MessageFault(Defect::HeaderMismatch,
                           "CIMProtocolVersion value \"" + *protocolInHeader +
                               "\" does not match CIM request protocol version \"" + version +
                               "\".");
    }
    checkVersion(message, "PROTOCOLVERSION", "1.", "CIM protocol", "unsupported-protocol-version");
    return message;
}

ResponseWriter::ResponseWriter(const Call& call) : _call(call) { openResponse(_writer, call); }

void ResponseWriter::add(const Answer& piece) {
    if (_call.isExtrinsic) {
        writeMethodResult(_writer, piece);
        return;
    }
    _continuation = piece.continuation;
    if (_call.intrinsic->result && piece.size() > 0) {
        _writer.raw(_hasResult ? "" : "<IRETURNVALUE>");
        _hasResult = true;
        _call.intrinsic->result->write(_writer, piece);
    }
}

void ResponseWriter::end() {
    // What is pulled has no result if it has no objects.
    const bool isEmpty = !_call.isExtrinsic && _call.intrinsic->result && !_continuation;
    if (_hasResult) {
        _writer.raw("</IRETURNVALUE>");
    } else if (isEmpty) {
        _writer.raw("<IRETURNVALUE></IRETURNVALUE>");
    }
    if (_continuation) {
        writeContinuation(_writer, *_continuation);
    }
    closeResponse(_writer, _call);
}

std::string responseTo(const Call& call, const Answer& answer) {
    ResponseWriter writer(call);
    writer.add(answer);
    writer.end();
    return writer.take();
}

std::string errorTo(const Call& call, CIMStatusCode code, const String& text) {
    XmlWriter writer;
    openResponse(writer, call);
    writer.raw("<ERROR");
    writer.attribute("CODE", CIMValue(Uint32(code)).toString());
    writer.attribute("DESCRIPTION", text);
    writer.raw("/>");
    closeResponse(writer, call);
    return writer.take();
}

std::string emptyResponseTo(const Call& call) {
    XmlWriter writer;
    openResponse(writer, call);
    closeResponse(writer, call);
    return writer.take();
}

void throwStatus(const std::string& code, const std::string& text) {
    char* end = nullptr;
    const unsigned long number = strtoul(code.c_str(), &end, 10);
    if (code.empty() || *end || number == 0 || number > 0xFFFF) {
        throw MessageFault(Defect::Meaningless, "Illegal value for ERROR.CODE attribute");
    }
    const String description = stringOf(text);
    const unsigned long lastThatFits = 31;  // in the enumeration, which says nothing of its type
    if (number > lastThatFits) {
        throw CIMException(CIM_ERR_FAILED, String("status ") + stringOf(code) + ": " + description);
    }
    const auto status = CIMStatusCode(number);
    throw CIMException(
        status, description.size() > 0 ? description : String(cimStatusCodeToString(status)));
}

ResponseReader::ResponseReader(const Request& request)
    : _intrinsic(findIntrinsic(request.operation)),
      _cutter([this](const std::string& element) { add(element); }) {}

// Several at a time: a document costs some memory by itself.
void ResponseReader::add(const std::string& element) {
    const size_t enough = 16 * 1024;
    _items += element;
    if (_items.size() >= enough) {
        readItems();
    }
}

void ResponseReader::readItems() {
    const Document document("<IRETURNVALUE>" + _items + "</IRETURNVALUE>");
    _items.clear();
    if (_intrinsic && _intrinsic->result) {
        guarded([&] {
            for (auto item = firstElement(document.root()); item; item = nextElement(item)) {
                _intrinsic->result->read(_answer, item);
            }
        });
    }
}

Answer ResponseReader::end() {
    readItems();
    const Document document(_cutter.rest());
    const pugi::xml_node message = messageOf(document);
    const pugi::xml_node reply = onlyElement(message);
    if (!is(reply, "SIMPLERSP")) {
        invalid(reply, std::string("Expected SIMPLERSP, got ") + reply.name());
    }
    const pugi::xml_node element = onlyElement(reply);
    if (!is(element, _intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE")) {
        invalid(element, std::string("Expected the response of a method, got ") + element.name());
    }
    const pugi::xml_node first = firstElement(element);
    if (is(first, "ERROR")) {
        throwStatus(utf8(attributeOf(first, "CODE")), first.attribute("DESCRIPTION").as_string());
    }
    guarded([&] {
        if (_intrinsic) {
            readIntrinsicResult(*_intrinsic, element, _answer);
        } else {
            readMethodResult(element, _answer);
        }
    });
    return std::move(_answer);
}

Answer readResponse(const Request& request, const std::string& body) {
    ResponseReader reader(request);
    reader.read(body.data(), body.size());
    return reader.end();
}

}  // namespace velmar_wire
