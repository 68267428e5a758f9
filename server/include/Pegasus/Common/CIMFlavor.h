// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// How a qualifier is inherited (DSP0004): a set of flags. Value class.
#ifndef Pegasus_CIMFlavor_h
#define Pegasus_CIMFlavor_h

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

class PEGASUS_EXPORT CIMFlavor {
 public:
    static const CIMFlavor NONE;
    static const CIMFlavor OVERRIDABLE;
    static const CIMFlavor DISABLEOVERRIDE;
    static const CIMFlavor TOSUBCLASS;
    static const CIMFlavor RESTRICTED;
    static const CIMFlavor TOINSTANCE;
    /// OVERRIDABLE and TOSUBCLASS, what a qualifier declared without flavors has.
    static const CIMFlavor DEFAULTS;

    constexpr CIMFlavor() : _flags(0) {}

    Boolean equal(const CIMFlavor& flavor) const { return _flags == flavor._flags; }
    /// Whether all flags of `flavor` are set.
    Boolean hasFlavor(const CIMFlavor& flavor) const {
        return (_flags & flavor._flags) == flavor._flags;
    }
    void addFlavor(const CIMFlavor& flavor) { _flags |= flavor._flags; }
    CIMFlavor operator+(const CIMFlavor& flavor) const { return CIMFlavor(_flags | flavor._flags); }
    /// The keywords of MOF, separated by blanks.
    String toString() const;

 private:
    friend struct HandleAccess;

    constexpr explicit CIMFlavor(Uint32 flags) : _flags(flags) {}

    Uint32 _flags;
};

}  // namespace Pegasus

#endif
