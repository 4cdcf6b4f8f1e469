#ifndef QV_QVTYPES_H
#define QV_QVTYPES_H

#include <cstdint>

// Every signature of the library uses fixed 32-bit integers: documents written by one host
// must read the same on every other, whatever the platform's own width of `long`.
using QvLong = std::int32_t;
using QvULong = std::uint32_t;

#if defined(_WIN32)
#  if defined(QV_BUILDING)
#    define QV_API __declspec(dllexport)
#  else
#    define QV_API __declspec(dllimport)
#  endif
#else
#  define QV_API __attribute__((visibility("default")))
#endif

// The 16-byte identifier that hosts share with other libraries; it keys curve user data.
struct _pmbUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};

// Integer rectangle that hosts pass as the optional clip box of the drawing calls.
struct tqRnBbox2l {
  QvLong x;
  QvLong y;
  QvLong width;
  QvLong height;
};

#endif
