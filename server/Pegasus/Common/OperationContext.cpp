// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>

#include <algorithm>

namespace Pegasus {

OperationContext::Container::~Container() = default;

OperationContext::OperationContext() = default;

OperationContext::OperationContext(const OperationContext& context) { *this = context; }

OperationContext::~OperationContext() = default;

OperationContext& OperationContext::operator=(const OperationContext& context) {
    std::vector<Owner> copies;
    for (const Owner& container : context._containers) {
        copies.emplace_back(container->clone());
    }
    _containers.swap(copies);
    return *this;
}

std::vector<OperationContext::Owner>::const_iterator OperationContext::find(
    const String& containerName) const {
    return std::find_if(_containers.begin(), _containers.end(), [&](const Owner& container) {
        return container->getName() == containerName;
    });
}

std::vector<OperationContext::Owner>::const_iterator OperationContext::existing(
    const String& containerName) const {
    const auto found = find(containerName);
    if (found == _containers.end()) {
        throw Exception("object not found: " + containerName);
    }
    return found;
}

void OperationContext::clear() { _containers.clear(); }

const OperationContext::Container& OperationContext::get(const String& containerName) const {
    return **existing(containerName);
}

Boolean OperationContext::contains(const String& containerName) const {
    return find(containerName) != _containers.end();
}

void OperationContext::set(const Container& container) {
    const auto position = existing(container.getName()) - _containers.begin();
    _containers[position] = Owner(container.clone());
}

void OperationContext::insert(const Container& container) {
    if (contains(container.getName())) {
        throw Exception("object already exists: " + container.getName());
    }
    _containers.emplace_back(container.clone());
}

void OperationContext::remove(const String& containerName) {
    _containers.erase(existing(containerName));
}

namespace {

template <class Derived>
const Derived& cast(const OperationContext::Container& container) {
    const Derived* derived = dynamic_cast<const Derived*>(&container);
    if (!derived) {
        throw DynamicCastFailedException();
    }
    return *derived;
}

}  // namespace

// The names are inline for their guards: the copies of a static library that a program and its
// modules carry meet one object, which the first copy makes. Ready before ordinary static
// initialisers, which may ask for a name.
#define PEGASUS_CONTAINER(Class)                                                 \
    __attribute__((init_priority(101))) inline const String Class::NAME(#Class); \
    Class::Class(const OperationContext::Container& container) : Class(cast<Class>(container)) {}
PEGASUS_CONTAINER(IdentityContainer)
PEGASUS_CONTAINER(SubscriptionInstanceContainer)
PEGASUS_CONTAINER(SubscriptionInstanceNamesContainer)
PEGASUS_CONTAINER(SubscriptionFilterConditionContainer)
PEGASUS_CONTAINER(SubscriptionFilterQueryContainer)
PEGASUS_CONTAINER(TimeoutContainer)
PEGASUS_CONTAINER(AcceptLanguageListContainer)
PEGASUS_CONTAINER(ContentLanguageListContainer)
#undef PEGASUS_CONTAINER

IdentityContainer::IdentityContainer(const String& userName) : _userName(userName) {}

SubscriptionInstanceContainer::SubscriptionInstanceContainer(
    const CIMInstance& subscriptionInstance)
    : _instance(subscriptionInstance) {}

SubscriptionInstanceNamesContainer::SubscriptionInstanceNamesContainer(
    const Array<CIMObjectPath>& subscriptionInstanceNames)
    : _names(subscriptionInstanceNames) {}

SubscriptionFilterConditionContainer::SubscriptionFilterConditionContainer(
    const String& filterCondition, const String& queryLanguage)
    : _condition(filterCondition), _language(queryLanguage) {}

SubscriptionFilterQueryContainer::SubscriptionFilterQueryContainer(
    const String& filterQuery, const String& queryLanguage, const CIMNamespaceName& sourceNameSpace)
    : _query(filterQuery), _language(queryLanguage), _nameSpace(sourceNameSpace) {}

TimeoutContainer::TimeoutContainer(Uint32 timeout) : _timeout(timeout) {}

AcceptLanguageListContainer::AcceptLanguageListContainer(const String& languages)
    : _languages(languages) {}

ContentLanguageListContainer::ContentLanguageListContainer(const String& languages)
    : _languages(languages) {}

}  // namespace Pegasus
