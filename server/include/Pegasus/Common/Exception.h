// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The exceptions of the object model. All derive directly from Exception, none from
// std::exception.
#ifndef Pegasus_Exception_h
#define Pegasus_Exception_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

class CIMInstance;

class PEGASUS_EXPORT Exception {
 public:
    Exception(const String& message);
    Exception(const Exception& x);
    virtual ~Exception();
    Exception& operator=(const Exception& x);
    virtual const String& getMessage() const;

 protected:
    Exception();

 private:
    String _message;
};

/// An error with a status code; its message is the plain text given, without the code's name.
class PEGASUS_EXPORT CIMException : public Exception {
 public:
    CIMException(CIMStatusCode code = CIM_ERR_SUCCESS, const String& message = String::EMPTY);
    /// The error instances are not kept: nothing in this system hands them on.
    CIMException(CIMStatusCode code, const String& message, const CIMInstance& instance);
    CIMException(CIMStatusCode code, const String& message, const Array<CIMInstance>& instances);
    CIMException(const CIMException& x);
    CIMException& operator=(const CIMException& x);
    virtual ~CIMException();
    CIMStatusCode getCode() const;

 private:
    CIMStatusCode _code;
};

class PEGASUS_EXPORT IndexOutOfBoundsException : public Exception {
 public:
    IndexOutOfBoundsException();
};

class PEGASUS_EXPORT AlreadyExistsException : public Exception {
 public:
    AlreadyExistsException(const String& what);
};

class PEGASUS_EXPORT InvalidNameException : public Exception {
 public:
    InvalidNameException(const String& name);
};

class PEGASUS_EXPORT InvalidNamespaceNameException : public Exception {
 public:
    InvalidNamespaceNameException(const String& name);
};

class PEGASUS_EXPORT UninitializedObjectException : public Exception {
 public:
    UninitializedObjectException();
};

class PEGASUS_EXPORT TypeMismatchException : public Exception {
 public:
    TypeMismatchException();
    TypeMismatchException(const String& what);
};

class PEGASUS_EXPORT DynamicCastFailedException : public Exception {
 public:
    DynamicCastFailedException();
};

class PEGASUS_EXPORT InvalidDateTimeFormatException : public Exception {
 public:
    InvalidDateTimeFormatException();
};

class PEGASUS_EXPORT DateTimeOutOfRangeException : public Exception {
 public:
    DateTimeOutOfRangeException(const String& what);
};

class PEGASUS_EXPORT MalformedObjectNameException : public Exception {
 public:
    MalformedObjectNameException(const String& name);
};

class PEGASUS_EXPORT CannotConnectException : public Exception {
 public:
    CannotConnectException(const String& message);
};

class PEGASUS_EXPORT AlreadyConnectedException : public Exception {
 public:
    AlreadyConnectedException();
};

class PEGASUS_EXPORT NotConnectedException : public Exception {
 public:
    NotConnectedException();
};

class PEGASUS_EXPORT ConnectionTimeoutException : public Exception {
 public:
    ConnectionTimeoutException();
};

class PEGASUS_EXPORT InvalidLocatorException : public Exception {
 public:
    InvalidLocatorException(const String& locator);
};

class PEGASUS_EXPORT BindFailedException : public Exception {
 public:
    BindFailedException(const String& what);
};

class PEGASUS_EXPORT SSLException : public Exception {
 public:
    SSLException(const String& what);
};

}  // namespace Pegasus

#endif
