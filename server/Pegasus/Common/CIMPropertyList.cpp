// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Exception.h>

namespace Pegasus {

CIMPropertyList::CIMPropertyList(const Array<CIMName>& names) : _isNull(true) { set(names); }

void CIMPropertyList::set(const Array<CIMName>& names) {
    for (Uint32 i = 0; i < names.size(); i++) {
        if (names[i].isNull()) {
            throw UninitializedObjectException();
        }
    }
    _names = names;
    _isNull = false;
}

void CIMPropertyList::clear() {
    _names.clear();
    _isNull = true;
}

Boolean CIMPropertyList::contains(const CIMName& name) const {
    for (Uint32 i = 0; i < _names.size(); i++) {
        if (_names[i].equal(name)) {
            return true;
        }
    }
    return false;
}

}  // namespace Pegasus
