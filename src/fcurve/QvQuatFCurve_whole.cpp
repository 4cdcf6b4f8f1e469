#include <qv/QvQuatFCurve.h>
#include <qv/QvTransfo4.h>

#include "fcurve/rotation_math.h"
#include "fcurve/rotation_view.h"
#include "fcurve/userdata_set.h"

#include <cfloat>
#include <cmath>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

using qv::internal::kDegreesToRadians;
using qv::internal::kNoRotationKey;
using qv::internal::kRotationKeyTolerance;

namespace {

constexpr double kSampleMatch = 1e-7;       // a key this close to a resample position serves it
constexpr double kStepsPerSpan = 16.0;      // drawn and snapshot samples between two anchors
constexpr double kMaxAnchors = 1048576.0;   // beyond this many repeated keys only the ends anchor
constexpr double kMaxSequence = 16777216.0; // samples that one EvalSequence may produce
constexpr double kMaxResample = 65536.0;    // keys that one resampling may ensure

bool all_finite(std::initializer_list<double> values) {
  for (double v : values)
    if (!std::isfinite(v)) return false;
  return true;
}

double& component_of(QvPoint3<double>& p, QvULong component) {
  return component == 0 ? p.x : (component == 1 ? p.y : p.z);
}

// A position where the curve is sampled. At a seam of the plain cycle the curve jumps: the
// left limit (the last key's rotation) comes first, then the far point of the jump.
struct Sample {
  double t;
  enum Role { Plain, SeamBefore, SeamAfter } role;
};

// Positions that sample the curve over [from, to]: the ends, every key inside (repeated cycle by
// cycle under the cycling methods), and a fixed number of steps between two of these.
void sample_positions(const QvQuatCurve& c, double from, double to, std::vector<Sample>& out) {
  std::vector<Sample> anchors;
  anchors.push_back(Sample{from, Sample::Plain});
  const QvULong n = c.GetNumKeys();
  const QvLong method = c.GetExtrapolationMethod();
  auto inside = [&](double p) {
    return p - from > kRotationKeyTolerance && to - p > kRotationKeyTolerance;
  };
  if (n >= 2 && (method == 3 || method == 4) && c.GetKeyTime(n - 1) > c.GetKeyTime(0)) {
    const double first = c.GetKeyTime(0);
    const double period = c.GetKeyTime(n - 1) - first;
    const double c0 = std::floor((from - first) / period);
    const double c1 = std::floor((to - first) / period);
    if ((c1 - c0 + 1.0) * static_cast<double>(n) <= kMaxAnchors) {
      for (double cycle = c0; cycle <= c1; cycle += 1.0) {
        for (QvULong i = 0; i + 1 < n; ++i) {
          const double p = c.GetKeyTime(i) + cycle * period;
          if (!inside(p)) continue;
          if (i == 0 && method == 3) {
            anchors.push_back(Sample{p, Sample::SeamBefore});
            anchors.push_back(Sample{p, Sample::SeamAfter});
          } else {
            anchors.push_back(Sample{p, Sample::Plain});
          }
        }
      }
    }
  } else {
    for (QvULong i = 0; i < n; ++i)
      if (inside(c.GetKeyTime(i))) anchors.push_back(Sample{c.GetKeyTime(i), Sample::Plain});
  }
  anchors.push_back(Sample{to, Sample::Plain});
  out.reserve(out.size() + anchors.size() * static_cast<std::size_t>(kStepsPerSpan));
  for (std::size_t i = 0; i + 1 < anchors.size(); ++i) {
    out.push_back(anchors[i]);
    const double a = anchors[i].t;
    const double b = anchors[i + 1].t;
    if (!(b - a > kRotationKeyTolerance)) continue;
    for (double k = 1.0; k < kStepsPerSpan; k += 1.0)
      out.push_back(Sample{a + (b - a) * (k / kStepsPerSpan), Sample::Plain});
  }
  out.push_back(anchors.back());
}

// The two sides of a seam of the plain cycle are the last key's rotation and the first's.
QvPoint3<double> sample_value(const QvQuatCurve& c, const Sample& s) {
  if (s.role == Sample::SeamBefore) return c.GetKeyValue(c.GetNumKeys() - 1);
  if (s.role == Sample::SeamAfter) return c.GetKeyValue(0);
  return c.Eval(s.t);
}

QvULong emit(const QvQuatCurve& c, QvULong component, const std::vector<Sample>& samples,
             const QvTransfo4& transform, QvPoint2dArray& points, QvPointTagArray& tags,
             QvBoolArray* flags) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    QvPoint3<double> v = sample_value(c, samples[i]);
    const double degrees = component_of(v, component) * qv::internal::kRadiansToDegrees;
    points.Add(transform.Map(QvPoint2<double>(samples[i].t, degrees)));
    tags.Add(i == 0 ? TagFirst : TagLast);
    if (flags != nullptr) flags->Add(samples[i].role == Sample::SeamAfter ? 2 : 0);
  }
  return static_cast<QvULong>(samples.size());
}

}  // namespace

