// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A thread that watches a device for the providers of one module and hands its changes to them.
//
// The module's factory makes one watcher and gives it to make() with each provider; make() does the
// rest. The thread starts when the first provider is initialized, whichever that is (for alerts a
// subscription is enough), and has ended before any provider is terminated. It starts again for
// those that are left, and for those that come back.
#ifndef VELMAR_TYPED_WATCHER_H
#define VELMAR_TYPED_WATCHER_H

#include <Pegasus/Common/Tracer.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <chrono>
#include <condition_variable>
#include <iostream>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "Alerts.h"

namespace velmar_typed {
inline namespace v1 {

/// Derive from it and override watch(). Thread-safe.
class Watcher {
 public:
    Watcher() = default;
    /// No provider may be left that it watches for.
    virtual ~Watcher() = default;
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    // What make() calls, for each provider object: enter before its initialize, ready after it,
    // leave before its terminate.

    /// From here on with() waits for the provider, so that what its initialize reads of the device
    /// is older than any change that it is given.
    void enter(Pegasus::CIMProvider& provider) {
        const std::lock_guard<std::mutex> guard(_lock);
        for (Member& member : _members) {
            if (member.provider == nullptr) {
                member = {&provider, Entering};
                return;
            }
        }
        _members.push_back({&provider, Entering});
    }
    /// Starts the thread unless it runs. Throws std::system_error where there are too many.
    void ready(Pegasus::CIMProvider& provider) {
        const std::lock_guard<std::mutex> guard(_lock);
        set(provider, Ready);
        start(&Watcher::run);
    }
    /// Ends the thread, which waits for a running watch(), and starts it again for the others.
    void leave(Pegasus::CIMProvider& provider) {
        std::unique_lock<std::mutex> guard(_lock);
        if (neverWasReady(provider)) {  // the thread may be waiting for the server meanwhile
            return;
        }
        set(provider, Leaving);
        _changed.wait(guard, [this] { return !_ending; });
        _ending = true;
        _changed.notify_all();
        std::thread ending = std::move(_thread);
        guard.unlock();
        if (ending.joinable()) {
            ending.join();
        }
        guard.lock();
        _members.remove_if([&](const Member& one) { return one.provider == &provider; });
        _ending = false;
        _changed.notify_all();
        try {
            start(&Watcher::runLater);
        } catch (const std::system_error&) {  // the next one that is ready starts it
        }
    }

 protected:
    /// Hook: waits for changes of the device, a second at most, and hands them on. Called again and
    /// again on the watcher's thread; without a lock. What it throws is reported, and the next call
    /// comes after a second.
    virtual void watch() = 0;

    /// Hook: gets what failed on the thread: what watch(), a function given to with(), or raise()
    /// threw. A text comes once while each call of watch() has failures. Writes it to the server's
    /// trace and to stderr.
    virtual void report(const std::string& problem) {
        PEG_TRACE_CSTRING(Pegasus::TraceComponentId(36), Pegasus::Tracer::LEVEL1, problem.c_str());
        std::cerr << "watcher: " + problem + "\n" << std::flush;
    }

    /// In watch(): calls act(provider) for the module's provider of type P. No-op where the server
    /// has not asked for it yet: its initialize will read what the device is by then. Waits for one
    /// that is in its initialize. What act throws is reported.
    template <class P, class Act>
    void with(Act&& act) {
        std::unique_lock<std::mutex> guard(_lock);
        for (Member& member : _members) {  // stays where it is as long as the thread runs
            const Pegasus::CIMProvider* const asked = member.provider;
            P* const provider = dynamic_cast<P*>(member.provider);
            if (provider != nullptr) {
                _changed.wait(guard, [&] { return member.state != Entering; });
                if (member.state == Ready && member.provider == asked) {
                    guard.unlock();
                    attempt([&] { act(*provider); });
                    guard.lock();
                }
            }
        }
    }

    /// In watch(): the provider of type P, a generated base's, puts an object that is there, and
    /// erases one that is gone. As with().
    template <class P>
    void show(const typename P::Object& object, bool isThere) {
        with<P>([&](P& provider) {
            if (isThere) {
                provider.put(object);
            } else {
                provider.erase(object.path());
            }
        });
    }

    /// In watch(): raises an alert about an element, as velmar_typed::raise. What that throws is
    /// reported.
    template <class Alert, class Element>
    bool raise(const Alert& alert, const Element& element) {
        bool isSent = false;
        attempt([&] { isSent = velmar_typed::raise(alert, element); });
        return isSent;
    }

    /// Waits that long, and less when the thread is to end. Returns false when it is.
    template <class Duration>
    bool wait(const Duration& duration) {
        std::unique_lock<std::mutex> guard(_lock);
        return !_changed.wait_for(guard, duration, [this] { return _ending; });
    }

 private:
    enum State { Entering, Ready, Leaving };
    struct Member {
        Pegasus::CIMProvider* provider;  ///< null: a place for another
        State state;
    };

    // These with the lock held.
    bool neverWasReady(const Pegasus::CIMProvider& provider) {
        for (Member& member : _members) {
            if (member.provider == &provider && member.state == Entering) {
                member = {nullptr, Leaving};
                _changed.notify_all();
                return true;
            }
        }
        return false;
    }
    void set(Pegasus::CIMProvider& provider, State state) {
        for (Member& member : _members) {
            member.state = member.provider == &provider ? state : member.state;
        }
        _changed.notify_all();
    }
    void start(void (Watcher::*body)()) {
        bool isNeeded = false;
        for (const Member& member : _members) {
            isNeeded = isNeeded || member.state == Ready;
        }
        if (isNeeded && !_ending && !_thread.joinable()) {
            _thread = std::thread(body, this);
        }
    }

    // Providers mostly end one after the other: no watch() of those that are left holds them up.
    void runLater() {
        if (wait(std::chrono::milliseconds(200))) {
            run();
        }
    }
    void run() {
        do {
            _hasFailed = false;
            while (!attempt([this] { watch(); }) && wait(std::chrono::seconds(1))) {
            }
            if (!_hasFailed) {
                _reported.clear();
            }
        } while (wait(std::chrono::seconds(0)));
    }

    // Returns false if the action throws, and reports what.
    template <class Action>
    bool attempt(Action&& action) {
        try {
            action();
            return true;
        } catch (...) {
            _hasFailed = true;
            tell(describeCurrentException());
            return false;
        }
    }
    void tell(const std::string& problem) {
        if (_reported.size() == 100) {  // texts that are never the same
            _reported.clear();
        }
        if (_reported.insert(problem).second) {
            try {
                report(problem);
            } catch (...) {  // of an override: the last place to report to
            }
        }
    }

    std::mutex _lock;
    std::condition_variable _changed;
    std::list<Member> _members;
    bool _ending = false;
    std::thread _thread;
    bool _hasFailed = false;          ///< these two belong to the thread
    std::set<std::string> _reported;  ///< since the last call of watch() in which nothing failed
};

}  // namespace v1
}  // namespace velmar_typed

#endif
