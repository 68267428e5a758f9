// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Common/Benchmark.h"

#include <gtest/gtest.h>

#include <regex>

#include "support/TraceFile.h"

TEST(Benchmark, LogsItsTimeLiterally) {
    velmar_remote::Benchmark watch;
    support::TraceFile trace;
    watch.start();
    const velmar_remote::Uint32 before = watch.getElapsedTime();
    watch.logElapsedTime("100%s %n");
    watch.logElapsedTime("again");
    const auto texts = trace.texts();
    ASSERT_EQ(texts.size(), 2u);
    std::smatch first, second;
    ASSERT_TRUE(std::regex_match(texts[0], first, std::regex("100%s %n took ([0-9]+) ms\\.")))
        << texts[0];
    ASSERT_TRUE(std::regex_match(texts[1], second, std::regex("again took ([0-9]+) ms\\.")));
    EXPECT_LE(before, std::stoul(first[1]));
    EXPECT_LE(std::stoul(first[1]), std::stoul(second[1]));
}

TEST(Benchmark, TheConstructorStarts) {
    velmar_remote::Benchmark watch;
    // Without a start this would count from 1970.
    EXPECT_LT(watch.getElapsedTime(), 3600u * 1000u);
}
