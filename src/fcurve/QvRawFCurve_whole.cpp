#include <qv/QvRawFCurve.h>

#include "fcurve/raw_body.h"
#include "fcurve/userdata_set.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

using qv::internal::kRawKeyTolerance;
using qv::internal::RawLocation;
using qv::internal::RawSelection;

namespace {

using Key = QvRawFCurveImpl::Key;

// Runs `run` over the parts of the key range that [from, to] covers under the curve's cycling.
template <class Run>
void for_each_cycle_range(const QvRawFCurveImpl& body, double from, double to, Run run) {
  qv::internal::for_each_cycle_range(body.m_keys, body.IsCycling(), from, to, run);
}

// Index of the key nearest to t; a tie goes to the earlier key. Needs at least one key.
QvULong nearest_key(const QvRawFCurveImpl& body, double t) {
  const RawLocation loc = body.LocateKey(t);
  if (loc.exact) return loc.position - 1;
  if (loc.position == 0) return 0;
  if (loc.position >= body.NumKeys()) return body.NumKeys() - 1;
  const double before = t - body.KeyAt(loc.position - 1).parameter;
  const double after = body.KeyAt(loc.position).parameter - t;
  return after < before ? loc.position : loc.position - 1;
}

// Index of the key at exactly t, which the caller knows to exist.
QvULong key_index(const QvRawFCurveImpl& body, double t) {
  return body.LocateKey(t).position - 1;
}

constexpr double kMaxSamples = 16777216.0;  // refuses steps that would ask for absurd key counts

bool all_finite(std::initializer_list<double> values) {
  for (double v : values)
    if (!std::isfinite(v)) return false;
  return true;
}

}  // namespace

// Reduction. The line through the first pair of a run stays while later keys lie on it within the
// tolerance, so error never accumulates along a gentle curve: each dropped key is measured against
// the same line, not against a refit.
QvULong QvRawFCurve::ReduceInsideCriticalSection(QvULong first, QvULong last, double tolerance) {
  QvRawFCurveImpl& body = *m_impl;
  if (last < first || last - first + 1 < 3) return 0;
  std::vector<Key> kept;
  kept.reserve(body.NumKeys());
  std::vector<double> dropped;
  for (QvULong i = 0; i <= first; ++i) kept.push_back(body.KeyAt(i));
  auto line_through = [&body](QvULong k, double& slope, double& offset) {
    const Key& a = body.KeyAt(k - 1);
    const Key& b = body.KeyAt(k);
    slope = (b.value - a.value) / (b.parameter - a.parameter);
    offset = b.value - b.parameter * slope;
  };
  double slope = 0.0;
  double offset = 0.0;
  line_through(first + 1, slope, offset);
  for (QvULong k = first + 2; k <= last; ++k) {
    const Key& key = body.KeyAt(k);
    const double d = key.parameter * slope + offset - key.value;
    if (std::fabs(d) <= tolerance) {
      dropped.push_back(body.KeyAt(k - 1).parameter);
    } else {
      kept.push_back(body.KeyAt(k - 1));
      line_through(k, slope, offset);
    }
  }
  if (dropped.empty()) return 0;
  for (QvULong i = last; i < body.NumKeys(); ++i) kept.push_back(body.KeyAt(i));
  const QvULong removed = body.NumKeys() - static_cast<QvULong>(kept.size());
  for (double p : dropped) RemoveKeyUserData(p);
  body.m_keys.swap(kept);
  body.m_cursor = 0;
  return removed;
}

QvULong QvRawFCurve::ReduceNumKeys(double tolerance) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || m_impl->NumKeys() < 3) return 0;
  return ReduceInsideCriticalSection(0, m_impl->NumKeys() - 1, tolerance);
}

void QvRawFCurve::ReduceRangeInsideCriticalSection(double from, double to, double tolerance) {
  if (from > to) std::swap(from, to);
  const double start = m_impl->KeyAt(EnsureKeyInsideCriticalSection(from)).parameter;
  const double end = m_impl->KeyAt(EnsureKeyInsideCriticalSection(to)).parameter;
  ReduceInsideCriticalSection(key_index(*m_impl, start), key_index(*m_impl, end), tolerance);
}

