// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "providers/LoadedProvider.h"

#include <Pegasus/Provider/CIMOMHandle.h>

#include <utility>

#include "client/Request.h"
#include "providers/Course.h"

using namespace Pegasus;

// A thread sanitizer in a user's test sees no atomics of a library that is built without one; these
// are null where none runs.
extern "C" __attribute__((weak)) void __tsan_acquire(void* address);
extern "C" __attribute__((weak)) void __tsan_release(void* address);

namespace velmar_embedded {

namespace {

[[noreturn]] void failInitialization() {
    throw PlainError(CIM_ERR_FAILED, "provider initialization failed");
}

}  // namespace

LoadedProvider::LoadedProvider(std::string name, ProviderFactory create, ChannelFactory makeChannel,
                               Notices& notices, RunningCalls& running, LoadObserver* observer)
    : _name(std::move(name)),
      _title("provider \"" + _name + "\""),
      _create(std::move(create)),
      _makeChannel(std::move(makeChannel)),
      _notices(notices),
      _running(running),
      _observer(observer),
      _loading(_title + " in its initialize") {}

CIMProvider& LoadedProvider::load(const Purpose& purpose) {
    if (CIMProvider* object = _object.load(std::memory_order_acquire)) {
        if (__tsan_acquire) {
            __tsan_acquire(&_object);
        }
        return *object;
    }
    Gate::Pass pass(_loading, purpose.operation);
    if (CIMProvider* object = _object.load(std::memory_order_relaxed)) {
        return *object;
    }
    Gate::Scope scope(pass.chain());
    CIMProvider* object = nullptr;
    asLoad("initialize", [&] {
        const std::shared_ptr<Channel> channel = _makeChannel();
        object = create(purpose);
        initialize(*object, channel, purpose);
    });
    if (__tsan_release) {
        __tsan_release(&_object);
    }
    _object.store(object, std::memory_order_release);
    return *object;
}

template <class Work>
void LoadedProvider::asLoad(const char* operation, Work&& work) {
    asStep(
        _notices, [&] { return Step{Step::Kind::Load, operation, _name, "", CIMObjectPath(), ""}; },
        [&] {
            const Course::Scope following(Course::current().into(_name));
            work();
            return 0;
        });
}

CIMProvider* LoadedProvider::create(const Purpose& purpose) {
    try {
        return _create();
    } catch (...) {
        if (_observer) {
            _observer->notCreated(_name);
        }
        if (!_failed) {
            throw;
        }
        // A caller after the first one hears the same error, whatever is missing for a new try.
        _notices.problem(_title + ": could not be re-created for " + purpose.text() +
                         " after its initialize failed: " + describeCurrentException());
        failInitialization();
    }
}

void LoadedProvider::initialize(CIMProvider& object, const std::shared_ptr<Channel>& channel,
                                const Purpose& purpose) {
    CIMOMHandle handle(channel);
    try {
        if (_notices.faults.areSet()) {
            _notices.faults.apply({Step::Kind::Load, "initialize", _name, "", CIMObjectPath(), ""});
        }
        object.initialize(handle);
        _failed = false;
    } catch (...) {
        _failed = true;
        if (_observer) {
            _observer->notInitialized(_name);
        }
        _notices.problem(_title + ": initialize for " + purpose.text() +
                         " failed: " + describeCurrentException());
        terminate(object);
        failInitialization();
    }
    if (_observer) {
        _observer->loaded(_name, object, channel->staysLoaded());
    }
}

void LoadedProvider::terminate(CIMProvider& object) {
    const RunningCalls::Scope running(_running, {"terminate"}, _title);
    try {
        asLoad("terminate", [&] { object.terminate(); });
    } catch (...) {
        if (_observer) {
            _observer->notTerminated(_name);
        }
        _notices.problem(_title + ": terminate failed: " + describeCurrentException());
    }
}

void LoadedProvider::terminate() {
    if (CIMProvider* object = _object.exchange(nullptr)) {
        terminate(*object);
    }
}

}  // namespace velmar_embedded
