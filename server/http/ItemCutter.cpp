// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "ItemCutter.h"

#include <string.h>

#include <algorithm>

namespace velmar_wire {

namespace {

const char resultTag[] = "<IRETURNVALUE";
const size_t depthOfResult = 5;  // CIM, MESSAGE, SIMPLERSP, IMETHODRESPONSE

}  // namespace

void ItemCutter::read(const char* data, size_t size) {
    _text.append(data, size);
    while ((_at = std::min(_text.find('<', _at), _text.size())) < _text.size()) {
        const size_t end = markupEnd();
        if (end == std::string::npos) {
            break;
        }
        markup(end);
        _at = end;
        _searched = 0;
        _quote = 0;
    }
    forget();
}

// Drops what was taken, and what stands between items.
void ItemCutter::forget() {
    if (!_isInside) {
        _rest.append(_text, _begin, _at - _begin);
    }
    if (!_isInside || _depth == depthOfResult) {
        _begin = _at;
    }
    _text.erase(0, _begin);
    _at -= _begin;
    _searched -= std::min(_searched, _begin);
    _begin = 0;
}

// The end of what begins with the < at _at; npos if it has not come. Looks at no byte twice.
size_t ItemCutter::markupEnd() {
    const size_t left = _text.size() - _at;
    if (left < 2 || (_text[_at + 1] == '!' && left < strlen("<![CDATA["))) {
        return std::string::npos;
    }
    const struct {
        const char* begin;
        const char* end;
    } kinds[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const auto& kind : kinds) {
        const size_t length = strlen(kind.begin);
        if (_text.compare(_at, length, kind.begin) == 0) {
            const size_t end = _text.find(kind.end, std::max(_at + length, _searched));
            _searched = std::max(_at + length, _text.size() - 2);
            return end == std::string::npos ? end : end + strlen(kind.end);
        }
    }
    for (size_t i = std::max(_at + 1, _searched); i < _text.size(); i++) {
        const char c = _text[i];
        if (c == _quote) {
            _quote = 0;
        } else if (_quote == 0 && (c == '"' || c == '\'')) {
            _quote = c;
        } else if (_quote == 0 && c == '>') {
            return i + 1;
        }
    }
    _searched = _text.size();
    return std::string::npos;
}

void ItemCutter::markup(size_t end) {
    const char kind = _text[_at + 1];
    if (kind == '/') {
        endTag(end);
    } else if (kind != '!' && kind != '?') {
        startTag(end);
    }
}

void ItemCutter::startTag(size_t end) {
    const bool isWhole = _text[end - 2] == '/';
    if (_isInside && _depth == depthOfResult) {
        _begin = _at;
        if (isWhole) {
            _take(_text.substr(_begin, end - _begin));
            _begin = end;
        }
    }
    _depth += !isWhole;
    if (!_isInside && !isWhole && _depth == depthOfResult &&
        _text.compare(_at, strlen(resultTag), resultTag) == 0 &&
        strchr(" \t\r\n>", _text[_at + strlen(resultTag)])) {
        _rest.append(_text, _begin, end - _begin);
        _begin = end;
        _isInside = true;
    }
}

void ItemCutter::endTag(size_t end) {
    if (_isInside && _depth == depthOfResult + 1) {
        _take(_text.substr(_begin, end - _begin));
        _begin = end;
    } else if (_isInside && _depth == depthOfResult) {
        _begin = _at;
        _isInside = false;
    }
    _depth -= _depth > 0;
}

}  // namespace velmar_wire
