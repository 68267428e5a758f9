// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "checks/driver/DriverRules.h"

using velmar_checks::Rule;
using velmar_checks::Severity;

namespace velmar_driver {
namespace rules {

const Rule fails = {"driver.fails", Severity::Error,
                    "An operation that every client uses ends in an error.",
                    "Read the error's text, and the findings and problems before it."};
const Rule names = {"driver.names", Severity::Error,
                    "enumerateInstanceNames and enumerateInstances name different instances.",
                    "Serve both from the same store, with the same keys."};
const Rule get = {"driver.get", Severity::Error,
                  "getInstance does not give an instance that the enumeration names.",
                  "Keep the instance under the path that it is delivered with."};
const Rule getValues = {"driver.get-values", Severity::Error,
                        "A property has a value in only one of enumerateInstances and getInstance.",
                        "Override the array form of fillProperties: the single form calls it."};
const Rule unsteady = {"driver.unsteady", Severity::Warning,
                       "A property has a value in one of two getInstance and none in the other.",
                       "Fill in the same properties on every request."};
const Rule twice = {"driver.twice", Severity::Warning,
                    "The same keys are served as an instance of a class and of its subclass: "
                    "clients that enumerate the class get the object twice.",
                    "Serve each object by the provider of its own class only."};
const Rule absent = {"driver.absent", Severity::Error,
                     "getInstance of an instance that does not exist is not answered with "
                     "CIM_ERR_NOT_FOUND.",
                     "Throw CIMException(CIM_ERR_NOT_FOUND, text)."};
const Rule propertyList = {"driver.property-list", Severity::Error,
                           "A property that getInstance gives is missing when a client asks for it "
                           "by a property list.",
                           "Fill in what the property list names, or ignore the list."};
const Rule farEnd = {"driver.far-end", Severity::Error,
                     "An association refers to an instance that does not exist.",
                     "Create the end first, and delete the association with it."};
const Rule reference = {
    "driver.reference", Severity::Error,
    "An instance does not name an association that refers to it (\"references "
    "0\").",
    "Give the ends the local host name and the namespace of requests, spell their "
    "keys as the instances' own paths do, and give InstanceAssociationProvider's constructor the "
    "reference properties as the MOF spells them."};
const Rule associator = {"driver.associator", Severity::Error,
                         "An instance is not associated with the other end of an association that "
                         "refers to it (\"associators 0\").",
                         "As for driver.reference; register the association class for provider "
                         "type 3."};
const Rule objects = {"driver.objects", Severity::Error,
                      "associators and associatorNames, or references and referenceNames, answer "
                      "differently.",
                      "An end that associators leaves out is not in its class's enumeration."};
const Rule role = {"driver.role", Severity::Error,
                   "A role that the association does not have is answered with objects.",
                   "Answer it with an error or with nothing."};
const Rule subscribe = {"driver.subscribe", Severity::Error,
                        "Clients cannot subscribe to the indication class.",
                        "Register the class for provider type 4 with a provider that accepts."};
const Rule create = {"driver.create", Severity::Error,
                     "An instance that was created cannot be read, or has other values.",
                     "Keep a copy of the new instance under the path that is delivered."};
const Rule remove = {"driver.delete", Severity::Error,
                     "An instance that was deleted is still there.",
                     "Remove it from the store that every operation reads."};
const Rule cascade = {"driver.cascade", Severity::Error,
                      "An association outlives an instance that it refers to.",
                      "Delete through InstanceCache::remove, which deletes the associations too."};
const Rule refusedMethod = {"driver.refused-method", Severity::Warning,
                            "A method that the class declares and a provider is registered for is "
                            "answered with CIM_ERR_NOT_SUPPORTED or CIM_ERR_METHOD_NOT_FOUND.",
                            "Serve it in callMethod, or leave it out of SupportedMethods."};
const Rule noReturnValue = {"driver.no-return-value", Severity::Warning,
                            "A method was called and returned no value, or null: clients get none.",
                            "Return a CIMValue of the declared type in every case."};
const Rule stopped = {"driver.stopped", Severity::Error,
                      "What a class answers cannot be used, or comes not at all: the rest of it is "
                      "not asked.",
                      "Look for a key without a value, and for an operation that never returns."};
const Rule load = {"driver.load", Severity::Error,
                   "Under several clients at once an answer fails or lacks what it had before.",
                   "Look for state that requests share: instances edited in place, members without "
                   "a lock."};
const Rule process = {"driver.process", Severity::Error,
                      "The package ends the process that runs it, closes its descriptors, or keeps "
                      "it from ending.",
                      "See the call that it was in, and the backtrace of a crash."};

}  // namespace rules

velmar_checks::RuleList driverRules() {
    using namespace rules;
    return {&fails,         &names,        &get,    &getValues, &unsteady,   &twice,
            &absent,        &propertyList, &farEnd, &reference, &associator, &objects,
            &role,          &subscribe,    &create, &remove,    &cascade,    &refusedMethod,
            &noReturnValue, &stopped,      &load,   &process};
}

}  // namespace velmar_driver
