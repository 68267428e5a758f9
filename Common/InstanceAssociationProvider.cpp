// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "InstanceAssociationProvider.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/Exception.h>

#include <vector>

#include "Internal.h"
#include "Util.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

void requireRole(const String& role, const String& left, const String& right,
                 const char* complaint) {
    if (!emptyOrEqual(role, left) && !emptyOrEqual(role, right)) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, complaint);
    }
}

// The object that a request asks about, beside the ends of the associations. Reading an end's text
// as a path costs more than all the rest that a request does per association, so ends that cannot
// be the object are told from their text: equal paths have equal string keys, and these stand in
// the text, quoted and escaped in one way only.
class RequestObject {
 public:
    RequestObject(CIMOMHandle& cimom, const OperationContext& context, const CIMObjectPath& object)
        : _cimom(cimom), _context(context), _object(object) {
        const Array<CIMKeyBinding>& keys = object.getKeyBindings();
        for (Uint32 i = keys.size(); i > 0; i--) {  // CreationClassName, alike in all, comes last
            if (keys[i - 1].getType() == CIMKeyBinding::STRING) {
                _marks.push_back(quote(keys[i - 1].getValue()));
            }
        }
    }

    /// Whether the object is, or is one of, what the pattern names. Upcalls for a class path only.
    Boolean isCoveredBy(const CIMObjectPath& pattern) {
        return matches(_cimom, _context, pattern, _object);
    }

    /// For the text of a path with keys, as a path's toString writes it.
    Boolean mayBe(const String& text) const {
        for (const String& mark : _marks) {
            if (text.find(mark) == PEG_NOT_FOUND) {
                return false;
            }
        }
        return true;
    }
    /// Whether this very text was found equal before: many associations share an end.
    Boolean isKnown(const String& text) const { return _known.size() > 0 && text == _known; }
    void remember(const String& text) { _known = text; }

 private:
    static String quote(const String& value) {
        String quoted("\"");
        for (Uint32 i = 0; i < value.size(); i++) {
            const Char16 c = value[i];
            if (c == '"' || c == '\\') {
                quoted.append('\\');
            }
            quoted.append(c);
        }
        quoted.append('"');
        return quoted;
    }

    CIMOMHandle& _cimom;
    const OperationContext& _context;
    const CIMObjectPath& _object;
    std::vector<String> _marks;
    String _known;
};

// One end of a cached association.
class End {
 public:
    /// A reference was read when its key was stored and is known to be well-formed; any other key
    /// is read here, and a malformed path throws MalformedObjectNameException.
    explicit End(const CIMKeyBinding& key)
        : _key(key), _isReference(key.getType() == CIMKeyBinding::REFERENCE) {
        if (!_isReference) {
            path();
        }
    }

    const CIMObjectPath& path() {
        if (!_isRead) {
            _path.set(_key.getValue());
            _isRead = true;
        }
        return _path;
    }

    /// Whether this end is the object, or a class path that stands for it.
    Boolean covers(RequestObject& object) {
        const String& text = _key.getValue();
        const Boolean hasKeys =
            _isReference ? text.find(Char16('=')) != PEG_NOT_FOUND : !isClass(_path);
        if (!hasKeys) {
            return object.isCoveredBy(path());
        }
        if (object.isKnown(text)) {
            return true;
        }
        if ((_isReference && !object.mayBe(text)) || !object.isCoveredBy(path())) {
            return false;
        }
        object.remember(text);
        return true;
    }

 private:
    const CIMKeyBinding& _key;
    const Boolean _isReference;
    Boolean _isRead = false;
    CIMObjectPath _path;
};

const CIMKeyBinding* findBinding(const Array<CIMKeyBinding>& keys, const CIMName& name) {
    for (Uint32 i = 0; i < keys.size(); i++) {
        if (keys[i].getName() == name) {
            return &keys[i];
        }
    }
    return nullptr;
}

// The server completes the path of what is delivered, in place. Here that would be the handle of a
// cache, whose other readers don't expect it.
CIMObject forDelivery(const CIMInstance& instance) {
    const CIMObjectPath& path = instance.getPath();
    const Boolean isComplete = path.getHost().size() > 0 && !path.getNameSpace().isNull();
    return CIMObject(isComplete ? instance : instance.clone());
}

}  // namespace

