// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "record/Recorder.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include <velmar_embedded/schema/Mof.h>
#include "model/Text.h"
#include "requests/ParameterConversion.h"
#include "schema/MofWriter.h"
#include "schema/Qualified.h"

namespace fs = std::filesystem;
using namespace Pegasus;
using velmar_embedded::MofError;
using velmar_embedded::mofOf;
using velmar_embedded::QualifierDeclaration;
using velmar_embedded::utf8;

namespace velmar_recording {

namespace {

const char* const FILES[] = {"qualifiers.mof", "classes.mof", "instances.mof", "recording.mof"};

// Notes of the same subject are one: a server may have any number of instances.
class Notes {
 public:
    void add(const std::string& subject, const std::string& reason, const std::string& object) {
        const auto [at, isNew] = _counts.emplace(subject, 0);
        at->second++;
        if (isNew) {
            _all.push_back({subject, reason, object});
        }
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const Note& note : _all) {
            const size_t count = _counts.at(note.subject);
            result.push_back(note.subject + ": " + note.reason +
                             (note.object.empty() ? "" : ", in " + note.object) +
                             (count > 1 ? " and " + std::to_string(count - 1) + " more" : ""));
        }
        return result;
    }

 private:
    struct Note {
        std::string subject, reason, object;
    };
    std::vector<Note> _all;  // in the order they came
    std::map<std::string, size_t> _counts;
};

class Folder {
 public:
    explicit Folder(const std::string& name) : _path(name) {
        if (fs::exists(_path) && !(fs::is_directory(_path) && fs::is_empty(_path))) {
            throw std::runtime_error(name +
                                     ": is there already; name a folder that is empty or new");
        }
        _isNew = fs::create_directories(_path);
    }
    ~Folder() {
        std::error_code ignored;
        for (const char* const file : FILES) {
            if (!_isDone) {
                fs::remove(_path / file, ignored);
            }
        }
        if (!_isDone && _isNew) {
            fs::remove(_path, ignored);
        }
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(const char* file) const { return (_path / file).string(); }
    void keep() { _isDone = true; }

 private:
    const fs::path _path;
    bool _isNew = false;
    bool _isDone = false;
};

class MofFile {
 public:
    explicit MofFile(std::string name) : _name(std::move(name)), _file(_name, std::ios::binary) {}
    void write(const std::string& text) {
        _file << text;
        _size += text.size();
        if (!_file) {
            throw std::runtime_error(_name + ": cannot be written");
        }
    }
    size_t close() {
        _file.close();
        write("");
        return _size;
    }

 private:
    const std::string _name;
    std::ofstream _file;
    size_t _size = 0;
};

// The qualifiers that classes use, as a server would declare them.
class Qualifiers {
 public:
    Qualifiers(velmar_embedded::Repository& repository, const CIMNamespaceName& nameSpace,
               const std::string& standard)
        : _repository(repository), _nameSpace(nameSpace) {
        repository.createNamespace(nameSpace);
        velmar_embedded::compileMofText(repository, STANDARD, standard, "standard qualifiers");
    }

    void use(const CIMClass& cimClass, Notes& notes) {
        see(Named{cimClass}, scopeOf(cimClass), notes);
        for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
            const CIMConstProperty property = cimClass.getProperty(i);
            see(property, property.getType() == CIMTYPE_REFERENCE ? "reference" : "property",
                notes);
        }
        for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
            const CIMConstMethod method = cimClass.getMethod(i);
            see(method, "method", notes);
            for (Uint32 k = 0; k < method.getParameterCount(); k++) {
                see(method.getParameter(k), "parameter", notes);
            }
        }
    }

    std::string mof() const {
        std::string text;
        for (const auto& declared : _declared) {
            text += mofOf(declared.second);
        }
        return text;
    }

