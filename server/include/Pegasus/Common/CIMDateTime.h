// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Time stamps and intervals (DSP0004 datetime).
//
// Value class; distinct objects may be used on distinct threads.
#ifndef Pegasus_CIMDateTime_h
#define Pegasus_CIMDateTime_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

/// A value with wildcards stands for the range of times that its known fields leave open: two are
/// equal if their ranges are, and one is less if its range ends before the other's begins.
class PEGASUS_EXPORT CIMDateTime {
 public:
    /// The zero interval.
    CIMDateTime();
    CIMDateTime(const CIMDateTime& x);
    /// `yyyymmddhhmmss.mmmmmmsutc` or `ddddddddhhmmss.mmmmmm:000`, trailing fields may be `*`.
    /// Another shape throws InvalidDateTimeFormatException, a field out of its range
    /// DateTimeOutOfRangeException.
    CIMDateTime(const String& str);
    /// Microseconds; those of a time stamp count from the start of year 0, UTC. More than the
    /// text form holds throws DateTimeOutOfRangeException.
    CIMDateTime(Uint64 usec, Boolean isInterval);
    ~CIMDateTime();
    CIMDateTime& operator=(const CIMDateTime& x);

    String toString() const;
    /// As the constructor; leaves the zero interval when it throws.
    void set(const String& str);
    /// Makes this the zero interval.
    void clear();
    /// Local time with microseconds and the local offset from UTC.
    static CIMDateTime getCurrentDateTime();
    /// Finish minus start in microseconds. TypeMismatchException for a time stamp and an interval.
    static Sint64 getDifference(CIMDateTime startTime, CIMDateTime finishTime);

    Boolean isInterval() const;
    Boolean isInterval();
    Boolean equal(const CIMDateTime& x) const;
    /// Wildcards count as the lowest value they stand for; time stamps count from the start of
    /// year 0, UTC. A time before that throws DateTimeOutOfRangeException.
    Uint64 toMicroSeconds() const;

    // Time stamps take and give intervals, intervals combine with intervals and numbers; the
    // wrong kind throws TypeMismatchException, a result that has no text form (below zero too)
    // DateTimeOutOfRangeException, division by zero Exception.
    CIMDateTime operator+(const CIMDateTime& x) const;
    CIMDateTime& operator+=(const CIMDateTime& x);
    CIMDateTime operator-(const CIMDateTime& x) const;
    CIMDateTime& operator-=(const CIMDateTime& x);
    CIMDateTime operator*(Uint64 n) const;
    CIMDateTime& operator*=(Uint64 n);
    CIMDateTime operator/(Uint64 n) const;
    CIMDateTime& operator/=(Uint64 n);
    Uint64 operator/(const CIMDateTime& x) const;

    // Comparing a time stamp with an interval throws TypeMismatchException.
    Boolean operator<(const CIMDateTime& x) const;
    Boolean operator<=(const CIMDateTime& x) const;
    Boolean operator>(const CIMDateTime& x) const;
    Boolean operator>=(const CIMDateTime& x) const;
    Boolean operator!=(const CIMDateTime& x) const;

 private:
    CIMDateTime combined(const CIMDateTime& x, Sint64 sign) const;
    void assign(Sint64 usec, Uint8 wildcards);
    Sint64 low() const;
    Sint64 high() const;

    Sint64 _usec;      // the known fields, as written: before the offset is taken off
    Sint16 _offset;    // minutes east of UTC
    char _sign;        // '+' or '-', ':' for an interval; keeps "-000" as it was written
    Uint8 _wildcards;  // how many of the 20 digits are unknown
};

PEGASUS_EXPORT Boolean operator==(const CIMDateTime& x, const CIMDateTime& y);

extern template class Array<CIMDateTime>;

}  // namespace Pegasus

#endif
