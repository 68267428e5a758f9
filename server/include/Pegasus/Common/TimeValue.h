// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A time in seconds and microseconds.
#ifndef Pegasus_TimeValue_h
#define Pegasus_TimeValue_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/System.h>

namespace Pegasus {

class TimeValue {
 public:
    TimeValue() : _seconds(0), _microseconds(0) {}
    TimeValue(Uint32 seconds, Uint32 microseconds)
        : _seconds(seconds), _microseconds(microseconds) {}
    Uint32 getSeconds() const { return _seconds; }
    void setSeconds(Uint32 seconds) { _seconds = seconds; }
    Uint32 getMicroseconds() const { return _microseconds; }
    void setMicroseconds(Uint32 microseconds) { _microseconds = microseconds; }
    Uint64 toMicroseconds() const { return Uint64(_seconds) * 1000000 + _microseconds; }
    void fromMilliseconds(Uint64 milliseconds) {
        _seconds = Uint32(milliseconds / 1000);
        _microseconds = Uint32(milliseconds % 1000) * 1000;
    }
    Uint64 toMilliseconds() const { return Uint64(_seconds) * 1000 + _microseconds / 1000; }
    static TimeValue getCurrentTime() {
        TimeValue now;
        System::getCurrentTimeUsec(now._seconds, now._microseconds);
        return now;
    }

 private:
    Uint32 _seconds;
    Uint32 _microseconds;
};

}  // namespace Pegasus

#endif