 private:
    template <class Feature>
    void see(const Feature& feature, const char* scope, Notes& notes) {
        for (Uint32 i = 0; i < feature.getQualifierCount(); i++) {
            const CIMConstQualifier qualifier = feature.getQualifier(i);
            const CIMFlavor flavor = flavorOf(qualifier);
            const std::string key = velmar_embedded::lowerCase(utf8(qualifier.getName()));
            auto found = _declared.find(key);
            if (found == _declared.end()) {
                found = _declared.emplace(key, declaration(qualifier, flavor)).first;
                _repository.declareQualifier(_nameSpace, found->second);
            } else if (!found->second.flavor.equal(flavor)) {
                notes.add("qualifier " + utf8(qualifier.getName()),
                          "has flavor " + utf8(found->second.flavor.toString()) +
                              " in the recording, but " + utf8(flavor.toString()),
                          utf8(feature.getName()));
            }
            for (unsigned k = 0; k < velmar_embedded::qualifierScopeCount; k++) {
                if (std::string(scope) == velmar_embedded::qualifierScopeNames[k]) {
                    found->second.scopes.set(k);
                }
            }
        }
    }
    // What a class inherits is not in what is read of it.
    const char* scopeOf(const CIMClass& cimClass) const {
        const CIMName& super = cimClass.getSuperClassName();
        const auto is = [&](const char* qualifier) {
            return velmar_embedded::isTrue(cimClass, qualifier) ||
                   (_repository.hasClass(_nameSpace, super) &&
                    velmar_embedded::isTrue(_repository.getClass(_nameSpace, super), qualifier));
        };
        return is("Association") ? "association" : is("Indication") ? "indication" : "class";
    }
    // A class under the names that its features have.
    struct Named {
        const CIMClass& cimClass;
        Uint32 getQualifierCount() const { return cimClass.getQualifierCount(); }
        CIMConstQualifier getQualifier(Uint32 i) const { return cimClass.getQualifier(i); }
        CIMName getName() const { return cimClass.getClassName(); }
    };

    // DSP0201 leaves the default ones out.
    static CIMFlavor flavorOf(const CIMConstQualifier& qualifier) {
        const CIMFlavor& flavor = qualifier.getFlavor();
        return flavor.equal(CIMFlavor::NONE) ? CIMFlavor(CIMFlavor::DEFAULTS) : flavor;
    }

    QualifierDeclaration declaration(const CIMConstQualifier& used, const CIMFlavor& flavor) const {
        QualifierDeclaration result;
        const CIMValue& value = used.getValue();
        const bool isStandard = _repository.findQualifier(STANDARD, used.getName(), result) &&
                                result.defaultValue.getType() == value.getType() &&
                                result.defaultValue.isArray() == value.isArray();
        if (!isStandard) {
            result = QualifierDeclaration();
            result.defaultValue = CIMValue(value.getType(), value.isArray());
        }
        result.name = used.getName();
        result.flavor = flavor;
        return result;
    }

    const CIMNamespaceName STANDARD{"standard"};
    velmar_embedded::Repository& _repository;
    const CIMNamespaceName& _nameSpace;
    std::map<std::string, QualifierDeclaration> _declared;
};

class Recorder : public Reading {
 public:
    Recorder(const Folder& folder, const RecordOptions& options)
        : _qualifiers(_repository, _nameSpace, options.standardQualifiers),
          _classes(folder / FILES[1]),
          _instances(folder / FILES[2]) {}

    void onClass(const CIMClass& cimClass) override {
        const std::string name = "class " + utf8(cimClass.getClassName());
        _qualifiers.use(cimClass, _notes);
        std::string text = mofOf(cimClass);
        std::string reason = compiled(text);
        if (!reason.empty()) {
            text = mofOf(withoutFaults(cimClass));
            reason = compiled(text);
        }
        if (!reason.empty()) {
            return _notes.add(name, "left out: " + reason, "");
        }
        _classes.write(text + "\n");
        _result.classes++;
    }

