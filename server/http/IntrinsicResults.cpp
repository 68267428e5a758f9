// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "IntrinsicResults.h"

#include <string>

#include "CimReader.h"

using namespace Pegasus;
using velmar_embedded::Answer;
using velmar_embedded::QualifierDeclaration;

namespace velmar_wire {

void require(pugi::xml_node element, const char* tag) {
    if (!is(element, tag)) {
        invalid(element, std::string("Expected ") + tag + ", got " + element.name());
    }
}

void writeNamedInstance(XmlWriter& writer, const CIMInstance& instance) {
    writer.raw("<VALUE.NAMEDINSTANCE>");
    writer.name(instance.getPath(), true);
    writer.object(*HandleAccess::rep(instance));
    writer.raw("</VALUE.NAMEDINSTANCE>");
}

void writeDeclaration(XmlWriter& writer, const QualifierDeclaration& declared) {
    writer.raw("<QUALIFIER.DECLARATION");
    writer.attribute("NAME", declared.name.getString());
    writer.valueAttributes(declared.defaultValue, 0);  // as many items as it likes
    writer.attribute("ISARRAY", declared.defaultValue.isArray() ? "true" : "");
    writer.flavors(declared.flavor);
    writer.raw(">");
    if (declared.scopes.any()) {
        writer.raw("<SCOPE");
        for (unsigned i = 0; i < velmar_embedded::qualifierScopeCount; i++) {
            writer.attribute(scopeAttribute(i).c_str(), declared.scopes[i] ? "true" : "");
        }
        writer.raw("/>");
    }
    writer.value(declared.defaultValue);
    writer.raw("</QUALIFIER.DECLARATION>");
}

namespace {

// One element for each item.
template <class Items, class Write>
void writeEach(const Items& items, Write&& write) {
    for (Uint32 i = 0; i < items.size(); i++) {
        write(items[i]);
    }
}

}  // namespace

namespace results {

const IntrinsicResult classes = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.classes,
                  [&](const CIMClass& each) { writer.object(*HandleAccess::rep(each)); });
    },
    [](Answer& answer, pugi::xml_node element) { answer.classes.append(classOf(element)); }};

const IntrinsicResult classNames = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.names, [&](const CIMName& each) {
            writer.name(CIMObjectPath(String(), CIMNamespaceName(), each));
        });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "CLASSNAME");
        answer.names.append(nameOf(element));
    }};

const IntrinsicResult instance = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.instances,
                  [&](const CIMInstance& each) { writer.object(*HandleAccess::rep(each)); });
    },
    [](Answer& answer, pugi::xml_node element) { answer.instances.append(instanceOf(element)); }};

const IntrinsicResult namedInstances = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.instances,
                  [&](const CIMInstance& each) { writeNamedInstance(writer, each); });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "VALUE.NAMEDINSTANCE");
        answer.instances.append(CIMInstance(objectOf(element)));
    }};

const IntrinsicResult instanceNames = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.paths, [&](const CIMObjectPath& each) { writer.name(each, true); });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "INSTANCENAME");
        answer.paths.append(pathOf(element));
    }};

const IntrinsicResult objectsWithPath = {[](XmlWriter& writer, const Answer& answer) {
                                             writeEach(answer.objects, [&](const CIMObject& each) {
                                                 writer.raw("<VALUE.OBJECTWITHPATH>");
                                                 writer.path(each.getPath());
                                                 writer.object(*HandleAccess::rep(each));
                                                 writer.raw("</VALUE.OBJECTWITHPATH>");
                                             });
                                         },
                                         [](Answer& answer, pugi::xml_node element) {
                                             require(element, "VALUE.OBJECTWITHPATH");
                                             answer.objects.append(objectOf(element));
                                         }};

const IntrinsicResult objectPaths = {[](XmlWriter& writer, const Answer& answer) {
                                         writeEach(answer.paths, [&](const CIMObjectPath& each) {
                                             writer.raw("<OBJECTPATH>");
                                             writer.path(each);
                                             writer.raw("</OBJECTPATH>");
                                         });
                                     },
                                     [](Answer& answer, pugi::xml_node element) {
                                         require(element, "OBJECTPATH");
                                         answer.paths.append(pathOf(element));
                                     }};

const IntrinsicResult declarations = {
    [](XmlWriter& writer, const Answer& answer) {
        for (const QualifierDeclaration& each : answer.qualifiers) {
            writeDeclaration(writer, each);
        }
    },
    [](Answer& answer, pugi::xml_node element) {
        answer.qualifiers.push_back(qualifierDeclarationOf(element));
    }};

const IntrinsicResult instancesWithPath = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.instances, [&](const CIMInstance& each) {
            writer.raw("<VALUE.INSTANCEWITHPATH>");
            writer.path(each.getPath());
            writer.object(*HandleAccess::rep(each));
            writer.raw("</VALUE.INSTANCEWITHPATH>");
        });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "VALUE.INSTANCEWITHPATH");
        answer.instances.append(CIMInstance(objectOf(element)));
    }};

const IntrinsicResult instancePaths = {
    [](XmlWriter& writer, const Answer& answer) {
        writeEach(answer.paths, [&](const CIMObjectPath& each) { writer.path(each); });
    },
    [](Answer& answer, pugi::xml_node element) {
        require(element, "INSTANCEPATH");
        answer.paths.append(pathOf(element));
    }};

const IntrinsicResult openValue = {
    [](XmlWriter& writer, const Answer& answer) { writer.value(answer.returnValue); },
    [](Answer& answer, pugi::xml_node element) {
        answer.returnValue = returnValueOf(element.parent());
    }};

const IntrinsicResult count = {openValue.write, [](Answer& answer, pugi::xml_node element) {
                                   answer.returnValue =
                                       valueIn(element.parent(), CIMTYPE_UINT64, false);
                               }};

}  // namespace results

}  // namespace velmar_wire
