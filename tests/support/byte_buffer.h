#ifndef QV_TESTS_SUPPORT_BYTE_BUFFER_H
#define QV_TESTS_SUPPORT_BYTE_BUFFER_H

// Little-endian byte helpers shared by the buffer tests: build a body field by field, read or
// patch a field of a written buffer, and write an object out whole.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace qv::test {

using Bytes = std::vector<unsigned char>;

struct Writer {
  Bytes b;
  Writer& u8(unsigned v) {
    b.push_back(static_cast<unsigned char>(v));
    return *this;
  }
  Writer& u16(unsigned v) { return u8(v & 0xFF).u8(v >> 8); }
  Writer& u32(std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b.push_back(static_cast<unsigned char>(v >> (8 * i)));
    return *this;
  }
  Writer& f64(double v) {
    std::uint64_t bits;
    std::memcpy(&bits, &v, 8);
    for (int i = 0; i < 8; ++i) b.push_back(static_cast<unsigned char>(bits >> (8 * i)));
    return *this;
  }
  Writer& bytes(const unsigned char* p, std::size_t n) {
    b.insert(b.end(), p, p + n);
    return *this;
  }
  // The user data block of an object without any.
  Writer& no_user_data() { return u32(5).u32(256).u8(0); }
  // Prefixes the length word: the result is a whole buffer.
  Bytes buffer() const {
    Writer w;
    w.u32(static_cast<std::uint32_t>(b.size()));
    w.b.insert(w.b.end(), b.begin(), b.end());
    return w.b;
  }
};

// Everything an object writes, length word included; the write must fill exactly its size.
template <class T>
Bytes bytes_of(const T& object) {
  Bytes out(object.GetBufferSize(), 0xCD);
  EXPECT_EQ(out.size(), object.WriteToBuffer(out.data()));
  return out;
}

inline std::uint32_t u32_at(const Bytes& b, std::size_t at) {
  return static_cast<std::uint32_t>(b[at]) | static_cast<std::uint32_t>(b[at + 1]) << 8 |
         static_cast<std::uint32_t>(b[at + 2]) << 16 | static_cast<std::uint32_t>(b[at + 3]) << 24;
}

inline void put_u32(Bytes& b, std::size_t at, std::uint32_t v) {
  if (b.size() < at + 4) return;
  for (std::size_t i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

inline double f64_at(const Bytes& b, std::size_t at) {
  const std::uint64_t bits = u32_at(b, at) | static_cast<std::uint64_t>(u32_at(b, at + 4)) << 32;
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

// The first `body_length` bytes of a buffer's body behind a length word that says so, in a block
// of exactly that size, so that a read past the length word's end is a fault the sanitizers see.
inline Bytes truncated(const Bytes& whole, std::size_t body_length) {
  Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(body_length + 4));
  put_u32(cut, 0, static_cast<std::uint32_t>(body_length));
  return cut;
}

}  // namespace qv::test

#endif
