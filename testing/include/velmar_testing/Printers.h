// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// GoogleTest output for what the object model is made of: paths, values, instances and exceptions.
// Include it in a test file; nothing else is to be done.
//
// Thread-safe. Uses documented Pegasus headers only, so that it serves against either kind of
// server.
#ifndef VELMAR_TESTING_PRINTERS_H
#define VELMAR_TESTING_PRINTERS_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>

namespace velmar_testing {

/// UTF-8.
inline std::string utf8(const Pegasus::String& text) {
    return std::string(static_cast<const char*>(text.getCString()));
}

/// The value with its type, for example: 1200 (uint32), "front" (string), null (datetime).
inline std::string describe(const Pegasus::CIMValue& value) {
    const std::string type =
        std::string(Pegasus::cimTypeToString(value.getType())) + (value.isArray() ? "[]" : "");
    if (value.isNull()) {
        return "null (" + type + ")";
    }
    const bool isText = value.getType() == Pegasus::CIMTYPE_STRING && !value.isArray();
    const std::string text = utf8(value.toString());
    return (isText ? "\"" + text + "\"" : text) + " (" + type + ")";
}

/// The path, and the properties with their values in order.
template <class Object>
std::string describeObject(const Object& object) {
    if (object.isUninitialized()) {
        return "uninitialized";
    }
    std::string text = utf8(object.getPath().toString()) + " {";
    for (Pegasus::Uint32 i = 0; i < object.getPropertyCount(); i++) {
        const Pegasus::CIMConstProperty property = object.getProperty(i);
        text += (i == 0 ? " " : ", ") + utf8(property.getName().getString()) + " = " +
                describe(property.getValue());
    }
    return text + " }";
}

/// Class and message of the exception that is being handled; call it in a catch block.
inline std::string describeException() {
    try {
        throw;
    } catch (const Pegasus::CIMException& e) {
        return std::string("Pegasus::CIMException ") + Pegasus::cimStatusCodeToString(e.getCode()) +
               " (" + std::to_string(static_cast<int>(e.getCode())) + "): \"" +
               utf8(e.getMessage()) + "\"";
    } catch (const Pegasus::Exception& e) {
        return "Pegasus::Exception: \"" + utf8(e.getMessage()) + "\"";
    } catch (const std::exception& e) {
        return std::string(typeid(e).name()) + ": \"" + e.what() + "\"";
    } catch (...) {
        return "an exception of another kind";
    }
}

/// Says which exception ended a test body. GoogleTest knows only those of the standard library, and
/// reports others while they are being handled.
class ExceptionListener : public ::testing::EmptyTestEventListener {
 public:
    /// Prints a line after the failure of an unknown exception.
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (result.failed() && std::strstr(result.message(), "Unknown C++ exception") != nullptr &&
            std::current_exception()) {
            std::printf("It is %s\n", describeException().c_str());
            std::fflush(stdout);
        }
    }

    /// Once for a program, however many of its files include this.
    static bool install() {
        ::testing::UnitTest::GetInstance()->listeners().Append(new ExceptionListener);
        return true;
    }
};
/// Made when the program starts.
inline const bool exceptionListenerIsInstalled = ExceptionListener::install();

}  // namespace velmar_testing

// Where GoogleTest looks for them.
namespace Pegasus {

inline void PrintTo(const String& text, std::ostream* os) {
    *os << '"' << velmar_testing::utf8(text) << '"';
}
inline void PrintTo(const CIMName& name, std::ostream* os) {
    *os << (name.isNull() ? "null name" : velmar_testing::utf8(name.getString()));
}
inline void PrintTo(const CIMNamespaceName& name, std::ostream* os) {
    *os << (name.isNull() ? "null namespace" : velmar_testing::utf8(name.getString()));
}
inline void PrintTo(const CIMObjectPath& path, std::ostream* os) {
    *os << velmar_testing::utf8(path.toString());
}
inline void PrintTo(const CIMKeyBinding& key, std::ostream* os) {
    *os << velmar_testing::utf8(key.getName().getString()) << " = "
        << velmar_testing::utf8(key.getValue());
}
inline void PrintTo(const CIMDateTime& time, std::ostream* os) {
    *os << velmar_testing::utf8(time.toString());
}
inline void PrintTo(const CIMValue& value, std::ostream* os) {
    *os << velmar_testing::describe(value);
}
inline void PrintTo(const CIMProperty& property, std::ostream* os) {
    if (property.isUninitialized()) {
        *os << "uninitialized";
    } else {
        *os << velmar_testing::utf8(property.getName().getString()) << " = "
            << velmar_testing::describe(property.getValue());
    }
}
inline void PrintTo(const CIMParamValue& parameter, std::ostream* os) {
    if (parameter.isUninitialized()) {
        *os << "uninitialized";
    } else {
        *os << velmar_testing::utf8(parameter.getParameterName()) << " = "
            << velmar_testing::describe(parameter.getValue());
    }
}
inline void PrintTo(const CIMInstance& instance, std::ostream* os) {
    *os << velmar_testing::describeObject(instance);
}
inline void PrintTo(const CIMObject& object, std::ostream* os) {
    *os << velmar_testing::describeObject(object);
}
template <class T>
void PrintTo(const Array<T>& array, std::ostream* os) {
    *os << '{';
    for (Uint32 i = 0; i < array.size(); i++) {
        *os << (i == 0 ? " " : ", ") << ::testing::PrintToString(array[i]);
    }
    *os << " }";
}

}  // namespace Pegasus

#endif
