// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The CIM instances of a site: classes, properties and paths as SiteSchema.mof declares them.
//
// All functions are free of state. The instances are new ones: nothing is shared between calls.
//
// Every path carries the local host name and the namespace. The association providers find an end
// only by its full path, and the server gives requests exactly these. It also completes paths of
// instances that it gets for an association request, in place: an instance that lacked them would
// be edited while other threads read it.
#ifndef SITE_SITEMODEL_H
#define SITE_SITEMODEL_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/String.h>

#include <string>

#include "SiteFile.h"

namespace site {

extern const char* const HOSTING_SYSTEM;  // "QORP_CEC_CS"
extern const char* const PARTITION;       // "QORP_LPAR_CS"
extern const char* const DOMAIN_CLASS;    // "QOR_MAPAdminDomain"
extern const char* const CONTROL_POINT;   // "QOR_HWCtrlPoint"
extern const char* const PACKAGE;         // "QOR_PhysicalPackage"
extern const char* const COMPONENT;       // "QOR_SystemComponent"
extern const char* const HOSTING;         // "QOR_HostedDependency"
extern const char* const PACKAGING;       // "QOR_ComputerSystemPackage"
extern const char* const ALERT;           // "QOR_SiteAlert"

/// root/velmar_remote.
const Pegasus::CIMNamespaceName& cimNamespace();

/// From and to UTF-8.
Pegasus::String toString(const std::string& text);
std::string toStd(const Pegasus::String& text);

/// The full path of the instance whose only key is a string.
Pegasus::CIMObjectPath pathOf(const char* className, const char* keyName, const std::string& key);

// Elements.
Pegasus::Array<Pegasus::CIMInstance> hostingSystems(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> partitions(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> domains(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> controlPoints(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> packages(const Site& site);

// Associations.
Pegasus::Array<Pegasus::CIMInstance> components(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> hosting(const Site& site);
Pegasus::Array<Pegasus::CIMInstance> packaging(const Site& site);

}  // namespace site

#endif
