// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "model/CIMNumber.h"
#include "model/CIMPathParser.h"

namespace Pegasus {

struct CIMObjectPath::Rep : PathParts {
    Rep() = default;
    explicit Rep(const PathParts& parts) : PathParts(parts) {}

    std::atomic<Uint32> refs{1};
};

namespace {

void appendEscaped(String& out, const String& text) {
    const Char16* data = text.getChar16Data();
    const Uint32 size = text.size();
    Uint32 done = 0;
    for (Uint32 i = 0; i < size; i++) {
        const Uint16 unit = data[i];
        if (unit != '"' && unit != '\\') {
            continue;
        }
        out.append(data + done, i - done);
        out.append(Char16('\\'));
        done = i;
    }
    out.append(data + done, size - done);
}

bool lessName(const CIMKeyBinding& a, const CIMKeyBinding& b) {
    return String::compareNoCase(a.getName().getString(), b.getName().getString()) < 0;
}

// Brings bindings into their stored form. The elements are changed on storage that other arrays
// may share, hence only if there is something to change: several threads may be storing one array
// that is in order already.
void settle(const Array<CIMKeyBinding>& bindings) {
    CIMKeyBinding* first = const_cast<CIMKeyBinding*>(bindings.getData());
    CIMKeyBinding* last = first + bindings.size();
    std::vector<std::pair<CIMKeyBinding*, String>> rebuilt;
    for (CIMKeyBinding* b = first; b != last; b++) {
        if (b->getType() != CIMKeyBinding::REFERENCE) {
            continue;
        }
        String text = CIMObjectPath(b->getValue()).toString();
        if (text != b->getValue()) {
            rebuilt.emplace_back(b, text);
        }
    }
    for (const auto& [binding, text] : rebuilt) {
        binding->setValue(text);
    }
    sortBindings(bindings);
}

void checkHost(const String& host) {
    if (host.size() != 0 && !PathParser::isHost(host.getChar16Data(), host.size())) {
        throw MalformedObjectNameException(PathParser::withReason(host, "invalid hostname"));
    }
}

// Hashes what is fed as one text: h = 5 * h + unit, letters in lower case on request.
class TextHash {
 public:
    void add(const String& text, bool ignoreCase) {
        const Char16* data = text.getChar16Data();
        for (Uint32 i = 0, n = text.size(); i < n; i++) {
            Uint16 unit = data[i];
            if (ignoreCase && unit >= 'A' && unit <= 'Z') {
                unit = Uint16(unit + ('a' - 'A'));
            }
            add(unit);
        }
    }
    void add(Uint16 unit) { _hash = 5 * _hash + unit; }
    void add(const PathParts& path);
    void add(const CIMKeyBinding& binding);
    Uint32 value() const { return _hash; }

 private:
    Uint32 _hash = 0;
};

void TextHash::add(const PathParts& path) {
    add(path.host, true);
    add('/');
    add(path.nameSpace.getString(), true);
    add(':');
    add(path.className.getString(), true);
    for (Uint32 i = 0, n = path.keys.size(); i < n; i++) {
        add(i == 0 ? '.' : ',');
        add(path.keys[i]);
    }
}

void TextHash::add(const CIMKeyBinding& binding) {
    add(binding.getName().getString(), true);
    add('=');
    const String& text = binding.getValue();
    if (binding.getType() == CIMKeyBinding::NUMERIC) {
        Uint64 number;
        Sint64 signedNumber;
        if (parseUnsigned(text, number)) {
            add(numberText(number), false);
            return;
        }
        if (parseSigned(text, signedNumber)) {
            add(numberText(signedNumber), false);
            return;
        }
    } else if (binding.getType() == CIMKeyBinding::REFERENCE) {
        PathParts path;
        String reason;
        if (PathParser(text, path).parse(reason)) {
            add(path);
            return;
        }
    }
    add(text, binding.getType() == CIMKeyBinding::BOOLEAN);
}

}  // namespace

bool operator==(const PathParts& a, const PathParts& b) {
    const Uint32 n = a.keys.size();
    if (n != b.keys.size() || a.className != b.className || a.nameSpace != b.nameSpace ||
        !String::equalNoCase(a.host, b.host)) {
        return false;
    }
    if (a.keys.getData() == b.keys.getData()) {
        return true;
    }
    for (Uint32 i = 0; i < n; i++) {
        if (!(a.keys[i] == b.keys[i])) {
            return false;
        }
    }
    return true;
}

String PathParts::toString() const {
    String out;
    Uint32 size = host.size() + nameSpace.getString().size() + className.getString().size() + 4;
    for (Uint32 i = 0, n = keys.size(); i < n; i++) {
        size += keys[i].getName().getString().size() + keys[i].getValue().size() + 8;
    }
    out.reserveCapacity(size);
    if (host.size() != 0) {
        out.append(Char16('/')).append(Char16('/'));
        out.append(host).append(Char16('/'));
    }
    if (host.size() != 0 || !nameSpace.isNull()) {
        out.append(nameSpace.getString()).append(Char16(':'));
    }
    out.append(className.getString());
    for (Uint32 i = 0, n = keys.size(); i < n; i++) {
        const CIMKeyBinding& key = keys[i];
        const bool quoted =
            key.getType() == CIMKeyBinding::STRING || key.getType() == CIMKeyBinding::REFERENCE;
        out.append(Char16(i == 0 ? '.' : ','));
        out.append(key.getName().getString()).append(Char16('='));
        if (quoted) {
            out.append(Char16('"'));
        }
        appendEscaped(out, key.getValue());
        if (quoted) {
            out.append(Char16('"'));
        }
    }
    return out;
}

void sortBindings(const Array<CIMKeyBinding>& bindings) {
    CIMKeyBinding* first = const_cast<CIMKeyBinding*>(bindings.getData());
    CIMKeyBinding* last = first + bindings.size();
    if (!std::is_sorted(first, last, lessName)) {
        std::stable_sort(first, last, lessName);
    }
}

const CIMObjectPath::Rep& CIMObjectPath::rep() const {
    static const Rep* empty = new Rep;  // lives on for paths that are destroyed at exit
    return _rep ? *_rep : *empty;
}

// Separates the path from its copies before a change; one that is not shared changes in place, so
// that what its getters returned stays valid.
CIMObjectPath::Rep& CIMObjectPath::own() {
    if (!_rep) {
        _rep = new Rep;
    } else if (_rep->refs.load(std::memory_order_acquire) != 1) {
        Rep* copy = new Rep(static_cast<const PathParts&>(*_rep));
        release(_rep);
        _rep = copy;
    }
    return *_rep;
}

void CIMObjectPath::release(Rep* rep) {
    if (rep && rep->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete rep;
    }
}

CIMObjectPath::CIMObjectPath(const CIMObjectPath& path) : _rep(path._rep) {
    if (_rep) {
        _rep->refs.fetch_add(1, std::memory_order_relaxed);
    }
}

CIMObjectPath::CIMObjectPath(const String& objectName) : CIMObjectPath() { set(objectName); }

CIMObjectPath::CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace,
                             const CIMName& className, const Array<CIMKeyBinding>& keyBindings)
    : CIMObjectPath() {
    set(host, nameSpace, className, keyBindings);
}

