// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "interop/Interop.h"

#include <string>
#include <vector>

#include <velmar_embedded/schema/Mof.h>

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// The parts of the CIM Schema's classes that clients set and read.
const char* const interopClasses = R"(
[Abstract] class CIM_Namespace : CIM_ManagedElement {
    [Key] string SystemCreationClassName;
    [Key] string SystemName;
    [Key] string ObjectManagerCreationClassName;
    [Key] string ObjectManagerName;
    [Key] string CreationClassName;
    [Key] string Name;
    uint16 ClassInfo;
    uint16 ClassType;
};
class PG_NameSpace : CIM_Namespace {
};
[Abstract] class CIM_EnabledLogicalElement : CIM_LogicalElement {
    uint16 EnabledState = 5;
    uint16 RequestedState = 12;
    uint16 EnabledDefault = 2;
};
[Abstract] class CIM_Service : CIM_EnabledLogicalElement {
    [Key] string SystemCreationClassName;
    [Key] string SystemName;
    [Key] string CreationClassName;
    [Key, Override("Name")] string Name;
    boolean Started;
};
[Abstract] class CIM_WBEMService : CIM_Service {
};
class CIM_ObjectManager : CIM_WBEMService {
    boolean GatherStatisticalData = false;
    string Version;
};
class PG_ObjectManager : CIM_ObjectManager {
};
class CIM_RegisteredProfile : CIM_ManagedElement {
    [Key] string InstanceID;
    uint16 RegisteredOrganization;
    string OtherRegisteredOrganization;
    string RegisteredName;
    string RegisteredVersion;
    uint16 AdvertiseTypes[];
    string AdvertiseTypeDescriptions[];
};
class CIM_RegisteredSubProfile : CIM_RegisteredProfile {
};
[Association] class CIM_ReferencedProfile {
    [Key] CIM_RegisteredProfile REF Antecedent;
    [Key] CIM_RegisteredProfile REF Dependent;
};
[Association] class CIM_SubProfileRequiresProfile : CIM_ReferencedProfile {
};
[Association] class CIM_ElementConformsToProfile {
    [Key] CIM_RegisteredProfile REF ConformantStandard;
    [Key] CIM_ManagedElement REF ManagedElement;
};
class CIM_IndicationFilter : CIM_ManagedElement {
    [Key] string SystemCreationClassName;
    [Key] string SystemName;
    [Key] string CreationClassName;
    [Key] string Name;
    string SourceNamespace;
    string SourceNamespaces[];
    string Query;
    string QueryLanguage;
};
[Abstract] class CIM_ListenerDestination : CIM_ManagedElement {
    [Key] string SystemCreationClassName;
    [Key] string SystemName;
    [Key] string CreationClassName;
    [Key] string Name;
    uint16 PersistenceType = 2;
    string OtherPersistenceType;
};
class CIM_ListenerDestinationCIMXML : CIM_ListenerDestination {
    string Destination;
};
[Abstract] class CIM_IndicationHandler : CIM_ListenerDestination {
    string Owner;
};
class CIM_IndicationHandlerCIMXML : CIM_IndicationHandler {
    string Destination;
};
[Association] class CIM_IndicationSubscription {
    [Key] CIM_IndicationFilter REF Filter;
    [Key] CIM_ListenerDestination REF Handler;
    uint16 OnFatalErrorPolicy = 2;
    string OtherOnFatalErrorPolicy;
    uint64 FailureTriggerTimeInterval;
    uint16 SubscriptionState = 2;
    string OtherSubscriptionState;
    datetime TimeOfLastStateChange;
    uint64 SubscriptionDuration;
    datetime SubscriptionStartTime;
    uint64 SubscriptionTimeRemaining;
    uint16 RepeatNotificationPolicy = 2;
    string OtherRepeatNotificationPolicy;
    uint64 RepeatNotificationInterval;
    uint64 RepeatNotificationGap;
    uint16 RepeatNotificationCount;
};
)";

void add(const InteropServices& services, Registry& registry, const char* name,
         ProviderFactory create, const std::vector<const char*>& classNames) {
    const auto provider = registry.addProvider(
        name, std::move(create), [&services, name] { return services.makeChannel(name); }, true);
    for (const char* const className : classNames) {
        registry.addCapabilities(provider,
                                 {className, {interopNamespace}, {ProviderType::Instance}, {}});
    }
}

}  // namespace

void addInterop(const InteropServices& services, Registry& registry) {
    // A real server has these from the start.
    services.repository.createNamespace("root/PG_Internal");
    services.repository.createNamespace("root/cimv2");
    compileMofText(services.repository, interopNamespace, interopClasses, "interop classes");
    add(services, registry, "ServerProvider", [&services] { return newServerProvider(services); },
        {"PG_NameSpace", "PG_ObjectManager"});
    add(services, registry, "SubscriptionProvider",
        [&services] { return newSubscriptionProvider(services); },
        {"CIM_IndicationFilter", "CIM_ListenerDestinationCIMXML", "CIM_IndicationHandlerCIMXML",
         "CIM_IndicationSubscription"});
}

}  // namespace velmar_embedded
