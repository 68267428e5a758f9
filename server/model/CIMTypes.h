// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The table of the CIM types and the C++ types of their values. Whatever depends on the type of a
// value goes through it.
#ifndef VELMAR_EMBEDDED_MODEL_CIMTYPES_H
#define VELMAR_EMBEDDED_MODEL_CIMTYPES_H

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMType.h>
#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <type_traits>

namespace Pegasus {

// clang-format off
#define PEGASUS_CIM_TYPES(Apply)            \
    Apply(CIMTYPE_BOOLEAN, Boolean)         \
    Apply(CIMTYPE_UINT8, Uint8)             \
    Apply(CIMTYPE_SINT8, Sint8)             \
    Apply(CIMTYPE_UINT16, Uint16)           \
    Apply(CIMTYPE_SINT16, Sint16)           \
    Apply(CIMTYPE_UINT32, Uint32)           \
    Apply(CIMTYPE_SINT32, Sint32)           \
    Apply(CIMTYPE_UINT64, Uint64)           \
    Apply(CIMTYPE_SINT64, Sint64)           \
    Apply(CIMTYPE_REAL32, Real32)           \
    Apply(CIMTYPE_REAL64, Real64)           \
    Apply(CIMTYPE_CHAR16, Char16)           \
    Apply(CIMTYPE_STRING, String)           \
    Apply(CIMTYPE_DATETIME, CIMDateTime)    \
    Apply(CIMTYPE_REFERENCE, CIMObjectPath) \
    Apply(CIMTYPE_OBJECT, CIMObject)        \
    Apply(CIMTYPE_INSTANCE, CIMInstance)
// clang-format on

/// The CIM type of a C++ type.
template <class T>
inline constexpr CIMType cimTypeOf = CIMType(-1);
#define PEGASUS_CIM_TYPE_OF(Code, Class) \
    template <>                          \
    inline constexpr CIMType cimTypeOf<Class> = Code;
PEGASUS_CIM_TYPES(PEGASUS_CIM_TYPE_OF)
#undef PEGASUS_CIM_TYPE_OF

template <class T>
inline constexpr bool isObjectType = std::is_same_v<T, CIMObject> || std::is_same_v<T, CIMInstance>;
/// Numbers only: booleans are excluded.
template <class T>
inline constexpr bool isNumberType = std::is_arithmetic_v<T> && !std::is_same_v<T, Boolean>;

template <class T>
struct TypeTag {
    using Type = T;
};

/// Calls `visit` with the TypeTag of the C++ type of `type`. Throws TypeMismatchException for what
/// is not a type.
template <class Visit>
auto withType(CIMType type, Visit&& visit) {
    switch (type) {
#define PEGASUS_VISIT(Code, Class) \
    case Code:                     \
        return visit(TypeTag<Class>());
        PEGASUS_CIM_TYPES(PEGASUS_VISIT)
#undef PEGASUS_VISIT
    }
    throw TypeMismatchException();
}

}  // namespace Pegasus

#endif
