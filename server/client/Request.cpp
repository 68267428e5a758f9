// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "client/Request.h"

#include <cxxabi.h>
#include <stdlib.h>

#include <exception>
#include <memory>
#include <typeinfo>

#include "model/Text.h"

using namespace Pegasus;

namespace velmar_embedded {

namespace {

// String refuses what is not UTF-8, which an exception's text may well be.
String safeText(const char* text) {
    try {
        return String(text);
    } catch (const Exception&) {
    }
    std::string ascii(text);
    for (char& c : ascii) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            c = '?';
        }
    }
    return String(ascii.c_str());
}

}  // namespace

const char* operationName(Operation operation) {
    static const char* const names[] = {"getClass",
                                        "enumerateClasses",
                                        "enumerateClassNames",
                                        "createClass",
                                        "modifyClass",
                                        "deleteClass",
                                        "getQualifier",
                                        "enumerateQualifiers",
                                        "setQualifier",
                                        "deleteQualifier",
                                        "getInstance",
                                        "getProperty",
                                        "setProperty",
                                        "enumerateInstances",
                                        "enumerateInstanceNames",
                                        "createInstance",
                                        "modifyInstance",
                                        "deleteInstance",
                                        "associators",
                                        "associatorNames",
                                        "references",
                                        "referenceNames",
                                        "openEnumerateInstances",
                                        "openEnumerateInstancePaths",
                                        "openAssociatorInstances",
                                        "openAssociatorInstancePaths",
                                        "openReferenceInstances",
                                        "openReferenceInstancePaths",
                                        "pullInstancesWithPath",
                                        "pullInstancePaths",
                                        "closeEnumeration",
                                        "enumerationCount",
                                        "invokeMethod"};
    return names[static_cast<int>(operation)];
}

std::mutex& deliveredPathLock() {
    static std::mutex lock;
    return lock;
}

Failure Failure::ofCurrentException() {
    try {
        throw;
    } catch (const PlainError& e) {
        return {e.getCode(), e.getMessage(), true};
    } catch (const LostConnection& e) {
        return {e.getCode(), e.getMessage(), false, true};
    } catch (const CIMException& e) {
        return {e.getCode(), e.getMessage()};
    } catch (const Exception& e) {
        return {CIM_ERR_FAILED, e.getMessage()};
    } catch (const std::exception& e) {
        return {CIM_ERR_FAILED, safeText(e.what())};
    } catch (...) {
        return {CIM_ERR_FAILED, String("Unknown error.")};
    }
}

String Failure::codedMessage() const {
    const String name(cimStatusCodeToString(code));
    if (message.size() == 0 || message == name || message.find(name + ": ") == 0) {
        return message.size() == 0 ? name : message;
    }
    return name + ": " + message;
}

std::string describeCurrentException() {
    std::string description = "an unknown exception";
    if (const std::type_info* type = abi::__cxa_current_exception_type()) {
        int status = 0;
        const std::unique_ptr<char, decltype(&free)> name(
            abi::__cxa_demangle(type->name(), nullptr, nullptr, &status), &free);
        description = name ? name.get() : type->name();
    }
    const Failure failure = Failure::ofCurrentException();
    // An exception of another class has no code, which shows as this one.
    const bool coded = failure.code != CIM_ERR_FAILED;
    const std::string text = utf8(coded ? failure.codedMessage() : failure.message);
    return text.empty() ? description : description + ": " + text;
}

}  // namespace velmar_embedded
