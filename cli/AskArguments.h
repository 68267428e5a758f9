// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Objects and values as people type them, by the classes of a server.
#ifndef VELMAR_CLI_ASKARGUMENTS_H
#define VELMAR_CLI_ASKARGUMENTS_H

#include <Pegasus/Client/CIMClient.h>

#include <string>
#include <vector>

#include "checks/ClassFacts.h"

namespace velmar_cli {

/// Reads arguments; every function throws UsageError with the word that is wrong, and near names.
/// Borrows the client, which is connected.
class AskArguments {
 public:
    AskArguments(Pegasus::CIMClient& client, Pegasus::CIMNamespaceName nameSpace)
        : _client(client), _nameSpace(std::move(nameSpace)) {}

    const Pegasus::CIMNamespaceName& nameSpace() const { return _nameSpace; }

    velmar_checks::Facts factsOf(const std::string& className) const;
    /// `EX_Fan.Name=front`, `EX_Fan.Name="front",Bay=2`, a whole path of DSP0004, or a class that
    /// has one instance.
    Pegasus::CIMObjectPath instance(const std::string& text) const;
    /// A new instance with properties as value() reads them.
    Pegasus::CIMInstance newInstance(const std::string& className,
                                     const std::vector<std::string>& words) const;
    /// `Name=value` for the property or parameter that the list declares. An array's elements are
    /// separated by commas; `NULL` is null, `EX_Fan{Name=front,Speed=3}` an embedded object.
    Pegasus::CIMValue value(const std::string& word,
                            const std::vector<velmar_checks::Declared>& list,
                            const std::string& owner, const velmar_checks::Declared*& found) const;

 private:
    Pegasus::CIMKeyBinding key(const std::string& name, const std::string& text,
                               const velmar_checks::ClassFacts& facts) const;
    Pegasus::CIMValue embedded(const std::string& given,
                               const velmar_checks::Declared& declared) const;
    Pegasus::CIMObjectPath onlyInstance(const std::string& className) const;

    Pegasus::CIMClient& _client;
    const Pegasus::CIMNamespaceName _nameSpace;
};

}  // namespace velmar_cli

#endif
