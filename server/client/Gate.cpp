// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/Gate.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <mutex>

namespace velmar_embedded {

namespace {

// One lock for all gates: a circle may go through any of them.
std::mutex gates;

thread_local Gate::Chain current;

bool holds(const Gate::Chain& chain, const Gate* gate) {
    for (const Gate::Hold* hold = chain.get(); hold; hold = hold->outer.get()) {
        if (hold->gate == gate) {
            return true;
        }
    }
    return false;
}

}  // namespace

Gate::Chain Gate::chain() { return current; }

Gate::Scope::Scope(Chain chain) : _before(std::move(current)) { current = std::move(chain); }

Gate::Scope::~Scope() { current = std::move(_before); }

// Every wait must end for a holder to finish, so any circle is a deadlock.
bool Gate::reaches(Gate* from, const Chain& chain, std::vector<Gate*>& seen) {
    if (holds(chain, from)) {
        return true;
    }
    if (std::find(seen.begin(), seen.end(), from) != seen.end()) {
        return false;
    }
    seen.push_back(from);
    return std::any_of(from->_awaited.begin(), from->_awaited.end(),
                       [&](Gate* next) { return reaches(next, chain, seen); });
}

Gate::Pass::Pass(Gate& gate, const std::string& operation)
    : _gate(gate), _chain(std::make_shared<Hold>(Hold{&gate, current})) {
    std::unique_lock<std::mutex> guard(gates);
    if (gate._held) {
        std::vector<Gate*> seen;
        if (reaches(&gate, current, seen)) {
            throw Pegasus::CIMException(
                Pegasus::CIM_ERR_FAILED,
                Pegasus::String((operation + " would never return: " + gate._name +
                                 " is busy with " + gate._operation +
                                 ", which waits for this call in turn")
                                    .c_str()));
        }
        for (const Hold* hold = current.get(); hold; hold = hold->outer.get()) {
            hold->gate->_awaited.push_back(&gate);
        }
        gate._free.wait(guard, [&gate] { return !gate._held; });
        for (const Hold* hold = current.get(); hold; hold = hold->outer.get()) {
            std::vector<Gate*>& awaited = hold->gate->_awaited;
            awaited.erase(std::find(awaited.begin(), awaited.end(), &gate));
        }
    }
    gate._held = true;
    gate._operation = operation;
}

Gate::Pass::~Pass() {
    std::lock_guard<std::mutex> guard(gates);
    _gate._held = false;
    _gate._free.notify_one();
}

}  // namespace velmar_embedded