// What the four operations ask alike.
struct InstanceAssociationProvider::Request {
    const OperationContext& context;
    const CIMObjectPath& objectName;
    const CIMName& resultClass;
    const String& role;
    const String& resultRole;
    Boolean associators;  // far ends; else the associations themselves
};

// Takes the results, as objects or as paths.
class __attribute__((visibility("hidden"))) InstanceAssociationProvider::Sink {
 public:
    class Objects;
    class Paths;

    virtual ~Sink() {}
    virtual void deliverAssociation(CIMInstance& association) = 0;
    virtual void deliverKeyedEnd(const CIMObjectPath& end) = 0;
    // All that a class path stands for.
    virtual void deliverClassEnd(const CIMObjectPath& end) = 0;
};

class InstanceAssociationProvider::Sink::Objects : public Sink {
 public:
    Objects(InstanceAssociationProvider& provider, const OperationContext& context,
            Boolean includeQualifiers, Boolean includeClassOrigin,
            const CIMPropertyList& propertyList, ObjectResponseHandler& handler)
        : _provider(provider),
          _context(context),
          _includeQualifiers(includeQualifiers),
          _includeClassOrigin(includeClassOrigin),
          _propertyList(propertyList),
          _handler(handler) {}

    void deliverAssociation(CIMInstance& association) override {
        _provider.fillProperties(_context, association, _propertyList);
        _handler.deliver(forDelivery(association));
    }

    // Asked through a client, not through the provider's handle: the end may be served by a
    // provider that makes upcalls of its own.
    void deliverKeyedEnd(const CIMObjectPath& end) override {
        CIMClient client;
        client.connectLocal();
        const Array<CIMInstance> instances =
            client.enumerateInstances(cimNamespace(), end.getClassName(), true, false,
                                      _includeQualifiers, _includeClassOrigin, _propertyList);
        const CIMObjectPath wanted = localize(end);
        for (Uint32 i = 0; i < instances.size(); i++) {
            if (instances[i].getPath() == wanted) {
                _handler.deliver(CIMObject(instances[i]));
                break;
            }
        }
        client.disconnect();
    }

    void deliverClassEnd(const CIMObjectPath& end) override {
        const Array<CIMInstance> instances = _provider._cimom.enumerateInstances(
            _context, cimNamespace(), end.getClassName(), false, false, _includeQualifiers,
            _includeClassOrigin, _propertyList);
        for (Uint32 i = 0; i < instances.size(); i++) {
            _handler.deliver(forDelivery(instances[i]));
        }
    }

 private:
    InstanceAssociationProvider& _provider;
    const OperationContext& _context;
    const Boolean _includeQualifiers;
    const Boolean _includeClassOrigin;
    const CIMPropertyList& _propertyList;
    ObjectResponseHandler& _handler;
};

class InstanceAssociationProvider::Sink::Paths : public Sink {
 public:
    Paths(InstanceAssociationProvider& provider, const OperationContext& context,
          ObjectPathResponseHandler& handler)
        : _provider(provider), _context(context), _handler(handler) {}

    void deliverAssociation(CIMInstance& association) override {
        _handler.deliver(association.getPath());
    }
    void deliverKeyedEnd(const CIMObjectPath& end) override { _handler.deliver(end); }
    void deliverClassEnd(const CIMObjectPath& end) override {
        const Array<CIMObjectPath> names =
            _provider._cimom.enumerateInstanceNames(_context, cimNamespace(), end.getClassName());
        if (names.size() > 0) {
            _handler.deliver(names);
        }
    }

 private:
    InstanceAssociationProvider& _provider;
    const OperationContext& _context;
    ObjectPathResponseHandler& _handler;
};

InstanceAssociationProvider::InstanceAssociationProvider() { _cache.setIsAP(); }

InstanceAssociationProvider::InstanceAssociationProvider(const String& CIMClassName,
                                                         const String& leftPropertyName,
                                                         const String& leftClassName,
                                                         const String& rightPropertyName,
                                                         const String& rightClassName)
    : CachedInstanceProvider(CIMClassName),
      _leftClassName(leftClassName),
      _rightClassName(rightClassName),
      _leftPropertyName(leftPropertyName),
      _rightPropertyName(rightPropertyName) {
    _cache.setIsAP();
}

InstanceAssociationProvider::~InstanceAssociationProvider() {}

