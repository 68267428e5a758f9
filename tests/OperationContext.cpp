// Operation contexts, their containers, and what a response handler of one's own has to implement.
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/OperationContext.h>
#include <Pegasus/Common/ResponseHandler.h>

#include <gtest/gtest.h>

#include <string>

using namespace Pegasus;

namespace {

std::string text(const String& s) { return std::string(s.getCString()); }

std::string user(const OperationContext& context) {
    return text(IdentityContainer(context.get(IdentityContainer::NAME)).getUserName());
}

TEST(OperationContext, HoldsOneContainerOfEachName) {
    OperationContext context;
    EXPECT_FALSE(context.contains(IdentityContainer::NAME));
    EXPECT_THROW(context.get("IdentityContainer"), Exception);
    EXPECT_THROW(context.set(IdentityContainer("a")), Exception);
    EXPECT_THROW(context.remove("IdentityContainer"), Exception);
    context.insert(IdentityContainer("a"));
    EXPECT_THROW(context.insert(IdentityContainer("b")), Exception);
    EXPECT_EQ(user(context), "a");

    context.insert(TimeoutContainer(20));
    OperationContext copy(context);
    copy.set(IdentityContainer("b"));
    EXPECT_EQ(user(copy), "b");
    EXPECT_EQ(user(context), "a");
    context = copy;
    copy.clear();
    EXPECT_FALSE(copy.contains("TimeoutContainer"));
    EXPECT_EQ(user(context), "b");
    context.remove(IdentityContainer::NAME);
    EXPECT_FALSE(context.contains("IdentityContainer"));
    EXPECT_TRUE(context.contains("TimeoutContainer"));
}

TEST(OperationContext, ContainersComeBackWithTheirContents) {
    OperationContext context;
    const CIMInstance subscription("CIM_IndicationSubscription");
    context.insert(SubscriptionInstanceContainer(subscription));
    context.insert(
        SubscriptionInstanceNamesContainer(Array<CIMObjectPath>(2, CIMObjectPath("S.k=1"))));
    context.insert(SubscriptionFilterConditionContainer("N > 1", "WQL"));
    context.insert(SubscriptionFilterQueryContainer("SELECT * FROM A", "DMTF:CQL", "root"));
    context.insert(TimeoutContainer(20000));
    context.insert(AcceptLanguageListContainer("de, en;q=0.5"));
    context.insert(ContentLanguageListContainer("de"));

    EXPECT_TRUE(SubscriptionInstanceContainer(context.get("SubscriptionInstanceContainer"))
                    .getInstance()
                    .identical(subscription));
    const SubscriptionInstanceNamesContainer names(
        context.get("SubscriptionInstanceNamesContainer"));
    ASSERT_EQ(names.getInstanceNames().size(), 2u);
    EXPECT_TRUE(names.getInstanceNames()[1] == CIMObjectPath("S.k=1"));
    const SubscriptionFilterConditionContainer condition(
        context.get("SubscriptionFilterConditionContainer"));
    EXPECT_EQ(text(condition.getFilterCondition() + " " + condition.getQueryLanguage()),
              "N > 1 WQL");
    const SubscriptionFilterQueryContainer query(context.get("SubscriptionFilterQueryContainer"));
    EXPECT_EQ(text(query.getFilterQuery() + " " + query.getQueryLanguage()),
              "SELECT * FROM A DMTF:CQL");
    EXPECT_TRUE(query.getSourceNameSpace() == CIMNamespaceName("root"));
    EXPECT_EQ(TimeoutContainer(context.get("TimeoutContainer")).getTimeOut(), 20000u);
    EXPECT_EQ(
        text(
            AcceptLanguageListContainer(context.get("AcceptLanguageListContainer")).getLanguages()),
        "de, en;q=0.5");
    EXPECT_EQ(text(ContentLanguageListContainer(context.get("ContentLanguageListContainer"))
                       .getLanguages()),
              "de");
    EXPECT_THROW(IdentityContainer(context.get("TimeoutContainer")), DynamicCastFailedException);
}

// One object for two kinds of results shares one ResponseHandler.
class Recorder : public ObjectResponseHandler, public ObjectPathResponseHandler {
 public:
    void processing() override { calls += "p"; }
    void complete() override { calls += "c"; }
    void deliver(const CIMObject&) override { calls += "o"; }
    void deliver(const Array<CIMObject>&) override { calls += "O"; }
    void deliver(const CIMObjectPath&) override { calls += "n"; }
    void deliver(const Array<CIMObjectPath>&) override { calls += "N"; }
    OperationContext context() const { return getContext(); }

    std::string calls;
};

TEST(ResponseHandler, NeedsOnlyThePureVirtualMembers) {
    Recorder recorder;
    ObjectResponseHandler& objects = recorder;
    ObjectPathResponseHandler& paths = recorder;
    objects.processing();
    objects.deliver(CIMInstance("A"));
    objects.deliver(Array<CIMObject>());
    paths.deliver(CIMObjectPath("A"));
    paths.deliver(Array<CIMObjectPath>());
    paths.complete();
    EXPECT_EQ(recorder.calls, "poOnNc");

    OperationContext context;
    context.insert(IdentityContainer("a"));
    paths.setContext(context);
    EXPECT_EQ(user(recorder.context()), "a");
}

}  // namespace
