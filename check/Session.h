// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The driver's client: makes calls, times them, and reports what comes out wrong.
//
// Not thread-safe: one session per thread; they share the findings.
#ifndef VELMAR_CHECKS_DRIVER_SESSION_H
#define VELMAR_CHECKS_DRIVER_SESSION_H

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "check/Access.h"
#include "check/RegisteredClasses.h"
#include "checks/Findings.h"
#include "model/Text.h"

namespace velmar_driver {

/// What one class was asked and how it went.
struct ClassReport {
    std::string nameSpace;
    std::string className;
    /// In the order first tried; methods that ended in an error with its code.
    std::vector<std::string> operations;
    unsigned long callsUnderLoad = 0;  ///< of all clients at once
    unsigned long instances = 0;       ///< that its enumeration gave
    bool changes = false;              ///< while it is asked, so that answers differ
    std::vector<double> milliseconds;  ///< of every call

    double median() const;
    double largest() const;
};

/// How a call ended: 0 for success, else the code of its CIMException, -1 for another exception.
struct Outcome {
    int code = 0;
    std::string text;  ///< of the exception

    explicit operator bool() const { return code == 0; }
    /// "CIM_ERR_NOT_FOUND: text", or the text of any other exception.
    std::string describe() const;
};

/// A call that got no answer in time; the class is not asked any further.
class NoAnswer : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

/// What two answers disagree in, about an object that one of them has: a mistake, or the trace of
/// a change between them.
struct Doubt {
    const char* rule;
    std::string element;
    std::string object;
    std::string sentence;    ///< as of a finding
    bool isOfValue = false;  ///< not of the object's being there
};

/// What one round of questions brought.
class Doubts {
 public:
    void add(Doubt doubt);
    /// An answer has the object, whether there is a doubt or not.
    void see(const std::string& object) { _seen.insert(object); }

 private:
    friend class Session;
    std::map<std::string, Doubt> _all;  // by what makes each the same when it comes again
    std::set<std::string> _seen;
};

class Session {
 public:
    /// Connects. Borrows all three. `tries` is how often confirm asks again.
    Session(Access& access, const RegisteredClass& about, velmar_checks::Findings& findings,
            unsigned tries);

    /// Runs `work`, times it as `operation` of the class, and says how it ended. Throws NoAnswer.
    Outcome call(const std::string& operation, const std::function<void()>& work);
    /// The same; a failure becomes a finding.
    bool expect(const std::string& operation, const std::function<void()>& work);

    /// The same in what confirm calls, about an object: a failure becomes a doubt.
    bool expect(Doubts& doubts, const std::string& operation, const std::string& object,
                const std::function<void()>& work);

    /// Compares answers: `ask` asks, always in the same order, and says what is doubtful and which
    /// objects there are. It is called again, at growing intervals, and what a change between two
    /// questions would explain is not a finding; then the class `changes`. A doubt of a kind that
    /// was found before is a finding at once.
    void confirm(const std::function<void(Doubts&)>& ask);

    /// A finding about the class; `sentence` goes on after its name.
    void find(const std::string& rule, const std::string& element, const std::string& sentence);

    /// Whether it is one of the first few objects that this was asked of: those get all questions,
    /// and the rest those only that tell whether it is like them.
    bool isSample(const std::string& object);

    Access& access;
    const RegisteredClass& about;
    Pegasus::CIMClient client;
    ClassReport result;

 private:
    bool isKnown(const Doubt& doubt) const;

    velmar_checks::Findings& _findings;
    std::set<std::string> _samples;
    const unsigned _tries;
    std::set<std::pair<std::string, std::string>> _found;  // rules and elements
};

using velmar_embedded::utf8;
/// Class and keys, the form in which paths of different origins are compared and shown.
std::string shortText(const Pegasus::CIMObjectPath& path);

/// Paths or the paths of objects by their short texts.
template <class T>
std::map<std::string, T> byPath(const Pegasus::Array<T>& objects);

}  // namespace velmar_driver

#endif
