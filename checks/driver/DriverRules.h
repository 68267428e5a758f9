// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the driver can find: answers that do not agree with each other.
#ifndef VELMAR_CHECKS_DRIVER_DRIVERRULES_H
#define VELMAR_CHECKS_DRIVER_DRIVERRULES_H

#include "checks/Rule.h"

namespace velmar_driver {
namespace rules {

extern const velmar_checks::Rule fails;
extern const velmar_checks::Rule names;
extern const velmar_checks::Rule get;
extern const velmar_checks::Rule getValues;
extern const velmar_checks::Rule unsteady;
extern const velmar_checks::Rule twice;
extern const velmar_checks::Rule absent;
extern const velmar_checks::Rule propertyList;
extern const velmar_checks::Rule farEnd;
extern const velmar_checks::Rule reference;
extern const velmar_checks::Rule associator;
extern const velmar_checks::Rule objects;
extern const velmar_checks::Rule role;
extern const velmar_checks::Rule subscribe;
extern const velmar_checks::Rule create;
extern const velmar_checks::Rule remove;
extern const velmar_checks::Rule cascade;
extern const velmar_checks::Rule refusedMethod;
extern const velmar_checks::Rule noReturnValue;
extern const velmar_checks::Rule stopped;
extern const velmar_checks::Rule load;
extern const velmar_checks::Rule process;

}  // namespace rules

/// All of them.
velmar_checks::RuleList driverRules();

}  // namespace velmar_driver

#endif
