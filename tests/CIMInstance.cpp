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

using namespace Pegasus;

namespace {

std::string text(const String& s) { return std::string(s.getCString()); }

std::string message(const std::function<void()>& f) {
    try {
        f();
    } catch (const Exception& e) {
        return text(e.getMessage());
    }
    return "nothing thrown";
}

CIMProperty keyProperty(const char* name, const CIMValue& value) {
    CIMProperty property(name, value, 0, value.getType() == CIMTYPE_REFERENCE ? "B" : CIMName());
    property.addQualifier(CIMQualifier("Key", true));
    return property;
}

// Two keys, a plain property with a default, a method.
CIMClass sampleClass() {
    CIMClass c("VT_A", "VT_Base");
    c.addQualifier(CIMQualifier("Description", String("d"), CIMFlavor::TOSUBCLASS));
    c.addProperty(keyProperty("Id", CIMValue(CIMTYPE_STRING, false)));
    c.addProperty(CIMProperty("Size", Uint32(5), 0, CIMName(), "VT_Base", true));
    c.addProperty(keyProperty("End", CIMValue(CIMTYPE_REFERENCE, false)));
    CIMProperty notKey("Flag", true);
    notKey.addQualifier(CIMQualifier("Key", false));
    c.addProperty(notKey);
    CIMMethod method("Add", CIMTYPE_UINT32);
    method.addParameter(CIMParameter("X", CIMTYPE_UINT32));
    method.addParameter(CIMParameter("Ends", CIMTYPE_REFERENCE, true, 0, "B"));
    c.addMethod(method);
    return c;
}

CIMInstance sampleInstance() {
    CIMInstance i("vt_a");
    i.addProperty(CIMProperty("end", CIMObjectPath("B.k=1")));
    i.addProperty(CIMProperty("SIZE", Uint32(1)));
    i.addProperty(CIMProperty("ID", Uint8(7)));
    return i;
}

Uint32 sizeOf(const CIMConstInstance& i) {
    Uint32 size = 0;
    i.getProperty(i.findProperty("size")).getValue().get(size);
    return size;
}

TEST(CIMInstance, HandlesShareAndClonesDoNot) {
    CIMInstance original = sampleInstance();
    CIMProperty size = original.getProperty(original.findProperty("Size"));
    CIMObject object(original);
    const CIMConstInstance view = CIMConstInstance(CIMConstObject(object));
    CIMInstance clone = original.clone();
    EXPECT_TRUE(clone.identical(original));

    size.setValue(Uint32(2));
    size.addQualifier(CIMQualifier("Q", true));
    object.setPath(CIMObjectPath("root:VT_a"));
    object.addProperty(CIMProperty("New", true));
    EXPECT_EQ(sizeOf(CIMInstance(object)), 2u);
    EXPECT_EQ(sizeOf(view), 2u);
    EXPECT_EQ(view.getPropertyCount(), 4u);
    EXPECT_EQ(text(view.getPath().toString()), "root:VT_a");
    EXPECT_EQ(text(original.getClassName().getString()), "VT_a");

    EXPECT_EQ(sizeOf(clone), 1u);
    EXPECT_EQ(clone.getProperty(1).getQualifierCount(), 0u);
    EXPECT_EQ(text(clone.getPath().toString()), "vt_a");
    EXPECT_FALSE(clone.identical(original));
    clone = original;
    EXPECT_TRUE(clone.identical(view));
}

TEST(CIMInstance, IdenticalComparesPathQualifiersAndPropertiesInOrder) {
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
        EXPECT_TRUE(changed.identical(sampleInstance()));
        change(changed);
        EXPECT_FALSE(changed.identical(sampleInstance()));
    }
    EXPECT_FALSE(CIMObject(CIMClass("A")).identical(CIMObject(CIMInstance("A"))));
}

