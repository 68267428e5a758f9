// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/SharingRules.h"

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>

#include <algorithm>

#include "checks/Wording.h"
#include "model/CIMReps.h"

using namespace Pegasus;

namespace velmar_checks {

namespace {

// Living objects of one shard; with more of them knowledge is given up to save memory.
const size_t capacity = 4096;

std::string nameOf(const CIMConstObject& object) { return utf8(object.getPath().toString()); }

}  // namespace

Snapshot::Snapshot(const CIMConstObject& object) {
    const ObjectRep& rep = *HandleAccess::rep(object);
    _entries.reserve(rep.properties.size());
    for (const CIMProperty& property : rep.properties) {
        const auto& propertyRep = HandleAccess::rep(property);
        _entries.push_back({propertyRep, HandleAccess::data(propertyRep->value)});
    }
}

std::string Snapshot::difference(const CIMConstObject& now) const {
    const ObjectRep& rep = *HandleAccess::rep(now);
    const auto entryOf = [](const CIMProperty& property) {
        const auto& propertyRep = HandleAccess::rep(property);
        return Entry{propertyRep, HandleAccess::data(propertyRep->value)};
    };
    const bool same = std::equal(
        rep.properties.begin(), rep.properties.end(), _entries.begin(), _entries.end(),
        [&](const CIMProperty& property, const Entry& e) { return entryOf(property) == e; });
    if (same) {
        return "";
    }
    for (const CIMProperty& property : rep.properties) {
        if (std::find(_entries.begin(), _entries.end(), entryOf(property)) == _entries.end()) {
            return "property " + utf8(property.getName());
        }
    }
    return "the list of properties";
}

void checkUnchanged(Findings& findings, const std::string& provider, const Handed& handed) {
    const std::string changed = handed.snapshot->difference(handed.object);
    if (!changed.empty()) {
        Reporter(findings, provider, utf8(handed.object.getClassName()))
            .add("sharing.changed-before-encoding", "",
                 changed + " of " + nameOf(handed.object) +
                     " was edited after its delivery and before its encoding");
    }
}

DeliveredObjects::Shard& DeliveredObjects::shardOf(const void* object) {
    return _shards[(reinterpret_cast<uintptr_t>(object) >> 6) % _shards.size()];
}

// Their properties were kept alive by the snapshots until now.
void DeliveredObjects::forgetGone(Shard& shard) {
    if (shard.entries.size() < shard.limit) {
        return;
    }
    for (auto entry = shard.entries.begin(); entry != shard.entries.end();) {
        entry = entry->second.object.expired() ? shard.entries.erase(entry) : std::next(entry);
    }
    if (shard.entries.size() > capacity) {
        shard.entries.clear();
    }
    shard.limit = 2 * shard.entries.size() + 64;
}

DeliveredObjects::Delivery DeliveredObjects::deliver(const Reporter& report,
                                                     const CIMConstObject& object,
                                                     const Facts& facts) {
    const std::shared_ptr<ObjectRep>& rep = HandleAccess::rep(object);
    Shard& shard = shardOf(rep.get());
    std::shared_ptr<const Snapshot> before;
    bool isGood = false;
    {
        std::lock_guard<std::mutex> guard(shard.lock);
        const auto known = shard.entries.find(rep.get());
        // The address may be that of an object which is gone.
        if (known != shard.entries.end() && known->second.object.lock() == rep) {
            before = known->second.snapshot;
            isGood = facts && known->second.goodFor == facts;
        }
    }
    const std::string changed = before ? before->difference(object) : "";
    if (before && changed.empty()) {
        return {before, isGood};
    }
    if (before) {
        report.add(
            "sharing.edited-after-delivery", "",
            changed + " of " + nameOf(object) + " was edited in place after it had been delivered");
    }
    auto now = std::make_shared<const Snapshot>(object);
    std::lock_guard<std::mutex> guard(shard.lock);
    forgetGone(shard);
    shard.entries[rep.get()] = {rep, now, nullptr};
    return {now, false};
}

void DeliveredObjects::noteGood(const CIMConstObject& object, const Facts& facts) {
    const std::shared_ptr<ObjectRep>& rep = HandleAccess::rep(object);
    Shard& shard = shardOf(rep.get());
    std::lock_guard<std::mutex> guard(shard.lock);
    const auto known = shard.entries.find(rep.get());
    if (known != shard.entries.end()) {
        known->second.goodFor = facts;
    }
}

void DeliveredObjects::clear() {
    for (Shard& shard : _shards) {
        std::lock_guard<std::mutex> guard(shard.lock);
        shard.entries.clear();
    }
}

}  // namespace velmar_checks