// Key times before and after an edit that keeps the order of keys: the user data follows.
void QvQuatFCurve::FollowKeyTimesInsideCriticalSection(const std::vector<double>& before) {
  QvDoubleArray from, to;
  for (QvULong i = 0; i < before.size() && i < m_curve->GetNumKeys(); ++i) {
    if (before[i] == m_curve->GetKeyTime(i)) continue;
    from.Add(before[i]);
    to.Add(m_curve->GetKeyTime(i));
  }
  if (from.size != 0) MoveKeyUserDataTail(from, to);
}

// Merging keys

QvLong QvQuatFCurve::MergeInsideCriticalSection(double from, double to, double parameter,
                                                QvPoint3<double> const& value, QvLong openFrom,
                                                QvLong openTo, QvLong keepUserData) {
  QvQuatCurve& c = *m_curve;
  QvULong first = 0, last = 0;
  if (c.GetNumKeys() == 0 || GetKeyIndicesInInterval(from, to, first, last, openFrom, openTo) == 0)
    return c.SetKey(parameter, value, 0.0) != kNoRotationKey ? 1 : 0;
  if (first == last && std::fabs(c.GetKeyTime(first) - parameter) <= kRotationKeyTolerance)
    return c.SetKey(parameter, value, kRotationKeyTolerance) != kNoRotationKey ? 1 : 0;
  CFCUserDataSet kept;
  bool keep = false;
  if (keepUserData != 0) {
    QvULong nearest = first;
    for (QvULong i = first + 1; i <= last; ++i)
      if (std::fabs(c.GetKeyTime(i) - parameter) < std::fabs(c.GetKeyTime(nearest) - parameter))
        nearest = i;
    if (const CFCUserDataSet* set = GetUserDataSet(c.GetKeyTime(nearest))) {
      kept = *set;
      keep = true;
    }
  }
  RemoveKeysInsideCriticalSection(first, last);
  const QvULong index = c.SetKey(parameter, value, 0.0);
  if (index == kNoRotationKey) return 0;
  if (keep) SetUserDataSet(kept, c.GetKeyTime(index));
  return 1;
}

QvLong QvQuatFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                       QvLong openFrom, QvLong openTo, QvLong keepUserData) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !all_finite({from, to, parameter}) || m_component > 2) return 0;
  if (AreAnyKeysLockedInInterval(from, to, openFrom, openTo) != 0) return 0;
  QvPoint3<double> v = c.Eval(parameter);
  component_of(v, m_component) = value * kDegreesToRadians;
  return MergeInsideCriticalSection(from, to, parameter, v, openFrom, openTo, keepUserData);
}

QvLong QvQuatFCurve::MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                                   QvLong openFrom, QvLong openTo,
                                                   QvLong keepUserData, QvLong noFold) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !all_finite({from, to, parameter})) return 0;
  if (AreAnyKeysLockedInInterval(from, to, openFrom, openTo) != 0) return 0;
  const double t = noFold != 0 ? parameter : FoldParameter(parameter);
  if (t != parameter) {
    const double d = t - parameter;
    from += d;
    to += d;
    if (from > to) std::swap(from, to);
  }
  return MergeInsideCriticalSection(from, to, t, c.Eval(t), openFrom, openTo, keepUserData);
}

