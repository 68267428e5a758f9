// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A thread-safe store of CIM instances, keyed by object path without host and namespace.
//
// Thread-safe: any operation may be called on any thread at any time. One lock guards the table and
// is held for the table work of one operation only, never across a call to the CIM server.
//
// Instances are shared handles: the cache stores the handle it is given and hands out handles to
// the same object. Editing such an instance edits the cached one, outside the cache's lock.
//
// Letter case does not matter where path equality ignores it (names of classes and keys). The time
// of a lookup does not depend on the number of instances: the table grows with them.
#ifndef VELMAR_REMOTE_COMMON_INSTANCECACHE_H
#define VELMAR_REMOTE_COMMON_INSTANCECACHE_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/HashTable.h>
#include <Pegasus/Common/Mutex.h>

#include "Config.h"
#include "Util.h"

namespace velmar_remote {

/// A thread-safe store of shared instance handles, keyed by class name and keys.
class InstanceCache {
 public:
    InstanceCache();
    /// Releases the stored handles; deletes nothing through the CIM server.
    ~InstanceCache();

    /// The single form, for each element in order; the lock is taken once per element. Stops at the
    /// first exception.
    void insert(const Pegasus::Array<Pegasus::CIMInstance>& instanceObjects);
    /// Stores the handle under the instance's own path, localized. Quiet when that key is cached
    /// already: the old instance stays. Throws UninitializedObjectException for an uninitialized
    /// instance.
    void insert(const Pegasus::CIMInstance& instanceObject);

    /// The single form, for each element in order. Stops at the first exception.
    void replace(const Pegasus::Array<Pegasus::CIMInstance>& instanceObjects);
    /// Puts the handle in the place of the cached one with the same key; never adds a new key.
    void replace(const Pegasus::CIMInstance& instanceObject);

    /// The single form, for each element in order; stops at the first exception.
    void remove(const Pegasus::Array<Pegasus::CIMObjectPath>& instanceReferences);
    /// Removes the entry and then, unless setIsAP was called, deletes through a local client
    /// connection every association instance in "root/velmar_remote" that refers to
    /// `instanceReference`. Quiet, and without a connection, when nothing is cached there.
    /// Client exceptions pass through; the entry is gone by then.
    void remove(const Pegasus::CIMObjectPath& instanceReference);

    /// Whether an instance is cached under that path, host and namespace aside.
    Boolean contains(const Pegasus::CIMObjectPath& instanceReference);

    /// Assigns the cached handle to `instanceObject` and returns true; otherwise false, and
    /// `instanceObject` is left as it was.
    Boolean lookup(const Pegasus::CIMObjectPath& instanceReference,
                   Pegasus::CIMInstance& instanceObject);

    /// Removes what is cached, one entry after the other, each with its own cascade. Not atomic:
    /// an instance inserted meanwhile can survive. Stops at the first exception.
    void clear();

    /// Replaces `instances` by all cached handles, in no promised order, and returns true; an empty
    /// cache returns false and leaves it as it was.
    Boolean getInstances(Pegasus::Array<Pegasus::CIMInstance>& instances);

    /// The same with the keys: paths without host and namespace.
    Boolean getPaths(Pegasus::Array<Pegasus::CIMObjectPath>& paths);

    /// Marks this as the cache of an association provider, whose removals do not cascade. Call it
    /// before the cache is shared between threads; it cannot be undone.
    void setIsAP();

 private:
    /// Equal for equal paths, well mixed.
    struct Hash {
        static Uint32 hash(const Pegasus::CIMObjectPath& path);
    };
    typedef Pegasus::HashTable<Pegasus::CIMObjectPath, Pegasus::CIMInstance,
                               Pegasus::EqualFunc<Pegasus::CIMObjectPath>, Hash>
        Table;

    void grow();

    Table instanceHash;
    bool isAP;
    Pegasus::Mutex mut;
    Uint32 chains;
};

}  // namespace velmar_remote

#endif
