// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/System.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

using namespace Pegasus;

namespace {

std::string text(const CIMDateTime& d) {
    return static_cast<const char*>(d.toString().getCString());
}
CIMDateTime time(const char* form) { return CIMDateTime(String(form)); }

TEST(CIMDateTime, KeepsItsTextAndRefusesOther) {
    for (const char* form :
         {"20240229235959.999999-000", "00000101000000.000000+999", "20240229235959.99****+000",
          "20240229235959.******+000", "202402292359**.******-060", "20240229******.******+000",
          "202402********.******+000", "2024**********.******+000", "**************.******+000",
          "99999999235959.999999:000", "**************.******:000"}) {
        EXPECT_EQ(form, text(time(form)));
        EXPECT_EQ(form[21] == ':', time(form).isInterval());
    }
    for (const char* form :
         {"", "20240229235959.999999+00", "20240229235959.999999+0000", "20240229235959.999999 000",
          "20240229235959.999999:001", "20240229235959.999999+0*0", "2024022923595*.******+000",
          "20240229235959.9*9999+000", "202*0229235959.999999+000", "1234****235959.999999:000",
          "20240229235959.99999\xc3\xa9+00"}) {
        CIMDateTime d(5, true);
        EXPECT_THROW(d.set(form), InvalidDateTimeFormatException) << form;
        EXPECT_EQ("00000000000000.000000:000", text(d)) << "nothing of the old value";
        EXPECT_EQ(0u, d.toMicroSeconds());
    }
    for (const char* form :
         {"19000229000000.000000+000", "20240001000000.000000+000", "20240101006000.000000+000",
          "20241301000000.000000+000", "20240100000000.000000+000", "20240101240000.000000+000",
          "20240101000060.000000+000", "00000000240000.000000:000"}) {
        EXPECT_THROW(time(form), DateTimeOutOfRangeException) << form;
    }
}

TEST(CIMDateTime, Compares) {
    const struct {
        const char *x, *y;
        int order;  // of x and y; 2: neither less nor equal
    } rows[] = {
        {"20240101120000.000000+060", "20240101110000.000000+000", 0},
        {"20240101120000.000000-060", "20240101125959.999999+000", 1},
        {"20240101000000.000000+060", "20231231230000.000001+000", -1},
        {"00000000000059.999999:000", "00000000000100.000000:000", -1},
        {"202402********.******+000", "20240301000000.000000+000", -1},
        {"202402********.******+000", "20240229235959.999999+000", 2},
        {"20240101000000.12****+000", "20240101000000.130000+000", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.x) + " and " + row.y);
        const CIMDateTime x = time(row.x), y = time(row.y);
        EXPECT_EQ(row.order == -1, x < y);
        EXPECT_EQ(row.order == 0, x == y);
        EXPECT_EQ(row.order == -1 || row.order == 0, x <= y);
    }
    const CIMDateTime interval, stamp(0, false);
    EXPECT_THROW((void)(interval < stamp), TypeMismatchException);
    EXPECT_THROW(CIMDateTime::getDifference(stamp, interval), TypeMismatchException);
}

TEST(CIMDateTime, Calculates) {
    const CIMDateTime newYear = time("20240101000000.000000+060");
    const CIMDateTime second(1000000, true), day(86400000000ULL, true);
    const std::pair<CIMDateTime, const char*> rows[] = {
        {newYear - second, "20231231235959.000000+060"},
        {newYear + day * 60, "20240301000000.000000+060"},
        {day - second, "00000000235959.000000:000"},
        {day / 2, "00000000120000.000000:000"},
        {time("20250101000000.000000+000") - newYear, "00000366010000.000000:000"},
        {time("202402********.******+000") + day * 29, "202403********.******+000"},
        {CIMDateTime(366 * 86400000000ULL, false), "00010101000000.000000+000"},
    };
    for (const auto& [result, expected] : rows) {
        EXPECT_EQ(expected, text(result));
    }
    EXPECT_EQ(86400u, day / second);
    EXPECT_EQ(-1000000, CIMDateTime::getDifference(newYear, newYear - second));
    EXPECT_EQ(0u, time("00000101010000.000000+060").toMicroSeconds());

    EXPECT_THROW(time("00000101000000.000000+001").toMicroSeconds(), DateTimeOutOfRangeException);
    EXPECT_THROW(second - day, DateTimeOutOfRangeException);
    EXPECT_THROW(day * 0xFFFFFFFFFFFFFFFFULL, DateTimeOutOfRangeException);
    EXPECT_THROW(time("99991231235959.999999+000") + second, DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime(~0ULL, true), DateTimeOutOfRangeException);
    EXPECT_THROW(newYear * 2, TypeMismatchException);
    EXPECT_THROW(day / 0, Exception);
    EXPECT_THROW(second / CIMDateTime(), Exception);
    EXPECT_THROW(day - newYear, TypeMismatchException);
}

TEST(CIMDateTime, EveryDayOfTheCalendar) {
    CIMDateTime d = time("18991231120000.000000+000");
    const time_t first = -2209032000;  // the same
    for (time_t i = 0; i < 2 * 146097; i++) {
        const time_t seconds = first + i * 86400;
        tm fields;
        char expected[32];
        std::strftime(expected, sizeof(expected), "%Y%m%d120000.000000+000",
                      gmtime_r(&seconds, &fields));
        ASSERT_EQ(expected, text(d));
        ASSERT_TRUE(time(expected) == d);
        d += CIMDateTime(86400000000ULL, true);
    }
}

TEST(CIMDateTime, CurrentTimeIsLocalWithOffset) {
    setenv("TZ", "TST+3:30", 1);  // 210 minutes west of Greenwich
    tzset();
    const Uint64 before = System::getCurrentTimeUsec();
    const CIMDateTime now = CIMDateTime::getCurrentDateTime();
    const Uint64 after = System::getCurrentTimeUsec();
    EXPECT_EQ("-210", text(now).substr(21));
    const Sint64 since = CIMDateTime::getDifference(time("19700101000000.000000+000"), now);
    EXPECT_LE(Sint64(before), since);
    EXPECT_LE(since, Sint64(after));
}

}  // namespace