// Heads, tails and joins

QvLong QvQuatFCurve::RemoveTail(double parameter) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0 || n == 0 || !std::isfinite(parameter)) return 0;
  if (parameter >= c.GetKeyTime(n - 1) - kRotationKeyTolerance) return 1;
  if (AreAnyKeysLockedInInterval(parameter, c.GetKeyTime(n - 1), 1, 0) != 0) return 0;
  const QvULong at = c.SetKey(parameter, c.Eval(parameter), kRotationKeyTolerance);
  if (at + 1 < c.GetNumKeys()) RemoveKeysInsideCriticalSection(at + 1, c.GetNumKeys() - 1);
  return 1;
}

QvLong QvQuatFCurve::RemoveHead(double parameter) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0 || n == 0 || !std::isfinite(parameter)) return 0;
  if (parameter <= c.GetKeyTime(0) + kRotationKeyTolerance) return 1;
  if (AreAnyKeysLockedInInterval(c.GetKeyTime(0), parameter, 0, 1) != 0) return 0;
  const QvULong at = c.SetKey(parameter, c.Eval(parameter), kRotationKeyTolerance);
  if (at > 0) RemoveKeysInsideCriticalSection(0, at - 1);
  return 1;
}

// The piece [from, to] goes to `out` with its own times; the rest closes up, the later side's
// rotation standing at the seam.
QvLong QvQuatFCurve::Cut(double from, double to, QvBaseFCurve& out) {
  LockGuard guard(*this);
  QvBaseFCurve* target_base = out.QueryFCurveKind(KindQuat);
  if (target_base == nullptr || target_base == this) return 0;
  auto& target = static_cast<QvQuatFCurve&>(*target_base);
  LockGuard target_guard(target);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || target.m_curve->IsReadOnly() != 0 || target.m_curve == m_curve)
    return 0;
  if (!all_finite({from, to}) || from > to || c.GetNumKeys() == 0) return 0;
  if (AreAnyKeysLockedInInterval(from, to, 0, 0) != 0) return 0;
  for (QvULong i = 0; i < c.GetNumKeys(); ++i)
    if (c.GetKeyTime(i) > to && c.IsParamLocked(i) != 0) return 0;

  QvQuatCurve work(c);
  const QvPoint3<double> at_from = c.Eval(from);
  const QvPoint3<double> at_to = c.Eval(to);
  work.SetKey(from, at_from, kRotationKeyTolerance);
  const QvULong k_to = work.SetKey(to, at_to, kRotationKeyTolerance);
  QvQuatCurve piece(work);
  QvULong first = 0;
  while (first < piece.GetNumKeys() && piece.GetKeyTime(first) < from - kRotationKeyTolerance)
    ++first;
  if (first > 0) piece.RemoveKeyRange(0, first - 1);
  QvULong last = piece.GetNumKeys();
  while (last > 0 && piece.GetKeyTime(last - 1) > to + kRotationKeyTolerance) --last;
  if (last < piece.GetNumKeys()) piece.RemoveKeyRange(last, piece.GetNumKeys() - 1);

  const QvULong k_from = work.FindKey(from, kRotationKeyTolerance);
  const double gap = to - from;
  std::vector<std::pair<double, double>> moved;
  if (k_to != k_from) {
    QvQuatKey seam = work.GetKey(k_from);
    seam.value = work.GetKeyValue(k_to);
    work.SetKey(seam, kRotationKeyTolerance);
    work.RemoveKeyRange(k_from + 1, k_to);
    for (QvULong i = k_from + 1; i < work.GetNumKeys(); ++i) {
      moved.emplace_back(work.GetKeyTime(i), work.GetKeyTime(i) - gap);
      work.SetParameter(i, work.GetKeyTime(i) - gap);
    }
  }
  if (work.IsValid() == 0) return 0;

  // User data: the piece takes the sets of its keys; removed keys lose theirs; the tail moves.
  std::vector<std::pair<double, CFCUserDataSet>> piece_sets;
  for (QvULong i = 0; i < piece.GetNumKeys(); ++i)
    if (const CFCUserDataSet* set = GetUserDataSet(piece.GetKeyTime(i)))
      piece_sets.emplace_back(piece.GetKeyTime(i), *set);
  *target.m_curve = piece;
  target.RemoveAllKeyUserData();
  for (const auto& entry : piece_sets) target.SetUserDataSet(entry.second, entry.first);
  for (QvULong i = 0; i < c.GetNumKeys(); ++i) {
    const double t = c.GetKeyTime(i);
    if (t > from + kRotationKeyTolerance && t <= to + kRotationKeyTolerance)
      QvBaseFCurve::RemoveKeyUserData(t);
  }
  *m_curve = work;
  QvDoubleArray old_times, new_times;
  for (const auto& m : moved) {
    old_times.Add(m.first);
    new_times.Add(m.second);
  }
  if (old_times.size != 0) MoveKeyUserDataTail(old_times, new_times);
  return 1;
}

