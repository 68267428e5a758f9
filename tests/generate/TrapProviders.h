// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Providers on the bases that are generated from Traps.mof, as a user would write them.
#ifndef VELMAR_TESTS_TRAPPROVIDERS_H
#define VELMAR_TESTS_TRAPPROVIDERS_H

#include <velmar_typed/Watcher.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "InstanceMethodProvider_ProviderBase.h"
#include "TRAP_AlertProviderBase.h"
#include "TRAP_Keyless.h"
#include "TRAP_LinkProviderBase.h"
#include "TRAP_MethodsProviderBase.h"
#include "TRAP_NamesProviderBase.h"
#include "TRAP_PartProviderBase.h"
#include "TRAP_SubPart.h"
#include "TRAP_SubPartProviderBase.h"
#include "TRAP_TypesProviderBase.h"

namespace traps {

class TRAP_TypesProvider : public TRAP_TypesProviderBase {};
class TRAP_NamesProvider : public TRAP_NamesProviderBase {};
class TRAP_SubPartProvider : public TRAP_SubPartProviderBase {};
class InstanceMethodProvider_Provider : public InstanceMethodProvider_ProviderBase {
    cim::Property<Pegasus::Uint32> Run(const Pegasus::OperationContext&,
                                       const InstanceMethodProvider_&) override {
        return 1;
    }
};

/// Counts its refreshes, from which each copy gets its size.
class TRAP_PartProvider : public TRAP_PartProviderBase {
 public:
    std::atomic<Pegasus::Uint32> refreshes{0};
    bool changesKey = false;

 protected:
    void refresh(const Pegasus::OperationContext&, TRAP_Part& copy) override {
        copy.Size = ++refreshes;
        if (changesKey) {
            copy.keys.Name = "another";
        }
    }
};

class TRAP_LinkProvider : public TRAP_LinkProviderBase {
 protected:
    void refresh(const Pegasus::OperationContext&, TRAP_Link& copy) override { copy.Weight = 7; }
    cim::Property<Pegasus::Uint32> Weigh(const Pegasus::OperationContext&, const TRAP_Link& self,
                                         cim::Property<Pegasus::Uint32>& Before) override {
        Before = self.Weight;
        return 1;
    }
};

/// Raises an alert about itself whenever "Mix" gets the text "alert".
class TRAP_MethodsProvider : public TRAP_MethodsProviderBase {
 protected:
    bool mayLeaveOut(const char* method, const char* parameter) const override {
        return std::string(method) == "Mix" && std::string(parameter) != "Text";
    }
    cim::Property<Pegasus::String> Mix(
        const Pegasus::OperationContext&, const TRAP_Methods& self, Pegasus::Uint32 Needed,
        const cim::Property<Pegasus::String>& Text, cim::Property<Pegasus::Uint32>& Both,
        cim::Property<Pegasus::String>& BothNeeded, cim::Property<paths::TRAP_Part>& Made,
        const cim::Property<std::vector<paths::TRAP_Part>>& Given,
        cim::Property<std::vector<Pegasus::String>>& Words,
        const cim::Property<Pegasus::CIMInstance>& Part,
        cim::Property<std::vector<Pegasus::CIMInstance>>& Parts,
        const cim::Property<cim::Enumeration<TRAP_Methods::MixSpeedValue>>& Speed) override {
        if (Text == "alert") {
            TRAP_Alert alert;
            alert.Description = "mixed";
            alert.Codes = {Needed, 2};
            alert.SystemName = "sender";
            raise(alert, self);
        }
        Made = Given.isNull() ? TRAP_Part("none").path() : Given.value().at(0);
        if (!Part.isNull()) {
            Parts = {Part.value(), Part.value()};
        }
        Words.clear();
        Both = Both.valueOr(0) + self.Value.valueOr(0);
        BothNeeded = cim::utf8(BothNeeded.value()) + "!";
        const bool isFast = !Speed.isNull() && Speed.value() == TRAP_Methods::MixSpeedValue::Fast;
        return isFast ? "fast" : "slow";
    }
    cim::Property<Pegasus::CIMDateTime> Now(const Pegasus::OperationContext&,
                                            const cim::Property<Pegasus::Boolean>& Ask) override {
        return Ask.isNull() ? cim::Property<Pegasus::CIMDateTime>()
                            : Pegasus::CIMDateTime("20261125120000.000000+000");
    }
};

class TRAP_AlertProvider : public TRAP_AlertProviderBase {
 protected:
    bool prepare(const Pegasus::OperationContext&, TRAP_Alert& alert) override {
        if (alert.PerceivedSeverity.isNull()) {
            alert.PerceivedSeverity = Pegasus::Uint16(6);
        }
        return alert.Description != "dropped";
    }
};

/// Does what its test says; keeps what it reports.
class TrapWatcher : public velmar_typed::Watcher {
 public:
    using Watcher::raise;
    using Watcher::show;
    using Watcher::wait;
    using Watcher::with;

    /// Of each watcher; null: nothing happens. Set while none runs.
    static inline std::function<void(TrapWatcher&)> step;
    static inline std::mutex lock;
    static inline std::vector<std::string> reported;

 protected:
    void watch() override {
        if (step) {
            step(*this);
        } else {
            wait(std::chrono::seconds(1));
        }
    }
    void report(const std::string& problem) override {
        const std::lock_guard<std::mutex> guard(lock);
        reported.push_back(problem);
    }
};

}  // namespace traps

#endif