    void onInstance(const CIMInstance& instance) override {
        const std::string object = utf8(instance.getPath());
        const std::string name = "instance of " + utf8(instance.getClassName());
        if (!_repository.hasClass(_nameSpace, instance.getClassName())) {
            return _notes.add(name, "left out: the recording lacks its class", object);
        }
        const CIMClass cimClass = _repository.getClass(_nameSpace, instance.getClassName());
        const CIMInstance given = completed(instance, cimClass);
        CIMInstance kept = given.clone();
        unsigned line = 0;
        std::string reason = compiled(mofOf(kept), &line);
        // What is written says which property a line has. A hostile server could make this long.
        for (int tries = 0; !reason.empty() && tries < 8; tries++) {
            if (line < 2 || line > kept.getPropertyCount() + 1) {
                break;
            }
            const CIMConstProperty faulty = kept.getProperty(line - 2);
            _notes.add(utf8(instance.getClassName()) + "." + utf8(faulty.getName()),
                       "left out: " + reason, object);
            kept.removeProperty(line - 2);
            reason = compiled(mofOf(kept), &line);
        }
        if (!reason.empty()) {
            return _notes.add(name, "left out: " + reason, object);
        }
        _instances.write(mofOf(kept) + "\n");
        _result.instances++;
        compare(kept, cimClass);
    }

    void onProblem(const std::string& what, const std::string& reason) override {
        _notes.add(what, reason, "");
    }

    Recording finish(const Folder& folder, const std::string& head) {
        MofFile qualifiers(folder / FILES[0]);
        qualifiers.write(_qualifiers.mof());
        const size_t size = qualifiers.close() + _classes.close() + _instances.close();
        if (size > velmar_embedded::maximumMofSize) {
            _notes.add("the recording",
                       "has " + std::to_string(size) + " bytes, more than the " +
                           std::to_string(velmar_embedded::maximumMofSize) + " that can be served",
                       "");
        }
        _result.file = folder / FILES[3];
        MofFile top(_result.file);
        top.write(head);
        for (const char* const file : {FILES[0], FILES[1], FILES[2]}) {
            top.write("#pragma include (\"" + std::string(file) + "\")\n");
        }
        top.close();
        _result.notes = _notes.texts();
        return _result;
    }

 private:
    // Why it does not compile, empty if it does; it is then in the repository.
    std::string compiled(const std::string& text, unsigned* line = nullptr) {
        velmar_embedded::MofOptions options;
        options.stored = [&](const CIMNamespaceName&, const CIMObjectPath& path, const std::string&,
                             unsigned) { _stored = path; };
        try {
            velmar_embedded::compileMofText(_repository, _nameSpace, text, "recording", options);
            return "";
        } catch (const MofError& e) {
            if (line != nullptr) {
                *line = e.line();
            }
            return e.reason();
        }
    }

