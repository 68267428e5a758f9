// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Base class of a provider of one two-ended association class, whose instances it keeps in its
// cache and from which it answers the four association operations.
//
// An association instance is cached like any other. Its path carries two reference keys, one per
// end; instances that lack either are ignored. An end without keys (a class path) stands for every
// instance of its class and subclasses. A keyed end matches a request's object by full path
// equality, and the CIM server gives requests the local host name and the request's namespace: ends
// must carry the same. Association instances' own paths may lack them: the server completes the
// path of a delivered instance in place, so references then delivers deep copies.
//
// Deleting any instance deletes the associations that refer to it, and an association whose end is
// a class path refers to every instance of that class: it goes with the first of them. A class-path
// end whose provider's fillProperties asks an association of this same provider never returns.
//
// Thread-safe as CachedInstanceProvider is; no lock is held while the CIM server is asked.
#ifndef VELMAR_REMOTE_COMMON_INSTANCEASSOCIATIONPROVIDER_H
#define VELMAR_REMOTE_COMMON_INSTANCEASSOCIATIONPROVIDER_H

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Provider/CIMAssociationProvider.h>

#include "CachedInstanceProvider.h"

namespace velmar_remote {

/// Answers instance and association operations of one association class from its cache.
class InstanceAssociationProvider : public CachedInstanceProvider,
                                    public Pegasus::CIMAssociationProvider {
 public:
    /// Leaves all names empty; the derived class sets them before requests arrive.
    InstanceAssociationProvider();
    /// `CIMClassName` is the association class; the property names are its two reference keys.
    InstanceAssociationProvider(const Pegasus::String& CIMClassName,
                                const Pegasus::String& leftPropertyName,
                                const Pegasus::String& leftClassName,
                                const Pegasus::String& rightPropertyName,
                                const Pegasus::String& rightClassName);
    ~InstanceAssociationProvider() override;

    // In all four, a role that names neither reference property (letter case counts) throws
    // CIM_ERR_INVALID_PARAMETER, "invalid role" or "invalid resultRole"; an empty role fits both.
    // Duplicates are not removed. Exceptions of the CIM server and the client pass through.

    /// Delivers the far ends' instances: those of a keyed end through a client connection of its
    /// own, those of a class-path end one by one. A far end that no longer exists gives nothing.
    /// `associationClass` is not looked at, `propertyList` is not passed on.
    void associators(const Pegasus::OperationContext& context,
                     const Pegasus::CIMObjectPath& objectName,
                     const Pegasus::CIMName& associationClass, const Pegasus::CIMName& resultClass,
                     const Pegasus::String& role, const Pegasus::String& resultRole,
                     Boolean includeQualifiers, Boolean includeClassOrigin,
                     const Pegasus::CIMPropertyList& propertyList,
                     Pegasus::ObjectResponseHandler& handler) override;
    /// Delivers the far ends' paths, exactly as the associations hold them.
    void associatorNames(const Pegasus::OperationContext& context,
                         const Pegasus::CIMObjectPath& objectName,
                         const Pegasus::CIMName& associationClass,
                         const Pegasus::CIMName& resultClass, const Pegasus::String& role,
                         const Pegasus::String& resultRole,
                         Pegasus::ObjectPathResponseHandler& handler) override;
    /// Delivers the matching association instances after fillProperties: the cached ones, or deep
    /// copies of those whose path lacks host or namespace.
    void references(const Pegasus::OperationContext& context,
                    const Pegasus::CIMObjectPath& objectName, const Pegasus::CIMName& resultClass,
                    const Pegasus::String& role, Boolean includeQualifiers,
                    Boolean includeClassOrigin, const Pegasus::CIMPropertyList& propertyList,
                    Pegasus::ObjectResponseHandler& handler) override;
    /// Delivers the matching association instances' paths, as the cache holds them.
    void referenceNames(const Pegasus::OperationContext& context,
                        const Pegasus::CIMObjectPath& objectName,
                        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
                        Pegasus::ObjectPathResponseHandler& handler) override;

 protected:
    Pegasus::String _leftClassName;      ///< class at the left end; set before requests arrive
    Pegasus::String _rightClassName;     ///< class at the right end
    Pegasus::String _leftPropertyName;   ///< reference key to the left end
    Pegasus::String _rightPropertyName;  ///< reference key to the right end

 private:
    struct Request;
    class Sink;
    void go(const Request& request, Sink& sink);
};

}  // namespace velmar_remote

#endif
