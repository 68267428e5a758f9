// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// What SmBios shares with the other sources of this folder (not installed).
#ifndef VELMAR_REMOTE_COMMON_SMBIOSINTERNAL_H
#define VELMAR_REMOTE_COMMON_SMBIOSINTERNAL_H

#include <algorithm>
#include <cstddef>

#include "SmBios.h"

#pragma GCC visibility push(hidden)

namespace velmar_remote {

/// The NULs that close a structure; one that was cut off is given them.
constexpr std::size_t CLOSING_NULS = 2;

/// The end of the formatted area, as far as it is there: a structure that was cut off is shorter
/// than it states.
inline std::size_t formattedEnd(const SmBios::Table& table) {
    const std::size_t size = table.getData().size();
    return std::min<std::size_t>(table.getLength(), size - std::min(size, CLOSING_NULS));
}

}  // namespace velmar_remote

#pragma GCC visibility pop

#endif
