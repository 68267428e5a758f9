// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The clock, the names of this host and the process. Thread-safe.
#ifndef Pegasus_System_h
#define Pegasus_System_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

class PEGASUS_EXPORT System {
 public:
    /// Time since the epoch.
    static void getCurrentTime(Uint32& seconds, Uint32& milliseconds);
    static void getCurrentTimeUsec(Uint32& seconds, Uint32& microseconds);
    static Uint64 getCurrentTimeUsec();

    /// Asked of the system once per process, unless set before.
    static String getHostName();
    static String getFullyQualifiedHostName();
    static String getSystemCreationClassName();
    static void setHostName(const String& name);
    static void setFullyQualifiedHostName(const String& name);

    static Uint32 getPID();
    static void sleep(Uint32 seconds);
};

}  // namespace Pegasus

#endif
