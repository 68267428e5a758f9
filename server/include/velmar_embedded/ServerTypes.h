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
#include <chrono>
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

/// One step of what a server does, as an observer hears of it.
struct Step {
    /// The kinds of steps.
    enum class Kind {
        Connect,     ///< a client's connectLocal
        Request,     ///< of a client, which may be a provider's own
        Upcall,      ///< a request through a CIMOMHandle
        Load,        ///< a provider's object is made and initialized, or terminated
        Call,        ///< the server calls an operation of a provider
        Indication,  ///< a provider delivers one
        Delivery,    ///< an indication on its way to one subscriber
        Trace        ///< a trace record, where a Journal follows them; the operation is its text
    };
    Kind kind = Kind::Request;    ///< what is done
    std::string operation;        ///< "getInstance", "initialize", "createSubscription", ...
    std::string provider;         ///< that does it, its registered name; of requests empty
    std::string asker;            ///< the provider in whose course it happens; empty: a client
    Pegasus::CIMObjectPath path;  ///< class or instance, as it is given to who does it
    std::string method;           ///< of invokeMethod, else empty
    uint64_t id = 0;              ///< counts from 1 in each process
    uint64_t parent = 0;          ///< the step in whose course it happens; 0: none
    std::chrono::steady_clock::time_point began{};  ///< or when it began to wait for its turn
};

/// How a step ended.
struct StepEnd {
    std::chrono::nanoseconds elapsed{0};  ///< since it began
    std::chrono::nanoseconds waited{0};   ///< of these, for its turn: at a handle, in a queue
    size_t delivered = 0;                 ///< objects, values, or indications taken
    std::string error;                    ///< "CIM_ERR_NAME: text"; empty: it succeeded
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
