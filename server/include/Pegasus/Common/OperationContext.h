// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What accompanies an operation: named containers with the caller's identity, languages, ...
//
// Value classes: containers are copied in, and with the context. Not synchronized: one object may
// be read by several threads, or written by one.
#ifndef Pegasus_OperationContext_h
#define Pegasus_OperationContext_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <memory>
#include <vector>

namespace Pegasus {

class PEGASUS_EXPORT OperationContext {
 public:
    class Container {
     public:
        virtual ~Container();
        virtual String getName() const = 0;
        /// A new container, to be freed with destroy.
        virtual Container* clone() const = 0;
        virtual void destroy() = 0;
    };

    OperationContext();
    OperationContext(const OperationContext& context);
    virtual ~OperationContext();
    OperationContext& operator=(const OperationContext& context);

    void clear();
    /// Valid until the context or the container changes. Throws Exception if it is not there.
    const Container& get(const String& containerName) const;
    Boolean contains(const String& containerName) const;
    /// Replaces the container of this name. Throws Exception if there is none.
    void set(const Container& container);
    /// Throws Exception if there is a container of this name.
    void insert(const Container& container);
    /// Throws Exception if it is not there.
    void remove(const String& containerName);

 private:
    struct Destroy {
        void operator()(Container* container) const { container->destroy(); }
    };
    typedef std::unique_ptr<Container, Destroy> Owner;
    std::vector<Owner>::const_iterator find(const String& containerName) const;
    std::vector<Owner>::const_iterator existing(const String& containerName) const;

    std::vector<Owner> _containers;
};

/// What the containers below have in common: the name of their class, copying and deletion.
template <class Derived>
class PEGASUS_EXPORT NamedContainer : virtual public OperationContext::Container {
 public:
    String getName() const override { return Derived::NAME; }
    OperationContext::Container* clone() const override {
        return new Derived(static_cast<const Derived&>(*this));
    }
    void destroy() override { delete this; }
};

// Each can be made from what OperationContext::get returns; from a container of another class that
// throws DynamicCastFailedException.

/// Who calls.
class PEGASUS_EXPORT IdentityContainer : public NamedContainer<IdentityContainer> {
 public:
    static const String NAME;
    IdentityContainer(const OperationContext::Container& container);
    IdentityContainer(const String& userName);
    String getUserName() const { return _userName; }

 private:
    String _userName;
};

/// The subscription that is created, changed or deleted.
class PEGASUS_EXPORT SubscriptionInstanceContainer
    : public NamedContainer<SubscriptionInstanceContainer> {
 public:
    static const String NAME;
    SubscriptionInstanceContainer(const OperationContext::Container& container);
    SubscriptionInstanceContainer(const CIMInstance& subscriptionInstance);
    /// Shares the instance.
    CIMInstance getInstance() const { return _instance; }

 private:
    CIMInstance _instance;
};

/// The subscriptions that an indication is for.
class PEGASUS_EXPORT SubscriptionInstanceNamesContainer
    : public NamedContainer<SubscriptionInstanceNamesContainer> {
 public:
    static const String NAME;
    SubscriptionInstanceNamesContainer(const OperationContext::Container& container);
    SubscriptionInstanceNamesContainer(const Array<CIMObjectPath>& subscriptionInstanceNames);
    Array<CIMObjectPath> getInstanceNames() const { return _names; }

 private:
    Array<CIMObjectPath> _names;
};

/// The condition (WHERE clause) of a subscription's filter.
class PEGASUS_EXPORT SubscriptionFilterConditionContainer
    : public NamedContainer<SubscriptionFilterConditionContainer> {
 public:
    static const String NAME;
    SubscriptionFilterConditionContainer(const OperationContext::Container& container);
    SubscriptionFilterConditionContainer(const String& filterCondition,
                                         const String& queryLanguage);
    String getFilterCondition() const { return _condition; }
    String getQueryLanguage() const { return _language; }

 private:
    String _condition;
    String _language;
};

/// The whole query of a subscription's filter.
class PEGASUS_EXPORT SubscriptionFilterQueryContainer
    : public NamedContainer<SubscriptionFilterQueryContainer> {
 public:
    static const String NAME;
    SubscriptionFilterQueryContainer(const OperationContext::Container& container);
    SubscriptionFilterQueryContainer(const String& filterQuery, const String& queryLanguage,
                                     const CIMNamespaceName& sourceNameSpace);
    String getFilterQuery() const { return _query; }
    String getQueryLanguage() const { return _language; }
    CIMNamespaceName getSourceNameSpace() const { return _nameSpace; }

 private:
    String _query;
    String _language;
    CIMNamespaceName _nameSpace;
};

/// How long the caller waits, in milliseconds.
class PEGASUS_EXPORT TimeoutContainer : public NamedContainer<TimeoutContainer> {
 public:
    static const String NAME;
    TimeoutContainer(const OperationContext::Container& container);
    TimeoutContainer(Uint32 timeout);
    Uint32 getTimeOut() const { return _timeout; }

 private:
    Uint32 _timeout;
};

/// The languages that the caller accepts, as in an Accept-Language header.
class PEGASUS_EXPORT AcceptLanguageListContainer
    : public NamedContainer<AcceptLanguageListContainer> {
 public:
    static const String NAME;
    AcceptLanguageListContainer(const OperationContext::Container& container);
    AcceptLanguageListContainer(const String& languages);
    String getLanguages() const { return _languages; }

 private:
    String _languages;
};

/// The languages of the contents, as in a Content-Language header.
class PEGASUS_EXPORT ContentLanguageListContainer
    : public NamedContainer<ContentLanguageListContainer> {
 public:
    static const String NAME;
    ContentLanguageListContainer(const OperationContext::Container& container);
    ContentLanguageListContainer(const String& languages);
    String getLanguages() const { return _languages; }

 private:
    String _languages;
};

}  // namespace Pegasus

#endif
