// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The contents of an object path, and the parser of its text form. Parsing does not throw: a text
// that may or may not be a path (any quoted key) is tried, and trying has to be cheap.
#ifndef VELMAR_EMBEDDED_MODEL_CIMPATHPARSER_H
#define VELMAR_EMBEDDED_MODEL_CIMPATHPARSER_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

struct PathParts {
    String host;
    CIMNamespaceName nameSpace;
    CIMName className;
    Array<CIMKeyBinding> keys;  // in stored form: sorted, references normalised

    String toString() const;
};

bool operator==(const PathParts& a, const PathParts& b);

/// Sorts by name without regard to case; an array in order is only read.
void sortBindings(const Array<CIMKeyBinding>& bindings);

class PathParser {
 public:
    /// Keeps references to both.
    PathParser(const String& text, PathParts& parts);
    /// False, with the reason and the parts before the malformed one, if malformed.
    bool parse(String& reason);

    /// Whether this is a host name or address with an optional port.
    static bool isHost(const Char16* text, Uint32 size);
    /// What a MalformedObjectNameException says about a text.
    static String withReason(const String& text, const String& reason);

 private:
    bool fail(const char* reason);
    bool fail(const char* before, const String& subject, const char* after);
    const Char16* find(char unit) const;
    String upTo(const Char16* end) const;
    bool parseHost();
    bool parseNameSpace();
    bool parseClass();
    bool parseKey();
    bool parseQuoted(const CIMName& name);
    bool parseUnquoted(const CIMName& name);

    const Char16* _next;
    const Char16* const _end;
    PathParts& _parts;
    String _reason;
};

}  // namespace Pegasus

#endif
