// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Answers of a CIM server as a table, MOF or JSON.
#ifndef VELMAR_CLI_ASKOUTPUT_H
#define VELMAR_CLI_ASKOUTPUT_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>

#include <string>

namespace velmar_cli {

/// A server's texts may hold what a terminal obeys: control characters become blanks.
std::string printable(std::string text);

enum class Format { Table, Mof, Json };

/// One instance is a list of its properties; several are a table where that fits into `columns`,
/// else lists. Null values stand in no table.
std::string shown(const Pegasus::Array<Pegasus::CIMInstance>& instances, Format format,
                  size_t columns);
/// Without host and namespace, a line each.
std::string shown(const Pegasus::Array<Pegasus::CIMObjectPath>& paths, Format format);
std::string shown(const Pegasus::Array<Pegasus::CIMName>& names, Format format);
/// As MOF, but for JSON.
std::string shown(const Pegasus::Array<Pegasus::CIMClass>& classes, Format format);
/// What a method returned.
std::string shown(const Pegasus::CIMValue& result,
                  const Pegasus::Array<Pegasus::CIMParamValue>& out, Format format);

}  // namespace velmar_cli

#endif
