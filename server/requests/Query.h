// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The query of a filter: SELECT what FROM a class WHERE a condition holds, or a condition alone.
#ifndef VELMAR_EMBEDDED_REQUESTS_QUERY_H
#define VELMAR_EMBEDDED_REQUESTS_QUERY_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmar_embedded {

/// Immutable once parsed; any thread may ask it.
class Query {
 public:
    /// Bytes; what is compared piece by piece needs a stack that grows with the text.
    static constexpr size_t longest = 4096;

    /// Throws CIMException (CIM_ERR_INVALID_QUERY) that says what was expected where.
    explicit Query(const std::string& text);
    /// The condition alone, as FQL (DSP0212) has it, of all classes. Throws the same.
    static Query ofCondition(const std::string& text);

    Pegasus::CIMName className;  ///< null for a condition alone
    std::string condition;       ///< the text after WHERE

    /// Those that are selected one by one and those in the condition.
    std::vector<Pegasus::CIMName> properties() const;

    /// Whether a class is another one or derived from it.
    using IsA = std::function<bool(const Pegasus::CIMName& className, const Pegasus::CIMName& of)>;
    /// Whether the condition holds and all properties that it names are there.
    bool matches(const Pegasus::CIMInstance& instance, const IsA& isA) const;

    /// Removes the properties that are not selected.
    void project(Pegasus::CIMInstance& indication) const;

    /// Holds, does not, or cannot be said because a value is null.
    using Truth = std::optional<bool>;
    using Condition = std::function<Truth(const Pegasus::CIMInstance&, const IsA&)>;

 private:
    Query() = default;
    void take(class QueryParser& parser);

    bool _all = false;
    std::vector<Pegasus::CIMName> _selected;
    std::vector<Pegasus::CIMName> _named;  // in the condition
    Condition _holds;                      // empty without one
};

}  // namespace velmar_embedded

#endif
