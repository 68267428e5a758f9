// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT
//
// A provider's test that is built with -fsanitize=thread uses libraries that are not. Of what these
// do with memory the sanitizer sees allocations only, not what orders them, and would report races
// that are none. So it leaves out what such libraries do; races in the test's and the provider's
// own code are still reported. TSAN_OPTIONS and a definition of one's own go before this.
#ifndef VELMAR_TESTING_THREADSANITIZER_H
#define VELMAR_TESTING_THREADSANITIZER_H

#if defined(__SANITIZE_THREAD__)
#define VELMAR_TESTING_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VELMAR_TESTING_THREAD_SANITIZER
#endif
#endif

#ifdef VELMAR_TESTING_THREAD_SANITIZER
/// Called by the sanitizer when the process starts.
extern "C" __attribute__((weak, used, visibility("default"))) const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#undef VELMAR_TESTING_THREAD_SANITIZER
#endif

#endif
