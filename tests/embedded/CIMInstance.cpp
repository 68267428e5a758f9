// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Instances, objects, classes and their parts: sharing, cloning and the rules of their members.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMFlavor.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support/Objects.h"

using namespace Pegasus;
using support::text;

namespace {

template <class E>
void expectEachThrows(const std::vector<std::function<void()>>& uses) {
    for (std::size_t i = 0; i < uses.size(); i++) {
        EXPECT_THROW(uses[i](), E) << "use " << i;
    }
}

// Two keys, a plain property with a default, a method.
CIMClass sampleClass() {
    CIMClass c("VT_A", "VT_Base");
    const CIMQualifier key("Key", true);
    c.addQualifier(CIMQualifier("Description", String("d"), CIMFlavor::TOSUBCLASS));
    c.addProperty(CIMProperty("Id", CIMValue(CIMTYPE_STRING, false)).addQualifier(key.clone()));
    c.addProperty(CIMProperty("Size", Uint32(5), 0, CIMName(), "VT_Base", true));
    c.addProperty(
        CIMProperty("End", CIMValue(CIMTYPE_REFERENCE, false), 0, "B").addQualifier(key.clone()));
    c.addProperty(CIMProperty("Flag", true).addQualifier(CIMQualifier("Key", false)));
    c.addMethod(CIMMethod("Add", CIMTYPE_UINT32)
                    .addParameter(CIMParameter("X", CIMTYPE_UINT32))
                    .addParameter(CIMParameter("Ends", CIMTYPE_REFERENCE, true, 0, "B")));
    return c;
}

CIMInstance sampleInstance() {
    CIMInstance i("vt_a");
    i.addProperty(CIMProperty("end", CIMObjectPath("B.k=1")));
    i.addProperty(CIMProperty("SIZE", Uint32(1)));
    i.addProperty(CIMProperty("ID", Uint8(7)));
    return i;
}

std::string sizeOf(const CIMConstInstance& i) { return support::property(i, "size"); }

TEST(CIMInstance, HandlesShareAndClonesDoNot) {
    CIMInstance original = sampleInstance();
    CIMProperty size = original.getProperty(original.findProperty("Size"));
    CIMObject object(original);
    const CIMConstInstance view = CIMConstInstance(CIMConstObject(object));
    const CIMInstance clone = original.clone();
    size.setValue(Uint32(2));
    size.addQualifier(CIMQualifier("Q", true));
    object.setPath(CIMObjectPath("root:VT_a"));
    object.addProperty(CIMProperty("New", true));
    EXPECT_EQ(sizeOf(CIMInstance(object)) + sizeOf(view), "22");
    EXPECT_EQ(support::propertyNames(view), "end,SIZE,ID,New");
    EXPECT_EQ(text(view.getPath()) + " " + text(original.getClassName()), "root:VT_a VT_a");
    EXPECT_TRUE(clone.identical(sampleInstance()));
}

TEST(CIMInstance, IdenticalComparesEverythingInOrder) {
    const std::function<void(CIMInstance&)> changes[] = {
        [](CIMInstance& i) { i.setPath(CIMObjectPath("root:vt_a")); },
        [](CIMInstance& i) { i.addQualifier(CIMQualifier("Q", true)); },
        [](CIMInstance& i) { i.getProperty(1).setValue(Uint32(9)); },
        [](CIMInstance& i) { i.getProperty(1).addQualifier(CIMQualifier("Q", true)); },
        [](CIMInstance& i) { i.removeProperty(2); },
        [](CIMInstance& i) {
            CIMProperty first = i.getProperty(0);
            i.removeProperty(0);
            i.addProperty(first);
        }};
    for (const auto& change : changes) {
        CIMInstance changed = sampleInstance();
        change(changed);
        EXPECT_FALSE(changed.identical(sampleInstance()));
    }
    EXPECT_FALSE(CIMObject(CIMClass("A")).identical(CIMObject(CIMInstance("A"))));
    CIMClass c = sampleClass(), clone = c.clone();
    EXPECT_TRUE(clone.identical(c));
    clone.getMethod(0).getParameter(0).addQualifier(CIMQualifier("In", true));
    EXPECT_TRUE(c.identical(sampleClass()));
    EXPECT_FALSE(clone.identical(c));
}

TEST(CIMInstance, PathsKeepToTheClassAndAreBuiltOfItsKeys) {
    CIMInstance i = sampleInstance();
    EXPECT_THROW(i.setPath(CIMObjectPath()), UninitializedObjectException);
    EXPECT_THROW(i.setPath(CIMObjectPath("B.k=1")), TypeMismatchException);
    i.setPath(CIMObjectPath("//h/root:VT_a.other=1"));
    EXPECT_EQ(text(i.buildPath(sampleClass())), "VT_a.End=\"B.k=1\",Id=7");
    EXPECT_EQ(text(i.buildPath(CIMClass("Other"))), "VT_a");
    i.removeProperty(2);
    i.addProperty(CIMProperty("Id", Array<String>()));
    EXPECT_THROW(i.buildPath(sampleClass()), TypeMismatchException);
}

TEST(CIMInstance, BuiltOnesHaveTheDefaultsAndFilterKeepsTheListed) {
    const CIMClass c = sampleClass();
    Array<CIMName> names(1, "size");
    names.append("ID");
    const CIMPropertyList everything, nothing{Array<CIMName>()}, listed(names);
    EXPECT_TRUE(everything.isNull() && !nothing.isNull());
    CIMInstance all = c.buildInstance(true, true, everything);
    EXPECT_EQ(support::propertyNames(all), "Id,Size,End,Flag");
    EXPECT_EQ(all.getProperty(0).getQualifierCount(), 1u);
    CIMProperty size = all.getProperty(1);
    EXPECT_EQ(text(size.getClassOrigin()), "VT_Base");
    size.setValue(Uint32(6));
    all.instanceFilter(true, true, everything);
    EXPECT_EQ(all.getPropertyCount() + all.getQualifierCount(), 5u);
    all.instanceFilter(false, false, listed);
    EXPECT_TRUE(all.getProperty(1).identical(size));

    const CIMInstance built = c.buildInstance(false, false, listed);
    EXPECT_EQ(support::property(built, "size"), "5");  // the class's own value is not shared
    for (const CIMInstance& i : {all, built}) {
        EXPECT_EQ(support::propertyNames(i), "Id,Size");
        EXPECT_EQ(i.getQualifierCount(), 0u);
        EXPECT_EQ(CIMConstInstance(i).getProperty(0).getQualifierCount(), 0u);
        EXPECT_TRUE(CIMConstInstance(i).getProperty(1).getClassOrigin().isNull());
    }
    all.instanceFilter(true, true, nothing);
    EXPECT_EQ(all.getPropertyCount(), 0u);
}

TEST(CIMObject, TextIsXml) {
    CIMInstance i("A");
    i.addProperty(CIMProperty("S", String("<&\">")));
    i.addProperty(CIMProperty("L", Array<Uint8>(2, 3), 2));
    i.addProperty(CIMProperty("R", CIMObjectPath("root/b:B.k=\"C.d=TRUE\"")));
    const std::string xml =
        text(CIMObject(i).toString()) + text(CIMObject(sampleClass()).toString());
    for (const char* part :
         {"<INSTANCE CLASSNAME=\"A\"><PROPERTY NAME=\"S\" TYPE=\"string\">"
          "<VALUE>&lt;&amp;&quot;&gt;</VALUE></PROPERTY><PROPERTY.ARRAY NAME=\"L\" TYPE=\"uint8\" "
          "ARRAYSIZE=\"2\"><VALUE.ARRAY><VALUE>3</VALUE><VALUE>3</VALUE></VALUE.ARRAY>",
          "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"b\"/>"
          "</LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"B\"><KEYBINDING NAME=\"k\">"
          "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"d\">"
          "<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING></INSTANCENAME>"
          "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH>"
          "</VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>",
          "CLASSORIGIN=\"VT_Base\" PROPAGATED=\"true\"><VALUE>5</VALUE></PROPERTY>",
          "<METHOD NAME=\"Add\" TYPE=\"uint32\"><PARAMETER NAME=\"X\" TYPE=\"uint32\">"
          "</PARAMETER><PARAMETER.REFARRAY NAME=\"Ends\" REFERENCECLASS=\"B\">"}) {
        EXPECT_NE(xml.find(part), std::string::npos) << part << " in " << xml;
    }
}

TEST(CIMProperty, IsTyped) {
    const CIMValue reference((CIMObjectPath("B")));
    CIMProperty p("P", String("x"));
    expectEachThrows<TypeMismatchException>({
        [] { CIMProperty("P", Array<CIMObjectPath>()); },
        [] { CIMProperty("P", Uint8(1), 0, "B"); },
        [] { CIMProperty("P", Array<Uint8>(2), 3); },
        [&] { CIMClass("A").addProperty(CIMProperty("P", reference)); },
        [&] { p.setValue(Array<String>()); },
    });
    EXPECT_NO_THROW(CIMInstance("A").addProperty(CIMProperty("P", reference)));
    // A value that does not fit the declared size is cloned as well.
    CIMProperty sized("a", Array<String>(2), 2);
    sized.setValue(CIMValue(CIMTYPE_STRING, true));
    EXPECT_TRUE(sized.clone().identical(sized));
}

TEST(CIMProperty, IsRenamedOnlyOutsideOfObjects) {
    CIMProperty p("P", Uint8(1));
    {
        CIMInstance first("A"), second("A");
        first.addProperty(p);
        second.addProperty(p);
        p.setName("p");
        first.removeProperty(0);
        EXPECT_THROW(p.setName("Q"), Exception);
        first.addProperty(p).clone().getProperty(0).clone().setName("Q");
    }
    p.setName("Q");
    EXPECT_EQ(text(p.getName()), "Q");
}

TEST(Members, NamesAreUniqueAndFoundWithoutCase) {
    CIMClass c = sampleClass();
    CIMMethod m = c.getMethod(c.findMethod("ADD"));
    CIMProperty p = c.getProperty(c.findProperty("ID"));
    expectEachThrows<AlreadyExistsException>({
        [&] { c.addProperty(CIMProperty("size", Uint8(1))); },
        [&] { m.addParameter(CIMParameter("x", CIMTYPE_STRING)); },
        [&] { p.addQualifier(CIMQualifier("KEY", true)); },
    });
    expectEachThrows<IndexOutOfBoundsException>({
        [&] { c.getProperty(4); },
        [] { CIMPropertyList()[0]; },
    });
    EXPECT_TRUE(c.identical(sampleClass()));
    p.removeQualifier(0);  // shared with the class, which has one key less
    Array<CIMName> keys(3, "old");
    c.getKeyNames(keys);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(text(keys[0]), "End");
    c.addQualifier(CIMQualifier("association", true));
    c.addQualifier(CIMQualifier("Abstract", String("TRUE")));  // not a boolean
    EXPECT_TRUE(c.isAssociation() && !c.isAbstract() && !CIMClass("A").isAssociation());
}

TEST(Handles, KeepTheirKindAndUninitializedOnesThrow) {
    const CIMObject object(sampleInstance()), cimClass(sampleClass());
    EXPECT_TRUE(object.isInstance() && CIMClass(cimClass).getMethodCount() == 1);
    expectEachThrows<DynamicCastFailedException>({
        [&] { CIMClass{object}; },
        [&] { CIMInstance{cimClass}; },
    });
    expectEachThrows<UninitializedObjectException>({
        [] { CIMInstance("A").identical(CIMInstance()); },
        [] { CIMInstance("A").addProperty(CIMProperty()); },
        [] { CIMInstance("A").buildPath(CIMClass()); },
        [] { CIMInstance{CIMName()}; },
        [] { CIMProperty(CIMName(), Uint8(1)); },
        [] { CIMObject(CIMInstance()).toString(); },
        [] { CIMParamValue("", CIMValue()); },
        [] { CIMPropertyList(Array<CIMName>(1)); },
    });
}

TEST(CIMParamValue, CopiesShare) {
    CIMParamValue p("not a name", Uint8(1));
    CIMParamValue copy(p), clone(p.clone());
    copy.setIsTyped(false);
    EXPECT_TRUE(!p.isTyped() && clone.isTyped());
}

}  // namespace
