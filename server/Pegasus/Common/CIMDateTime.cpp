// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/ArrayInternal.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include <sys/time.h>

namespace Pegasus {

namespace {

const Sint64 SECOND = 1000000, MINUTE = 60 * SECOND, HOUR = 60 * MINUTE, DAY = 24 * HOUR;
const Sint64 MAX_INTERVAL = 100000000 * DAY - 1;

const Uint8 ALL_DIGITS = 20;  // yyyymmddhhmmssmmmmmm or ddddddddhhmmssmmmmmm

constexpr bool isLeap(Sint64 year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Days from the start of year 0 (a leap year) to the start of `year`.
constexpr Sint64 daysBefore(Sint64 year) {
    return 365 * year + (year + 3) / 4 - (year + 99) / 100 + (year + 399) / 400;
}

Sint64 daysInMonth(Sint64 year, Sint64 month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1] + (month == 2 && isLeap(year) ? 1 : 0);
}

constexpr Sint64 MAX_TIME_STAMP = daysBefore(10000) * DAY - 1;

// The digits of a value as numbers. An interval has its days in `day`, year and month stay 0.
struct Fields {
    Sint64 year, month, day, hour, minute, second, microsecond;

    Fields(Sint64 usec, bool interval) : year(0), month(0), day(usec / DAY) {
        hour = usec / HOUR % 24;
        minute = usec / MINUTE % 60;
        second = usec / SECOND % 60;
        microsecond = usec % SECOND;
        if (interval) {
            return;
        }
        year = day * 400 / daysBefore(400);
        while (daysBefore(year + 1) <= day) {
            year++;
        }
        while (daysBefore(year) > day) {
            year--;
        }
        day -= daysBefore(year);
        for (month = 1; day >= daysInMonth(year, month); month++) {
            day -= daysInMonth(year, month);
        }
        day++;
    }