QvLong QvRawFCurve::ReduceNumKeys(double from, double to, double tolerance) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || !all_finite({from, to})) return 0;
  for_each_cycle_range(*m_impl, from, to, [&](double a, double b) {
    ReduceRangeInsideCriticalSection(a, b, tolerance);
  });
  return 1;
}

// Resampling keeps a key on every step of the grid from `from`; an existing key closer than 1e-7
// to a grid point serves as that sample, so that resampling twice changes nothing.
void QvRawFCurve::ResampleRangeInsideCriticalSection(double from, double to, double step,
                                                     bool keepKeys) {
  QvRawFCurveImpl& body = *m_impl;
  if (std::fabs(from - to) <= kRawKeyTolerance) {
    EnsureKeyInsideCriticalSection(from);
    return;
  }
  if (from > to) std::swap(from, to);
  double previous = body.KeyAt(EnsureKeyInsideCriticalSection(from)).parameter;
  auto settle = [&](double sample) {
    const double current = body.KeyAt(EnsureKeyInsideCriticalSection(sample)).parameter;
    if (!keepKeys && current > previous) {
      const QvULong a = key_index(body, previous);
      const QvULong b = key_index(body, current);
      if (b > a + 1) RemoveKeyRangeInsideCriticalSection(a + 1, b - a - 1);
    }
    previous = current;
  };
  const double count = std::floor((to - from) / step);
  for (double k = 1.0; k <= count; k += 1.0) {
    const double s = from + k * step;
    const QvULong near = nearest_key(body, s);
    if (std::fabs(body.KeyAt(near).parameter - s) > 1e-7) {
      settle(s);
    } else {
      settle(body.KeyAt(near).parameter);
    }
  }
  settle(to);
}

QvLong QvRawFCurve::ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                     QvLong) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || !all_finite({from, to, step}) || !(step > 0.0)) return 0;
  if (std::fabs(to - from) / step > kMaxSamples) return 0;
  QvRawFCurve saved(*this);
  try {
    for_each_cycle_range(*m_impl, from, to, [&](double a, double b) {
      ResampleRangeInsideCriticalSection(a, b, step, keepKeys != 0);
    });
  } catch (...) {
    *this = saved;
    throw;
  }
  return 1;
}

// A finite impulse response over the key values of a range; near the ends of the range the part of
// the filter that falls outside is left out without renormalising, as a host's kernel expects.
void QvRawFCurve::SmoothRangeInsideCriticalSection(double from, double to, const double* kernel,
                                                   QvULong count) {
  QvRawFCurveImpl& body = *m_impl;
  if (from > to) std::swap(from, to);
  const RawSelection sel = body.Select(from, to, 0, 0);
  if (sel.count < count) return;
  const QvULong half = (count - 1) / 2;
  std::vector<double> values(sel.count);
  for (QvULong i = 0; i < sel.count; ++i) values[i] = body.KeyAt(sel.first + i).value;
  for (QvULong p = 0; p < sel.count; ++p) {
    double sum = 0.0;
    for (QvULong w = 0; w < count; ++w) {
      const long long q = static_cast<long long>(p) + static_cast<long long>(w) -
                          static_cast<long long>(half);
      if (q < 0 || q >= static_cast<long long>(sel.count)) continue;
      sum += kernel[w] * values[static_cast<std::size_t>(q)];
    }
    body.KeyAt(sel.first + p).value = sum;
  }
}

QvLong QvRawFCurve::SmoothSequence(double from, double to, const double* kernel, QvULong count) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || kernel == nullptr || count == 0 || !all_finite({from, to}))
    return 0;
  for_each_cycle_range(*m_impl, from, to, [&](double a, double b) {
    SmoothRangeInsideCriticalSection(a, b, kernel, count);
  });
  return 1;
}

// Whole-curve moves

QvLong QvRawFCurve::ShiftParameters(double offset) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !std::isfinite(offset)) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  std::vector<Key> saved(body.m_keys);
  for (Key& k : body.m_keys) k.parameter += offset;
  if (!body.StrictlyRising()) {
    body.m_keys.swap(saved);
    return 0;
  }
  TranslateAllKeyUserData(offset);
  return 1;
}

