#include "raster/fill_internal.h"

namespace qv::internal {

namespace {

constexpr unsigned char bit_count(unsigned m) {
  unsigned char n = 0;
  for (; m != 0; m &= m - 1) ++n;
  return n;
}

constexpr std::array<unsigned char, 65536> make_bit_count_table() {
  std::array<unsigned char, 65536> table{};
  for (unsigned m = 0; m < 65536; ++m) table[m] = bit_count(m);
  return table;
}

constexpr std::array<unsigned char, 65536> make_coverage_byte_table() {
  std::array<unsigned char, 65536> table{};
  for (unsigned m = 0; m < 65536; ++m)
    table[m] = static_cast<unsigned char>(static_cast<int>(bit_count(m) * 255.0 * 0.0625 + 0.5));
  return table;
}

}  // namespace

// Constant-initialised: the tables are complete before any code of the library
// runs and are never written, so concurrent fills share them freely.
extern const std::array<unsigned char, 65536> BitCountTable = make_bit_count_table();
extern const std::array<unsigned char, 65536> CoverageByteTable = make_coverage_byte_table();

}  // namespace qv::internal
