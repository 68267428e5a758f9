// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Operation contexts, their containers, and what a response handler of one's own has to implement.
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <gtest/gtest.h>

#include <string>

#include "support/Objects.h"

using namespace Pegasus;
using support::text;

namespace {

std::string user(const OperationContext& context) {
    return text(IdentityContainer(context.get(IdentityContainer::NAME)).getUserName());
}

TEST(OperationContext, HoldsOneContainerOfEachName) {
    OperationContext context;
    EXPECT_THROW(context.get("IdentityContainer"), Exception);
    EXPECT_THROW(context.set(IdentityContainer("a")), Exception);
    EXPECT_THROW(context.remove("IdentityContainer"), Exception);
    context.insert(TimeoutContainer(20));
    context.insert(IdentityContainer("a"));
    EXPECT_THROW(context.insert(IdentityContainer("b")), Exception);

    OperationContext copy(context);
    copy.set(IdentityContainer("b"));
    EXPECT_EQ(user(copy) + user(context), "ba");
    context = copy;
    copy.clear();
    EXPECT_FALSE(copy.contains("TimeoutContainer"));
    EXPECT_EQ(user(context), "b");
    context.remove(IdentityContainer::NAME);
    EXPECT_TRUE(!context.contains("IdentityContainer") && context.contains("TimeoutContainer"));
}

// Copies `container` into a context and takes it out again by its class's name.
template <class Container>
Container stored(const Container& container) {
    OperationContext context;
    context.insert(IdentityContainer("a"));
    context.insert(container);
    return Container(context.get(Container::NAME));
}

TEST(OperationContext, ContainersComeBackWithTheirContents) {
    const SubscriptionInstanceNamesContainer names(Array<CIMObjectPath>(1, CIMObjectPath("S.k=1")));
    EXPECT_EQ(text(stored(names).getInstanceNames()[0]), "S.k=1");
    const auto condition = stored(SubscriptionFilterConditionContainer("N > 1", "WQL"));
    const auto query = stored(SubscriptionFilterQueryContainer("SELECT", "DMTF:CQL", "root"));
    const struct {
        String actual;
        const char* expected;
    } rows[] = {
        {condition.getFilterCondition(), "N > 1"},
        {condition.getQueryLanguage(), "WQL"},
        {query.getQueryLanguage(), "DMTF:CQL"},
        {query.getSourceNameSpace().getString(), "root"},
        {stored(AcceptLanguageListContainer("de, en")).getLanguages(), "de, en"},
        {stored(ContentLanguageListContainer("de")).getLanguages(), "de"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(text(row.actual), row.expected);
    }
    const TimeoutContainer timeout(20000);
    EXPECT_EQ(stored(timeout).getTimeOut(), 20000u);
    EXPECT_THROW((IdentityContainer{timeout}), DynamicCastFailedException);
}

// One object for two kinds of results shares one ResponseHandler.
struct Both : ObjectResponseHandler, ObjectPathResponseHandler {
    void processing() override {}
    void complete() override {}
    void deliver(const CIMObject&) override {}
    void deliver(const Array<CIMObject>&) override {}
    void deliver(const CIMObjectPath&) override {}
    void deliver(const Array<CIMObjectPath>&) override {}
    using ResponseHandler::getContext;
};

TEST(ResponseHandler, NeedsOnlyThePureVirtualMembers) {
    Both both;
    OperationContext context;
    context.insert(IdentityContainer("a"));
    static_cast<ObjectPathResponseHandler&>(both).setContext(context);
    EXPECT_EQ(user(both.getContext()), "a");
}

}  // namespace
