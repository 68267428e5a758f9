// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "InstanceCache.h"

#include <Pegasus/Client/CIMClient.h>

#include <cstdlib>

#include "Internal.h"

using namespace Pegasus;

namespace velmar_remote {

namespace {

const Uint32 FEWEST_CHAINS = 32;

// FNV-1a over letters without case. Case matters in the values of string keys, where it costs no
// more than a shared chain.
class Mixer {
 public:
    void add(const String& text) {
        const Char16* const data = text.getChar16Data();
        for (Uint32 i = 0, n = text.size(); i < n; i++) {
            const Uint16 c = data[i];
            add(c >= 'A' && c <= 'Z' ? c | 0x20 : c);
        }
        add(Uint64(0));
    }
    void add(Uint64 number) { _state = (_state ^ number) * 0x100000001B3; }
    // Of the product's low bits each depends on few of the text's; those of the upper half do on
    // all.
    Uint32 value() const { return Uint32((_state ^ (_state >> 29)) * 0x9E3779B97F4A7C15 >> 32); }

 private:
    Uint64 _state = 0xCBF29CE484222325;
};

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

Uint32 InstanceCache::Hash::hash(const CIMObjectPath& path) {
    Mixer mixer;
    mixer.add(path.getClassName().getString());
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0, n = keys.size(); i < n; i++) {
        mixer.add(keys[i].getName().getString());
        if (keys[i].getType() == CIMKeyBinding::NUMERIC) {
            // Equal numbers may be spelled differently: 16 and 0x10.
            mixer.add(strtoull((const char*)keys[i].getValue().getCString(), nullptr, 0));
        } else {
            mixer.add(keys[i].getValue());
        }
    }
    return mixer.value();
}

InstanceCache::InstanceCache() : instanceHash(FEWEST_CHAINS), isAP(false), chains(FEWEST_CHAINS) {}

InstanceCache::~InstanceCache() {}

// Four times the chains: at most one entry each on the average, and filling stays linear.
void InstanceCache::grow() {
    Table larger(4 * chains);
    for (auto entry = instanceHash.start(); entry; entry++) {
        larger.insert(entry.key(), entry.value());
    }
    instanceHash = larger;
    chains *= 4;
}

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
    if (instanceHash.size() >= chains) {
        grow();
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
