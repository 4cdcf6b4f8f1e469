#include "bezier/bezier_core.h"

#include <array>

namespace qv::internal {

namespace {

using ConversionTable =
    std::array<std::array<std::array<QvULong, kMaxBezierDegree + 1>, kMaxBezierDegree + 1>,
               kMaxBezierDegree + 1>;

constexpr ConversionTable make_conversion_table() {
  QvULong binomial[kMaxBezierDegree + 1][kMaxBezierDegree + 1] = {};
  QvULong stirling[kMaxBezierDegree + 1][kMaxBezierDegree + 1] = {};
  QvULong factorial[kMaxBezierDegree + 1] = {};
  for (QvULong n = 0; n <= kMaxBezierDegree; ++n) {
    binomial[n][0] = 1;
    for (QvULong j = 1; j <= n; ++j)
      binomial[n][j] = binomial[n - 1][j - 1] + (j < n ? binomial[n - 1][j] : 0);
    factorial[n] = n == 0 ? 1 : factorial[n - 1] * n;
  }
  stirling[0][0] = 1;
  for (QvULong j = 1; j <= kMaxBezierDegree; ++j)
    for (QvULong i = 1; i <= j; ++i)
      stirling[j][i] = i * stirling[j - 1][i] + stirling[j - 1][i - 1];
  ConversionTable t = {};
  for (QvULong n = 0; n <= kMaxBezierDegree; ++n)
    for (QvULong j = 0; j <= n; ++j)
      for (QvULong i = 0; i <= j; ++i) t[n][j][i] = binomial[n][j] * factorial[i] * stirling[j][i];
  return t;
}

constexpr ConversionTable kConversion = make_conversion_table();

static_assert(kConversion[3][3][1] == 1 && kConversion[3][3][2] == 6 && kConversion[3][3][3] == 6);
static_assert(kConversion[8][8][2] == 254 && kConversion[8][8][8] == 40320);
static_assert(kConversion[5][0][0] == 1);

}  // namespace

QvULong conversion_table(QvULong n, QvULong j, QvULong i) {
  if (n > kMaxBezierDegree || j > kMaxBezierDegree || i > kMaxBezierDegree) return 0;
  return kConversion[n][j][i];
}

QvULong subdivision_depth(double ratio) {
  const double rounded = ratio + 0.5;
  if (!(rounded >= 1.0) || std::isinf(rounded)) return 0;
  const QvULong w = rounded >= 4294967296.0 ? 0xFFFFFFFFu : static_cast<QvULong>(rounded);
  QvULong shifts = 0;
  for (QvULong rest = w; rest != 0; rest >>= 3) ++shifts;
  return shifts - 1;
}

QvULong leaf_log2_steps(double v, QvULong max_log2) {
  if (!(v > 0.0) || std::isinf(v)) return 0;
  QvULong k = 0;
  if (v < 2147483647.0) {
    // The rounding is that of v + 0.5 itself: the double just below 0.5 rounds up to w = 1.
    for (QvULong w = static_cast<QvULong>(v + 0.5); w != 0 && k < max_log2; w >>= 2) ++k;
  } else {
    for (double rest = v; rest > 1.0 && k < max_log2; rest *= 0.25) ++k;
  }
  return k;
}

}  // namespace qv::internal
