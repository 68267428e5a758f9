// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A named value in a method call.
//
// Handle class: copies share one object. A default-constructed handle is uninitialized: everything
// but isUninitialized, copying and assignment throws UninitializedObjectException. Not
// synchronized: one object may be read by several threads, or written by one.
#ifndef Pegasus_CIMParamValue_h
#define Pegasus_CIMParamValue_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <memory>

namespace Pegasus {

class PEGASUS_EXPORT CIMParamValue {
 public:
    CIMParamValue() = default;
    /// Any name but the empty one, which throws UninitializedObjectException.
    CIMParamValue(String parameterName, CIMValue value, Boolean isTyped = true);

    String getParameterName() const;
    CIMValue getValue() const;
    /// False when the value's type is not known from the message.
    Boolean isTyped() const;
    /// Throws UninitializedObjectException for the empty name.
    void setParameterName(String& parameterName);
    void setValue(CIMValue& value);
    void setIsTyped(Boolean isTyped);
    /// A copy that shares nothing.
    CIMParamValue clone() const;
    Boolean isUninitialized() const { return !_rep; }

 private:
    struct Rep;
    std::shared_ptr<Rep> _rep;
};

extern template class Array<CIMParamValue>;

}  // namespace Pegasus

#endif
