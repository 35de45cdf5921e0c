// Whether the tests run under a sanitizer, which has a heap and a stack of its own and takes several times as long.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define SHEAF_HAS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SHEAF_HAS_SANITIZER
#endif

#ifdef SHEAF_HAS_SANITIZER
constexpr bool kUnderSanitizer = true;
#else
constexpr bool kUnderSanitizer = false;
#endif
