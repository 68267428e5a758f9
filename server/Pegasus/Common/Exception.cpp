// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/MessageLoader.h>
//
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/InternalException.h>

namespace Pegasus {

Exception::Exception() = default;
Exception::Exception(const String& message) : _message(message) {}
Exception::Exception(const Exception& x) = default;
Exception::~Exception() = default;
Exception& Exception::operator=(const Exception& x) = default;
const String& Exception::getMessage() const { return _message; }

CIMException::CIMException(CIMStatusCode code, const String& message)
    : Exception(message), _code(code) {}
CIMException::CIMException(CIMStatusCode code, const String& message, const CIMInstance&)
    : CIMException(code, message) {}
CIMException::CIMException(CIMStatusCode code, const String& message, const Array<CIMInstance>&)
    : CIMException(code, message) {}
CIMException::CIMException(const CIMException& x) = default;
CIMException& CIMException::operator=(const CIMException& x) = default;
CIMException::~CIMException() = default;
CIMStatusCode CIMException::getCode() const { return _code; }

IndexOutOfBoundsException::IndexOutOfBoundsException() : Exception("index out of bounds") {}
AlreadyExistsException::AlreadyExistsException(const String& what)
    : Exception("already exists: " + what) {}
InvalidNameException::InvalidNameException(const String& name)
    : Exception("The CIM name is not valid: " + name) {}
InvalidNamespaceNameException::InvalidNamespaceNameException(const String& name)
    : Exception("invalid CIM namespace name: " + name) {}
UninitializedObjectException::UninitializedObjectException() : Exception("uninitialized object") {}
TypeMismatchException::TypeMismatchException() : Exception("type mismatch") {}
TypeMismatchException::TypeMismatchException(const String& what)
    : Exception("type mismatch: " + what) {}
DynamicCastFailedException::DynamicCastFailedException() : Exception("dynamic cast failed") {}
InvalidDateTimeFormatException::InvalidDateTimeFormatException()
    : Exception("invalid datetime format") {}
DateTimeOutOfRangeException::DateTimeOutOfRangeException(const String& what)
    : Exception("datetime out of range: " + what) {}
MalformedObjectNameException::MalformedObjectNameException(const String& name)
    : Exception("malformed object name: " + name) {}
CannotConnectException::CannotConnectException(const String& message) : Exception(message) {}
AlreadyConnectedException::AlreadyConnectedException() : Exception("already connected") {}
NotConnectedException::NotConnectedException() : Exception("not connected") {}
ConnectionTimeoutException::ConnectionTimeoutException() : Exception("connection timed out") {}
InvalidLocatorException::InvalidLocatorException(const String& locator)
    : Exception("invalid locator: " + locator) {}
BindFailedException::BindFailedException(const String& what) : Exception("bind failed: " + what) {}
SSLException::SSLException(const String& what) : Exception("SSL exception: " + what) {}

NullPointer::NullPointer() : Exception("null pointer") {}
NoSuchProperty::NoSuchProperty(const String& name) : Exception("no such property: " + name) {}

}  // namespace Pegasus
