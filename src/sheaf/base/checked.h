// Arithmetic on sizes that come from a file: results that do not fit are reported, never wrapped.
#pragma once

namespace sheaf {

/// `a` x `b` into `product`; false when it does not fit.
template <class T>
[[nodiscard]] constexpr bool checked_mul(T a, T b, T& product) {
  return !__builtin_mul_overflow(a, b, &product);
}

}  // namespace sheaf
