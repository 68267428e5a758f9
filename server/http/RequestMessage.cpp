// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Requests: read by servers, written by clients. Exports: written by servers.
#include <strings.h>

#include <vector>

#include "CimReader.h"
#include "MessageParts.h"
#include "Messages.h"

using namespace Pegasus;
using velmar_embedded::Operation;
using velmar_embedded::Request;

namespace velmar_wire {

namespace {

using Values = std::vector<std::pair<std::string, pugi::xml_node>>;

void refuse(Call& call, CIMStatusCode code, const String& text) {
    call.request.reset();
    call.refusal = {code, text};
}

// What a request has where it says nothing: classes come with their qualifiers, and without what
// they inherit.
Request requestFor(const Intrinsic& intrinsic, const CIMNamespaceName& nameSpace) {
    Request request(intrinsic.operation, nameSpace, CIMObjectPath());
    switch (intrinsic.operation) {
        case Operation::EnumerateClasses:
        case Operation::EnumerateClassNames:
            request.deepInheritance = false;
            [[fallthrough]];
        case Operation::GetClass:
            request.localOnly = true;
            [[fallthrough]];
        case Operation::ModifyInstance:
            request.includeQualifiers = true;
            break;
        default:
            break;
    }
    return request;
}

// Each parameter once, by name. False after a refusal.
bool fill(Call& call, const Values& values) {
    std::vector<bool> given(call.intrinsic->parameters.size());
    for (const auto& [name, value] : values) {
        size_t i = 0;
        while (i < given.size() &&
               strcasecmp(call.intrinsic->parameters[i].name, name.c_str()) != 0) {
            i++;
        }
        if (i == given.size()) {
            refuse(call, CIM_ERR_NOT_SUPPORTED,
                   stringOf("Unrecognized or invalid request input parameter \"" + name + "\""));
            return false;
        }
        if (given[i]) {
            refuse(call, CIM_ERR_INVALID_PARAMETER, "Duplicated request input parameter.");
            return false;
        }
        if (value) {
            given[i] = true;
            call.intrinsic->parameters[i].read(*call.request, value);
        }
    }
    for (size_t i = 0; i < given.size(); i++) {
        const IntrinsicParameter& parameter = call.intrinsic->parameters[i];
        if (parameter.isRequired && !given[i]) {
            refuse(call, CIM_ERR_INVALID_PARAMETER,
                   stringOf(std::string("Required parameter \"") + parameter.name +
                            "\" missing from request."));
            return false;
        }
    }
    return true;
}

void readIntrinsic(Call& call, pugi::xml_node element) {
    pugi::xml_node child = firstElement(element);
    if (!is(child, "LOCALNAMESPACEPATH")) {
        invalid(element, "Expected LOCALNAMESPACEPATH in IMETHODCALL");
    }
    call.nameSpace = nameSpaceOf(child);
    Values values;
    while ((child = nextElement(child))) {
        if (!is(child, "IPARAMVALUE")) {
            invalid(child, std::string("Expected IPARAMVALUE, got ") + child.name());
        }
        const pugi::xml_node value = firstElement(child);
        values.emplace_back(utf8(attributeOf(child, "NAME")),
                            value ? onlyElement(child) : pugi::xml_node());
    }
    call.intrinsic = findIntrinsic(call.method);
    if (!call.intrinsic) {
        const bool known = isRefusedIntrinsic(call.method);
        refuse(call, CIM_ERR_NOT_SUPPORTED,
               known ? String() : stringOf("Unrecognized intrinsic method: " + call.method));
        return;
    }
    call.request = requestFor(*call.intrinsic, call.nameSpace);
    if (fill(call, values) && call.request->operation == Operation::CreateInstance) {
        call.request->instance.setPath(call.request->path);
    }
}

void readExtrinsic(Call& call, pugi::xml_node element) {
    call.isExtrinsic = true;
    const CIMName method = nameOf(element);
    pugi::xml_node child = firstElement(element);
    if (!is(child, "LOCALINSTANCEPATH") && !is(child, "LOCALCLASSPATH")) {
        invalid(element, "Expected LOCALINSTANCEPATH or LOCALCLASSPATH in METHODCALL");
    }
    call.object = pathOf(child);
    call.nameSpace = call.object.getNameSpace();
    Array<CIMParamValue> parameters;
    while ((child = nextElement(child))) {
        if (!is(child, "PARAMVALUE")) {
            invalid(child, std::string("Expected PARAMVALUE, got ") + child.name());
        }
        parameters.append(parameterOf(child));
    }
    call.request =
        Request(Operation::InvokeMethod, call.nameSpace, call.object).method(method, parameters);
}

void writeParameters(XmlWriter& writer, const Request& request) {
    const Intrinsic& intrinsic = *findIntrinsic(request.operation);
    for (const IntrinsicParameter& parameter : intrinsic.parameters) {
        XmlWriter value;
        parameter.write(value, request);
        const std::string text = value.take();
        if (!text.empty()) {
            writer.raw("<IPARAMVALUE");
            writer.attribute("NAME", parameter.name);
            writer.raw((">" + text + "</IPARAMVALUE>").c_str());
        }
    }
}

void writeExtrinsic(XmlWriter& writer, const Request& request) {
    writer.raw("<METHODCALL");
    writer.attribute("NAME", request.methodName.getString());
    writer.raw(">");
    writer.path(CIMObjectPath(String(), request.nameSpace, request.path.getClassName(),
                              request.path.getKeyBindings()));
    for (Uint32 i = 0; i < request.parameters.size(); i++) {
        const CIMParamValue& parameter = request.parameters[i];
        writer.raw("<PARAMVALUE");
        writer.attribute("NAME", parameter.getParameterName());
        if (parameter.isTyped()) {
            writer.valueAttributes(parameter.getValue(), 0, "PARAMTYPE");
        }
        writer.raw(">");
        writer.value(parameter.getValue());
        writer.raw("</PARAMVALUE>");
    }
    writer.raw("</METHODCALL>");
}

std::string placeOf(const CIMNamespaceName& nameSpace, const CIMObjectPath& object) {
    return utf8(CIMObjectPath(String(), nameSpace, object.getClassName(), object.getKeyBindings())
                    .toString());
}

}  // namespace

Call readCall(const std::string& body, const std::string& protocolInHeader) {
    return guarded([&] {
        const Document document(body, 500'000);
        const pugi::xml_node message = messageOf(document, &protocolInHeader);
        Call call;
        call.id = utf8(attributeOf(message, "ID"));
        const pugi::xml_node request = onlyElement(message);
        if (is(request, "MULTIREQ")) {
            // With the header that says so it would have been refused before.
            throw MessageFault(Defect::HeaderMismatch, "Missing CIMBatch HTTP header.");
        }
        if (!is(request, "SIMPLEREQ")) {
            invalid(request, std::string("Expected SIMPLEREQ, got ") + request.name());
        }
        const pugi::xml_node element = onlyElement(request);
        call.method = utf8(attributeOf(element, "NAME"));
        if (is(element, "IMETHODCALL")) {
            readIntrinsic(call, element);
        } else if (is(element, "METHODCALL")) {
            readExtrinsic(call, element);
        } else {
            invalid(element,
                    std::string("Expected IMETHODCALL or METHODCALL, got ") + element.name());
        }
        return call;
    });
}

std::string requestMessage(const Request& request, unsigned id) {
    XmlWriter writer;
    openMessage(writer, std::to_string(id), "SIMPLEREQ");
    if (request.operation == Operation::InvokeMethod) {
        writeExtrinsic(writer, request);
    } else {
        writer.raw("<IMETHODCALL");
        writer.attribute("NAME", findIntrinsic(request.operation)->name);
        writer.raw(">");
        writer.nameSpace(request.nameSpace);
        writeParameters(writer, request);
        writer.raw("</IMETHODCALL>");
    }
    closeMessage(writer, "SIMPLEREQ");
    return writer.take();
}

std::string methodOf(const Request& request) {
    return request.operation == Operation::InvokeMethod ? utf8(request.methodName.getString())
                                                        : findIntrinsic(request.operation)->name;
}

std::string objectOf(const Request& request) {
    return request.operation == Operation::InvokeMethod ? placeOf(request.nameSpace, request.path)
                                                        : utf8(request.nameSpace.getString());
}

std::string objectOf(const Call& call) {
    return call.isExtrinsic ? placeOf(call.nameSpace, call.object)
                            : utf8(call.nameSpace.getString());
}

std::string exportMessage(const CIMInstance& indication, unsigned id) {
    XmlWriter writer;
    openMessage(writer, std::to_string(id), "SIMPLEEXPREQ");
    writer.raw("<EXPMETHODCALL NAME=\"ExportIndication\"><EXPPARAMVALUE NAME=\"NewIndication\">");
    writer.object(*HandleAccess::rep(indication));
    writer.raw("</EXPPARAMVALUE></EXPMETHODCALL>");
    closeMessage(writer, "SIMPLEEXPREQ");
    return writer.take();
}

Export readExport(const std::string& body) {
    const Document document(body, 500'000);
    const pugi::xml_node message = messageOf(document);
    return guarded([&] {
        pugi::xml_node element = message;
        for (const char* const name :
             {"SIMPLEEXPREQ", "EXPMETHODCALL", "EXPPARAMVALUE", "INSTANCE"}) {
            element = onlyElement(element);
            if (!is(element, name)) {
                invalid(element, std::string("Expected ") + name + " element");
            }
        }
        return Export{utf8(attributeOf(message, "ID")), instanceOf(element)};
    });
}

std::string exportResponse(const std::string& id) {
    XmlWriter writer;
    openMessage(writer, id, "SIMPLEEXPRSP");
    writer.raw(
        "<EXPMETHODRESPONSE NAME=\"ExportIndication\"><IRETURNVALUE></IRETURNVALUE>"
        "</EXPMETHODRESPONSE>");
    closeMessage(writer, "SIMPLEEXPRSP");
    return writer.take();
}

}  // namespace velmar_wire
