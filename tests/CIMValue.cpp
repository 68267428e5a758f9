// Values of every CIM type: reading, writing, nulls, text and equality.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

using namespace Pegasus;

namespace {

std::string text(const String& s) { return std::string(s.getCString()); }

// Two different values of a type, the first with its text.
template <class T>
struct Sample {
    T first, second;
    std::string text;
};

template <class T>
void check(CIMType type, const Sample<T>& sample) {
    SCOPED_TRACE(cimTypeToString(type));
    const CIMValue scalar(sample.first);
    Array<T> elements(1, sample.first);
    elements.append(sample.second);
    const CIMValue array(elements);

    EXPECT_EQ(scalar.getType(), type);
    EXPECT_FALSE(scalar.isArray() || scalar.isNull());
    EXPECT_EQ(scalar.getArraySize(), 0u);
    EXPECT_EQ(text(scalar.toString()), sample.text);
    EXPECT_EQ(array.getType(), type);
    EXPECT_TRUE(array.isArray());
    EXPECT_EQ(array.getArraySize(), 2u);
    EXPECT_EQ(text(array.toString()),
              sample.text + " " + text(CIMValue(sample.second).toString()) + " ");

    T x(sample.second);
    scalar.get(x);
    EXPECT_TRUE(CIMValue(x) == scalar);
    EXPECT_TRUE(CIMValue(sample.second) != scalar);
    Array<T> read;
    array.get(read);
    EXPECT_TRUE(CIMValue(read) == array);
    read.remove(1);
    EXPECT_TRUE(CIMValue(read) != array);
    EXPECT_THROW(scalar.get(read), TypeMismatchException);
    EXPECT_THROW(array.get(x), TypeMismatchException);

    const CIMValue null(type, false), nullArray(type, true);
    x = sample.second;
    null.get(x);
    EXPECT_TRUE(CIMValue(x) == CIMValue(sample.second));
    nullArray.get(read);
    EXPECT_EQ(read.size(), 1u);
    EXPECT_TRUE(null != scalar && scalar != null && nullArray != null);
    EXPECT_TRUE(null.typeCompatible(scalar) && nullArray.typeCompatible(array));

    CIMValue changed(String("text"));
    const CIMValue copy(changed);
    changed.set(sample.first);
    EXPECT_TRUE(changed == scalar);
    changed.set(elements);
    EXPECT_TRUE(changed == array);
    EXPECT_EQ(text(copy.toString()), "text");
}

TEST(CIMValue, EveryTypeKeepsItsValue) {
    check<Boolean>(CIMTYPE_BOOLEAN, {true, false, "TRUE"});
    check<Uint8>(CIMTYPE_UINT8, {255, 65, "255"});
    check<Sint8>(CIMTYPE_SINT8, {-128, 65, "-128"});
    check<Uint16>(CIMTYPE_UINT16, {65535, 1, "65535"});
    check<Sint16>(CIMTYPE_SINT16, {-32768, 1, "-32768"});
    check<Uint32>(CIMTYPE_UINT32, {4294967295u, 1, "4294967295"});
    check<Sint32>(CIMTYPE_SINT32, {std::numeric_limits<Sint32>::min(), 1, "-2147483648"});
    check<Uint64>(CIMTYPE_UINT64, {std::numeric_limits<Uint64>::max(), 1, "18446744073709551615"});
    check<Sint64>(CIMTYPE_SINT64, {std::numeric_limits<Sint64>::min(), 1, "-9223372036854775808"});
    check<Real32>(CIMTYPE_REAL32, {-1.5f, 0.0f, "-1.5000000000000000e+00"});
    check<Real64>(CIMTYPE_REAL64, {1e300, 0.0, "1.0000000000000001e+300"});
    check<Char16>(CIMTYPE_CHAR16, {Char16(0x20AC), Char16('x'), "\xe2\x82\xac"});
    check<String>(CIMTYPE_STRING, {"a \"b\"\\", "", "a \"b\"\\"});
    check<CIMDateTime>(CIMTYPE_DATETIME,
                       {CIMDateTime("20240102030405.000006+060"),
                        CIMDateTime("20250102030405.000006+060"), "20240102030405.000006+060"});
    check<CIMObjectPath>(CIMTYPE_REFERENCE, {CIMObjectPath("root:A.b=1,a=\"x\""),
                                             CIMObjectPath("root:A"), "root:A.a=\"x\",b=1"});
    check<CIMObject>(CIMTYPE_OBJECT, {CIMObject(CIMClass("A", "B")), CIMObject(CIMInstance("A")),
                                      "<CLASS NAME=\"A\" SUPERCLASS=\"B\"></CLASS>"});
    check<CIMInstance>(CIMTYPE_INSTANCE, {CIMInstance("A"), CIMInstance("B"),
                                          "<INSTANCE CLASSNAME=\"A\"></INSTANCE>"});
}

TEST(CIMValue, NullsAreTyped) {
    CIMValue value(CIMTYPE_STRING, true, 3);
    EXPECT_TRUE(value.isNull() && value.isArray());
    EXPECT_EQ(value.getArraySize(), 3u);
    EXPECT_TRUE(value == CIMValue(CIMTYPE_STRING, true));
    EXPECT_TRUE(value != CIMValue(CIMTYPE_UINT8, true));
    Boolean flag = true;
    EXPECT_THROW(value.get(flag), TypeMismatchException);
    value.clear();
    EXPECT_TRUE(value == CIMValue());
    value.get(flag);
    EXPECT_TRUE(flag);
    value.assign(CIMValue(Uint8(1)));
    EXPECT_EQ(text(value.toString()), "1");
}

TEST(CIMValue, EqualityIsThatOfTheType) {
    EXPECT_TRUE(CIMValue(CIMObjectPath("A.k=16")) == CIMValue(CIMObjectPath("a.K=0x10")));
    EXPECT_TRUE(CIMValue(String("a")) != CIMValue(String("A")));
    EXPECT_TRUE(CIMValue(String("A")) != CIMValue(CIMObjectPath("A")));
    EXPECT_THROW(
        (void)(CIMValue(CIMDateTime()) == CIMValue(CIMDateTime("20240102030405.000006+060"))),
        TypeMismatchException);
}

TEST(CIMValue, ObjectsAreClonedOnTheirWayInAndOut) {
    CIMInstance instance("A");
    Array<CIMInstance> instances(1, instance);
    const CIMValue array(instances);
    const CIMValue object((CIMObject(instance)));
    instance.addProperty(CIMProperty("P", Uint8(1)));
    array.get(instances);
    CIMObject read;
    object.get(read);
    EXPECT_EQ(instances[0].getPropertyCount(), 0u);
    EXPECT_EQ(read.getPropertyCount(), 0u);
    read.addProperty(CIMProperty("Q", Uint8(1)));
    object.get(read);
    EXPECT_EQ(read.getPropertyCount(), 0u);

    CIMValue kept(Uint8(7));
    EXPECT_THROW(kept.set(CIMObject()), UninitializedObjectException);
    EXPECT_THROW(kept.set(Array<CIMInstance>(2)), UninitializedObjectException);
    EXPECT_EQ(text(kept.toString()), "7");
}

}  // namespace
