// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "InstanceCache.h"

#include <Pegasus/Client/CIMClient.h>

#include "Internal.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

// Keys that differ only in letter case have text hashes that differ by a multiple of 32. With this
// number of chains they share one, and path equality finds them; with more they are lost.
const Uint32 FEWEST_CHAINS = 32;

// A path's hash is its text read as a number in base 5. Keys that count on in digits have hashes
// that differ by small multiples of a power of 5, and the remainders of those are spread evenly for
// a power of two. For other numbers, round decimal ones above all, they may hit a few chains only.
Uint32 suitable(Uint32 chains) {
    const Uint32 MOST_CHAINS = Uint32(1) << 31;
    Uint32 number = FEWEST_CHAINS;
    while (number < chains && number < MOST_CHAINS) {
        number *= 2;
    }
    return number;
}

// A record of a change comes before it, so the table must first be asked whether there will be one.
// Each search costs a hash of the whole path: only where the record is written is it made twice.
Boolean isTraced() { return Tracer::isTraceEnabled(TRACE_COMPONENT, Tracer::LEVEL3); }

// Runs without the cache's lock: the deletions come back through the CIM server, maybe to this very
// provider.
void deleteReferences(const CIMObjectPath& instanceReference) {
    CIMClient client;
    client.connectLocal();
    const Array<CIMObjectPath> references =
        client.referenceNames(cimNamespace(), instanceReference, CIMName(), String::EMPTY);
    for (Uint32 i = 0; i < references.size(); i++) {
        client.deleteInstance(cimNamespace(), references[i]);
    }
    client.disconnect();
}

}  // namespace

InstanceCache::InstanceCache() : InstanceCache(FEWEST_CHAINS) {}

InstanceCache::InstanceCache(Uint32 chains) : instanceHash(suitable(chains)), isAP(false) {}

InstanceCache::~InstanceCache() {}

void InstanceCache::insert(const Array<CIMInstance>& instanceObjects) {
    for (Uint32 i = 0; i < instanceObjects.size(); i++) {
        insert(instanceObjects[i]);
    }
}

void InstanceCache::insert(const CIMInstance& instanceObject) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::insert");
    const CIMObjectPath key = localize(instanceObject.getPath());
    AutoMutex lock(mut);
    if (isTraced() && !instanceHash.contains(key)) {
        PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3, "Inserting into cache: %s",
                   (const char*)key.toString().getCString()));
    }
    instanceHash.insert(key, instanceObject);
}

void InstanceCache::replace(const Array<CIMInstance>& instanceObjects) {
    for (Uint32 i = 0; i < instanceObjects.size(); i++) {
        replace(instanceObjects[i]);
    }
}

void InstanceCache::replace(const CIMInstance& instanceObject) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::replace");
    const CIMObjectPath key = localize(instanceObject.getPath());
    AutoMutex lock(mut);
    if (isTraced() && instanceHash.contains(key)) {
        PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3, "Replacing in cache: %s",
                   (const char*)key.toString().getCString()));
    }
    if (instanceHash.remove(key)) {
        instanceHash.insert(key, instanceObject);
    }
}

void InstanceCache::remove(const Array<CIMObjectPath>& instanceReferences) {
    for (Uint32 i = 0; i < instanceReferences.size(); i++) {
        remove(instanceReferences[i]);
    }
}

void InstanceCache::remove(const CIMObjectPath& instanceReference) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::remove");
    const CIMObjectPath key = localize(instanceReference);
    {
        AutoMutex lock(mut);
        if (!instanceHash.remove(key)) {
            return;
        }
        PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3, "Removing from cache: %s",
                   (const char*)key.toString().getCString()));
    }
    if (!isAP) {
        deleteReferences(instanceReference);
    }
}

Boolean InstanceCache::contains(const CIMObjectPath& instanceReference) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::contains");
    const CIMObjectPath key = localize(instanceReference);
    AutoMutex lock(mut);
    return instanceHash.contains(key);
}

Boolean InstanceCache::lookup(const CIMObjectPath& instanceReference, CIMInstance& instanceObject) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::lookup");
    const CIMObjectPath key = localize(instanceReference);
    AutoMutex lock(mut);
    if (!instanceHash.lookup(key, instanceObject)) {
        return false;
    }
    PEG_TRACE((TRACE_COMPONENT, Tracer::LEVEL3, "Found in cache: %s",
               (const char*)instanceObject.getPath().toString().getCString()));
    return true;
}

void InstanceCache::clear() {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::clear");
    Array<CIMObjectPath> paths;
    if (getPaths(paths)) {
        remove(paths);
    }
}

Boolean InstanceCache::getInstances(Array<CIMInstance>& instances) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::getInstances");
    AutoMutex lock(mut);
    if (instanceHash.size() == 0) {
        return false;
    }
    Array<CIMInstance> found;
    found.reserveCapacity(instanceHash.size());
    for (auto entry = instanceHash.start(); entry; entry++) {
        found.append(entry.value());
    }
    instances = found;
    return true;
}

Boolean InstanceCache::getPaths(Array<CIMObjectPath>& paths) {
    TraceScope trace(__FILE__, __LINE__, "InstanceCache::getPaths");
    AutoMutex lock(mut);
    if (instanceHash.size() == 0) {
        return false;
    }
    Array<CIMObjectPath> found;
    found.reserveCapacity(instanceHash.size());
    for (auto entry = instanceHash.start(); entry; entry++) {
        found.append(entry.key());
    }
    paths = found;
    return true;
}

void InstanceCache::setIsAP() { isAP = true; }

}  // namespace velmar_remote
