// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Short ways to make CIM objects and to say what came of them, shared by the tests.
#ifndef VELMAR_TESTS_SUPPORT_OBJECTS_H
#define VELMAR_TESTS_SUPPORT_OBJECTS_H

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>

#include <exception>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

// GoogleTest prints values of these types in its messages.
namespace Pegasus {
inline void PrintTo(const String& text, std::ostream* out) {
    *out << (const char*)text.getCString();
}
inline void PrintTo(const CIMObjectPath& path, std::ostream* out) { PrintTo(path.toString(), out); }
}  // namespace Pegasus

namespace support {

using Pegasus::Uint32;  // PEG_NOT_FOUND needs the name

inline std::string text(const Pegasus::String& s) { return (const char*)s.getCString(); }
inline std::string text(const Pegasus::CIMObjectPath& path) { return text(path.toString()); }
inline std::string text(const Pegasus::CIMName& name) { return text(name.getString()); }

/// "ok", or what was thrown: code and message of a CIMException, else the message.
inline std::string outcome(const std::function<void()>& call) {
    try {
        call();
        return "ok";
    } catch (const Pegasus::CIMException& e) {
        return std::to_string(e.getCode()) + " " + text(e.getMessage());
    } catch (const Pegasus::Exception& e) {
        return text(e.getMessage());
    } catch (const std::exception& e) {
        return e.what();
    }
}

/// Runs the work on so many threads at once, each with its number.
inline void inThreads(int count, const std::function<void(int)>& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; i++) {
        threads.emplace_back(work, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

inline Pegasus::CIMObjectPath path(const std::string& s) {
    return Pegasus::CIMObjectPath(Pegasus::String(s.c_str()));
}

/// An instance of the path's class at that path, without properties.
inline Pegasus::CIMInstance instanceAt(const std::string& objectPath) {
    const Pegasus::CIMObjectPath p = path(objectPath);
    Pegasus::CIMInstance instance(p.getClassName());
    instance.setPath(p);
    return instance;
}

inline void add(Pegasus::CIMInstance& instance, const char* name, const Pegasus::CIMValue& value) {
    instance.addProperty(Pegasus::CIMProperty(Pegasus::CIMName(name), value));
}
inline void add(Pegasus::CIMInstance& instance, const char* name, const char* value) {
    add(instance, name, Pegasus::CIMValue(Pegasus::String(value)));
}

/// The property's text form, "(none)" when the instance lacks it, "(null)" for a null value.
inline std::string property(const Pegasus::CIMConstInstance& instance, const char* name) {
    const Pegasus::Uint32 index = instance.findProperty(Pegasus::CIMName(name));
    if (index == PEG_NOT_FOUND) {
        return "(none)";
    }
    const Pegasus::CIMValue value = instance.getProperty(index).getValue();
    return value.isNull() ? "(null)" : text(value.toString());
}

/// Names of the properties in order, joined by commas.
inline std::string propertyNames(const Pegasus::CIMConstInstance& instance) {
    std::string names;
    for (Pegasus::Uint32 i = 0; i < instance.getPropertyCount(); i++) {
        names += (i ? "," : "") + text(instance.getProperty(i).getName());
    }
    return names;
}

}  // namespace support

#endif
