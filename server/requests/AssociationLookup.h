// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What the schema knows of associations: which classes link an object, the stored instances of
// them, and the links between classes.
//
// Thread-safe: reads the schema only. Paths and objects come without host, and with the namespace
// only where it is stored so.
#ifndef VELMAR_EMBEDDED_REQUESTS_ASSOCIATIONLOOKUP_H
#define VELMAR_EMBEDDED_REQUESTS_ASSOCIATIONLOOKUP_H

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <vector>

#include <velmar_embedded/schema/Repository.h>
#include "client/Request.h"

namespace velmar_embedded {

/// A reference property of an association class.
struct AssociationEnd {
    Pegasus::CIMName property;
    Pegasus::CIMName className;
    bool fitsObject;  ///< the class is the object's or one of its superclasses
};

/// An association class that may link the object of a request, in declared spelling.
struct AssociationClass {
    Pegasus::CIMName name;
    std::vector<AssociationEnd> ends;
};

bool isReferences(const Request& request);

/// The association classes that count for a request: of the class that it names and its
/// subclasses, or of all, those with an end that fits the object's class.
std::vector<AssociationClass> associationClasses(const Repository& repository,
                                                 const Request& request);

/// Adds what the stored instances of an association class answer to a request about an instance,
/// as objects or as paths. Throws CIMException: CIM_ERR_NOT_FOUND when the far end that
/// `associators` needs is not stored.
void addStored(const Repository& repository, const Request& request,
               const AssociationClass& association, Answer& answer);

/// The classes that answer a request about a class, each once.
std::vector<Pegasus::CIMName> linkedClasses(const Repository& repository, const Request& request,
                                            const std::vector<AssociationClass>& associations);

}  // namespace velmar_embedded

#endif
