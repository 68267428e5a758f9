// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "record/NamespaceReader.h"

#include <Pegasus/Common/CIMProperty.h>

#include <map>
#include <set>
#include <stdexcept>
#include <vector>

#include "model/Text.h"
#include "schema/Qualified.h"

using namespace Pegasus;
using velmar_embedded::lowerCase;
using velmar_embedded::utf8;

namespace velmar_recording {

namespace {

// Without host, and without the namespace that everything read is in; the same in its keys.
CIMObjectPath local(const CIMObjectPath& path, const CIMNamespaceName& nameSpace) {
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < path.getKeyBindings().size(); i++) {
        CIMKeyBinding key = path.getKeyBindings()[i];
        if (key.getType() == CIMKeyBinding::REFERENCE) {
            key.setValue(local(CIMObjectPath(key.getValue()), nameSpace).toString());
        }
        keys.append(key);
    }
    const bool isElsewhere = !path.getNameSpace().isNull() && !path.getNameSpace().equal(nameSpace);
    return CIMObjectPath(String(), isElsewhere ? path.getNameSpace() : CIMNamespaceName(),
                         path.getClassName(), keys);
}

CIMValue local(const CIMValue& value, const CIMNamespaceName& nameSpace) {
    if (value.getType() != CIMTYPE_REFERENCE || value.isNull()) {
        return value;
    }
    if (!value.isArray()) {
        CIMObjectPath path;
        value.get(path);
        return CIMValue(local(path, nameSpace));
    }
    Array<CIMObjectPath> paths;
    value.get(paths);
    for (Uint32 i = 0; i < paths.size(); i++) {
        paths[i] = local(paths[i], nameSpace);
    }
    return CIMValue(paths);
}

class Reader {
 public:
    Reader(CIMClient& client, const CIMNamespaceName& nameSpace, Reading& reading,
           const Progress& progress)
        : _client(client), _nameSpace(nameSpace), _reading(reading), _progress(progress) {}

    void read() {
        readClasses();
        for (size_t i = 0; i < _withInstances.size(); i++) {
            tell("instances", i, _withInstances.size(), _withInstances[i]);
            readInstances(_withInstances[i]);
        }
    }

 private:
    void tell(const char* what, size_t done, size_t all, const CIMName& name) const {
        if (_progress) {
            _progress({what, done, all, utf8(name)});
        }
    }

    // False where the server refuses or gets one class wrong, which says nothing about the next.
    template <class Ask>
    bool asked(const std::string& what, Ask ask) {
        try {
            ask();
            return true;
        } catch (const CIMException& e) {
            _reading.onProblem(what, utf8(e.getMessage()));
        } catch (const CIMClientXmlException& e) {
            _reading.onProblem(what, utf8(e.getMessage()));
        } catch (const Exception& e) {
            throw std::runtime_error(what + ": " + utf8(e.getMessage()));
        }
        return false;
    }

    void readClasses() {
        const Array<CIMName> names = _client.enumerateClassNames(_nameSpace, CIMName(), true);
        std::set<std::string> known;
        for (Uint32 i = 0; i < names.size(); i++) {
            tell("classes", i, names.size(), names[i]);
            if (known.insert(lowerCase(utf8(names[i]))).second) {
                readClass(names[i]);
            }
        }
        while (!_waiting.empty()) {  // for superclasses that the namespace lacks
            const std::string missing = _waiting.begin()->first;
            deliverWaiting(missing);
        }
    }

    void readClass(const CIMName& name) {
        const std::string what = "class " + utf8(name);
        CIMClass found;
        if (!asked(what, [&] { found = _client.getClass(_nameSpace, name, true); })) {
            return;
        }
        if (!found.getClassName().equal(name)) {
            return _reading.onProblem(what, "the server gives class " + utf8(found.getClassName()));
        }
        const std::string super = lowerCase(utf8(found.getSuperClassName()));
        if (!super.empty() && _isIndication.count(super) == 0) {
            _waiting[super].push_back(found);
        } else {
            deliver(found);
            deliverWaiting(lowerCase(utf8(name)));
        }
    }

