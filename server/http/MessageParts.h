// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What all messages have around them.
#ifndef VELMAR_WIRE_MESSAGEPARTS_H
#define VELMAR_WIRE_MESSAGEPARTS_H

#include <Pegasus/Common/Exception.h>

#include <string>

#include "Xml.h"
#include "model/CIMXml.h"

namespace velmar_wire {

/// Begins a message with its ID, up to what SIMPLEREQ, SIMPLERSP, ... holds.
void openMessage(Pegasus::XmlWriter& writer, const std::string& id, const char* kind);
void closeMessage(Pegasus::XmlWriter& writer, const char* kind);

/// The MESSAGE of a document. Throws MessageFault when it is not a message, of a version not
/// served, or of another major one than the header.
pugi::xml_node messageOf(const Document& document, const std::string* protocolInHeader = nullptr);

/// Runs `read`; what the object model refuses becomes a MessageFault.
template <class Read>
auto guarded(Read&& read) -> decltype(read()) {
    try {
        return read();
    } catch (const Pegasus::Exception& e) {
        throw MessageFault(Defect::Meaningless, std::string(e.getMessage().getCString()));
    }
}

}  // namespace velmar_wire

#endif
