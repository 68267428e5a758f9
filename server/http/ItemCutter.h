// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Cuts a response that comes bit by bit into the elements in its IRETURNVALUE, each of which may be
// read and forgotten, and the rest, which is small. What is no XML is left for those who read it.
//
// Not thread-safe.
#ifndef VELMAR_WIRE_ITEMCUTTER_H
#define VELMAR_WIRE_ITEMCUTTER_H

#include <stddef.h>

#include <functional>
#include <string>

namespace velmar_wire {

class ItemCutter {
 public:
    /// `take` gets each element of IRETURNVALUE.
    explicit ItemCutter(std::function<void(const std::string& element)> take)
        : _take(std::move(take)) {}

    /// Passes on what `take` throws.
    void read(const char* data, size_t size);
    /// The message without those elements, once all was read.
    std::string rest() const { return _rest + _text.substr(_begin); }

 private:
    size_t markupEnd();
    void markup(size_t end);
    void startTag(size_t end);
    void endTag(size_t end);
    void forget();

    const std::function<void(const std::string&)> _take;
    std::string _rest;
    std::string _text;       // not yet taken
    size_t _begin = 0;       // of an item, or of what is to be added to the rest
    size_t _at = 0;          // looked at up to here, or to a < whose end has not come
    size_t _searched = 0;    // for that end
    char _quote = 0;         // that is open there
    size_t _depth = 0;       // of elements
    bool _isInside = false;  // of IRETURNVALUE
};

}  // namespace velmar_wire

#endif
