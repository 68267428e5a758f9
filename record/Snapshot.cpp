// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "record/Snapshot.h"

#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMQualifier.h>

#include "model/Text.h"
#include "schema/MofWriter.h"

using namespace Pegasus;
using velmar_embedded::lowerCase;
using velmar_embedded::mofOf;
using velmar_embedded::utf8;

namespace velmar_recording {

namespace {

void add(Entity& entity, const std::string& name, const std::string& text) {
    entity.parts[lowerCase(name)] = {name, text};
}

template <class Feature>
void addQualifiers(Entity& entity, const std::string& owner, const Feature& feature) {
    for (Uint32 i = 0; i < feature.getQualifierCount(); i++) {
        const CIMConstQualifier qualifier = feature.getQualifier(i);
        add(entity, owner + "[" + utf8(qualifier.getName()) + "]", mofOf(qualifier.getValue()));
    }
}

void addMethod(Entity& entity, const CIMConstMethod& method) {
    const std::string name = utf8(method.getName()) + "()";
    std::string parameters;
    for (Uint32 i = 0; i < method.getParameterCount(); i++) {
        const CIMConstParameter parameter = method.getParameter(i);
        parameters += (i == 0 ? "" : ", ") + velmar_embedded::declaratorOf(parameter);
        addQualifiers(entity, name + " " + utf8(parameter.getName()) + " ", parameter);
    }
    add(entity, name,
        std::string(cimTypeToString(method.getType())) + " " + utf8(method.getName()) + "(" +
            parameters + ")");
    addQualifiers(entity, name + " ", method);
}

class Taking : public Reading {
 public:
    Taking(Snapshot& result, const std::set<std::string>& ignored) : _result(result) {
        for (const std::string& name : ignored) {
            _ignored.insert(lowerCase(name));
        }
    }

    void onClass(const CIMClass& cimClass) override {
        const std::string name = utf8(cimClass.getClassName());
        Entity& entity = _result.classes[lowerCase(name)];
        entity.name = name;
        if (!cimClass.getSuperClassName().isNull()) {
            add(entity, SUPERCLASS, utf8(cimClass.getSuperClassName()));
        }
        addQualifiers(entity, "", cimClass);
        for (Uint32 i = 0; i < cimClass.getPropertyCount(); i++) {
            const CIMConstProperty property = cimClass.getProperty(i);
            const std::string text = velmar_embedded::declaratorOf(property);
            const CIMValue& value = property.getValue();
            add(entity, utf8(property.getName()),
                value.isNull() ? text : text + " = " + mofOf(value));
            addQualifiers(entity, utf8(property.getName()) + " ", property);
        }
        for (Uint32 i = 0; i < cimClass.getMethodCount(); i++) {
            addMethod(entity, cimClass.getMethod(i));
        }
    }

    void onInstance(const CIMInstance& instance) override {
        const auto [at, isNew] = _result.instances.emplace(keyOf(instance.getPath()), Entity());
        if (!isNew) {  // which its keys would keep apart
            onProblem("instances of " + utf8(instance.getClassName()),
                      "one has no keys, and stands for all others without");
        }
        Entity& entity = at->second;
        entity.parts.clear();
        entity.name = utf8(instance.getPath());
        for (Uint32 i = 0; i < instance.getPropertyCount(); i++) {
            const CIMConstProperty property = instance.getProperty(i);
            const std::string name = utf8(property.getName());
            if (!property.getValue().isNull() && _ignored.count(lowerCase(name)) == 0) {
                add(entity, name, mofOf(property.getValue()));
            }
        }
    }

    void onProblem(const std::string& what, const std::string& reason) override {
        _result.problems.push_back(what + ": " + reason);
    }

 private:
    Snapshot& _result;
    std::set<std::string> _ignored;
};

// Calls `work` with the key's values in both, null where one has none, in the order of the keys.
template <class Map, class Work>
void merge(const Map& a, const Map& b, Work work) {
    auto inA = a.begin();
    auto inB = b.begin();
    while (inA != a.end() || inB != b.end()) {
        const bool isA = inB == b.end() || (inA != a.end() && inA->first <= inB->first);
        const bool isB = inA == a.end() || (inB != b.end() && inB->first <= inA->first);
        work(isA ? &(inA++)->second : nullptr, isB ? &(inB++)->second : nullptr);
    }
}

void compare(const std::map<std::string, Entity>& a, const std::map<std::string, Entity>& b,
             bool isClass, std::vector<Difference>& result) {
    merge(a, b, [&](const Entity* inA, const Entity* inB) {
        const std::string& name = (inA != nullptr ? inA : inB)->name;
        if (inA == nullptr || inB == nullptr) {
            result.push_back({isClass, name, "", inA != nullptr, inB != nullptr, "", ""});
            return;
        }
        merge(inA->parts, inB->parts, [&](const auto* partA, const auto* partB) {
            if (partA == nullptr || partB == nullptr || partA->second != partB->second) {
                result.push_back({isClass, name, (partA != nullptr ? partA : partB)->first,
                                  partA != nullptr, partB != nullptr,
                                  partA != nullptr ? partA->second : "",
                                  partB != nullptr ? partB->second : ""});
            }
        });
    });
}

}  // namespace

Snapshot snapshotOf(CIMClient& client, const CIMNamespaceName& nameSpace,
                    const std::set<std::string>& ignored, const Progress& progress) {
    Snapshot result;
    Taking taking(result, ignored);
    readNamespace(client, nameSpace, taking, progress);
    return result;
}

std::vector<Difference> differences(const Snapshot& a, const Snapshot& b) {
    std::vector<Difference> result;
    compare(a.classes, b.classes, true, result);
    compare(a.instances, b.instances, false, result);
    return result;
}

}  // namespace velmar_recording