QvLong QvRawFCurve::ScaleParameterAxis(double scale) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !std::isfinite(scale)) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  std::vector<Key> saved(body.m_keys);
  for (Key& k : body.m_keys) k.parameter *= scale;
  if (!body.StrictlyRising()) {
    body.m_keys.swap(saved);
    return 0;
  }
  ScaleAllKeyUserData(scale);
  return 1;
}

QvLong QvRawFCurve::ShiftValues(double offset) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (AreAnyValuesLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  for (Key& k : body.m_keys) k.value += offset;
  body.m_valueWhenNoKeys += offset;
  return 1;
}

QvLong QvRawFCurve::ScaleAndShiftValues(double scale, double shift) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || std::fabs(scale) <= 1e-7) return 0;
  if (AreAnyValuesLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  for (Key& k : body.m_keys) k.value = k.value * scale + shift;
  body.m_valueWhenNoKeys = body.m_valueWhenNoKeys * scale + shift;
  // A low clamp at zero or below is a floor that hosts set on purpose (opacity, width): it stays.
  if (body.m_clampLow > DBL_MIN) body.m_clampLow = body.m_clampLow * scale + shift;
  if (body.m_clampHigh < DBL_MAX) body.m_clampHigh = body.m_clampHigh * scale + shift;
  if (body.m_clampLow > body.m_clampHigh) std::swap(body.m_clampLow, body.m_clampHigh);
  return 1;
}

QvLong QvRawFCurve::MirrorValues() {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (AreAnyValuesLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  const double sum = GetValueUpperBound(0) + GetValueLowerBound(0);
  for (Key& k : body.m_keys) k.value = sum - k.value;
  body.m_valueWhenNoKeys = sum - body.m_valueWhenNoKeys;
  return 1;
}

QvLong QvRawFCurve::MirrorParameters() {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  const QvULong n = body.NumKeys();
  if (n == 0) return 1;
  const double sum = body.KeyAt(0).parameter + body.KeyAt(n - 1).parameter;
  std::vector<Key> mirrored(n);
  QvDoubleArray from(n);
  QvDoubleArray to(n);
  for (QvULong i = 0; i < n; ++i) {
    const Key& k = body.KeyAt(n - 1 - i);
    mirrored[i] = Key{sum - k.parameter, k.value};
    from.Add(k.parameter);
    to.Add(mirrored[i].parameter);
  }
  for (QvULong i = 1; i < n; ++i)
    if (!(mirrored[i].parameter > mirrored[i - 1].parameter)) return 0;
  body.m_valueWhenNoKeys = body.KeyAt(n - 1).value;
  body.m_keys.swap(mirrored);
  body.m_cursor = 0;
  MoveKeyUserDataTail(from, to);
  return 1;
}

QvLong QvRawFCurve::ScaleAndOffsetParameters(double from, double to, double anchor, double scale,
                                             double offset, QvLong openFrom, QvLong openTo,
                                             RegionHandle handle) {
  LockGuard guard(*this);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !all_finite({anchor, scale, offset})) return 0;
  const bool moves_parameters =
      handle == RegionHandleMinParameter || handle == RegionHandleMaxParameter;
  const bool moves_values = handle == RegionHandleMinValue || handle == RegionHandleMaxValue;
  if (!moves_parameters && !moves_values) return 0;
  const RawSelection sel = body.Select(from, to, openFrom, openTo);
  if (sel.count == 0) return 1;
  QvDoubleArray old_parameters(sel.count);
  QvDoubleArray new_parameters(sel.count);
  if (!qv::internal::scale_and_offset_keys(body.m_keys, sel, moves_parameters, anchor, scale,
                                           offset, old_parameters, new_parameters,
                                           [](double v) { return v; }))
    return 0;
  if (moves_parameters) MoveKeyUserDataTail(old_parameters, new_parameters);
  return 1;
}

// Joining curves