CIMObjectPath::~CIMObjectPath() { release(_rep); }

CIMObjectPath& CIMObjectPath::operator=(const CIMObjectPath& path) {
    CIMObjectPath copy(path);
    std::swap(_rep, copy._rep);
    return *this;
}

void CIMObjectPath::clear() {
    release(_rep);
    _rep = nullptr;
}

void CIMObjectPath::set(const String& host, const CIMNamespaceName& nameSpace,
                        const CIMName& className, const Array<CIMKeyBinding>& keyBindings) {
    checkHost(host);
    settle(keyBindings);
    // Copied before anything changes: the arguments may come from this path.
    const PathParts parts{host, nameSpace, className, keyBindings};
    static_cast<PathParts&>(own()) = parts;
}

void CIMObjectPath::set(const String& objectName) {
    PathParts parts;
    String reason;
    const String text(objectName);
    const bool good = PathParser(text, parts).parse(reason);
    static_cast<PathParts&>(own()) = parts;
    if (!good) {
        throw MalformedObjectNameException(PathParser::withReason(text, reason));
    }
}

CIMObjectPath& CIMObjectPath::operator=(const String& objectName) {
    set(objectName);
    return *this;
}

const String& CIMObjectPath::getHost() const { return rep().host; }

void CIMObjectPath::setHost(const String& host) {
    const String value(host);
    if (value != System::getHostName()) {
        checkHost(value);
    }
    own().host = value;
}

const CIMNamespaceName& CIMObjectPath::getNameSpace() const { return rep().nameSpace; }

void CIMObjectPath::setNameSpace(const CIMNamespaceName& nameSpace) {
    const CIMNamespaceName value(nameSpace);
    own().nameSpace = value;
}

const CIMName& CIMObjectPath::getClassName() const { return rep().className; }

void CIMObjectPath::setClassName(const CIMName& className) {
    const CIMName value(className);
    own().className = value;
}

const Array<CIMKeyBinding>& CIMObjectPath::getKeyBindings() const { return rep().keys; }

void CIMObjectPath::setKeyBindings(const Array<CIMKeyBinding>& keyBindings) {
    const Array<CIMKeyBinding> value(keyBindings);
    settle(value);
    own().keys = value;
}

String CIMObjectPath::toString() const { return rep().toString(); }

Boolean CIMObjectPath::identical(const CIMObjectPath& path) const {
    return _rep == path._rep || rep() == path.rep();
}

Uint32 CIMObjectPath::makeHashCode() const {
    TextHash hash;
    hash.add(rep());
    return hash.value();
}

Boolean operator==(const CIMObjectPath& a, const CIMObjectPath& b) { return a.identical(b); }

Boolean operator!=(const CIMObjectPath& a, const CIMObjectPath& b) { return !a.identical(b); }

}  // namespace Pegasus
