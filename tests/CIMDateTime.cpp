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

TEST(CIMDateTime, KeepsItsText) {
    for (const char* form :
         {"20240229235959.999999+000", "20240229235959.999999-000", "00000101000000.000000+999",
          "99991231235959.999999-720", "19000228000000.000000+060", "20000229120000.000000+060",
          "20240229235959.99****+000", "20240229235959.******+000", "202402292359**.******-060",
          "20240229******.******+000", "202402********.******+000", "2024**********.******+000",
          "**************.******+000", "00000000000000.000000:000", "99999999235959.999999:000",
          "1234567823****.******:000", "**************.******:000"}) {
        const CIMDateTime d{String(form)};
        EXPECT_EQ(form, text(d));
        EXPECT_EQ(form[21] == ':', d.isInterval());
        EXPECT_TRUE(d == CIMDateTime(String(form)));
    }
}

TEST(CIMDateTime, RefusesWhatIsNone) {
    for (const char* form :
         {"", "20240229235959.999999+00", "20240229235959.999999+0000", "20240229235959,999999+000",
          "20240229235959.999999 000", "20240229235959.999999:001", "2024022923595x.999999+000",
          "20240229235959.999999+0*0", "2024022923595*.******+000", "202402292359**.999999+000",
          "20240229235959.9*9999+000", "2024**29235959.999999+000", "202*0229235959.999999+000",
          "1234****235959.999999:000", "12******000000.000000:000", "12345678235959.999999:***",
          "-0240229235959.999999+000", "20240229235959.99999\xc3\xa9+00"}) {
        CIMDateTime d(5, true);
        EXPECT_THROW(d.set(form), InvalidDateTimeFormatException) << form;
        EXPECT_EQ("00000000000000.000005:000", text(d));
    }
    for (const char* form :
         {"20230229000000.000000+000", "19000229000000.000000+000", "20241301000000.000000+000",
          "20240001000000.000000+000", "20240100000000.000000+000", "20240431000000.000000+000",
          "20240101240000.000000+000", "20240101006000.000000+000", "20240101000060.000000+000",
          "2024013224****.******+000", "00000000240000.000000:000", "00000000006000.000000:000",
          "00000000000060.000000:000"})
        EXPECT_THROW(CIMDateTime{String(form)}, DateTimeOutOfRangeException) << form;
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
        {"2024**********.******+000", "20250101000000.000000+000", -1},
        {"20240101000000.12****+000", "20240101000000.130000+000", -1},
    };
    for (const auto& row : rows) {
        const std::string a(row.x), b(row.y);
        const CIMDateTime x{String(row.x)}, y{String(row.y)};
        EXPECT_EQ(row.order == -1, x < y) << a << b;
        EXPECT_EQ(row.order == 1, x > y) << a << b;
        EXPECT_EQ(row.order == 0, x == y) << a << b;
        EXPECT_EQ(row.order != 0, x != y) << a << b;
        EXPECT_EQ(row.order == -1 || row.order == 0, x <= y) << a << b;
        EXPECT_EQ(row.order == 1 || row.order == 0, x >= y) << a << b;
    }
    const CIMDateTime interval, stamp(0, false);
    EXPECT_THROW((void)(interval == stamp), TypeMismatchException);
    EXPECT_THROW((void)(interval < stamp), TypeMismatchException);
    EXPECT_THROW(CIMDateTime::getDifference(stamp, interval), TypeMismatchException);
}

TEST(CIMDateTime, Calculates) {
    const CIMDateTime newYear(String("20240101000000.000000+060"));
    const CIMDateTime second(1000000, true), day(86400000000ULL, true);
    EXPECT_EQ("20231231235959.000000+060", text(newYear - second));
    EXPECT_EQ("20240301000000.000000+060", text(newYear + day * 60));
    EXPECT_EQ("00000001000001.000000:000", text(day + second));
    EXPECT_EQ("00000000235959.000000:000", text(day - second));
    EXPECT_EQ("00000000120000.000000:000", text(day / 2));
    EXPECT_EQ(86400u, day / second);
    EXPECT_EQ("00000365230000.000000:000", text(CIMDateTime(String("20250101000000.000000+000")) -
                                                newYear - CIMDateTime(7200000000ULL, true)));
    EXPECT_EQ("202403********.******+000",
              text(CIMDateTime(String("202402********.******+000")) + day * 29));
    EXPECT_EQ(-1000000, CIMDateTime::getDifference(newYear, newYear - second));

    EXPECT_THROW(second - day, DateTimeOutOfRangeException);
    EXPECT_THROW(day * 100000000, DateTimeOutOfRangeException);
    EXPECT_THROW(day * 0xFFFFFFFFFFFFFFFFULL, DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime(String("99991231235959.999999+000")) + second,
                 DateTimeOutOfRangeException);
    EXPECT_THROW(day / 0, Exception);
    EXPECT_THROW(second / CIMDateTime(), Exception);
    EXPECT_THROW(newYear + newYear, TypeMismatchException);
    EXPECT_THROW(day - newYear, TypeMismatchException);
    EXPECT_THROW(newYear * 2, TypeMismatchException);
}

TEST(CIMDateTime, EveryDayOfTheCalendar) {
    const CIMDateTime day(86400000000ULL, true);
    CIMDateTime d(String("18991231120000.000000+000"));
    int year = 1899, month = 12, date = 31;
    for (int i = 0; i < 2 * 146097; i++) {
        char expected[32];
        std::snprintf(expected, sizeof(expected), "%04d%02d%02d", year, month, date);
        ASSERT_EQ(expected, text(d).substr(0, 8));
        ASSERT_TRUE(CIMDateTime(d.toString()) == d);
        const int days[] = {31, year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28,
                            31, 30,
                            31, 30,
                            31, 31,
                            30, 31,
                            30, 31};
        if (++date > days[month - 1]) {
            date = 1;
            if (++month > 12) {
                month = 1;
                year++;
            }
        }
        d += day;
    }
}

TEST(CIMDateTime, MicrosecondsCountFromYearZero) {
    EXPECT_EQ(0u, CIMDateTime(String("00000101010000.000000+060")).toMicroSeconds());
    EXPECT_EQ("00010101000000.000000+000", text(CIMDateTime(366 * 86400000000ULL, false)));
    EXPECT_EQ(90000001u, CIMDateTime(String("00000000000130.000001:000")).toMicroSeconds());
    EXPECT_THROW(CIMDateTime(String("00000101000000.000000+001")).toMicroSeconds(),
                 DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime(~0ULL, true), DateTimeOutOfRangeException);
    EXPECT_THROW(CIMDateTime(~0ULL, false), DateTimeOutOfRangeException);
}

TEST(CIMDateTime, CurrentTimeIsLocalWithOffset) {
    setenv("TZ", "TST+3:30", 1);  // 210 minutes west of Greenwich
    tzset();
    const Uint64 before = System::getCurrentTimeUsec();
    const CIMDateTime now = CIMDateTime::getCurrentDateTime();
    const Uint64 after = System::getCurrentTimeUsec();
    EXPECT_EQ("-210", text(now).substr(21));
    const CIMDateTime epoch(String("19700101000000.000000+000"));
    const Sint64 since = CIMDateTime::getDifference(epoch, now);
    EXPECT_LE(Sint64(before), since);
    EXPECT_LE(since, Sint64(after));
}

}  // namespace
