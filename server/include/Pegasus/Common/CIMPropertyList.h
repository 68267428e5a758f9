// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// The properties that an operation is about: null stands for all, an empty list for none.
//
// Value class. Not synchronized: one object may be read by several threads, or written by one.
#ifndef Pegasus_CIMPropertyList_h
#define Pegasus_CIMPropertyList_h

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Config.h>

namespace Pegasus {

class PEGASUS_EXPORT CIMPropertyList {
 public:
    /// Null.
    CIMPropertyList() : _isNull(true) {}
    /// Not null, even for an empty array. Throws UninitializedObjectException for a null name.
    CIMPropertyList(const Array<CIMName>& names);

    void set(const Array<CIMName>& names);
    /// Back to null.
    void clear();
    Boolean isNull() const { return _isNull; }
    Uint32 size() const { return _names.size(); }
    /// Throws IndexOutOfBoundsException.
    const CIMName& operator[](Uint32 index) const { return _names[index]; }
    Array<CIMName> getPropertyNameArray() const { return _names; }
    /// Whether the list names it, without regard to case; a null list names nothing.
    Boolean contains(const CIMName& name) const;

 private:
    Array<CIMName> _names;
    Boolean _isNull;
};

}  // namespace Pegasus

#endif