void InstanceAssociationProvider::associators(const OperationContext& context,
                                              const CIMObjectPath& objectName, const CIMName&,
                                              const CIMName& resultClass, const String& role,
                                              const String& resultRole, Boolean includeQualifiers,
                                              Boolean includeClassOrigin, const CIMPropertyList&,
                                              ObjectResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::associators");
    handler.processing();
    const CIMPropertyList all;
    Sink::Objects sink(*this, context, includeQualifiers, includeClassOrigin, all, handler);
    go({context, objectName, resultClass, role, resultRole, true}, sink);
    handler.complete();
}

void InstanceAssociationProvider::associatorNames(const OperationContext& context,
                                                  const CIMObjectPath& objectName, const CIMName&,
                                                  const CIMName& resultClass, const String& role,
                                                  const String& resultRole,
                                                  ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::associatorNames");
    handler.processing();
    Sink::Paths sink(*this, context, handler);
    go({context, objectName, resultClass, role, resultRole, true}, sink);
    handler.complete();
}

void InstanceAssociationProvider::references(const OperationContext& context,
                                             const CIMObjectPath& objectName,
                                             const CIMName& resultClass, const String& role,
                                             Boolean includeQualifiers, Boolean includeClassOrigin,
                                             const CIMPropertyList& propertyList,
                                             ObjectResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::references");
    handler.processing();
    Sink::Objects sink(*this, context, includeQualifiers, includeClassOrigin, propertyList,
                       handler);
    go({context, objectName, resultClass, role, String::EMPTY, false}, sink);
    handler.complete();
}

void InstanceAssociationProvider::referenceNames(const OperationContext& context,
                                                 const CIMObjectPath& objectName,
                                                 const CIMName& resultClass, const String& role,
                                                 ObjectPathResponseHandler& handler) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::referenceNames");
    handler.processing();
    Sink::Paths sink(*this, context, handler);
    go({context, objectName, resultClass, role, String::EMPTY, false}, sink);
    handler.complete();
}

void InstanceAssociationProvider::go(const Request& request, Sink& sink) {
    TraceScope trace(__FILE__, __LINE__, "InstanceAssociationProvider::go");
    const String& role = request.role;
    const String& resultRole = request.resultRole;
    requireRole(role, _leftPropertyName, _rightPropertyName, "invalid role");
    requireRole(resultRole, _leftPropertyName, _rightPropertyName, "invalid resultRole");

    Array<CIMInstance> instances;
    _cache.getInstances(instances);
    const Array<CIMClass> resultClasses =
        getSubclasses(_cimom, request.context, request.resultClass);
    if (instances.size() == 0) {
        return;  // before the names are needed, which a default-constructed object may lack
    }
    const CIMName leftName(_leftPropertyName);
    const CIMName rightName(_rightPropertyName);
    RequestObject object(_cimom, request.context, request.objectName);
    Array<CIMObjectPath> farEnds;
    for (Uint32 i = 0; i < instances.size(); i++) {
        CIMInstance instance = instances[i];
        const CIMObjectPath path = instance.getPath();
        const CIMKeyBinding* const leftKey = findBinding(path.getKeyBindings(), leftName);
        const CIMKeyBinding* const rightKey = findBinding(path.getKeyBindings(), rightName);
        if (leftKey == nullptr || rightKey == nullptr) {
            continue;
        }
        End left(*leftKey);
        End right(*rightKey);

        // The references family asks with an empty resultRole: there is a far end exactly when the
        // association refers to the object.
        End* far = nullptr;
        if (left.covers(object) && emptyOrEqual(role, _leftPropertyName) &&
            emptyOrEqual(resultRole, _rightPropertyName)) {
            far = &right;
        } else if (right.covers(object) && emptyOrEqual(role, _rightPropertyName) &&
                   emptyOrEqual(resultRole, _leftPropertyName)) {
            far = &left;
        }
        if (far == nullptr) {
            continue;
        }
        const CIMObjectPath& result = request.associators ? far->path() : path;
        if (!findClass(resultClasses, result.getClassName())) {
            continue;
        }
        if (request.associators) {
            farEnds.append(result);
        } else {
            sink.deliverAssociation(instance);
        }
    }

    // After the whole cache has been looked through, in the order gathered.
    for (Uint32 i = 0; i < farEnds.size(); i++) {
        if (isClass(farEnds[i])) {
            sink.deliverClassEnd(farEnds[i]);
        } else {
            sink.deliverKeyedEnd(farEnds[i]);
        }
    }
}

}  // namespace velmar_remote
