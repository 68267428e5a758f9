// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the handles of qualifiers, properties, methods, parameters, classes and instances refer to.
#ifndef VELMAR_EMBEDDED_MODEL_CIMREPS_H
#define VELMAR_EMBEDDED_MODEL_CIMREPS_H

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <atomic>
#include <map>
#include <memory>
#include <type_traits>
#include <vector>

namespace Pegasus {

/// The object of a handle. Throws UninitializedObjectException.
template <class Rep>
Rep& initialized(const std::shared_ptr<Rep>& rep) {
    if (!rep) {
        throw UninitializedObjectException();
    }
    return *rep;
}

/// `name` itself. Throws UninitializedObjectException for a null one.
inline const CIMName& notNull(const CIMName& name) {
    if (name.isNull()) {
        throw UninitializedObjectException();
    }
    return name;
}

/// Reaches from one class's handle to another's object.
struct HandleAccess {
    template <class Handle>
    static const auto& rep(const Handle& handle) {
        return handle._rep;
    }
    /// What a value holds; null if it is null. Another object after every assignment.
    static const std::shared_ptr<const void>& data(const CIMValue& value) { return value._data; }
    /// Whether names in lists may have changed, as those of methods may.
    template <class Handle>
    static bool mayBeRenamed() {
        return std::is_same_v<Handle, CIMMethod> && methodsRenamed;
    }
    static std::atomic<bool> methodsRenamed;
    /// That a qualifier's text may be translated, which no flavor that programs name says.
    static const CIMFlavor translatable;
    template <class Handle, class Rep>
    static Handle handle(std::shared_ptr<Rep> rep) {
        Handle handle;
        handle._rep = std::move(rep);
        return handle;
    }
};

/// Handles with distinct names, in the order in which they were added. A long list has an index, so
/// that reading one takes no time that grows with its square.
template <class Handle>
class NamedList {
 public:
    NamedList() = default;
    NamedList(const NamedList& list)
        : _items(list._items),
          _index(list._index ? std::make_unique<Index>(*list._index) : nullptr) {}
    NamedList& operator=(const NamedList& list) = delete;
    NamedList& operator=(NamedList&& list) noexcept = default;

    Uint32 size() const { return Uint32(_items.size()); }
    /// PEG_NOT_FOUND if it is not there.
    Uint32 find(const CIMName& name) const {
        if (_index && !HandleAccess::mayBeRenamed<Handle>()) {
            const auto found = _index->find(name.getString());
            return found == _index->end() ? PEG_NOT_FOUND : found->second;
        }
        for (Uint32 i = 0; i < size(); i++) {
            if (_items[i].getName().equal(name)) {
                return i;
            }
        }
        return PEG_NOT_FOUND;
    }
    /// Throws IndexOutOfBoundsException, as remove does.
    const Handle& at(Uint32 index) const {
        if (index >= size()) {
            throw IndexOutOfBoundsException();
        }
        return _items[index];
    }
    /// `kind` is for the message of the AlreadyExistsException.
    void add(const Handle& item, const char* kind) {
        if (find(item.getName()) != PEG_NOT_FOUND) {
            throw AlreadyExistsException(String(kind) + " \"" + item.getName().getString() + "\"");
        }
        _items.push_back(item);
        if (_index) {
            _index->emplace(item.getName().getString(), size() - 1);
        } else {
            indexAll();
        }
    }
    void remove(Uint32 index) {
        const String name = at(index).getName().getString();
        _items.erase(_items.begin() + index);
        if (_index && index == size()) {
            _index->erase(name);
        } else if (_index) {
            _index.reset();
            indexAll();
        }
    }
    void clear() {
        _items.clear();
        _index.reset();
    }
    NamedList clone() const {
        NamedList copy(*this);
        for (Handle& item : copy._items) {
            item = item.clone();
        }
        return copy;
    }
    bool identical(const NamedList& list) const {
        if (size() != list.size()) {
            return false;
        }
        for (Uint32 i = 0; i < size(); i++) {
            if (!_items[i].identical(list._items[i])) {
                return false;
            }
        }
        return true;
    }
    auto begin() const { return _items.begin(); }
    auto end() const { return _items.end(); }

 private:
    struct Less {
        bool operator()(const String& a, const String& b) const {
            return String::compareNoCase(a, b) < 0;
        }
    };
    using Index = std::map<String, Uint32, Less>;

    void indexAll() {
        if (size() <= 64) {
            return;
        }
        _index = std::make_unique<Index>();
        for (Uint32 i = 0; i < size(); i++) {
            _index->emplace(_items[i].getName().getString(), i);
        }
    }

    std::vector<Handle> _items;
    std::unique_ptr<Index> _index;
};

struct CIMConstQualifier::Rep {
    CIMName name;
    CIMValue value;
    CIMFlavor flavor;
    Boolean propagated;
};

struct CIMConstProperty::Rep {
    CIMName name;
    CIMValue value;
    Uint32 arraySize;
    CIMName referenceClassName;
    CIMName classOrigin;
    Boolean propagated;
    NamedList<CIMQualifier> qualifiers = {};
    std::atomic<int> owners{0};  // objects that the property is in
};

struct CIMConstParameter::Rep {
    CIMName name;
    CIMType type;
    Boolean isArray;
    Uint32 arraySize;
    CIMName referenceClassName;
    NamedList<CIMQualifier> qualifiers = {};
};

struct CIMConstMethod::Rep {
    CIMName name;
    CIMType type;
    CIMName classOrigin;
    Boolean propagated;
    NamedList<CIMQualifier> qualifiers = {};
    NamedList<CIMParameter> parameters = {};
};

/// A class or an instance; the latter has no superclass and no methods.
struct ObjectRep {
    ObjectRep(const CIMName& className, bool isClass);
    ~ObjectRep();
    ObjectRep(const ObjectRep&) = delete;
    ObjectRep& operator=(const ObjectRep&) = delete;

    void setPath(const CIMObjectPath& newPath);
    void addProperty(const CIMProperty& property);
    void removeProperty(Uint32 index);
    std::shared_ptr<ObjectRep> clone() const;
    bool identical(const ObjectRep& object) const;

    const bool isClass;
    CIMObjectPath path;  // holds the class name
    CIMName superClassName;
    NamedList<CIMQualifier> qualifiers;
    NamedList<CIMProperty> properties;  // changed through the members above, which count owners
    NamedList<CIMMethod> methods;
};

/// Whether a list has the boolean qualifier `name` with the value true.
bool hasTrueQualifier(const NamedList<CIMQualifier>& qualifiers, const CIMName& name);
/// Whether a property is a key of its class.
bool isKey(const CIMProperty& property);

}  // namespace Pegasus

#endif
