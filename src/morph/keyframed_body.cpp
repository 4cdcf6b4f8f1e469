#include "morph/keyframed_body.h"

#include "shape/shape_buffer.h"

#include <cmath>
#include <cstring>
#include <utility>

QvMipPath2fProp1dImpl::QvMipPath2fProp1dImpl(const QvMipPath2fProp1dImpl& other) {
  keys.reserve(other.keys.size());
  for (const QvMipKey& k : other.keys)
    keys.push_back(QvMipKey{k.parameter, std::make_unique<QvPath2fProp1d>(*k.path)});
}

void QvMipPath2fProp1dImpl::CreateKey(double t, const QvPath2fProp1d& path) {
  // The copy is made before the list changes, so a path that is itself one of
  // the keys may be passed.
  auto copy = std::make_unique<QvPath2fProp1d>(path);
  if (keys.empty()) {
    keys.push_back(QvMipKey{t, std::move(copy)});
    return;
  }
  const QvULong n = NumKeys();
  const qv::internal::MipLocation at = qv::internal::MipLocate(*this, 0, n - 1, t);
  if (at.hit) {
    keys[at.index].path = std::move(copy);
    return;
  }
  const QvULong insert = at.before ? 0 : at.index + 1;
  keys.insert(keys.begin() + static_cast<std::ptrdiff_t>(insert), QvMipKey{t, std::move(copy)});
}

void QvMipPath2fProp1dImpl::RemoveRange(QvULong first, QvULong last) {
  keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(first),
             keys.begin() + static_cast<std::ptrdiff_t>(last) + 1);
}

namespace qv::internal {

MipLocation MipLocate(const QvMipPath2fProp1dImpl& body, QvULong lo, QvULong hi, double t) {
  const double first = body.Parameter(lo);
  if (std::fabs(t - first) <= kQvMipKeyTolerance) return {lo, true, false, false};
  if (t < first) return {lo, false, true, false};
  const double last = body.Parameter(hi);
  if (std::fabs(t - last) <= kQvMipKeyTolerance) return {hi, true, false, false};
  if (t > last) return {hi, false, false, true};
  // Here first < t < last: keep Parameter(lo) <= t < Parameter(hi).
  while (hi - lo > 1) {
    const QvULong mid = lo + (hi - lo) / 2;
    if (body.Parameter(mid) <= t)
      lo = mid;
    else
      hi = mid;
  }
  const bool hit = std::fabs(t - body.Parameter(lo)) <= kQvMipKeyTolerance;
  return {lo, hit, false, false};
}

bool MipFindRange(const QvMipPath2fProp1dImpl& body, double from, double to, QvULong& first,
                  QvULong& last) {
  const QvULong n = body.NumKeys();
  if (n == 0) return false;
  const MipLocation at = MipLocate(body, 0, n - 1, from);
  QvULong start;
  if (at.before || at.hit)
    start = at.index;
  else if (at.after)
    return false;
  else
    start = at.index + 1;
  if (start >= n || body.Parameter(start) > to + kQvMipKeyTolerance) return false;
  QvULong end = start;
  while (end + 1 < n) {
    const double next = body.Parameter(end + 1);
    if (next > to + kQvMipKeyTolerance) break;
    ++end;
    if (std::fabs(next - to) <= kQvMipKeyTolerance) break;
  }
  first = start;
  last = end;
  return true;
}

bool MipFindRemovable(const QvMipPath2fProp1dImpl& body, double from, double to,
                      QvLong keepFrom, QvLong keepTo, QvULong& first, QvULong& last) {
  if (from > to) {
    std::swap(from, to);
    std::swap(keepFrom, keepTo);
  }
  QvULong a = 0;
  QvULong b = 0;
  if (!MipFindRange(body, from, to, a, b)) return false;
  if (keepFrom && std::fabs(body.Parameter(a) - from) <= kQvMipKeyTolerance) {
    if (a == b) return false;
    ++a;
  }
  if (keepTo && std::fabs(body.Parameter(b) - to) <= kQvMipKeyTolerance) {
    if (a == b) return false;
    --b;
  }
  first = a;
  last = b;
  return true;
}

void MipStoreF64(unsigned char* out, double v) {
  // Non-finite values are not kept: they are stored as 0.0.
  if (!std::isfinite(v)) v = 0.0;
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  store_u32(out, static_cast<std::uint32_t>(bits & 0xFFFFFFFFu));
  store_u32(out + 4, static_cast<std::uint32_t>(bits >> 32));
}

double MipLoadF64(const unsigned char* in) {
  const std::uint64_t bits = static_cast<std::uint64_t>(load_u32(in)) |
                             (static_cast<std::uint64_t>(load_u32(in + 4)) << 32);
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

}  // namespace qv::internal
