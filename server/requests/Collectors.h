// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The response handlers that the server gives to a provider's operation. They keep the delivered
// handles and check what a provider may deliver; a result counts once complete was called.
//
// Used by one operation, not thread-safe.
#ifndef VELMAR_EMBEDDED_REQUESTS_COLLECTORS_H
#define VELMAR_EMBEDDED_REQUESTS_COLLECTORS_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <functional>
#include <memory>
#include <utility>

#include "checks/CallWatch.h"
#include "client/Request.h"

namespace velmar_embedded {

/// What the checks want to know of a handler; off unless `watch` is set.
class Watched {
 public:
    void watch(velmar_checks::CallWatch* watch) { _watch = watch; }
    /// Moves what looks at the delivered objects once more to what is made of them.
    void moveGuard(Answer& answer) {
        if (auto guard = _watch ? _watch->takeGuard() : nullptr) {
            answer.guards.push_back(std::move(guard));
        }
    }
    /// How many objects or values came.
    size_t delivered() const { return _delivered; }

 protected:
    /// Calls a member of the watch, if there is one.
    template <class Member, class... Arguments>
    void tell(Member member, const Arguments&... arguments) {
        if (_watch) {
            (_watch->*member)(arguments...);
        }
    }
    template <class T>
    void tellDelivered(const T& delivered) {
        _delivered++;
        if (_watch) {
            _watch->delivered(delivered);
        }
    }

 private:
    velmar_checks::CallWatch* _watch = nullptr;
    size_t _delivered = 0;
};

/// Throws CIMException (CIM_ERR_FAILED) for what has no contents.
void checkDelivered(const Pegasus::CIMInstance& instance);
void checkDelivered(const Pegasus::CIMObject& object);
void checkDelivered(const Pegasus::CIMObjectPath& path);

/// For operations that deliver nothing.
class Acknowledgement : virtual public Pegasus::ResponseHandler, public Watched {
 public:
    void processing() override { tell(&velmar_checks::CallWatch::processing); }
    void complete() override { tell(&velmar_checks::CallWatch::completed); }
};

/// Gathers items of type T for a Base with the two `deliver` functions of T. With `single` exactly
/// one item must come.
template <class Base, class T>
class Collector : public Base, public Watched {
 public:
    static constexpr Pegasus::Uint32 pieceSize = 100;  ///< as a real server has it

    explicit Collector(bool single = false) : _single(single) {}
    /// Calls `onPiece` whenever so many more items have come; it may take them.
    explicit Collector(std::function<void(Collector&)> onPiece)
        : _single(false), _onPiece(std::move(onPiece)) {}

    void processing() override { tell(&velmar_checks::CallWatch::processing); }
    void complete() override {
        tell(&velmar_checks::CallWatch::completed);
        if (_single && _items.size() == 0) {
            fail("Too few objects delivered.");
        }
        _complete = true;
    }
    void deliver(const T& item) override {
        tellDelivered(item);
        checkDelivered(item);
        if (_single && _items.size() > 0) {
            fail("Too many objects delivered.");
        }
        _items.append(item);
        if (_onPiece && _items.size() % pieceSize == 0) {
            _onPiece(*this);
        }
    }
    void deliver(const Pegasus::Array<T>& items) override {
        for (Pegasus::Uint32 i = 0; i < items.size(); i++) {
            deliver(items[i]);
        }
    }

    /// What was delivered; nothing without complete.
    Pegasus::Array<T> items() const { return _complete ? _items : Pegasus::Array<T>(); }
    /// Moves what has come so far.
    void moveItems(Pegasus::Array<T>& to) {
        to.clear();
        to.swap(_items);
    }

 private:
    [[noreturn]] static void fail(const char* reason) {
        throw Pegasus::CIMException(Pegasus::CIM_ERR_FAILED, Pegasus::String(reason));
    }

    const bool _single;
    const std::function<void(Collector&)> _onPiece;
    bool _complete = false;
    Pegasus::Array<T> _items;
};

using InstanceCollector = Collector<Pegasus::InstanceResponseHandler, Pegasus::CIMInstance>;
using PathCollector = Collector<Pegasus::ObjectPathResponseHandler, Pegasus::CIMObjectPath>;
using ObjectCollector = Collector<Pegasus::ObjectResponseHandler, Pegasus::CIMObject>;

class MethodResultCollector : public Pegasus::MethodResultResponseHandler, public Watched {
 public:
    void processing() override { tell(&velmar_checks::CallWatch::processing); }
    void complete() override {
        tell(&velmar_checks::CallWatch::completed);
        _complete = true;
    }
    void deliverParamValue(const Pegasus::CIMParamValue& parameter) override;
    void deliverParamValue(const Pegasus::Array<Pegasus::CIMParamValue>& parameters) override;
    /// A second value replaces the first.
    void deliver(const Pegasus::CIMValue& returnValue) override;

    /// Null without complete.
    Pegasus::CIMValue returnValue() const;
    Pegasus::Array<Pegasus::CIMParamValue> parameters() const;

 private:
    bool _complete = false;
    Pegasus::CIMValue _returnValue;
    Pegasus::Array<Pegasus::CIMParamValue> _parameters;
};

}  // namespace velmar_embedded

#endif
