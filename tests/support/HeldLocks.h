// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// Which locks the threads of a test program hold: none may be held while a provider is called, or
// while its thread waits for another one. HeldLocks.cpp, in every test program, fails the running
// test where the latter happens.
#ifndef VELMAR_TESTS_SUPPORT_HELDLOCKS_H
#define VELMAR_TESTS_SUPPORT_HELDLOCKS_H

namespace support {

/// The number of mutexes that this thread holds; 0 under the thread sanitizer, which counts itself.
int heldLocks();

}  // namespace support

#endif
