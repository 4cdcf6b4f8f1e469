#ifndef QV_SRC_SHAPE_PATH_TYPES_H
#define QV_SRC_SHAPE_PATH_TYPES_H

// The type byte of a path point, read as a table. Every structural question
// about a path (node or handle, where a segment starts and ends, whether a
// subpath is closed) is answered here from the low six bits alone.

#include <qv/QvTypes.h>

#include <array>
#include <cstdint>

namespace qv::internal {

constexpr unsigned kTypeMask = 0x3Fu;   // the point type
constexpr unsigned kG1LockBit = 0x80u;  // G1 lock of a node
constexpr unsigned kKeptBits = 0xC0u;   // carried along when a type changes
constexpr unsigned kMoveto = 1u;
constexpr unsigned kMaxType = 46u;
constexpr unsigned kMaxDegree = 8u;

// Type of the first handle of a segment of degree d (of the end node for a
// line); the open end node is first + d - 1 and the closing one follows it.
constexpr unsigned first_type_of_degree(unsigned degree) {
  constexpr unsigned kFirst[kMaxDegree + 1] = {0, 3, 5, 8, 12, 17, 23, 30, 38};
  return degree <= kMaxDegree ? kFirst[degree] : 0;
}

struct TypeInfo {
  std::uint8_t degree;        // 0 for Moveto, None, Reserved and values past 46
  std::uint8_t offset;        // 1-based place in the segment's run: handles 1.., end d
  std::uint8_t is_end;        // open end node
  std::uint8_t is_close;      // closing end node
};

constexpr std::array<TypeInfo, 64> make_type_table() {
  std::array<TypeInfo, 64> table{};
  for (unsigned d = 1; d <= kMaxDegree; ++d) {
    const unsigned f = first_type_of_degree(d);
    for (unsigned k = 1; k < d; ++k) table[f + k - 1] = TypeInfo{std::uint8_t(d), std::uint8_t(k), 0, 0};
    table[f + d - 1] = TypeInfo{std::uint8_t(d), std::uint8_t(d), 1, 0};
    table[f + d] = TypeInfo{std::uint8_t(d), std::uint8_t(d), 0, 1};
  }
  return table;
}

inline constexpr std::array<TypeInfo, 64> kTypeTable = make_type_table();

constexpr unsigned low_type(unsigned char byte) { return byte & kTypeMask; }
constexpr unsigned type_degree(unsigned t) { return kTypeTable[t & kTypeMask].degree; }
constexpr bool is_open_end(unsigned t) { return kTypeTable[t & kTypeMask].is_end != 0; }
constexpr bool is_closing(unsigned t) { return kTypeTable[t & kTypeMask].is_close != 0; }
constexpr bool is_node_type(unsigned t) { return t == kMoveto || is_open_end(t) || is_closing(t); }
constexpr bool is_handle_type(unsigned t) {
  return type_degree(t) != 0 && !is_open_end(t) && !is_closing(t);
}
constexpr bool is_first_handle(unsigned t) {
  return is_handle_type(t) && kTypeTable[t & kTypeMask].offset == 1;
}
constexpr bool is_last_handle(unsigned t) {
  return is_handle_type(t) && kTypeTable[t & kTypeMask].offset + 1u == type_degree(t);
}

// Points between a segment's first node and a point of this type; 0 for a
// Moveto and for values outside the table.
constexpr unsigned steps_back_to_segment_start(unsigned t) {
  return type_degree(t) != 0 ? kTypeTable[t & kTypeMask].offset : 0;
}

// Points between a handle and its segment's end node; 0 for nodes.
constexpr unsigned steps_forward_to_segment_end(unsigned t) {
  return is_handle_type(t) ? type_degree(t) - kTypeTable[t & kTypeMask].offset : 0;
}

}  // namespace qv::internal

#endif
