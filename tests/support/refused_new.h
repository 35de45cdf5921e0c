// What the tests' own operator new gives.
#pragma once

#include <cstdint>

/// Bytes given so far; 0 where a sanitizer has its own.
std::int64_t bytes_taken_by_new();
