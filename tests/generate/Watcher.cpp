// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A watcher that hands on the changes of a device to the providers of a package, while the server
// starts, serves and stops.
#include <gtest/gtest.h>
#include <velmar_testing/ServedPackage.h>

#include <stdexcept>
#include <thread>
#include <utility>

#include "TrapProviders.h"

using namespace Pegasus;
using namespace traps;

namespace {

class Watched : public ::testing::Test {
 protected:
    Watched() { TrapWatcher::reported.clear(); }
    ~Watched() override { TrapWatcher::step = nullptr; }

    // A server with the package, linked into this test.
    struct Package : velmar_testing::ServedPackage {
        Package() : ServedPackage({{TRAPS_MOF}, {TRAPS_REGISTRATION}, {}}, PegasusCreateProvider) {}
        ~Package() override { TearDown(); }
        void TestBody() override {}
        using ServedPackage::client;
        using ServedPackage::nameSpace;
        using ServedPackage::server;
        Uint32 parts() {
            return client.enumerateInstanceNames(nameSpace, CIMName("TRAP_Part")).size();
        }
    };
};

TEST_F(Watched, ASubscriptionIsEnough) {
    std::atomic<int> parts{0};
    TrapWatcher::step = [&](TrapWatcher& watcher) {
        watcher.with<TRAP_PartProvider>([&](TRAP_PartProvider&) { parts++; });
        watcher.raise(TRAP_Alert(), TRAP_Part("a"));
    };
    Package package;
    velmar_testing::Subscriber subscriber(package.server, "TRAP_Alert");
    EXPECT_GE(subscriber.waitFor(3).size(), 3u);
    EXPECT_EQ(parts, 0);  // which no request has asked for
    package.parts();
    const size_t before = subscriber.received().size();
    subscriber.waitFor(before + 2);
    EXPECT_GT(parts, 0);
    EXPECT_TRUE(TrapWatcher::reported.empty());
}

TEST_F(Watched, WhatFailsIsReportedOnceAndGoesOn) {
    int round = 0;
    TrapWatcher::step = [&](TrapWatcher& watcher) {
        watcher.with<TRAP_PartProvider>([&](TRAP_PartProvider& parts) {
            round++;  // the watcher may step before its provider is there
            if (round < 100) {
                throw CIMException(CIM_ERR_FAILED, round % 2 == 0 ? "no answer" : "silent device");
            }
            if (round > 100) {
                parts.put(TRAP_Part("late"));
            }
        });
        watcher.with<TRAP_NamesProvider>([&](TRAP_NamesProvider&) { FAIL() << "is not there"; });
        if (round == 100) {
            throw std::runtime_error("lost device");
        }
        watcher.raise(TRAP_Alert(), TRAP_Part("a"));
    };
    Package package;
    package.parts();
    velmar_testing::Subscriber subscriber(package.server, "TRAP_Alert");
    while (package.parts() == 0) {
        subscriber.waitFor(subscriber.received().size() + 1);
    }
    const std::lock_guard<std::mutex> guard(TrapWatcher::lock);
    EXPECT_EQ(TrapWatcher::reported,
              (std::vector<std::string>{"CIM_ERR_FAILED: silent device",
                                        "CIM_ERR_FAILED: no answer", "lost device"}));
}

// Each change is on its way while the server stops: objects with links, and alerts.
TEST_F(Watched, EndsBeforeItsProviders) {
    const TRAP_Part part("p");
    const TRAP_Link link(TRAP_Types("t").path(), part.path());
    TrapWatcher::step = [&](TrapWatcher& watcher) {
        watcher.show<TRAP_PartProvider>(part, true);
        watcher.show<TRAP_LinkProvider>(link, true);
        watcher.raise(TRAP_Alert(), part);
        watcher.show<TRAP_PartProvider>(part, false);
    };
    for (int i = 0; i < 20; i++) {
        Package package;
        velmar_testing::Subscriber subscriber(package.server, "TRAP_Alert");
        package.parts();
        package.client.enumerateInstanceNames(package.nameSpace, CIMName("TRAP_Link"));
        subscriber.waitFor(2);
    }
    EXPECT_EQ(TrapWatcher::reported, std::vector<std::string>());
}

// One provider of a module ends, since its initialize failed or it was disabled: the others are
// watched for on, and none that comes misses a change.
TEST_F(Watched, GoesOnForTheOthers) {
    std::mutex lock;
    std::condition_variable changed;
    int rounds = 0;
    bool changes = false;  // the device, once
    TrapWatcher::step = [&](TrapWatcher& watcher) {
        std::unique_lock<std::mutex> guard(lock);
        rounds++;
        const bool isChange = std::exchange(changes, false);
        changed.notify_all();
        guard.unlock();
        if (isChange) {
            watcher.show<TRAP_PartProvider>(TRAP_Part("change"), true);
        }
    };
    const auto waitFor = [&](const std::function<bool()>& condition) {
        std::unique_lock<std::mutex> guard(lock);
        EXPECT_TRUE(changed.wait_for(guard, std::chrono::minutes(1), condition));
    };
    const auto waitForRound = [&] {
        waitFor([&, first = -1]() mutable {
            first = first < 0 ? rounds : first;
            return rounds > first + 1;
        });
    };
    struct Slow : TRAP_PartProvider {
        std::function<void()> reading;
        void populate() override { reading(); }
    };
    CIMOMHandle cimom;
    const auto watcher = std::make_shared<TrapWatcher>();
    CIMProvider* const first = velmar_typed::make<TRAP_NamesProvider>(watcher);
    first->initialize(cimom);
    waitForRound();
    // The device changes while each of them reads it, and the watcher comes to that change.
    const auto change = [&] {
        {
            const std::lock_guard<std::mutex> guard(lock);
            changes = true;
        }
        waitFor([&] { return !changes; });
    };
    auto* const failing = dynamic_cast<Slow*>(velmar_typed::make<Slow>(watcher));
    failing->reading = [&] {
        change();
        throw CIMException(CIM_ERR_FAILED, "not yet");
    };
    CIMProvider* const failed = failing;
    EXPECT_THROW(failed->initialize(cimom), CIMException);
    failed->terminate();
    waitForRound();
    auto* const slow = dynamic_cast<Slow*>(velmar_typed::make<Slow>(watcher));
    slow->reading = [&] {
        change();
        for (int i = 0; i < 10000; i++) {  // which takes its time
            EXPECT_TRUE(slow->all().empty());
        }
    };
    CIMProvider* const second = slow;
    second->initialize(cimom);
    first->terminate();
    waitForRound();
    EXPECT_TRUE(slow->find(TRAP_Part("change").path()).has_value());
    second->terminate();
}

}  // namespace