QvLong QvQuatFCurve::Append(const QvBaseFCurve& other) {
  LockGuard guard(*this);
  const QvBaseFCurve* source_base = other.QueryFCurveKind(KindQuat);
  if (source_base == nullptr) return 0;
  const auto& source = static_cast<const QvQuatFCurve&>(*source_base);
  LockGuard source_guard(source);
  QvQuatCurve& c = *m_curve;
  const QvQuatCurve src(*source.m_curve);  // a copy, so that a curve may follow itself
  const QvULong n = c.GetNumKeys();
  const QvULong m = src.GetNumKeys();
  if (c.IsReadOnly() != 0 || n == 0 || m == 0) return 0;
  const double shift = c.GetKeyTime(n - 1) - src.GetKeyTime(0);
  QvQuatCurve work(c);
  QvQuatKey joint = work.GetKey(n - 1);
  joint.value = src.GetKeyValue(0);
  work.SetKey(n - 1, joint);
  std::vector<std::pair<double, CFCUserDataSet>> sets;
  for (QvULong i = 1; i < m; ++i) {
    QvQuatKey k = src.GetKey(i);
    const double old_time = k.time;
    k.time += shift;
    if (!(k.time > work.GetKeyTime(work.GetNumKeys() - 1))) return 0;
    work.SetKey(k, -1.0);
    if (const CFCUserDataSet* set = source.GetUserDataSet(old_time)) sets.emplace_back(k.time, *set);
  }
  *m_curve = work;
  for (const auto& entry : sets) SetUserDataSet(entry.second, entry.first);
  return 1;
}

QvLong QvQuatFCurve::Paste(const QvBaseFCurve& other, double from, double to) {
  LockGuard guard(*this);
  const QvBaseFCurve* source_base = other.QueryFCurveKind(KindQuat);
  if (source_base == nullptr) return 0;
  const auto& source = static_cast<const QvQuatFCurve&>(*source_base);
  LockGuard source_guard(source);
  QvQuatCurve& c = *m_curve;
  const QvQuatCurve src(*source.m_curve);
  const QvULong m = src.GetNumKeys();
  if (c.IsReadOnly() != 0 || m < 2 || !all_finite({from, to}) || from > to) return 0;
  if (AreAnyKeysLockedInInterval(from, to, 0, 0) != 0) return 0;
  const double offset = from - src.GetKeyTime(0);
  const double tail_shift = (src.GetKeyTime(m - 1) - src.GetKeyTime(0)) - (to - from);
  QvQuatCurve work(c);
  work.RemoveAllKeys();
  std::vector<std::pair<double, double>> moved;
  std::vector<double> dropped;
  for (QvULong i = 0; i < c.GetNumKeys(); ++i) {
    QvQuatKey k = c.GetKey(i);
    if (k.time < from - kRotationKeyTolerance) {
      work.SetKey(k, -1.0);
    } else if (k.time > to + kRotationKeyTolerance) {
      if (tail_shift != 0.0 && k.paramLock != 0) return 0;
      moved.emplace_back(k.time, k.time + tail_shift);
      k.time += tail_shift;
      work.SetKey(k, -1.0);
    } else {
      dropped.push_back(k.time);
    }
  }
  std::vector<std::pair<double, CFCUserDataSet>> sets;
  for (QvULong i = 0; i < m; ++i) {
    QvQuatKey k = src.GetKey(i);
    if (const CFCUserDataSet* set = source.GetUserDataSet(k.time))
      sets.emplace_back(k.time + offset, *set);
    k.time += offset;
    work.SetKey(k, -1.0);
  }
  if (work.IsValid() == 0) return 0;
  *m_curve = work;
  for (double t : dropped) QvBaseFCurve::RemoveKeyUserData(t);
  QvDoubleArray old_times, new_times;
  for (const auto& mv : moved) {
    old_times.Add(mv.first);
    new_times.Add(mv.second);
  }
  if (old_times.size != 0) MoveKeyUserDataTail(old_times, new_times);
  for (const auto& entry : sets) SetUserDataSet(entry.second, entry.first);
  return 1;
}

