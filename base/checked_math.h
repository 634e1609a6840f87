#ifndef ZU_BASE_CHECKED_MATH_H_
#define ZU_BASE_CHECKED_MATH_H_

#include <cmath>
#include <cstdint>
#include <limits>

/// Ends the process because a size, count, offset or time would wrap. The only such exit of the library, in a
/// translation unit of its own so that a fuzz build can put another one in its place.
[[noreturn]] void FatalOverflow();

/// `a` op `b` in the result type, which has to hold the exact value; otherwise the process ends.
template <typename R, typename A, typename B>
[[nodiscard]] R CheckedAdd(A a, B b) {
  R result;
  if (__builtin_add_overflow(a, b, &result)) FatalOverflow();
  return result;
}
template <typename R, typename A, typename B>
[[nodiscard]] R CheckedSub(A a, B b) {
  R result;
  if (__builtin_sub_overflow(a, b, &result)) FatalOverflow();
  return result;
}
template <typename R, typename A, typename B>
[[nodiscard]] R CheckedMul(A a, B b) {
  R result;
  if (__builtin_expect(__builtin_mul_overflow(a, b, &result), 0)) FatalOverflow();
  return result;
}

/// `a` x `b`, at most the largest value of R.
template <typename R, typename A, typename B>
[[nodiscard]] R SaturatedMul(A a, B b) {
  R result;
  return __builtin_mul_overflow(a, b, &result) ? std::numeric_limits<R>::max() : result;
}

/// `value` without its fraction, at the nearer end of T's range when it lies outside, 0 for not-a-number.
template <typename T>
[[nodiscard]] T Truncate(double value) {
  // 2^bits is exact in double while the largest integer of 64 bits is not.
  constexpr double kAbove = static_cast<double>(uint64_t{1} << (std::numeric_limits<T>::digits - 1)) * 2.0;
  if (std::isnan(value)) return 0;
  if (value >= kAbove) return std::numeric_limits<T>::max();
  if (value <= static_cast<double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
  return static_cast<T>(value);
}

/// A quotient as a time in milliseconds. Division by a rate of 0 gives 0, and the largest time is 0xFFFFFFFE: the value
/// above it is the end mark and would stop the track.
[[nodiscard]] inline uint32_t ToTimeMs(double value) {
  // 32-bit times are below 2^63, whose conversion is one instruction; all but the odd ones end here.
  if (__builtin_expect(value >= 0 && value < 4294967295.0, 1))
    return static_cast<uint32_t>(static_cast<int64_t>(value));
  if (!std::isfinite(value)) return 0;
  const uint32_t time = Truncate<uint32_t>(value);
  return time == std::numeric_limits<uint32_t>::max() ? time - 1 : time;
}

#endif  // ZU_BASE_CHECKED_MATH_H_
