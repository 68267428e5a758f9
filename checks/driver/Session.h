// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The driver's client: makes calls, times them, and reports what comes out wrong.
//
// Not thread-safe: one session per thread; the report function is shared.
#ifndef VELMAR_CHECKS_DRIVER_SESSION_H
#define VELMAR_CHECKS_DRIVER_SESSION_H

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "checks/Rule.h"
#include "checks/driver/RegisteredClasses.h"

namespace velmar_driver {

using Report = std::function<void(velmar_checks::Finding)>;

/// What one class was asked and how it went.
struct ClassReport {
    std::string nameSpace;
    std::string className;
    /// In the order first tried; methods that ended in an error with its code.
    std::vector<std::string> operations;
    unsigned long callsUnderLoad = 0;  ///< of all clients at once
    unsigned long instances = 0;       ///< that its enumeration gave
    std::vector<double> milliseconds;  ///< of every call

    double median() const;
    double largest() const;
};

/// How a call ended: 0 for success, else the code of its CIMException, -1 for another exception.
struct Outcome {
    int code = 0;
    std::string text;  ///< of the exception

    explicit operator bool() const { return code == 0; }
    /// "CIM_ERR_NOT_FOUND: text", or the text of what is no CIMException.
    std::string describe() const;
};

/// A call that got no answer in time; the class is not asked any further.
class NoAnswer : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

class Session {
 public:
    /// Connects to the started server.
    Session(const RegisteredClass& about, Report report);

    /// Runs `work`, times it as `operation` of the class, and says how it ended. Throws NoAnswer.
    Outcome call(const std::string& operation, const std::function<void()>& work);
    /// The same; a failure becomes a finding.
    bool expect(const std::string& operation, const std::function<void()>& work);

    /// A finding about the class; `sentence` goes on after its name.
    void find(const velmar_checks::Rule& rule, const std::string& element,
              const std::string& sentence);

    /// Whether it is one of the first few objects that this was asked of: those get all questions,
    /// and the rest those only that tell whether it is like them.
    bool isSample(const std::string& object);

    const RegisteredClass& about;
    Pegasus::CIMClient client;
    ClassReport result;

 private:
    const Report _report;
    std::set<std::string> _samples;
};

std::string text(const Pegasus::String& string);
/// Class and keys, the form in which paths of different origins are compared and shown.
std::string shortText(const Pegasus::CIMObjectPath& path);

/// Paths or the paths of objects by their short texts.
template <class T>
std::map<std::string, T> byPath(const Pegasus::Array<T>& objects);

/// "a, b and 3 more".
std::string listed(const std::set<std::string>& texts);

}  // namespace velmar_driver

#endif
