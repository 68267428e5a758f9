// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// velmar ask: one CIM operation (DMTF DSP0200), of a package in this process or of a server.
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>

#include "AskArguments.h"
#include "AskOutput.h"
#include "Commands.h"
#include "Target.h"
#include "Watch.h"
#include "checks/Wording.h"
#include "model/Text.h"

using namespace Pegasus;
using velmar_checks::Declared;
using velmar_embedded::utf8;

namespace velmar_cli {

namespace {

struct AskOptions {
    Package package;
    std::vector<std::string> words;
    Login login;
    std::string associationClass, resultClass, role, resultRole;
    WatchOptions seen;
    bool isMof = false;
    bool isJson = false;

    Format format() const { return isJson ? Format::Json : isMof ? Format::Mof : Format::Table; }
};

// An operation at work: its words after the verb.
struct Question {
    CIMClient& client;
    const AskArguments& ask;
    const AskOptions& options;
    const std::vector<std::string> words;

    const CIMNamespaceName& ns() const { return ask.nameSpace(); }
    CIMName className() const { return CIMName(ask.factsOf(words[0])->name().c_str()); }
    CIMName name(const std::string& text) const {
        return text.empty() ? CIMName() : CIMName(text.c_str());
    }
    template <class Answer>
    std::string show(const Answer& answer) const {
        return shown(answer, options.format());
    }
    std::string show(const Array<CIMInstance>& instances) const;
};

size_t columns() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string Question::show(const Array<CIMInstance>& instances) const {
    return shown(instances, options.format(), columns());
}

// The classes of objects are left out: an association links instances.
Array<CIMInstance> instancesOf(const Array<CIMObject>& objects) {
    Array<CIMInstance> instances;
    for (Uint32 i = 0; i < objects.size(); i++) {
        if (objects[i].isInstance()) {
            instances.append(CIMInstance(objects[i]));
        }
    }
    return instances;
}

// NAME=VALUE words as properties of a new instance.
CIMInstance withProperties(const Question& q, const std::string& className) {
    return q.ask.newInstance(className, {q.words.begin() + 1, q.words.end()});
}

std::string create(const Question& q) {
    return q.show(
        Array<CIMObjectPath>(1, q.client.createInstance(q.ns(), withProperties(q, q.words[0]))));
}

std::string modify(const Question& q) {
    const CIMObjectPath path = q.ask.instance(q.words[0]);
    CIMInstance changed = withProperties(q, utf8(path.getClassName()));
    Array<CIMName> names;
    for (Uint32 i = 0; i < changed.getPropertyCount(); i++) {
        names.append(changed.getProperty(i).getName());
    }
    changed.setPath(path);
    q.client.modifyInstance(q.ns(), changed, false, CIMPropertyList(names));
    return "";
}

std::string invoke(const Question& q) {
    const bool isClass = q.words[0].find('.') == std::string::npos;
    const velmar_checks::Facts facts =
        q.ask.factsOf(isClass ? q.words[0] : utf8(q.ask.instance(q.words[0]).getClassName()));
    const velmar_checks::MethodFacts* const method =
        CIMName::legal(q.words[1].c_str()) ? facts->method(CIMName(q.words[1].c_str())) : nullptr;
    if (method == nullptr) {
        const std::string near = velmar_checks::didYouMean(q.words[1], facts->methodNames());
        throw UsageError(
            fmt::format("class {} has no method {}{}", facts->name(), q.words[1],
                        !near.empty() || facts->methodNames().empty()
                            ? near
                            : "; it has " + velmar_checks::listing(facts->methodNames())));
    }
    Array<CIMParamValue> in, out;
    for (size_t i = 2; i < q.words.size(); i++) {
        const Declared* declared = nullptr;
        const CIMValue value =
            q.ask.value(q.words[i], method->parameters, "method " + q.words[1], declared);
        in.append(CIMParamValue(declared->name.getString(), value));
    }
    const CIMObjectPath path = isClass && method->isStatic
                                   ? CIMObjectPath(String(), CIMNamespaceName(), q.className())
                                   : q.ask.instance(q.words[0]);
    const CIMValue result = q.client.invokeMethod(q.ns(), path, method->result.name, in, out);
    return shown(result, out, q.options.format());
}

struct Operation {
    const char* name;
    const char* arguments;
    size_t least, most;  ///< words after the name
    std::string (*run)(const Question& q);
};

constexpr size_t ANY = size_t(-1);

const Operation operations[] = {
    {"ei", "CLASS", 1, 1,
     [](const Question& q) {
         return q.show(q.client.enumerateInstances(q.ns(), q.className(), true, false));
     }},
    {"ni", "CLASS", 1, 1,
     [](const Question& q) {
         return q.show(q.client.enumerateInstanceNames(q.ns(), q.className()));
     }},
    {"gi", "OBJECT", 1, 1,
     [](const Question& q) {
         const CIMObjectPath path = q.ask.instance(q.words[0]);
         CIMInstance instance = q.client.getInstance(q.ns(), path, false);
         instance.setPath(path);
         return q.show(Array<CIMInstance>(1, instance));
     }},
    {"ci", "CLASS NAME=VALUE ...", 1, ANY, create},
    {"mi", "OBJECT NAME=VALUE ...", 2, ANY, modify},
    {"di", "OBJECT", 1, 1,
     [](const Question& q) {
         q.client.deleteInstance(q.ns(), q.ask.instance(q.words[0]));
         return std::string();
     }},
    {"a", "OBJECT", 1, 1,
     [](const Question& q) {
         return q.show(instancesOf(q.client.associators(
             q.ns(), q.ask.instance(q.words[0]), q.name(q.options.associationClass),
             q.name(q.options.resultClass), q.options.role.c_str(), q.options.resultRole.c_str())));
     }},
    {"an", "OBJECT", 1, 1,
     [](const Question& q) {
         return q.show(q.client.associatorNames(
             q.ns(), q.ask.instance(q.words[0]), q.name(q.options.associationClass),
             q.name(q.options.resultClass), q.options.role.c_str(), q.options.resultRole.c_str()));
     }},
    {"r", "OBJECT", 1, 1,
     [](const Question& q) {
         return q.show(instancesOf(q.client.references(q.ns(), q.ask.instance(q.words[0]),
                                                       q.name(q.options.resultClass),
                                                       q.options.role.c_str())));
     }},
    {"rn", "OBJECT", 1, 1,
     [](const Question& q) {
         return q.show(q.client.referenceNames(q.ns(), q.ask.instance(q.words[0]),
                                               q.name(q.options.resultClass),
                                               q.options.role.c_str()));
     }},
    {"im", "OBJECT METHOD [NAME=VALUE ...]", 2, ANY, invoke},
    {"gc", "CLASS", 1, 1,
     [](const Question& q) {
         return q.show(Array<CIMClass>(1, q.client.getClass(q.ns(), q.className(), false)));
     }},
    {"ec", "[CLASS]", 0, 1,
     [](const Question& q) {
         return q.show(q.client.enumerateClasses(
             q.ns(), q.words.empty() ? CIMName() : q.className(), true, true));
     }},
    {"nc", "[CLASS]", 0, 1,
     [](const Question& q) {
         return q.show(q.client.enumerateClassNames(
             q.ns(), q.words.empty() ? CIMName() : q.className(), true));
     }},
};

const Operation* find(const std::string& name) {
    for (const Operation& operation : operations) {
        if (operation.name == name) {
            return &operation;
        }
    }
    return nullptr;
}

const Operation& operationOf(const std::vector<std::string>& words) {
    if (words.empty()) {
        throw UsageError("an operation is missing; velmar ask --help lists them");
    }
    const Operation* const operation = find(words[0]);
    if (operation == nullptr) {
        std::vector<std::string> names;
        for (const Operation& one : operations) {
            names.push_back(one.name);
        }
        throw UsageError(fmt::format("{}: is neither a package nor an operation ({})", words[0],
                                     fmt::join(names, ", ")));
    }
    const size_t count = words.size() - 1;
    if (count < operation->least || count > operation->most) {
        throw UsageError(fmt::format("expected velmar ask [PACKAGE|URL] {} {}", operation->name,
                                     operation->arguments));
    }
    return *operation;
}

ExitCode ask(const AskOptions& options, CIMClient& client, const Operation& operation,
             std::vector<std::string> words) {
    const AskArguments arguments(client, CIMNamespaceName(options.package.nameSpace.c_str()));
    words.erase(words.begin());
    try {
        const std::string answer = operation.run({client, arguments, options, words});
        fmt::print("{}", answer);
        if (answer.empty() && std::string(operation.name).find_first_of("cdm") != 0) {
            fmt::print(stderr, "velmar: nothing found\n");
        }
        return Good;
    } catch (const CIMException& e) {
        fmt::print(stderr, "velmar: {}\n", utf8(e.getMessage()));
        return Findings;
    }
}

// Providers raise alerts only for those who want them.
void subscribe(velmar_embedded::Server& server, const std::string& nameSpace) {
    try {
        server.subscribe("SELECT * FROM CIM_Indication", {nameSpace}, [](const auto&) {});
    } catch (const CIMException&) {  // nothing there raises alerts
    }
}

ExitCode run(AskOptions& options) {
    std::vector<std::string> words = options.words;
    std::string target = ".";
    if (!words.empty() && find(words[0]) == nullptr &&
        (isUrl(words[0]) || std::filesystem::exists(words[0]))) {
        target = words[0];
        words.erase(words.begin());
    }
    const Operation& operation = operationOf(words);
    CIMClient client;
    if (isUrl(target)) {
        if (options.seen.wantJournal() || !options.seen.faults.empty()) {
            throw UsageError(
                target +
                " runs elsewhere: --explain, --trace, --svg and --fault need a package, which runs "
                "in this process");
        }
        connectTo(client, target, options.login);
        return ask(options, client, operation, words);
    }
    options.package.folder = target;
    options.package.resolve();
    static LastCall last;
    watchForCrashes(last);
    const bool isAboutClasses = operation.name[1] == 'c';
    std::atomic<bool> isAsking{false};
    Watcher watcher(options.seen, [&](const velmar_embedded::Event& root) {
        // Names and types of the arguments are looked up, too.
        const bool isLookup =
            root.events.empty() && root.step.operation.find("Class") != std::string::npos;
        return !isAsking || (isLookup && !isAboutClasses);
    });
    velmar_embedded::ServerOptions server;
    server.observer = &watcher;
    server.checks = false;  // velmar check says what is wrong
    velmar_embedded::Server running(server);
    options.package.load(running);
    running.start();
    client.connectLocal();
    if (options.seen.wantJournal()) {
        subscribe(running, options.package.nameSpace);
    }
    options.seen.disturb(running);
    isAsking = true;
    const ExitCode code = ask(options, client, operation, words);
    running.drain();
    isAsking = false;
    client.disconnect();
    running.stop();
    return code;
}

std::string help() {
    std::string text = "Operations:\n";
    for (const Operation& one : operations) {
        text += fmt::format("  {} {}\n", one.name, one.arguments);
    }
    return text +
           "\nAn OBJECT is CLASS.KEY=VALUE,... or a class that has one instance.\n\n"
           "Examples:\n"
           "  velmar ask fans ei EX_Fan\n"
           "  velmar ask fans im EX_Fan.Name=front SetSpeed Speed=3\n"
           "  velmar ask http://localhost:5988 -n root/cimv2 gc CIM_ManagedElement";
}

}  // namespace

void addAsk(CLI::App& app, Run& run) {
    auto* const command = app.add_subcommand(
        "ask", "Makes one CIM operation, of a package or of a server that is running");
    const auto arguments = std::make_shared<AskOptions>();
    arguments->package.needs = Needs::Model;
    command
        ->add_option("words", arguments->words,
                     "Folder or MOF file (.), or http(s)://HOST:PORT; the operation; its arguments")
        ->type_name("[PACKAGE|URL] OPERATION");
    command->add_option("-n,--namespace", arguments->package.nameSpace, "Namespace of the classes")
        ->capture_default_str();
    command->add_option("--assoc-class", arguments->associationClass,
                        "Of a and an: the association's class");
    command->add_option("--result-class", arguments->resultClass,
                        "Of a, an, r and rn: the class of what is given");
    command->add_option("--role", arguments->role, "Of a, an, r and rn: the object's own role");
    command->add_option("--result-role", arguments->resultRole, "Of a and an: the far end's role");
    arguments->login.addOptions(*command);
    arguments->seen.addOptions(*command);
    command->add_flag("--mof", arguments->isMof, "Print MOF");
    command->add_flag("--json", arguments->isJson, "Print JSON");
    command->footer(help());
    command->callback(
        [&run, arguments] { run = [arguments] { return velmar_cli::run(*arguments); }; });
}

}  // namespace velmar_cli
