// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_SANITIZED_H
#define HNIPC_TESTS_SANITIZED_H

// HNIPC_SANITIZED is defined if the compiler builds for a sanitizer that slows the program down and
// replaces its allocator.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HNIPC_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)                            \
    || __has_feature(memory_sanitizer)
#define HNIPC_SANITIZED
#endif
#endif

#endif