// Moves along the parameter axis, under the parameter locks of the whole curve

QvLong QvQuatFCurve::ShiftParameters(double offset) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0 || !std::isfinite(offset)) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  if (m_curve->Shift(offset) == 0) return 0;
  TranslateAllKeyUserData(offset);
  return 1;
}

QvLong QvQuatFCurve::ScaleParameterAxis(double scale) {
  LockGuard guard(*this);
  if (m_curve->IsReadOnly() != 0) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  if (m_curve->Scale(scale) == 0) return 0;
  ScaleAllKeyUserData(scale);
  return 1;
}

QvLong QvQuatFCurve::MirrorParameters() {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0) return 0;
  if (AreAnyParametersLockedInInterval(-DBL_MAX, DBL_MAX, 0, 0) != 0) return 0;
  if (n < 2) return 1;
  const double first = c.GetKeyTime(0);
  const double last = c.GetKeyTime(n - 1);
  QvQuatCurve work(c);
  work.RemoveAllKeys();
  QvDoubleArray old_times, new_times;
  for (QvULong i = n; i-- > 0;) {
    QvQuatKey k = c.GetKey(i);
    old_times.Add(k.time);
    k.time = first + last - k.time;
    new_times.Add(k.time);
    work.SetKey(k, -1.0);
  }
  if (work.IsValid() == 0) return 0;
  *m_curve = work;
  MoveKeyUserDataTail(old_times, new_times);
  return 1;
}

QvLong QvQuatFCurve::ScaleAndOffsetParameters(double from, double to, double anchor, double scale,
                                              double offset, QvLong openFrom, QvLong openTo,
                                              RegionHandle handle) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !all_finite({anchor, scale, offset}) || m_component > 2) return 0;
  const bool moves_parameters =
      handle == RegionHandleMinParameter || handle == RegionHandleMaxParameter;
  const bool moves_values = handle == RegionHandleMinValue || handle == RegionHandleMaxValue;
  if (!moves_parameters && !moves_values) return 0;
  QvULong first = 0, last = 0;
  if (GetKeyIndicesInInterval(from, to, first, last, openFrom, openTo) == 0) return 1;
  if (moves_parameters && AreAnyParametersLockedInInterval(from, to, openFrom, openTo) != 0)
    return 0;
  QvQuatCurve work(c);
  std::vector<double> before;
  for (QvULong i = 0; i < work.GetNumKeys(); ++i) before.push_back(work.GetKeyTime(i));
  for (QvULong i = first; i <= last; ++i) {
    if (moves_parameters) {
      work.SetParameter(i, (work.GetKeyTime(i) - anchor) * scale + anchor + offset);
    } else {
      const double v = work.GetKeyValue(i, m_component);
      work.SetKeyValue(i, m_component, (v - anchor) * scale + anchor + offset);
    }
  }
  if (work.IsValid() == 0) return 0;
  *m_curve = work;
  if (moves_parameters) FollowKeyTimesInsideCriticalSection(before);
  return 1;
}