TEST(CIMInstance, PathsKeepToTheClass) {
    CIMInstance i("A");
    EXPECT_THROW(i.setPath(CIMObjectPath()), UninitializedObjectException);
    EXPECT_THROW(i.setPath(CIMObjectPath("B.k=1")), TypeMismatchException);
    EXPECT_EQ(text(i.getPath().toString()), "A");
    i.setPath(CIMObjectPath("//h/root:a.k=1"));
    EXPECT_EQ(text(i.getPath().toString()), "//h/root:a.k=1");
    EXPECT_THROW(CIMInstance{CIMName()}, UninitializedObjectException);
    EXPECT_THROW(CIMClass{CIMName()}, UninitializedObjectException);
}

TEST(CIMInstance, BuildPathTakesTheKeysOfTheClass) {
    CIMInstance i = sampleInstance();
    i.setPath(CIMObjectPath("//h/root:vt_a.other=1"));
    const CIMClass c = sampleClass();
    EXPECT_EQ(text(i.buildPath(c).toString()), "vt_a.End=\"B.k=1\",Id=7");
    EXPECT_EQ(text(i.buildPath(CIMClass("Other")).toString()), "vt_a");
    i.removeProperty(2);
    EXPECT_EQ(message([&] { i.buildPath(c); }), "no such property: Id");
    i.addProperty(CIMProperty("Id", CIMValue(CIMTYPE_STRING, false)));
    EXPECT_EQ(text(i.buildPath(c).toString()), "vt_a.End=\"B.k=1\",Id=\"\"");
    i.removeProperty(2);
    i.addProperty(CIMProperty("Id", Array<String>()));
    EXPECT_THROW(i.buildPath(c), TypeMismatchException);
}

TEST(CIMInstance, FilterKeepsTheListed) {
    Array<CIMName> names(1, "size");
    names.append("unknown");
    CIMInstance i = sampleClass().buildInstance(true, true, CIMPropertyList());
    CIMProperty size = i.getProperty(1);
    i.instanceFilter(true, true, CIMPropertyList());
    EXPECT_EQ(i.getPropertyCount(), 4u);
    EXPECT_EQ(i.getQualifierCount(), 1u);
    i.instanceFilter(false, false, CIMPropertyList(names));
    ASSERT_EQ(i.getPropertyCount(), 1u);
    EXPECT_TRUE(i.getProperty(0).identical(size));
    EXPECT_TRUE(size.getClassOrigin().isNull());
    EXPECT_EQ(i.getQualifierCount(), 0u);
    i.instanceFilter(true, true, CIMPropertyList(Array<CIMName>()));
    EXPECT_EQ(i.getPropertyCount(), 0u);
}

TEST(CIMObject, CastsKeepTheKind) {
    const CIMObject object(sampleInstance()), cimClass(sampleClass());
    EXPECT_TRUE(object.isInstance() && cimClass.isClass());
    EXPECT_THROW(CIMClass{object}, DynamicCastFailedException);
    EXPECT_THROW(CIMInstance{cimClass}, DynamicCastFailedException);
    EXPECT_THROW(CIMConstInstance{CIMConstObject(cimClass)}, DynamicCastFailedException);
    EXPECT_THROW(CIMInstance{CIMObject()}, DynamicCastFailedException);
    EXPECT_TRUE(CIMObject(CIMInstance()).isUninitialized());
    EXPECT_EQ(CIMClass(cimClass).getMethodCount(), 1u);
}

