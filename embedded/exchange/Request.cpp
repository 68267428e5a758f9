// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "exchange/Request.h"

#include <exception>
#include <string>

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
    static const char* const names[] = {
        "getClass",        "enumerateClasses", "enumerateClassNames", "createClass",
        "deleteClass",     "getInstance",      "enumerateInstances",  "enumerateInstanceNames",
        "createInstance",  "modifyInstance",   "deleteInstance",      "associators",
        "associatorNames", "references",       "referenceNames",      "invokeMethod"};
    return names[static_cast<int>(operation)];
}

Failure Failure::ofCurrentException() {
    try {
        throw;
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

}  // namespace velmar_embedded