QvLong QvRawFCurve::AppendInsideCriticalSection(const QvRawFCurve& other) {
  QvRawFCurveImpl& body = *m_impl;
  const QvRawFCurveImpl& source = *other.m_impl;
  const QvULong n = body.NumKeys();
  const QvULong m = source.NumKeys();
  if (body.m_readOnly != 0 || n == 0 || m == 0) return 0;
  const double shift = body.KeyAt(n - 1).parameter - source.KeyAt(0).parameter;
  std::vector<Key> keys(body.m_keys);
  keys.reserve(n + m - 1);
  keys[n - 1].value = source.KeyAt(0).value;
  std::vector<std::pair<double, CFCUserDataSet>> sets;
  for (QvULong i = 1; i < m; ++i) {
    const double p = source.KeyAt(i).parameter + shift;
    keys.push_back(Key{p, source.KeyAt(i).value});
    if (const CFCUserDataSet* set = other.GetUserDataSet(source.KeyAt(i).parameter))
      sets.emplace_back(p, *set);
  }
  for (std::size_t i = 1; i < keys.size(); ++i)
    if (!(keys[i].parameter > keys[i - 1].parameter)) return 0;
  body.m_keys.swap(keys);
  for (const auto& entry : sets) SetUserDataSet(entry.second, entry.first);
  return 1;
}

QvLong QvRawFCurve::Append(const QvBaseFCurve& other) {
  LockGuard guard(*this);
  if (other.GetKind() != KindRaw) return 0;
  const QvRawFCurve& source = static_cast<const QvRawFCurve&>(other);
  LockGuard second(source);
  return AppendInsideCriticalSection(source);
}

QvLong QvRawFCurve::Paste(const QvBaseFCurve& other, double from, double to) {
  LockGuard guard(*this);
  if (other.GetKind() != KindRaw) return 0;
  const QvRawFCurve& source = static_cast<const QvRawFCurve&>(other);
  LockGuard second(source);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || source.m_impl->NumKeys() < 2 || !all_finite({from, to})) return 0;
  if (from > to) std::swap(from, to);
  // `source` may be this very curve: read it through a copy taken before anything changes.
  const QvRawFCurve pasted(source);
  const QvRawFCurve saved(*this);
  try {
    const QvULong n = body.NumKeys();
    const bool has_tail = n != 0 && to < body.KeyAt(n - 1).parameter;
    QvRawFCurve tail(*this);
    if (has_tail) tail.RemoveHeadInsideCriticalSection(to);
    RemoveTailInsideCriticalSection(from);
    if (AppendInsideCriticalSection(pasted) == 0 ||
        (has_tail && AppendInsideCriticalSection(tail) == 0)) {
      *this = saved;
      return 0;
    }
  } catch (...) {
    *this = saved;
    throw;
  }
  return 1;
}

// Cutting closes the gap: what followed the range moves back onto its start, and the key at the
// seam takes the value from the far side of the gap.
QvLong QvRawFCurve::Cut(double from, double to, QvBaseFCurve& out) {
  LockGuard guard(*this);
  if (out.GetKind() != KindRaw || &out == this) return 0;
  QvRawFCurve& target = static_cast<QvRawFCurve&>(out);
  LockGuard second(target);
  QvRawFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || target.m_impl->m_readOnly != 0) return 0;
  if (!all_finite({from, to}) || body.NumKeys() == 0) return 0;
  if (from > to) std::swap(from, to);
  if (!(to - from > kRawKeyTolerance)) return 0;
  if (AreAnyParametersLockedInInterval(from, to, 0, 0) != 0) return 0;
  const QvRawFCurve saved(*this);
  try {
    const double width = to - from;
    const QvULong a = EnsureKeyInsideCriticalSection(from);
    const QvULong b = EnsureKeyInsideCriticalSection(to);
    const double seam_value = body.KeyAt(b).value;
    RemoveKeyRangeInsideCriticalSection(a, b - a);
    // The key that was at `to` now sits at index a.
    QvDoubleArray old_parameters(body.NumKeys() - a);
    QvDoubleArray new_parameters(body.NumKeys() - a);
    for (QvULong i = a; i < body.NumKeys(); ++i) {
      Key& k = body.KeyAt(i);
      old_parameters.Add(k.parameter);
      k.parameter = i == a ? from : k.parameter - width;
      new_parameters.Add(k.parameter);
    }
    body.KeyAt(a).value = seam_value;
    if (!body.StrictlyRising()) {
      *this = saved;
      return 0;
    }
    MoveKeyUserDataTail(old_parameters, new_parameters);
    QvRawFCurve piece(saved);
    piece.RemoveHeadInsideCriticalSection(from);
    piece.RemoveTailInsideCriticalSection(to);
    target = piece;
  } catch (...) {
    *this = saved;
    throw;
  }
  return 1;
}