// Values of the component; value-locked keys stay

QvLong QvQuatFCurve::ShiftValues(double offset) { return ScaleAndShiftValues(1.0, offset); }

QvLong QvQuatFCurve::ScaleAndShiftValues(double scale, double shift) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !all_finite({scale, shift}) || m_component > 2) return 0;
  for (QvULong i = 0; i < c.GetNumKeys(); ++i)
    c.SetKeyValue(i, m_component, c.GetKeyValue(i, m_component) * scale + shift);
  return 1;
}

QvLong QvQuatFCurve::MirrorValues() {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0 || m_component > 2) return 0;
  if (n == 0) return 1;
  double sum = 0.0;
  for (QvULong i = 0; i < n; ++i) sum += c.GetKeyValue(i, m_component);
  const double mean = sum / static_cast<double>(n);
  for (QvULong i = 0; i < n; ++i)
    c.SetKeyValue(i, m_component, (mean + mean) - c.GetKeyValue(i, m_component));
  return 1;
}

QvLong QvQuatFCurve::ResampleSequence(double from, double to, double step, QvLong keepKeys,
                                      QvLong) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  if (c.IsReadOnly() != 0 || !all_finite({from, to}) || from > to) return 0;
  std::vector<double> positions{from};
  if (to - from > kRotationKeyTolerance) {
    if (!(step > 0.0) || !std::isfinite(step) || (to - from) / step > kMaxResample) return 0;
    const double count = std::floor((to - from) / step);
    for (double k = 1.0; k <= count; k += 1.0) positions.push_back(from + k * step);
    if (to - positions.back() > kRotationKeyTolerance) positions.push_back(to);
  }
  // All rotations are taken from the curve as it stands, before any key moves it.
  std::vector<QvPoint3<double>> values;
  values.reserve(positions.size());
  for (double p : positions) values.push_back(c.Eval(p));
  auto serves = [&](double t) {
    for (double p : positions)
      if (std::fabs(t - p) <= kSampleMatch) return true;
    return false;
  };
  std::vector<QvULong> doomed;
  if (keepKeys == 0) {
    for (QvULong i = 0; i < c.GetNumKeys(); ++i) {
      const double t = c.GetKeyTime(i);
      if (t > from && t < to && !serves(t)) {
        if (c.GetConstraintData(i) != 0) return 0;
        doomed.push_back(i);
      }
    }
  }
  for (std::size_t i = doomed.size(); i-- > 0;) RemoveKeysInsideCriticalSection(doomed[i], doomed[i]);
  for (std::size_t i = 0; i < positions.size(); ++i)
    if (c.FindKey(positions[i], kSampleMatch) == kNoRotationKey)
      c.SetKey(positions[i], values[i], -1.0);
  return 1;
}

// Appending samples

QvLong QvQuatFCurve::AppendLinearSegment(QvPoint2<double> const& point) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0 || n == 0 || !(point.x > c.GetKeyTime(n - 1))) return 0;
  return c.SetKey(point.x, m_component, point.y, 0.0) != kNoRotationKey ? 1 : 0;
}

QvLong QvQuatFCurve::AppendOrExtendLinearSegment(QvPoint2<double> const& point,
                                                 double tolerance) {
  LockGuard guard(*this);
  QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (c.IsReadOnly() != 0 || n == 0 || !(point.x > c.GetKeyTime(n - 1))) return 0;
  if (n >= 2 && std::isfinite(point.x)) {
    const double t0 = c.GetKeyTime(n - 2), t1 = c.GetKeyTime(n - 1);
    const double v0 = c.GetKeyValue(n - 2, m_component), v1 = c.GetKeyValue(n - 1, m_component);
    const double e = v0 + (point.x - t0) * (v1 - v0) / (t1 - t0);
    if (std::fabs(e - point.y) <= tolerance) {
      const double old_time = t1;
      c.SetParameter(n - 1, point.x);
      c.SetKeyValue(n - 1, m_component, e);
      QvDoubleArray from, to;
      from.Add(old_time);
      to.Add(point.x);
      MoveKeyUserDataTail(from, to);
      return 1;
    }
  }
  return c.SetKey(point.x, m_component, point.y, 0.0) != kNoRotationKey ? 1 : 0;
}

