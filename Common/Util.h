// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Free functions over the CIM object model: paths, keys, properties, method parameters, the class
// hierarchy, association instances, grouping of systems, alerts, and small string and host helpers.
//
// Thread-safe: no function keeps state or takes a lock; each touches its arguments only. Instances
// are shared handles, so a caller that edits one while another thread holds a copy of the handle
// must serialize that itself. No function makes a deep copy of its arguments.
//
// No function throws an exception of its own: those of the CIM library, of the CIMOMHandle and of
// the client pass through, and work done before them stays done.
#ifndef VELMAR_REMOTE_COMMON_UTIL_H
#define VELMAR_REMOTE_COMMON_UTIL_H

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/HashTable.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/String.h>
#include <Pegasus/Common/Tracer.h>
// Arrays of arrays are not instantiated in the CIM library; their definitions need the tracer
// first.
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Provider/CIMOMHandle.h>

#include "Config.h"

/// Building blocks for CIM providers.
namespace velmar_remote {

/// Hash functor that keys a HashTable by object path: the string hash of the path's full text.
struct PathHashFunc {
    /// Paths that differ in letter case have different hashes.
    static Uint32 hash(const Pegasus::CIMObjectPath& ref);
};

/// A number, usually an array index, per object path. See moveProp. Leave it at its 32 chains: with
/// another number, paths that differ in letter case only are no longer found.
typedef Pegasus::HashTable<Pegasus::CIMObjectPath, Uint32,
                           Pegasus::EqualFunc<Pegasus::CIMObjectPath>, PathHashFunc>
    pathHT;

// ---- Paths, keys, properties, parameters ----------------------------------------------------

/// The path reduced to class name and key bindings, host and namespace dropped.
Pegasus::CIMObjectPath localize(const Pegasus::CIMObjectPath& instanceReference);

/// The text of the first key binding of that name (case ignored) as a string value, whatever the
/// key's type; a null value when there is none.
Pegasus::CIMValue findKey(const Pegasus::Array<Pegasus::CIMKeyBinding>& keys,
                          const Pegasus::CIMName& keyName);

/// The key of that name in the instance's own path, as a string value; else the property's value,
/// which may itself be null; else, and for an uninitialized instance, a null value.
Pegasus::CIMValue getValue(const Pegasus::CIMInstance& inst, const Pegasus::CIMName& propertyName);

/// getValue's string in a new heap block of UTF-8 text that the caller releases with free. An
/// absent property, a null value and an empty string give an empty text. Throws
/// TypeMismatchException for a value that is not a single string, InvalidNameException for an
/// illegal name.
char* getCharPtr(const Pegasus::CIMInstance& inst, const Pegasus::String& propertyName);

/// The value of the first parameter of that name (exact, letter case counts), else a null value.
Pegasus::CIMValue findParam(const Pegasus::Array<Pegasus::CIMParamValue>& inParameters,
                            const Pegasus::String& paramName);

/// Whether a class of that name (case ignored) is in the list; an empty list stands for no
/// restriction and matches every name.
Boolean findClass(const Pegasus::Array<Pegasus::CIMClass>& classes,
                  const Pegasus::CIMName& className);

/// Whether the path has no key bindings, that is, names a class.
Boolean isClass(const Pegasus::CIMObjectPath& path);

/// Whether the filter `str1` admits `str2`: an empty filter admits everything, any other only an
/// equal text.
Boolean emptyOrEqual(const Pegasus::String& str1, const Pegasus::String& str2);

/// Whether a caller should set the property: always with `clobber`, else when the instance lacks
/// it. The property list is not consulted.
Boolean needsProperty(const Pegasus::CIMInstance& instance, const Pegasus::CIMName& property,
                      const Pegasus::CIMPropertyList& pl, const Boolean& clobber);

/// Removes the property; quiet when there is none.
void deleteProp(Pegasus::CIMInstance& inst, const Pegasus::CIMName& propertyName);

/// Leaves exactly one property of that name, with `value` and its type, after all others.
void replaceProp(Pegasus::CIMInstance& inst, const Pegasus::CIMName& propertyName,
                 const Pegasus::CIMValue& value);

/// Adds the property with a null value of that type unless the instance has one of that name.
void addNullValue(Pegasus::CIMInstance& inst, Pegasus::CIMName property, Pegasus::CIMType type,
                  Boolean isArray);

/// The instances of all groups, group after group.
Pegasus::Array<Pegasus::CIMInstance> flatten(
    const Pegasus::Array<Pegasus::Array<Pegasus::CIMInstance>>& groups);

// ---- Class hierarchy -------------------------------------------------------------------------

/// The class and then all its subclasses in "root/velmar_remote", qualifiers and class origins
/// included. A null name gives an empty array without asking the CIM server; else two upcalls.
Pegasus::Array<Pegasus::CIMClass> getSubclasses(Pegasus::CIMOMHandle& cimom,
                                                const Pegasus::OperationContext& context,
                                                const Pegasus::CIMName& className);

/// Whether the candidate `b` matches the pattern `a`. A pattern without keys stands for every
/// instance of its class and subclasses (two upcalls; with a null class name it matches all, none);
/// a pattern with keys matches an equal path only, host and namespace included.
Boolean matches(Pegasus::CIMOMHandle& cimom, const Pegasus::OperationContext& context,
                const Pegasus::CIMObjectPath& a, const Pegasus::CIMObjectPath& b);

/// The first of the object's associatorNames, or an empty path when there is none. One upcall.
Pegasus::CIMObjectPath associatorName(
    Pegasus::CIMOMHandle& cimom, const Pegasus::OperationContext& context,
    const Pegasus::CIMNamespaceName& nameSpace, const Pegasus::CIMObjectPath& objectName,
    const Pegasus::CIMName& assocClass, const Pegasus::CIMName& resultClass,
    const Pegasus::String& role, const Pegasus::String& resultRole);

// ---- Association instances -------------------------------------------------------------------

/// Creates an association instance in "root/velmar_remote" whose two reference keys and properties
/// hold the paths exactly as given. Give them the local host name and "root/velmar_remote" when
/// the class's provider matches request objects against them.
void createAssociation(Pegasus::CIMOMHandle& cimom, const Pegasus::OperationContext& context,
                       const Pegasus::CIMName& assocClassName,
                       const Pegasus::String& leftPropertyName,
                       const Pegasus::CIMObjectPath& leftPath,
                       const Pegasus::String& rightPropertyName,
                       const Pegasus::CIMObjectPath& rightPath);

/// Deletes every object associated with the given one through `assocClass`: the far ends, not the
/// association instances. Stops at the first exception.
void deleteAssociatedInstances(Pegasus::CIMOMHandle& cimom,
                               const Pegasus::OperationContext& context,
                               const Pegasus::CIMObjectPath& instanceReference,
                               const Pegasus::CIMName& assocClass);

/// Moves the value `fromProp` of each instance of `from` to `toProp` of its counterpart in `to`,
/// whose index `table` holds under the instance's localized path; instances that are not in the
/// table stay as they are. Works on its own copy of the table. Throws IndexOutOfBoundsException for
/// an index outside `to`.
void moveProp(Pegasus::Array<Pegasus::CIMInstance>& from, const Pegasus::CIMName& fromProp,
              Pegasus::Array<Pegasus::CIMInstance>& to, const Pegasus::CIMName& toProp,
              pathHT table);

// ---- Systems by hardware control point -------------------------------------------------------

/// Groups systems by the control point of their admin domain. Returns the control points (with
/// NetworkAddress), element k for `groups[k]`; systems without one go to `ungrouped`. Where the
/// site has exactly one control point, all systems form one group appended to `groups`, and no
/// association is looked up. The outputs are set at the end: an exception leaves them untouched.
Pegasus::Array<Pegasus::CIMInstance> groupByHCP(
    Pegasus::CIMOMHandle& cimom, const Pegasus::OperationContext& context,
    const Pegasus::Array<Pegasus::CIMInstance>& instances,
    Pegasus::Array<Pegasus::Array<Pegasus::CIMInstance>>& groups,
    Pegasus::Array<Pegasus::CIMInstance>& ungrouped);

// ---- Alerts ----------------------------------------------------------------------------------

/// Raises an alert: invokes "send" on the indication class through a client connection of its own,
/// after appending the parameter "AlertingManagedElement" (the localized path's text) to `params`,
/// where it stays whatever happens. Returning normally does not mean that anybody was told.
/// `cimom` and `context` are not used.
void sendIndication(Pegasus::CIMOMHandle& cimom, const Pegasus::OperationContext& context,
                    const Pegasus::CIMObjectPath& alertingObjectPath,
                    const Pegasus::CIMName& indicationClassName,
                    Pegasus::Array<Pegasus::CIMParamValue>& params);

// ---- Strings and host ------------------------------------------------------------------------

/// `str` with every `from` replaced by `to`, or removed when `to` is the NUL character.
Pegasus::String tr(const Pegasus::String& str, const Pegasus::Char16& from,
                   const Pegasus::Char16& to);

/// The pieces between delimiters, empty ones included; a single trailing delimiter adds none, and
/// an empty text gives one empty piece.
Pegasus::Array<Pegasus::String> splitString(const Pegasus::String& str, const char delim);

/// Takes a system name of the form LPARID*Type-Model*SerialNum apart. False, and nothing is set,
/// unless there are three fields; `Type` and `Model` are left as they were unless the middle field
/// has two parts.
Boolean splitSysName(const Pegasus::String& sysName, Pegasus::String& LPARID, Pegasus::String& Type,
                     Pegasus::String& Model, Pegasus::String& SerialNum);

/// The local host's first IPv4 address in dotted decimal form; empty when its name does not resolve
/// to one. The resolver's result is shared by the process: do not call it on two threads at once.
Pegasus::String getIPAddr();

}  // namespace velmar_remote

#endif
