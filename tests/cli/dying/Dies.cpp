// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider that ends its process, or does not let it end, in the way that DIES names.
#include <Common/InstanceMethodProvider.h>
#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/Exception.h>
#include <signal.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Pegasus;

namespace {

bool is(const char* way) { return std::string(getenv("DIES")) == way; }

[[noreturn]] void block() {
    for (;;) {
        pause();
    }
}

int recurse(const volatile char* caller) {
    volatile char frame[1000] = {};
    frame[0] = *caller;
    return *caller == 0 ? 0 : recurse(frame) + frame[0];
}

// A frame of its own, whatever the optimisation.
__attribute__((noinline)) void die() {
    if (is("null")) {
        CIMClient client;  // whose call is a later one, of another thread
        client.connectLocal();
        client.enumerateInstanceNames("root/velmar_remote", "DIES_Thing");
        if (raise(SIGSEGV) != 0) {  // what follows keeps this frame
            block();
        }
    } else if (is("heap")) {
        // The list of what is free is broken, and the heap is locked when malloc comes upon it.
        void* const first = malloc(5000);
        void* volatile second = malloc(5000);
        volatile uintptr_t* volatile links = static_cast<uintptr_t*>(first);
        free(first);
        links[0] = links[1] = 8;
        void* volatile third = malloc(9000);
        free(third);
        free(second);
    } else if (is("child")) {
        const pid_t child = fork();
        if (child == 0) {
            exit(0);
        }
        int status = 1;
        waitpid(child, &status, 0);
        if (status != 0) {
            _exit(3);
        }
    } else if (is("recursion")) {
        const volatile char start = 1;
        recurse(&start);
    } else if (is("exit")) {
        exit(0);
    } else if (is("_exit")) {
        _exit(0);
    } else if (is("quick_exit")) {
        quick_exit(0);
    } else if (is("close")) {
        for (int file = 0; file < 100; file++) {
            close(file);
        }
    } else if (is("thread")) {
        std::thread([] { throw CIMException(CIM_ERR_ACCESS_DENIED, "on its own thread"); }).join();
    } else if (is("memory")) {
        const rlimit limit = {1 << 30, 1 << 30};
        setrlimit(RLIMIT_AS, &limit);
        std::thread([] { std::vector<char> all(size_t(1) << 40); }).join();
    } else if (is("kill")) {
        raise(SIGKILL);
    }
}

class Dying : public velmar_remote::InstanceMethodProvider {
 public:
    Dying() : InstanceMethodProvider("DIES_Thing") {}
    ~Dying() override {
        if (is("destructor blocks")) {
            block();
        }
    }

    void initialize(CIMOMHandle& cimom) override {
        if (is("late")) {  // when the module is closed
            on_exit([](int, void*) {}, nullptr);
        }
        if (is("initialize throws")) {
            throw std::runtime_error("none");
        }
        InstanceMethodProvider::initialize(cimom);
        CIMInstance thing(CIMName("DIES_Thing"));
        thing.addProperty(CIMProperty(CIMName("Name"), CIMValue(String("one"))));
        Array<CIMKeyBinding> keys;
        keys.append(CIMKeyBinding(CIMName("Name"), CIMValue(String("one"))));
        thing.setPath(CIMObjectPath(String(), "root/velmar_remote", "DIES_Thing", keys));
        _cache.insert(thing);
    }
    void terminate() override {
        if (is("terminate throws")) {
            throw std::runtime_error("in terminate");
        }
        if (is("terminate blocks")) {
            block();
        }
        InstanceMethodProvider::terminate();
    }

 protected:
    using InstanceMethodProvider::fillProperties;
    void fillProperties(const OperationContext&, Array<CIMInstance>&,
                        const CIMPropertyList&) override {
        if (is("slow")) {
            std::this_thread::sleep_for(std::chrono::seconds(3));
        }
        die();
    }
    CIMValue callMethod(const OperationContext&, const CIMInstance&, const CIMName&,
                        const Array<CIMParamValue>&, Array<CIMParamValue>&) override {
        throw std::runtime_error("in the method");
    }
};

}  // namespace

extern "C" PEGASUS_EXPORT CIMProvider* PegasusCreateProvider(const String&) { return new Dying; }