// Drawing and sampling. Samples of a rotation channel come from evaluating the quaternion curve:
// a fixed number of steps between keys, each key and seam hit exactly.

QvULong QvQuatFCurve::Flatten(const QvTransfo4& transform, double, QvPoint2dArray& points,
                              QvPointTagArray& tags, QvLong) const {
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  const QvULong n = c.GetNumKeys();
  if (n == 0 || m_component > 2) return 0;
  std::vector<Sample> samples;
  const double first = c.GetKeyTime(0), last = c.GetKeyTime(n - 1);
  if (n == 1 || !(last > first)) {
    samples.push_back(Sample{first, Sample::Plain});
    samples.push_back(Sample{first, Sample::Plain});
  } else {
    sample_positions(c, first, last, samples);
  }
  return emit(c, m_component, samples, transform, points, tags, nullptr);
}

QvULong QvQuatFCurve::FlattenFromTo(const QvExtent2<double>& extent, const QvTransfo4& transform,
                                    double, QvPoint2dArray& points, QvPointTagArray& tags,
                                    QvBoolArray& flags, QvLong) const {
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  if (extent.state == QvExtent2<double>::ExtentEmpty || m_component > 2) return 0;
  double from = extent.min.x;
  double to = extent.max.x;
  if (extent.state == QvExtent2<double>::ExtentUniverse) {
    if (c.GetNumKeys() == 0) return 0;
    from = c.GetKeyTime(0);
    to = c.GetKeyTime(c.GetNumKeys() - 1);
  }
  if (!all_finite({from, to})) return 0;
  if (from > to) std::swap(from, to);
  std::vector<Sample> samples;
  if (to - from > kRotationKeyTolerance) sample_positions(c, from, to, samples);
  else samples.push_back(Sample{from, Sample::Plain});
  return emit(c, m_component, samples, transform, points, tags, &flags);
}

QvULong QvQuatFCurve::EvalSequence(double from, double to, double step, double,
                                   QvDoubleArray& parameters, QvDoubleArray& values,
                                   QvLong) const {
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  if (!all_finite({from, to}) || m_component > 2) return 0;
  QvULong added = 0;
  if (to - from > kRotationKeyTolerance) {
    if (!(step > 0.0) || !std::isfinite(step) || (to - from) / step > kMaxSequence) return 0;
    for (double k = 0.0;; k += 1.0) {
      const double x = from + k * step;
      if (!(x < to - kRotationKeyTolerance)) break;
      parameters.Add(x);
      values.Add(c.Eval(x, m_component));
      ++added;
    }
  }
  parameters.Add(to);
  values.Add(c.Eval(to, m_component));
  return added + 1;
}

QvBaseFCurve* QvQuatFCurve::SnapShot(double from, double to, ExtrapolationMethod method) const {
  LockGuard guard(*this);
  const QvQuatCurve& c = *m_curve;
  if (!all_finite({from, to})) return nullptr;
  if (from > to) std::swap(from, to);
  try {
    std::unique_ptr<QvQuatFCurve> view(new QvQuatFCurve(m_component));
    QvQuatCurve* shot = view->m_curve;
    shot->SetValueWhenNoKeys(c.GetValueWhenNoKeys());
    shot->SetExtrapolationMethod(method);
    if (c.GetNumKeys() != 0) {
      std::vector<Sample> samples;
      if (to - from > kRotationKeyTolerance) sample_positions(c, from, to, samples);
      else samples.push_back(Sample{from, Sample::Plain});
      // A key holds one rotation: at a seam, the one that the curve evaluates to there.
      for (const Sample& s : samples)
        if (s.role != Sample::SeamBefore) shot->SetKey(s.t, c.Eval(s.t), kRotationKeyTolerance);
    }
    return view.release();
  } catch (...) {
    return nullptr;
  }
}
