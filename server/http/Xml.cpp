// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Xml.h"

#include <string.h>

#include <algorithm>
#include <new>

namespace velmar_wire {

namespace {

bool startsWith(const std::string& text, size_t at, const char* what) {
    return text.compare(at, strlen(what), what) == 0;
}

// The end of what begins at `at` and ends with `end`; the text's end if it does not end.
size_t skip(const std::string& text, size_t at, const char* end) {
    const size_t found = text.find(end, at);
    return found == std::string::npos ? text.size() : found + strlen(end);
}

bool isReference(const std::string& text, size_t at) {
    static const char* const known[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    if (std::any_of(std::begin(known), std::end(known),
                    [&](const char* name) { return startsWith(text, at, name); })) {
        return true;
    }
    if (!startsWith(text, at, "&#")) {
        return false;
    }
    const bool hexadecimal = startsWith(text, at, "&#x");
    const char* const digits = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
    const size_t first = at + (hexadecimal ? 3 : 2);
    const size_t end = text.find_first_not_of(digits, first);
    if (end == std::string::npos || end == first || end - first > 7 || text[end] != ';') {
        return false;
    }
    const unsigned long code =
        std::stoul(text.substr(first, end - first), nullptr, hexadecimal ? 16 : 10);
    return code != 0 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

// What pugixml would take as it comes, before it makes a tree of it.
class TextCheck {
 public:
    TextCheck(const std::string& text, size_t maximumParts)
        : _text(text), _maximumParts(maximumParts) {}

    void run() {
        for (size_t i = 0; i < _text.size();) {
            if (_text[i] == '<') {
                i = markup(i);
            } else {
                character(i++);
            }
        }
    }

 private:
    [[noreturn]] void fail(Defect defect, const char* reason, size_t at) const {
        throw MessageFault(defect, reason, ptrdiff_t(at));
    }

    void character(size_t at) const {
        const char c = _text[at];
        if (c == '&' && !isReference(_text, at)) {
            fail(Defect::NotWellFormed, "Malformed reference", at);
        }
        if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') {
            fail(Defect::NotWellFormed, "Control character", at);
        }
    }

    // The end of what begins with the < at `at`.
    size_t markup(size_t at) {
        count(at);  // also what parts a text, each piece of which becomes a node
        if (startsWith(_text, at, "<!--")) {
            return skip(_text, at + 4, "-->");
        }
        if (startsWith(_text, at, "<![CDATA[")) {
            return skip(_text, at + 9, "]]>");
        }
        if (startsWith(_text, at, "<!")) {
            fail(Defect::Invalid, "A document type is not accepted", at);
        }
        if (startsWith(_text, at, "<?")) {
            const size_t end = skip(_text, at + 2, "?>");
            for (size_t i = _text.find('=', at); i < end; i = _text.find('=', i + 1)) {
                count(i);  // an attribute of a declaration
            }
            return end;
        }
        if (startsWith(_text, at, "</")) {
            _depth -= _depth > 0;
            return at + 2;
        }
        return tag(at);
    }

    size_t tag(size_t at) {
        if (++_depth > Document::maximumDepth) {
            fail(Defect::Invalid, "Elements are nested too deeply", at);
        }
        char quote = 0;
        for (size_t i = at + 1; i < _text.size(); i++) {
            const char c = _text[i];
            character(i);
            if (c == quote) {
                quote = 0;
            } else if (quote == 0 && (c == '"' || c == '\'')) {
                quote = c;
                count(i);
            } else if (quote == 0 && c == '>') {
                _depth -= _text[i - 1] == '/';
                return i + 1;
            }
        }
        return _text.size();
    }

    void count(size_t at) {
        if (++_parts > _maximumParts) {
            fail(Defect::Invalid, "Too many elements and attributes", at);
        }
    }

    const std::string& _text;
    const size_t _maximumParts;
    size_t _depth = 0;
    size_t _parts = 0;
};

std::string tagOf(pugi::xml_node element) {
    return element ? std::string(element.name()) : "no element";
}

}  // namespace

void invalid(pugi::xml_node at, const std::string& text) {
    throw MessageFault(Defect::Invalid, text, at.offset_debug());
}

void meaningless(pugi::xml_node at, const std::string& text) {
    throw MessageFault(Defect::Meaningless, text, at.offset_debug());
}

Document::Document(const std::string& text, size_t maximumParts) {
    if (!isUtf8(text)) {
        throw MessageFault(Defect::Invalid, "Invalid UTF-8 character detected.");
    }
    TextCheck(text, maximumParts).run();
    const unsigned flags =
        pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_declaration;
    const pugi::xml_parse_result result =
        _tree.load_buffer(text.data(), text.size(), flags, pugi::encoding_utf8);
    if (result.status == pugi::status_out_of_memory) {
        throw std::bad_alloc();
    }
    if (!result && result.status != pugi::status_no_document_element) {
        throw MessageFault(Defect::NotWellFormed, result.description(), result.offset);
    }
}

size_t lineAt(const std::string& text, ptrdiff_t offset) {
    const auto end = text.begin() + std::min(offset, ptrdiff_t(text.size()));
    return 1 + size_t(std::count(text.begin(), end, '\n'));
}

bool isUtf8(const std::string& text) {
    const auto* c = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = c + text.size();
    while (c < end) {
        const unsigned lead = *c++;
        if (lead < 0x80) {
            continue;
        }
        const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (lead < 0xC2 || lead > 0xF4 || end - c < more) {
            return false;
        }
        // No overlong forms, no surrogates, nothing behind U+10FFFF.
        const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (*c < low || *c > high) {
            return false;
        }
        for (int i = 0; i < more; i++, c++) {
            if ((*c & 0xC0) != 0x80) {
                return false;
            }
        }
    }
    return true;
}

bool is(pugi::xml_node element, const char* name) { return strcmp(element.name(), name) == 0; }

pugi::xml_node firstElement(pugi::xml_node parent) {
    const pugi::xml_node first = parent.first_child();
    return !first || first.type() == pugi::node_element ? first : nextElement(first);
}

pugi::xml_node nextElement(pugi::xml_node element) {
    do {
        element = element.next_sibling();
    } while (element && element.type() != pugi::node_element);
    return element;
}

pugi::xml_node onlyElement(pugi::xml_node parent) {
    const pugi::xml_node first = firstElement(parent);
    const pugi::xml_node second = nextElement(first);
    if (!first || second) {
        invalid(first ? second : parent, "Expected one element in " + tagOf(parent) + ", got " +
                                             (first ? tagOf(second) + " after it" : "none"));
    }
    return first;
}

std::string textIn(pugi::xml_node element) {
    std::string text;
    for (pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_element) {
            invalid(child, "Expected a text in " + tagOf(element) + ", got " + tagOf(child));
        }
        text += child.value();
    }
    return text;
}

}  // namespace velmar_wire
