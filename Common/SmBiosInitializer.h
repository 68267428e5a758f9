// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Finds the firmware's SMBIOS structure table in physical memory when the library is loaded.
//
// Runs once, in the thread that loads the library; other uses must not run at the same time.
#ifndef VELMAR_REMOTE_COMMON_SMBIOSINITIALIZER_H
#define VELMAR_REMOTE_COMMON_SMBIOSINITIALIZER_H

#include "SmBios.h"

namespace velmar_remote {

/// Finds the table of this machine when the library is loaded.
class SmBiosInitializer : public SmBios {
 public:
    /// Reads the table behind the "_SM_" entry point, or behind "_DMI_" when there is no "_SM_",
    /// and sorts its structures by type. Never fails: without access to physical memory or without
    /// a sound entry point the table is empty and its version 0.
    SmBiosInitializer();
};

/// Orders structures by type, ascending.
bool _sort_criterion(const SmBios::Table& a, const SmBios::Table& b);

}  // namespace velmar_remote

#endif
