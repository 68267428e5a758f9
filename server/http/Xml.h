// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The text of a message as a tree of elements, and what is wrong with it.
//
// pugixml reads it: messages are small trees that are walked once, for which it is several times
// faster than libxml2, and it neither loads nor expands anything. What it lets pass is checked
// before: UTF-8, references to entities, document types.
#ifndef VELMAR_WIRE_XML_H
#define VELMAR_WIRE_XML_H

#include <stddef.h>
#include <stdint.h>

#include <pugixml.hpp>
#include <stdexcept>
#include <string>

namespace velmar_wire {

/// Why a message has no CIM answer.
enum class Defect {
    NotWellFormed,         ///< no XML
    Invalid,               ///< not the elements that DSP0201 wants
    Meaningless,           ///< the elements, but a value that cannot be
    Unsupported,           ///< a version or a form of message that is not served
    HeaderMismatch,        ///< the HTTP headers say something else
    UnsupportedOperation,  ///< a CIMOperation header other than MethodCall
    BadHeader              ///< HTTP headers that cannot be
};

class MessageFault : public std::runtime_error {
 public:
    MessageFault(Defect kind, const std::string& text, ptrdiff_t at = -1,
                 const char* error = nullptr)
        : std::runtime_error(text), defect(kind), offset(at), cimError(error) {}

    Defect defect;
    ptrdiff_t offset;      ///< in the message's text, negative where no place is meant
    const char* cimError;  ///< the CIMError header where the defect alone does not say it
};

/// Throw the fault of an element.
[[noreturn]] void invalid(pugi::xml_node at, const std::string& text);
[[noreturn]] void meaningless(pugi::xml_node at, const std::string& text);

class Document {
 public:
    static constexpr size_t maximumDepth = 64;

    /// Throws MessageFault for a text that is not UTF-8, not XML, has a document type, refers to
    /// entities that XML itself does not define, is nested deeper than maximumDepth, or has more
    /// than `maximumParts` (elements, their ends, attributes): before a tree is made of it, which
    /// is up to twenty times as large.
    explicit Document(const std::string& text, size_t maximumParts = SIZE_MAX);

    pugi::xml_node root() const { return _tree.document_element(); }
    bool hasDeclaration() const { return _tree.first_child().type() == pugi::node_declaration; }

 private:
    pugi::xml_document _tree;
};

/// From 1.
size_t lineAt(const std::string& text, ptrdiff_t offset);
bool isUtf8(const std::string& text);

/// Whether an element is called this.
bool is(pugi::xml_node element, const char* name);
/// The elements in an element; a text between them counts for nothing.
pugi::xml_node firstElement(pugi::xml_node parent);
pugi::xml_node nextElement(pugi::xml_node element);
/// The one element in an element. Throws MessageFault unless there is exactly one.
pugi::xml_node onlyElement(pugi::xml_node parent);
/// All text in an element, whatever comments and CDATA sections it is cut into.
std::string textIn(pugi::xml_node element);

}  // namespace velmar_wire

#endif