TEST(CIMObject, TextIsXml) {
    CIMInstance i("A");
    i.addProperty(CIMProperty("S", String("<&\">")));
    i.addProperty(CIMProperty("L", Array<Uint8>(2, 3), 2));
    i.addProperty(CIMProperty("R", CIMObjectPath("root/b:B.k=\"C.d=TRUE\"")));
    EXPECT_EQ(text(CIMObject(i).toString()),
              "<INSTANCE CLASSNAME=\"A\">"
              "<PROPERTY NAME=\"S\" TYPE=\"string\"><VALUE>&lt;&amp;&quot;&gt;</VALUE></PROPERTY>"
              "<PROPERTY.ARRAY NAME=\"L\" TYPE=\"uint8\" ARRAYSIZE=\"2\"><VALUE.ARRAY>"
              "<VALUE>3</VALUE><VALUE>3</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"
              "<PROPERTY.REFERENCE NAME=\"R\"><VALUE.REFERENCE><LOCALINSTANCEPATH>"
              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"b\"/>"
              "</LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"B\"><KEYBINDING NAME=\"k\">"
              "<VALUE.REFERENCE><INSTANCENAME CLASSNAME=\"C\"><KEYBINDING NAME=\"d\">"
              "<KEYVALUE VALUETYPE=\"boolean\">TRUE</KEYVALUE></KEYBINDING></INSTANCENAME>"
              "</VALUE.REFERENCE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH>"
              "</VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>");
    const std::string c = text(CIMObject(sampleClass()).toString());
    for (const char* part :
         {"<QUALIFIER NAME=\"Key\" TYPE=\"boolean\"><VALUE>TRUE</VALUE></QUALIFIER>",
          "CLASSORIGIN=\"VT_Base\" PROPAGATED=\"true\"><VALUE>5</VALUE></PROPERTY>",
          "<METHOD NAME=\"Add\" TYPE=\"uint32\"><PARAMETER NAME=\"X\" TYPE=\"uint32\">"
          "</PARAMETER><PARAMETER.REFARRAY NAME=\"Ends\" REFERENCECLASS=\"B\">"})
        EXPECT_NE(c.find(part), std::string::npos) << part << " in " << c;
}

TEST(CIMProperty, ConstructionAndValuesAreTyped) {
    const CIMValue reference((CIMObjectPath("B")));
    EXPECT_THROW(CIMProperty("P", Array<CIMObjectPath>()), TypeMismatchException);
    EXPECT_THROW(CIMProperty("P", Uint8(1), 0, "B"), TypeMismatchException);
    EXPECT_THROW(CIMProperty("P", Array<Uint8>(2), 3), TypeMismatchException);
    EXPECT_THROW(CIMProperty("P", Uint8(1), 1), TypeMismatchException);
    EXPECT_THROW(CIMProperty(CIMName(), Uint8(1)), UninitializedObjectException);
    EXPECT_EQ(CIMProperty("P", Array<Uint8>(2), 2).getArraySize(), 2u);
    EXPECT_NO_THROW(CIMInstance("A").addProperty(CIMProperty("P", reference)));
    EXPECT_THROW(CIMClass("A").addProperty(CIMProperty("P", reference)), TypeMismatchException);

    CIMProperty p("P", String("x"));
    EXPECT_THROW(p.setValue(CIMValue()), TypeMismatchException);
    EXPECT_THROW(p.setValue(Array<String>()), TypeMismatchException);
    p.setValue(CIMValue(CIMTYPE_STRING, false));
    EXPECT_TRUE(p.getValue().isNull());
}

TEST(CIMProperty, IsRenamedOnlyOutsideOfObjects) {
    CIMProperty p("P", Uint8(1));
    {
        CIMInstance first("A");
        CIMInstance second("A");
        first.addProperty(p);
        second.addProperty(p);
        EXPECT_THROW(p.setName("Q"), Exception);
        p.setName("p");
        first.removeProperty(0);
        EXPECT_THROW(p.setName("Q"), Exception);
        CIMProperty copy = first.addProperty(p).clone().getProperty(0).clone();
        copy.setName("Q");
    }
    p.setName("Q");
    EXPECT_EQ(text(p.getName().getString()), "Q");
}