    // The class with those features that compile, each tried in a class of its own.
    CIMClass withoutFaults(const CIMClass& cimClass) {
        CIMClass result(cimClass.getClassName(), cimClass.getSuperClassName());
        for (Uint32 i = 0; i < cimClass.getQualifierCount(); i++) {
            result.addQualifier(cimClass.getQualifier(i).clone());
        }
        const auto keep = [&](const auto& feature, const auto& add) {
            CIMClass alone(cimClass.getClassName());
            add(alone, feature);
            const std::string reason = compiled(mofOf(alone));
            if (reason.empty()) {
                _repository.deleteClass(_nameSpace, cimClass.getClassName());
                add(result, feature);
            } else {
                _notes.add(utf8(cimClass.getClassName()) + "." + utf8(feature.getName()),
                           "left out: " + reason, "");
            }
        };
        for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
            keep(cimClass.getProperty(i).clone(),
                 [](CIMClass& to, const CIMProperty& property) { to.addProperty(property); });
        }
        for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
            keep(cimClass.getMethod(i).clone(),
                 [](CIMClass& to, const CIMMethod& method) { to.addMethod(method); });
        }
        return result;
    }

    // With the keys that only its path has, and null where the class has a default value for what
    // it leaves out.
    static CIMInstance completed(const CIMInstance& instance, const CIMClass& cimClass) {
        CIMInstance result = instance.clone();
        const Array<CIMKeyBinding>& keys = instance.getPath().getKeyBindings();
        for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
            const CIMConstProperty declared = cimClass.getProperty(i);
            if (result.findProperty(declared.getName()) != PEG_NOT_FOUND) {
                continue;
            }
            CIMValue value(declared.getType(), declared.isArray());
            for (Uint32 k = 0; k < keys.size(); k++) {
                if (keys[k].getName().equal(declared.getName())) {
                    value = keyValue(keys[k], declared);
                }
            }
            if (!value.isNull() || !declared.getValue().isNull()) {
                result.addProperty(
                    CIMProperty(declared.getName(), value, 0, declared.getReferenceClassName()));
            }
        }
        return result;
    }
    static CIMValue keyValue(const CIMKeyBinding& key, const CIMConstProperty& declared) {
        try {
            if (declared.getType() == CIMTYPE_REFERENCE) {
                return CIMValue(CIMObjectPath(key.getValue()));
            }
            return velmar_embedded::typedValue(key.getName().getString(), CIMValue(key.getValue()),
                                               declared.getType(), declared.isArray());
        } catch (const Exception&) {
            return CIMValue(declared.getType(), declared.isArray());  // the paths will differ
        }
    }

    // What was stored is what a client of the recording gets.
    void compare(const CIMInstance& given, const CIMClass& cimClass) {
        const std::string object = utf8(given.getPath());
        const std::string name = utf8(cimClass.getClassName());
        if (keyOf(given.getPath()) != keyOf(_stored)) {
            _notes.add("path of " + name, "its keys say " + utf8(_stored), object);
        }
        const CIMInstance stored = _repository.getInstance(_nameSpace, _stored);
        for (Uint32 i = 0; i < given.getPropertyCount(); i++) {
            const CIMConstProperty property = given.getProperty(i);
            const CIMValue value =
                stored.getProperty(stored.findProperty(property.getName())).getValue();
            const bool isObject =
                property.getType() == CIMTYPE_OBJECT || property.getType() == CIMTYPE_INSTANCE;
            if (isObject && !property.getValue().isNull()) {
                _notes.add(name + "." + utf8(property.getName()),
                           "an embedded object, recorded as a string with its MOF", object);
            } else if (!(value.isNull() && property.getValue().isNull()) &&
                       !value.equal(property.getValue())) {
                _notes.add(name + "." + utf8(property.getName()),
                           "recorded as " + described(value) + ", not as " +
                               described(property.getValue()),
                           object);
            }
        }
    }
    static std::string described(const CIMValue& value) {
        const std::string text = mofOf(value);
        return cimTypeToString(value.getType()) + std::string(value.isArray() ? "[] " : " ") +
               (text.size() > 60 ? text.substr(0, 60) + "..." : text);
    }

    const CIMNamespaceName _nameSpace{"recorded"};
    velmar_embedded::Repository _repository;  // all that was written, as a server would have it
    Qualifiers _qualifiers;
    MofFile _classes;
    MofFile _instances;
    CIMObjectPath _stored;  // by the last compilation
    Notes _notes;
    Recording _result;
};

// A line of a comment.
std::string oneLine(std::string text) {
    for (char& c : text) {
        c = static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
    return text;
}

}  // namespace

Recording record(CIMClient& client, const CIMNamespaceName& nameSpace, const std::string& folder,
                 const RecordOptions& options) {
    Folder to(folder);
    Recorder recorder(to, options);
    readNamespace(client, nameSpace, recorder, options.progress);
    Recording result = recorder.finish(
        to, "// Namespace " + utf8(nameSpace) + " of " + oneLine(options.source) +
                ", recorded by velmar record:\n//     velmar serve recording.mof -n " +
                utf8(nameSpace) + "\n");
    to.keep();
    return result;
}

}  // namespace velmar_recording
