#ifndef QV_SRC_RASTER_RASTER_PIXEL_H
#define QV_SRC_RASTER_RASTER_PIXEL_H

// Per-pixel arithmetic of the raster store: storing a distance, and the
// conversions between the three drawing types. Each is a small inline
// function so that the row loops around them stay free of calls.

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace qv::internal {

// Low bits of trunc(v) for a finite float, as an unsigned 16-bit pattern
// (callers keep 8 or 16 of them). A non-finite value gives 0. Floats of
// magnitude 2^31 and more are whole numbers, so fmod takes their low bits
// exactly.
inline std::uint16_t truncated_low_bits(float v) {
  if (std::fabs(v) < 2147483648.0f)
    return static_cast<std::uint16_t>(static_cast<std::int32_t>(v));
  if (!std::isfinite(v))
    return 0;
  return static_cast<std::uint16_t>(static_cast<std::int64_t>(std::fmod(static_cast<double>(v), 65536.0)));
}

// True when truncated_low_bits(v) is plain integer conversion; rows that hold
// only such values take a loop the compiler can vectorise.
inline bool fits_int32(float v) { return std::fabs(v) < 2147483648.0f; }

// A distance d >= 0 stored in a pixel: integer types keep the low bits of
// trunc(d), float rounds, double is exact.
template <class T>
inline T distance_to_pixel(double d) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(d);
  } else {
    // Doubles of 2^64 and more are multiples of 2^12; fmod keeps their low 32
    // bits exactly.
    if (d < 18446744073709551616.0)
      return static_cast<T>(static_cast<std::uint64_t>(d));
    return static_cast<T>(static_cast<std::uint32_t>(std::fmod(d, 4294967296.0)));
  }
}

// Negation of a stored value; for the integer types it wraps like two's
// complement (the unsigned types store the complement of the bits).
template <class T>
inline T negate_pixel(T v) {
  if constexpr (std::is_floating_point_v<T>) {
    return -v;
  } else {
    using U = std::make_unsigned_t<T>;
    return static_cast<T>(static_cast<U>(0u - static_cast<U>(v)));
  }
}

// Conversions between the drawing types (full coverage 255, 16384, 1.0).
// They are not symmetric: byte from float truncates where short from float
// rounds, and only the conversions from short clamp.
template <class D, class S>
struct PixelConvert;

template <class T>
struct PixelConvert<T, T> {
  static T apply(T s) { return s; }
};

template <>
struct PixelConvert<float, unsigned char> {
  static float apply(unsigned char s) { return static_cast<float>(s) * 0.003921569f; }
};

template <>
struct PixelConvert<short, unsigned char> {
  static short apply(unsigned char s) { return static_cast<short>((s * 257 + 2) >> 2); }
};

// From float, `scaled` is the product before truncation; `apply` is exact for
// every input, and `apply_in_range` equals it when fits_int32(scaled(s)).
template <>
struct PixelConvert<unsigned char, float> {
  // No rounding and no clamp: 1.5 becomes 382, stored as its low byte 126.
  static float scaled(float s) { return s * 255.0f; }
  static unsigned char apply(float s) { return static_cast<unsigned char>(truncated_low_bits(scaled(s))); }
  static unsigned char apply_in_range(float s) {
    return static_cast<unsigned char>(static_cast<std::int32_t>(scaled(s)));
  }
};

template <>
struct PixelConvert<short, float> {
  static float scaled(float s) { return s * 16384.0f + 0.5f; }
  static short apply(float s) { return static_cast<short>(truncated_low_bits(scaled(s))); }
  static short apply_in_range(float s) { return static_cast<short>(static_cast<std::int32_t>(scaled(s))); }
};

template <>
struct PixelConvert<unsigned char, short> {
  // The sum is read as unsigned, so a short below -32 lands high and
  // saturates to 255.
  static unsigned char apply(short s) {
    const std::uint32_t t = static_cast<std::uint32_t>(s * 1020 + 32768) >> 16;
    return static_cast<unsigned char>(t >= 255u ? 255u : t);
  }
};

template <>
struct PixelConvert<float, short> {
  static float apply(short s) {
    const float v = static_cast<float>(s) * 6.1035156e-5f;
    return v < 0.0f ? 0.0f : (v > 1.0f ? 1.0f : v);
  }
};

}  // namespace qv::internal

#endif  // QV_SRC_RASTER_RASTER_PIXEL_H
