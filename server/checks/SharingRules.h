// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Instances that a provider edits after it has handed them out. A server encodes delivered
// instances on another thread after the operation has returned, so such an edit crashes it sooner
// or later.
//
// Thread-safe, except Snapshot, which is constant once made.
#ifndef VELMAR_CHECKS_SHARINGRULES_H
#define VELMAR_CHECKS_SHARINGRULES_H

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "checks/ClassFacts.h"
#include "checks/Findings.h"

namespace velmar_checks {

/// What an object's properties were at a moment: not their values but the very objects, so that
/// writing the same value once more shows as well. Keeps them alive, and thereby distinct.
class Snapshot {
 public:
    explicit Snapshot(const Pegasus::CIMConstObject& object);
    /// What has changed since: "property Speed", "the list of properties"; empty if nothing has.
    std::string difference(const Pegasus::CIMConstObject& now) const;

 private:
    struct Entry {
        std::shared_ptr<const void> property;
        std::shared_ptr<const void> value;
        bool operator==(const Entry& other) const {
            return property == other.property && value == other.value;
        }
    };
    std::vector<Entry> _entries;
};

/// An object on its way to a client, and what it was when it was delivered.
struct Handed {
    Pegasus::CIMConstObject object;
    std::shared_ptr<const Snapshot> snapshot;
};

void checkUnchanged(Findings& findings, const std::string& provider, const Handed& handed);

/// The objects that were delivered, as long as somebody holds them.
class DeliveredObjects {
 public:
    struct Delivery {
        std::shared_ptr<const Snapshot> snapshot;
        bool isKnownGood;  ///< unchanged since noteGood with these facts
    };
    /// Reports the object if it was delivered before and edited since.
    Delivery deliver(const Reporter& report, const Pegasus::CIMConstObject& object,
                     const Facts& facts);
    /// Nothing is wrong with the object as it is, measured by these facts.
    void noteGood(const Pegasus::CIMConstObject& object, const Facts& facts);
    void clear();

 private:
    struct Entry {
        std::weak_ptr<const void> object;
        std::shared_ptr<const Snapshot> snapshot;
        Facts goodFor;
    };
    struct Shard {
        std::mutex lock;
        std::unordered_map<const void*, Entry> entries;
        size_t limit = 64;  // at this size the objects that are gone are forgotten
    };
    Shard& shardOf(const void* object);
    static void forgetGone(Shard& shard);

    std::array<Shard, 16> _shards;
};

}  // namespace velmar_checks

#endif