    void deliver(const CIMClass& cimClass) {
        const auto super = _isIndication.find(lowerCase(utf8(cimClass.getSuperClassName())));
        const bool isIndication = velmar_embedded::isTrue(cimClass, "Indication") ||
                                  (super != _isIndication.end() && super->second);
        _isIndication[lowerCase(utf8(cimClass.getClassName()))] = isIndication;
        _reading.onClass(cimClass);
        if (!isIndication && !cimClass.isAbstract()) {
            _withInstances.push_back(cimClass.getClassName());
        }
    }

    // Delivers the classes below one.
    void deliverWaiting(const std::string& above) {
        std::vector<std::string> supers = {above};
        while (!supers.empty()) {
            const auto below = _waiting.extract(supers.back());
            supers.pop_back();
            for (size_t i = 0; !below.empty() && i < below.mapped().size(); i++) {
                deliver(below.mapped()[i]);
                supers.push_back(lowerCase(utf8(below.mapped()[i].getClassName())));
            }
        }
    }

    void readInstances(const CIMName& className) {
        Array<CIMInstance> found;
        const bool isGiven = asked("instances of " + utf8(className), [&] {
            found = _client.enumerateInstances(_nameSpace, className, true, false);
        });
        _answers++;
        for (Uint32 i = 0; isGiven && i < found.size(); i++) {
            deliver(found[i]);
        }
    }

    // A class's answer has the instances of its subclasses, too.
    void deliver(CIMInstance& instance) {
        instance.setPath(local(velmar_embedded::withoutPlace(instance.getPath()), _nameSpace));
        if (instance.getPath().getKeyBindings().size() > 0) {
            const auto [at, isNew] = _seen.emplace(keyOf(instance.getPath()), _answers);
            if (!isNew && at->second == _answers) {
                _reading.onProblem("instances of " + utf8(instance.getClassName()),
                                   "given twice, and read once: " + utf8(instance.getPath()));
            }
            if (!isNew) {
                return;
            }
        }
        for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
            CIMProperty property = instance.getProperty(i);
            if (property.getType() == CIMTYPE_REFERENCE) {
                property.setValue(local(property.getValue(), _nameSpace));
            }
        }
        _reading.onInstance(instance);
    }

    CIMClient& _client;
    const CIMNamespaceName& _nameSpace;
    Reading& _reading;
    const Progress& _progress;
    std::map<std::string, bool> _isIndication;              // of the classes that were delivered
    std::map<std::string, std::vector<CIMClass>> _waiting;  // by superclass
    std::vector<CIMName> _withInstances;
    size_t _answers = 0;
    std::map<std::string, size_t> _seen;  // instances, by the answer that had them first
};

}  // namespace

std::string keyOf(const CIMObjectPath& path) {
    const auto lower = [](const CIMName& name) { return String(lowerCase(utf8(name)).c_str()); };
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < path.getKeyBindings().size(); i++) {
        CIMKeyBinding key = path.getKeyBindings()[i];
        key.setName(lower(key.getName()));
        if (key.getType() == CIMKeyBinding::REFERENCE) {
            key.setValue(keyOf(CIMObjectPath(key.getValue())).c_str());
        }
        keys.append(key);
    }
    const CIMNamespaceName& nameSpace = path.getNameSpace();
    return utf8(CIMObjectPath(
        String(),
        nameSpace.isNull() ? nameSpace : CIMNamespaceName(lowerCase(utf8(nameSpace)).c_str()),
        lower(path.getClassName()), keys));
}

void readNamespace(CIMClient& client, const CIMNamespaceName& nameSpace, Reading& reading,
                   const Progress& progress) {
    Reader(client, nameSpace, reading, progress).read();
}

}  // namespace velmar_recording
