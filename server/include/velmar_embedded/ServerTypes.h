// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The plain types that the embedded CIM server shares with its users.
#ifndef VELMAR_EMBEDDED_SERVERTYPES_H
#define VELMAR_EMBEDDED_SERVERTYPES_H

#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include <stdint.h>

#include <bitset>
#include <string>
#include <vector>

namespace velmar_embedded {

/// Where registrations, subscriptions and what the server says of itself are.
constexpr const char* interopNamespace = "root/PG_InterOp";

/// Provider types, with the numbers of PG_ProviderCapabilities.ProviderType.
enum class ProviderType { Instance = 2, Association = 3, Indication = 4, Method = 5 };

/// What a provider serves: one PG_ProviderCapabilities instance.
struct Capabilities {
    std::string className;                      ///< exactly this class, not its subclasses
    std::vector<std::string> nameSpaces;        ///< where it serves the class
    std::vector<ProviderType> types;            ///< what it serves of the class
    std::vector<std::string> supportedMethods;  ///< empty: all methods
};

/// One call that the server makes on a provider, as an observer sees it before the call.
struct ProviderCall {
    std::string operation;        ///< "getInstance", "associators", "invokeMethod", ...
    std::string provider;         ///< the registered provider name
    Pegasus::CIMObjectPath path;  ///< the path given to the provider
    bool fromHandle;              ///< an upcall through a CIMOMHandle, not a client's request
    std::string method;           ///< of invokeMethod, else empty
};

/// One request as it arrives, before it is routed, whoever serves it (classes included).
struct Arrival {
    std::string operation;        ///< "getClass", "enumerateClasses", "getInstance", ...
    Pegasus::CIMObjectPath path;  ///< class or instance, as the caller gave it
    bool fromHandle;              ///< an upcall through a CIMOMHandle, not a client's request
};

/// What became of the indications that providers delivered.
struct IndicationCounts {
    uint64_t delivered = 0;   ///< handed to the subscriber
    uint64_t overflowed = 0;  ///< dropped because the subscription's queue was full
    uint64_t unmatched = 0;   ///< not of the filter's class or of its namespaces, or without one
    uint64_t discarded = 0;   ///< not yet handed over when the subscription ended
};

/// Where a qualifier may stand: the scopes that DSP0201 has attributes for, in this order.
constexpr unsigned qualifierScopeCount = 7;
/// The attributes' names.
extern const char* const qualifierScopeNames[qualifierScopeCount];
/// A bit for each, in the same order.
using QualifierScopes = std::bitset<qualifierScopeCount>;

/// A qualifier declaration, as MOF gives it.
struct QualifierDeclaration {
    Pegasus::CIMName name;           ///< letter case does not count
    Pegasus::CIMValue defaultValue;  ///< typed; null when the declaration gives none
    Pegasus::CIMFlavor flavor;       ///< who inherits it, and whether it may be changed
    QualifierScopes scopes = {};     ///< where it may stand
};

}  // namespace velmar_embedded

#endif