// A frozen copy of what the curve shows over [from, to]: keys inside the range are copied (and
// repeated, for a cycling curve), the ends are evaluated, and the copy holds its end values.
QvBaseFCurve* QvRawFCurve::SnapShot(double from, double to, ExtrapolationMethod) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  if (!all_finite({from, to})) return nullptr;
  if (from > to) std::swap(from, to);
  try {
    QvRawFCurve* snap = new QvRawFCurve(body.m_valueWhenNoKeys);
    std::unique_ptr<QvRawFCurve> owner(snap);
    snap->QvBaseFCurve::operator=(*this);
    snap->RemoveAllKeyUserData();
    QvRawFCurveImpl& out = *snap->m_impl;
    out.m_clampLow = body.m_clampLow;
    out.m_clampHigh = body.m_clampHigh;
    out.m_isTimeCurve = body.m_isTimeCurve;
    out.m_defaultBezierTangent = body.m_defaultBezierTangent;
    out.Append(from, body.Eval(from));
    if (to - from > kRawKeyTolerance) {
      const QvULong n = body.NumKeys();
      if (n >= 2 && body.IsCycling()) {
        const double first = body.KeyAt(0).parameter;
        const double period = body.KeyAt(n - 1).parameter - first;
        const double c0 = std::floor((from - first) / period);
        const double c1 = std::floor((to - first) / period);
        if ((c1 - c0 + 1.0) * static_cast<double>(n) <= kMaxSamples / 4.0) {
          for (double c = c0; c <= c1; c += 1.0) {
            for (QvULong i = 0; i + 1 < n; ++i) {
              const double p = body.KeyAt(i).parameter + c * period;
              if (p - from > kRawKeyTolerance && to - p > kRawKeyTolerance &&
                  p > out.KeyAt(out.NumKeys() - 1).parameter)
                out.Append(p, body.Eval(p));
            }
          }
        }
      } else {
        for (QvULong i = 0; i < n; ++i) {
          const Key& k = body.KeyAt(i);
          if (k.parameter - from > kRawKeyTolerance && to - k.parameter > kRawKeyTolerance) {
            out.Append(k.parameter, k.value);
            if (const CFCUserDataSet* set = GetUserDataSet(k.parameter))
              snap->SetUserDataSet(*set, k.parameter);
          }
        }
      }
      out.Append(to, body.Eval(to));
    }
    return owner.release();
  } catch (...) {
    return nullptr;
  }
}

QvLong QvRawFCurve::EvalInverse(double value, double& parameter, QvLong) const {
  LockGuard guard(*this);
  const QvRawFCurveImpl& body = *m_impl;
  const QvULong n = body.NumKeys();
  if (n < 2 || std::isnan(value)) return 0;
  const int direction = body.Monotonic();
  if (direction == 0) return 0;
  const Key& head = body.KeyAt(0);
  const Key& tail = body.KeyAt(n - 1);
  // Beyond the values the curve reaches, the answer is the end the values run towards.
  if (direction > 0 ? value <= head.value : value >= head.value) {
    parameter = head.parameter;
    return 1;
  }
  if (direction > 0 ? value >= tail.value : value <= tail.value) {
    parameter = tail.parameter;
    return 1;
  }
  // Bisect for the segment [a, a + 1] whose values hold `value`.
  QvULong a = 0;
  QvULong b = n - 1;
  while (b - a > 1) {
    const QvULong mid = (a + b) / 2;
    const bool below = direction > 0 ? body.KeyAt(mid).value <= value
                                     : body.KeyAt(mid).value >= value;
    if (below) {
      a = mid;
    } else {
      b = mid;
    }
  }
  const Key& ka = body.KeyAt(a);
  const Key& kb = body.KeyAt(b);
  if (std::fabs(ka.value - value) <= 1e-7) {
    parameter = ka.parameter;
  } else if (std::fabs(kb.value - value) <= 1e-7) {
    parameter = kb.parameter;
  } else {
    parameter = ka.parameter +
                (value - ka.value) * (kb.parameter - ka.parameter) / (kb.value - ka.value);
  }
  return 1;
}

QvLong QvRawFCurve::IsBijective() const {
  LockGuard guard(*this);
  return m_impl->Monotonic() != 0 ? 1 : 0;
}