TEST(Members, NamesAreUniqueAndFoundWithoutCase) {
    CIMClass c = sampleClass();
    CIMMethod m = c.getMethod(c.findMethod("ADD"));
    CIMProperty p = c.getProperty(c.findProperty("ID"));
    EXPECT_EQ(message([&] { c.addProperty(CIMProperty("size", Uint8(1))); }),
              "already exists: property \"size\"");
    EXPECT_THROW(c.addMethod(CIMMethod("add", CIMTYPE_STRING)), AlreadyExistsException);
    EXPECT_THROW(m.addParameter(CIMParameter("x", CIMTYPE_STRING)), AlreadyExistsException);
    EXPECT_THROW(p.addQualifier(CIMQualifier("KEY", true)), AlreadyExistsException);
    EXPECT_EQ(c.getPropertyCount(), 4u);
    EXPECT_EQ(m.findParameter("ends"), 1u);
    EXPECT_EQ(p.findQualifier("Other"), PEG_NOT_FOUND);
    EXPECT_THROW(c.getProperty(4), IndexOutOfBoundsException);
    EXPECT_THROW(c.removeMethod(1), IndexOutOfBoundsException);
    EXPECT_THROW(m.getParameter(2), IndexOutOfBoundsException);
    EXPECT_THROW(p.removeQualifier(1), IndexOutOfBoundsException);
    p.removeQualifier(0);  // shared with the class, which has one key less
    Array<CIMName> keys(3, "old");
    c.getKeyNames(keys);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(text(keys[0].getString()), "End");
}

TEST(CIMClass, MarksAreBooleanQualifiers) {
    CIMClass c("A");
    EXPECT_FALSE(c.isAssociation() || c.isAbstract() || c.hasKeys());
    c.addQualifier(CIMQualifier("association", true));
    c.addQualifier(CIMQualifier("Abstract", String("TRUE")));
    EXPECT_TRUE(c.isAssociation());
    EXPECT_FALSE(c.isAbstract());
}

TEST(CIMClass, CloneSharesNothing) {
    CIMClass c = sampleClass();
    CIMClass clone = c.clone();
    EXPECT_TRUE(clone.identical(c));
    clone.getMethod(0).getParameter(0).addQualifier(CIMQualifier("In", true));
    EXPECT_EQ(c.getMethod(0).getParameter(0).getQualifierCount(), 0u);
    EXPECT_FALSE(clone.identical(c));
    clone = c.clone();
    clone.setSuperClassName(CIMName());
    EXPECT_FALSE(clone.identical(c));
}

TEST(CIMClass, BuildInstanceHasTheDefaults) {
    const CIMClass c = sampleClass();
    CIMInstance all = c.buildInstance(true, true, CIMPropertyList());
    ASSERT_EQ(all.getPropertyCount(), 4u);
    EXPECT_EQ(sizeOf(all), 5u);
    EXPECT_EQ(all.getProperty(0).getQualifierCount(), 1u);
    EXPECT_EQ(text(all.getProperty(1).getClassOrigin().getString()), "VT_Base");
    all.getProperty(1).setValue(Uint32(6));

    CIMInstance one = c.buildInstance(false, false, CIMPropertyList(Array<CIMName>(1, "SIZE")));
    ASSERT_EQ(one.getPropertyCount(), 1u);
    EXPECT_EQ(sizeOf(one), 5u);  // the class's own value is not shared
    EXPECT_TRUE(one.getProperty(0).getClassOrigin().isNull());
    EXPECT_EQ(one.getQualifierCount(), 0u);
    EXPECT_EQ(text(one.getPath().toString()), "VT_A");
}

