// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/System.h>

#include <chrono>
#include <climits>
#include <mutex>
#include <thread>

#include <netdb.h>
#include <sys/time.h>
#include <unistd.h>

namespace Pegasus {

namespace {

// Reachable until the process ends: providers may ask for names in their destructors.
struct Names {
    std::mutex lock;
    std::mutex resolving;  // taken before `lock`, which is free while a name is resolved
    String host;
    String fullyQualified;

    String get(const String Names::*name) {
        const std::lock_guard<std::mutex> guard(lock);
        return this->*name;
    }
    /// Keeps `found` unless there is a name already.
    String keep(String Names::*name, const String& found) {
        const std::lock_guard<std::mutex> guard(lock);
        if ((this->*name).size() == 0) {
            this->*name = found;
        }
        return this->*name;
    }
};

Names& names() {
    static Names& all = *new Names;
    return all;
}

String systemHostName() {
    char name[HOST_NAME_MAX + 1] = "";
    gethostname(name, sizeof(name) - 1);
    return String(name);
}

}  // namespace

void System::getCurrentTime(Uint32& seconds, Uint32& milliseconds) {
    getCurrentTimeUsec(seconds, milliseconds);
    milliseconds /= 1000;
}

void System::getCurrentTimeUsec(Uint32& seconds, Uint32& microseconds) {
    timeval now;
    gettimeofday(&now, nullptr);
    seconds = Uint32(now.tv_sec);
    microseconds = Uint32(now.tv_usec);
}

Uint64 System::getCurrentTimeUsec() {
    timeval now;
    gettimeofday(&now, nullptr);
    return Uint64(now.tv_sec) * 1000000 + Uint64(now.tv_usec);
}

String System::getHostName() {
    const String known = names().get(&Names::host);
    return known.size() > 0 ? known : names().keep(&Names::host, systemHostName());
}

String System::getFullyQualifiedHostName() {
    Names& all = names();
    String known = all.get(&Names::fullyQualified);
    if (known.size() > 0) {
        return known;
    }
    const std::lock_guard<std::mutex> guard(all.resolving);
    known = all.get(&Names::fullyQualified);
    if (known.size() > 0) {
        return known;
    }
    const String plain = systemHostName();
    const hostent* entry = gethostbyname(plain.getCString());
    return all.keep(&Names::fullyQualified, entry ? String(entry->h_name) : plain);
}

String System::getSystemCreationClassName() { return "CIM_ComputerSystem"; }

void System::setHostName(const String& name) {
    Names& all = names();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.host = name;
}

void System::setFullyQualifiedHostName(const String& name) {
    Names& all = names();
    const std::lock_guard<std::mutex> guard(all.lock);
    all.fullyQualified = name;
}

Uint32 System::getPID() { return Uint32(getpid()); }

void System::sleep(Uint32 seconds) { std::this_thread::sleep_for(std::chrono::seconds(seconds)); }

}  // namespace Pegasus