    Sint64 toMicroseconds(bool interval) const {
        Sint64 days = day;
        if (!interval) {
            days += daysBefore(year) - 1;
            for (Sint64 m = 1; m < month; m++) {
                days += daysInMonth(year, m);
            }
        }
        return days * DAY + hour * HOUR + minute * MINUTE + second * SECOND + microsecond;
    }
};

// The times that a value with trailing wildcards stands for.
struct Range {
    Sint64 first, last;
};

Range rangeOf(Sint64 usec, Uint8 wildcards, bool interval) {
    if (wildcards == ALL_DIGITS) {
        return {0, interval ? MAX_INTERVAL : MAX_TIME_STAMP};
    }
    if (wildcards <= 12) {
        Sint64 unit = wildcards == 12 ? DAY : wildcards == 10 ? HOUR : wildcards == 8 ? MINUTE : 1;
        for (int digit = 0; wildcards <= 6 && digit < wildcards; digit++) {
            unit *= 10;
        }
        const Sint64 first = usec / unit * unit;
        return {first, first + unit - 1};
    }
    const Fields known(usec, false);
    const bool wholeYear = wildcards == 16;
    const Sint64 day = usec / DAY - (known.day - 1);  // the first of the month
    const Sint64 first = wholeYear ? daysBefore(known.year) : day;
    const Sint64 days =
        wholeYear ? daysBefore(known.year + 1) - first : daysInMonth(known.year, known.month);
    return {first * DAY, (first + days) * DAY - 1};
}

// Reads `n` digits; wildcards read as `unknown`.
Sint64 number(const char* p, int n, Sint64 unknown) {
    if (*p == '*') {
        return unknown;
    }
    Sint64 value = 0;
    for (; n > 0; --n, ++p) {
        value = value * 10 + (*p == '*' ? 0 : *p - '0');
    }
    return value;
}

// Counts the trailing wildcards, if they and the rest have the shape of a datetime.
Uint8 checkedWildcards(const std::string& s) {
    const bool interval = s.size() == 25 && s[21] == ':';
    if (s.size() != 25 || s[14] != '.' || (!interval && s[21] != '+' && s[21] != '-')) {
        throw InvalidDateTimeFormatException();
    }
    const std::string digits = s.substr(0, 14) + s.substr(15, 6);
    const std::size_t known = std::min(digits.find('*'), digits.size());
    if (digits.find_first_not_of("0123456789") < known ||
        digits.find_first_not_of('*', known) != std::string::npos ||
        s.find_first_not_of(interval ? "0" : "0123456789", 22) != std::string::npos) {
        throw InvalidDateTimeFormatException();
    }
    const Uint8 wildcards = Uint8(digits.size() - known);
    const bool wholeFields = wildcards <= 6 || wildcards == 8 || wildcards == 10 ||
                             wildcards == 12 || wildcards == ALL_DIGITS ||
                             (!interval && (wildcards == 14 || wildcards == 16));
    if (!wholeFields) {
        throw InvalidDateTimeFormatException();
    }
    return wildcards;
}

}  // namespace

CIMDateTime::CIMDateTime() : _usec(0), _offset(0), _sign(':'), _wildcards(0) {}
CIMDateTime::CIMDateTime(const CIMDateTime& x) = default;
CIMDateTime::~CIMDateTime() = default;
CIMDateTime& CIMDateTime::operator=(const CIMDateTime& x) = default;
CIMDateTime::CIMDateTime(const String& str) : CIMDateTime() { set(str); }

CIMDateTime::CIMDateTime(Uint64 usec, Boolean isInterval)
    : _usec(0), _offset(0), _sign(isInterval ? ':' : '+'), _wildcards(0) {
    if (usec > Uint64(isInterval ? MAX_INTERVAL : MAX_TIME_STAMP)) {
        String text;
        text.appendPrintf("%llu microseconds", usec);
        throw DateTimeOutOfRangeException(text);
    }
    _usec = Sint64(usec);
}

// Takes over a value that is the result of a calculation.
void CIMDateTime::assign(Sint64 usec, Uint8 wildcards) {
    if (usec < 0 || usec > (isInterval() ? MAX_INTERVAL : MAX_TIME_STAMP)) {
        String text;
        text.appendPrintf("%lld microseconds", usec);
        throw DateTimeOutOfRangeException(text);
    }
    _usec = rangeOf(usec, wildcards, isInterval()).first;
    _wildcards = wildcards;
}

void CIMDateTime::set(const String& str) {
    clear();
    const std::string s(static_cast<const char*>(str.getCString()));
    const Uint8 wildcards = s.size() == str.size() ? checkedWildcards(s) : checkedWildcards("");
    const bool interval = s[21] == ':';
    Fields fields(0, true);
    if (interval) {
        fields.day = number(&s[0], 8, 0);
    } else {
        fields.year = number(&s[0], 4, 0);
        fields.month = number(&s[4], 2, 1);
        fields.day = number(&s[6], 2, 1);
    }
    fields.hour = number(&s[8], 2, 0);
    fields.minute = number(&s[10], 2, 0);
    fields.second = number(&s[12], 2, 0);
    fields.microsecond = number(&s[15], 6, 0);
    const bool dayExists =
        interval || (fields.month >= 1 && fields.month <= 12 && fields.day >= 1 &&
                     fields.day <= daysInMonth(fields.year, fields.month));
    if (!dayExists || fields.hour > 23 || fields.minute > 59 || fields.second > 59) {
        throw DateTimeOutOfRangeException(str);
    }
    _usec = fields.toMicroseconds(interval);
    _sign = s[21];
    _offset = Sint16(number(&s[22], 3, 0) * (_sign == '-' ? -1 : 1));
    _wildcards = wildcards;
}

String CIMDateTime::toString() const {
    const Fields f(_usec, isInterval());
    char text[64];
    if (isInterval()) {
        std::snprintf(text, sizeof(text), "%08lld", f.day);
    } else {
        std::snprintf(text, sizeof(text), "%04lld%02lld%02lld", f.year, f.month, f.day);
    }
    std::snprintf(text + 8, sizeof(text) - 8, "%02lld%02lld%02lld.%06lld%c%03d", f.hour, f.minute,
                  f.second, f.microsecond, _sign, std::abs(_offset));
    for (int left = _wildcards, i = 20; left > 0; --i) {
        if (text[i] != '.') {
            text[i] = '*';
            --left;
        }
    }
    return String(text, 25);
}

void CIMDateTime::clear() { *this = CIMDateTime(); }

CIMDateTime CIMDateTime::getCurrentDateTime() {
    timeval now;
    gettimeofday(&now, nullptr);
    tm local;
    localtime_r(&now.tv_sec, &local);
    CIMDateTime result;
    result._offset = Sint16(local.tm_gmtoff / 60);
    result._sign = result._offset < 0 ? '-' : '+';
    result._usec = daysBefore(1970) * DAY + Sint64(now.tv_sec) * SECOND + Sint64(now.tv_usec) +
                   result._offset * MINUTE;
    return result;
}

Sint64 CIMDateTime::getDifference(CIMDateTime startTime, CIMDateTime finishTime) {
    if (startTime.isInterval() != finishTime.isInterval()) {
        throw TypeMismatchException();
    }
    return finishTime.low() - startTime.low();
}

Boolean CIMDateTime::isInterval() const { return _sign == ':'; }
Boolean CIMDateTime::isInterval() { return _sign == ':'; }

// The first and the last time that the value stands for, in UTC.
Sint64 CIMDateTime::low() const { return _usec - _offset * MINUTE; }

Sint64 CIMDateTime::high() const {
    return rangeOf(_usec, _wildcards, isInterval()).last - _offset * MINUTE;
}

Uint64 CIMDateTime::toMicroSeconds() const {
    if (low() < 0) {
        throw DateTimeOutOfRangeException(toString());
    }
    return Uint64(low());
}

CIMDateTime CIMDateTime::combined(const CIMDateTime& x, Sint64 sign) const {
    if (!x.isInterval()) {
        throw TypeMismatchException();
    }
    CIMDateTime result(*this);
    result.assign(_usec + sign * x._usec, std::max(_wildcards, x._wildcards));
    return result;
}

CIMDateTime CIMDateTime::operator+(const CIMDateTime& x) const { return combined(x, 1); }
CIMDateTime& CIMDateTime::operator+=(const CIMDateTime& x) { return *this = *this + x; }

CIMDateTime CIMDateTime::operator-(const CIMDateTime& x) const {
    if (isInterval() || x.isInterval()) {
        return combined(x, -1);
    }
    CIMDateTime result;
    result.assign(low() - x.low(), 0);
    return result;
}

CIMDateTime& CIMDateTime::operator-=(const CIMDateTime& x) { return *this = *this - x; }

CIMDateTime CIMDateTime::operator*(Uint64 n) const {
    if (!isInterval()) {
        throw TypeMismatchException();
    }
    if (_usec != 0 && n > Uint64(MAX_INTERVAL / _usec)) {
        throw DateTimeOutOfRangeException(toString());
    }
    CIMDateTime result;
    result.assign(_usec * Sint64(_usec == 0 ? 0 : n), _wildcards);
    return result;
}

CIMDateTime& CIMDateTime::operator*=(Uint64 n) { return *this = *this * n; }

CIMDateTime CIMDateTime::operator/(Uint64 n) const {
    if (!isInterval()) {
        throw TypeMismatchException();
    }
    if (n == 0) {
        throw Exception("division of an interval by zero");
    }
    CIMDateTime result;
    result.assign(Sint64(Uint64(_usec) / n), _wildcards);
    return result;
}

CIMDateTime& CIMDateTime::operator/=(Uint64 n) { return *this = *this / n; }

Uint64 CIMDateTime::operator/(const CIMDateTime& x) const {
    if (!isInterval() || !x.isInterval()) {
        throw TypeMismatchException();
    }
    if (x._usec == 0) {
        throw Exception("division by an interval of zero");
    }
    return Uint64(_usec / x._usec);
}

Boolean CIMDateTime::equal(const CIMDateTime& x) const {
    if (isInterval() != x.isInterval()) {
        throw TypeMismatchException();
    }
    return low() == x.low() && high() == x.high();
}

Boolean CIMDateTime::operator<(const CIMDateTime& x) const {
    if (isInterval() != x.isInterval()) {
        throw TypeMismatchException();
    }
    return high() < x.low();
}

Boolean CIMDateTime::operator<=(const CIMDateTime& x) const { return *this < x || equal(x); }
Boolean CIMDateTime::operator>(const CIMDateTime& x) const { return x < *this; }
Boolean CIMDateTime::operator>=(const CIMDateTime& x) const { return x <= *this; }
Boolean CIMDateTime::operator!=(const CIMDateTime& x) const { return !equal(x); }
Boolean operator==(const CIMDateTime& x, const CIMDateTime& y) { return x.equal(y); }

template class Array<CIMDateTime>;

}  // namespace Pegasus