TEST(Handles, UninitializedOnesThrow) {
    CIMInstance i;
    CIMProperty p;
    CIMValue value;
    String name("n");
    const std::function<void()> uses[] = {
        [&] { i.getPath(); },
        [&] { i.setPath(CIMObjectPath("A")); },
        [&] { i.addProperty(CIMProperty("P", true)); },
        [&] { i.clone(); },
        [&] { i.identical(CIMInstance("A")); },
        [&] { CIMInstance("A").identical(i); },
        [&] { CIMInstance("A").addProperty(p); },
        [&] { CIMInstance("A").addQualifier(CIMQualifier()); },
        [&] { CIMInstance("A").buildPath(CIMClass()); },
        [&] { i.instanceFilter(true, true, CIMPropertyList()); },
        [&] { CIMObject(i).toString(); },
        [&] { CIMObject().isClass(); },
        [&] { CIMClass().isAbstract(); },
        [&] { p.getName(); },
        [&] { p.setName("P"); },
        [&] { p.getValue(); },
        [&] { CIMQualifier().getFlavor(); },
        [&] { CIMMethod().getParameterCount(); },
        [&] { CIMParameter().getType(); },
        [&] { CIMParamValue().getParameterName(); },
        [&] { CIMParamValue().setValue(value); },
        [&] { CIMParamValue("", value); },
        [&] { CIMPropertyList(Array<CIMName>(1)); },
    };
    int use = 0;
    for (const auto& f : uses) {
        EXPECT_THROW(f(), UninitializedObjectException) << "use " << use;
        use++;
    }
    EXPECT_TRUE(CIMInstance(i).isUninitialized());
}

TEST(CIMFlavor, IsASetOfFlags) {
    CIMFlavor flavor = CIMFlavor::OVERRIDABLE + CIMFlavor::TOSUBCLASS;
    EXPECT_TRUE(flavor.equal(CIMFlavor::DEFAULTS));
    EXPECT_FALSE(flavor.hasFlavor(CIMFlavor::DISABLEOVERRIDE));
    flavor.addFlavor(CIMFlavor::TOINSTANCE);
    EXPECT_TRUE(flavor.hasFlavor(CIMFlavor::DEFAULTS));
    EXPECT_FALSE(CIMFlavor(CIMFlavor::DEFAULTS).hasFlavor(flavor));
    EXPECT_EQ(text(flavor.toString()), "EnableOverride ToSubclass ToInstance");
}

TEST(CIMParamValue, CopiesShare) {
    CIMParamValue p("not a name", Uint8(1));
    CIMParamValue copy(p), clone(p.clone());
    String name("n");
    CIMValue value(Uint8(2));
    copy.setParameterName(name);
    copy.setValue(value);
    copy.setIsTyped(false);
    EXPECT_EQ(text(p.getParameterName()), "n");
    EXPECT_TRUE(p.getValue() == value);
    EXPECT_FALSE(p.isTyped());
    EXPECT_EQ(text(clone.getParameterName()), "not a name");
    EXPECT_TRUE(clone.isTyped());
}

TEST(CIMProperty, AValueThatNoLongerFitsItsDeclaredSizeIsCloned) {
    CIMProperty sized("a", CIMValue(Array<String>(2, String("x"))), 2);
    sized.setValue(CIMValue(CIMTYPE_STRING, true));
    EXPECT_EQ(sized.clone().getArraySize(), 2u);
    CIMInstance instance(CIMName("A"));
    instance.addProperty(sized);
    EXPECT_TRUE(instance.clone().identical(instance));
    CIMClass cimClass(CIMName("A"));
    cimClass.addProperty(sized);
    EXPECT_TRUE(cimClass.clone().identical(cimClass));
    EXPECT_EQ(cimClass.buildInstance(false, false, CIMPropertyList()).getPropertyCount(), 1u);
}

TEST(CIMPropertyList, NullAndEmptyDiffer) {
    CIMPropertyList list;
    EXPECT_TRUE(list.isNull());
    list.set(Array<CIMName>());
    EXPECT_FALSE(list.isNull());
    Array<CIMName> names(1, "Name");
    const CIMPropertyList copy(list);
    list.set(names);
    EXPECT_TRUE(list.contains("NAME"));
    EXPECT_EQ(list.size(), 1u);
    EXPECT_EQ(copy.size(), 0u);
    EXPECT_THROW(list[1], IndexOutOfBoundsException);
    EXPECT_THROW(list.set(Array<CIMName>(1)), UninitializedObjectException);
    EXPECT_EQ(text(list.getPropertyNameArray()[0].getString()), "Name");
    list.clear();
    EXPECT_TRUE(list.isNull() && list.size() == 0);
}

}  // namespace
