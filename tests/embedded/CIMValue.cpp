// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Values of every CIM type: reading, writing, nulls, text and equality.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/Objects.h"

using namespace Pegasus;
using support::text;

namespace {

// Takes two different values of a type and the text of the first.
template <class T>
void check(CIMType type, const T& first, const T& second, const std::string& expected) {
    SCOPED_TRACE(cimTypeToString(type));
    Array<T> elements(1, first);
    elements.append(second);
    const CIMValue scalar(first), array(elements);
    EXPECT_TRUE(scalar.typeCompatible(CIMValue(type, false)));
    EXPECT_TRUE(array.typeCompatible(CIMValue(type, true)));
    EXPECT_EQ(array.getArraySize(), 2u);
    EXPECT_EQ(text(scalar.toString()), expected);
    EXPECT_EQ(text(array.toString()), expected + " " + text(CIMValue(second).toString()) + " ");

    T x(second);
    Array<T> read(1, second);
    CIMValue(type, false).get(x);
    CIMValue(type, true).get(read);
    EXPECT_TRUE(CIMValue(x) == CIMValue(second) && read.size() == 1);
    EXPECT_TRUE(CIMValue(x) != scalar && CIMValue(type, false) != scalar);
    scalar.get(x);
    array.get(read);
    EXPECT_TRUE(CIMValue(x) == scalar && CIMValue(read) == array);
    EXPECT_THROW(scalar.get(read), TypeMismatchException);
    EXPECT_THROW(array.get(x), TypeMismatchException);
    read[1] = first;
    EXPECT_TRUE(CIMValue(read) != array);

    CIMValue changed(array);
    changed.set(first);
    EXPECT_TRUE(changed == scalar);
}

TEST(CIMValue, EveryTypeKeepsItsValue) {
    check<Boolean>(CIMTYPE_BOOLEAN, true, false, "TRUE");
    check<Uint8>(CIMTYPE_UINT8, 255, 65, "255");
    check<Sint8>(CIMTYPE_SINT8, -128, 65, "-128");
    check<Sint32>(CIMTYPE_SINT32, std::numeric_limits<Sint32>::min(), 1, "-2147483648");
    check<Uint64>(CIMTYPE_UINT64, std::numeric_limits<Uint64>::max(), 1, "18446744073709551615");
    check<Sint64>(CIMTYPE_SINT64, std::numeric_limits<Sint64>::min(), 1, "-9223372036854775808");
    check<Real32>(CIMTYPE_REAL32, -1.5f, 0.0f, "-1.5000000000000000e+00");
    check<Real64>(CIMTYPE_REAL64, 1e300, 0.0, "1.0000000000000001e+300");
    check<Char16>(CIMTYPE_CHAR16, Char16(0x20AC), Char16('x'), "\xe2\x82\xac");
    check<String>(CIMTYPE_STRING, "a \"b\"\\", "A \"b\"\\", "a \"b\"\\");
    check<CIMDateTime>(CIMTYPE_DATETIME, CIMDateTime("20240102030405.000006+060"),
                       CIMDateTime("20250102030405.000006+060"), "20240102030405.000006+060");
    check<CIMObjectPath>(CIMTYPE_REFERENCE, CIMObjectPath("root:A.b=1,a=\"x\""),
                         CIMObjectPath("root:A"), "root:A.a=\"x\",b=1");
    check<CIMObject>(CIMTYPE_OBJECT, CIMClass("A", "B"), CIMInstance("A"),
                     "<CLASS NAME=\"A\" SUPERCLASS=\"B\"></CLASS>");
    check<CIMInstance>(CIMTYPE_INSTANCE, CIMInstance("A"), CIMInstance("B"),
                       "<INSTANCE CLASSNAME=\"A\"></INSTANCE>");
    EXPECT_TRUE(CIMValue(CIMObjectPath("A.k=16")) == CIMValue(CIMObjectPath("a.K=0x10")));
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
    CIMObject read;
    for (int reading = 0; reading < 2; reading++) {
        array.get(instances);
        object.get(read);
        EXPECT_EQ(instances[0].getPropertyCount(), 0u);
        EXPECT_EQ(read.getPropertyCount(), 0u);
        instances[0].addProperty(CIMProperty("Q", Uint8(1)));
        read.addProperty(CIMProperty("Q", Uint8(1)));
    }
    CIMValue kept(Uint8(7));
    EXPECT_THROW(kept.set(CIMObject()), UninitializedObjectException);
    EXPECT_THROW(kept.set(Array<CIMInstance>(2)), UninitializedObjectException);
    EXPECT_EQ(text(kept.toString()), "7");
}

}  // namespace
