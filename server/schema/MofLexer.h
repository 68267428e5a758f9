// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Splits MOF text into tokens (DMTF DSP0004, annex A). Comments and blanks are dropped here; what a
// keyword is depends on the place, so the parser decides that.
//
// Not thread-safe.
#ifndef VELMAR_EMBEDDED_SCHEMA_MOFLEXER_H
#define VELMAR_EMBEDDED_SCHEMA_MOFLEXER_H

#include <Pegasus/Common/String.h>

#include <string>

#include <velmar_embedded/schema/MofError.h>

namespace velmar_embedded {

struct MofToken {
    enum Kind { End, Identifier, Number, String, Char, Alias, Punctuation };

    Kind kind = End;
    unsigned line = 1;
    std::string text;       ///< as written; an alias with its `$`
    Pegasus::String value;  ///< String and Char: the contents, escapes resolved

    bool is(char punctuation) const { return kind == Punctuation && text[0] == punctuation; }
    /// An identifier with this spelling, case ignored.
    bool is(const char* word) const;
    /// The token as it reads best in an error: long literals would drown the reason.
    std::string shown() const;
};

class MofLexer {
 public:
    /// `text` must outlive the lexer.
    explicit MofLexer(const std::string& text);

    /// The next token, End again and again at the end. Throws MofFault if malformed.
    MofToken next();

 private:
    char peek(std::size_t ahead = 0) const {
        return _at + ahead < _text.size() ? _text[_at + ahead] : '\0';
    }
    void skipBlanks();
    void skipBlockComment();
    void readNumber();
    void readQuoted(MofToken& token);
    void readEscape(MofToken& token);

    const std::string& _text;
    std::size_t _at = 0;
    unsigned _line = 1;
};

}  // namespace velmar_embedded

#endif
