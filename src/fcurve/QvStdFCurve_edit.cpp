#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/edit_ops.h"
#include "fcurve/userdata_set.h"
#include "fcurve/userdata_store.h"

#include <cmath>
#include <memory>
#include <vector>

// Key and tangent editing of the standard curve. Every mutator takes the lock, refuses on a
// read-only curve and on the locks that guard what it would change, and either succeeds whole or
// leaves the curve as it was. Operations that take several steps that could refuse half way run
// on a copy of the body and swap it in at the end.

using qv::internal::is_kind;
using qv::internal::is_kind_or_inherit;
using qv::internal::kFlagParameterLocked;
using qv::internal::kFlagTangentAutomatic;
using qv::internal::kFlagTangentContinuity;
using qv::internal::kFlagTangentDirectionLocked;
using qv::internal::kFlagTangentLengthContinuity;
using qv::internal::kFlagTangentLengthLocked;
using qv::internal::kFlagValueLocked;
using qv::internal::kKeyTolerance;
using qv::internal::Point2d;

namespace {

bool is_side(QvBaseFCurve::KeySide side) {
  return side == QvBaseFCurve::KeySideLeft || side == QvBaseFCurve::KeySideRight;
}

// The tolerant key search, refusing a NaN that the search would otherwise read as a hit.
bool find_key(const QvStdFCurveImpl& body, double parameter, double tolerance, QvULong& index) {
  if (std::isnan(parameter) || std::isnan(tolerance)) return false;
  return body.FindKeyNear(parameter, tolerance, index);
}

bool is_interval(double from, double to) { return !std::isnan(from) && !std::isnan(to); }

bool is_finite(const QvPoint2<double>& p) { return std::isfinite(p.x) && std::isfinite(p.y); }

bool interior_between_cubics(const QvStdFCurveImpl& body, QvULong i) {
  return i > 0 && i + 1 < body.m_numKeys &&
         body.Key(i - 1).segmentKind == QvBaseFCurve::FSBezierCubic &&
         body.Key(i).segmentKind == QvBaseFCurve::FSBezierCubic;
}

// Constraints whose handles are computed on reading; freezing a key turns them into stored ones.
constexpr QvLong kComputedTangents = QvBaseFCurve::KCTangentFlat |
                                     QvBaseFCurve::KCTangentFlatAtExtremum |
                                     QvBaseFCurve::KCTangentAutomatic |
                                     QvBaseFCurve::KCTangentLinear;

constexpr QvLong kFreezableConstraints = kComputedTangents | QvBaseFCurve::KCTangentZeroLength;

void clear_flags(QvStdFCurveKey& key, std::uint16_t bits) {
  key.flags = static_cast<std::uint16_t>(key.flags & ~bits);
}

void set_flags(QvStdFCurveKey& key, std::uint16_t bits) {
  key.flags = static_cast<std::uint16_t>(key.flags | bits);
}

// Length of a tangent with its value axis scaled, so that lengths compare as the host sees them.
double scaled_length(const Point2d& v, double scale) {
  const double y = v.y * scale;
  return std::sqrt(v.x * v.x + y * y);
}

Point2d left_tangent(const QvStdFCurveImpl& body, QvULong i) {
  const QvStdFCurveKey& key = body.Key(i);
  const Point2d h = body.EvaluatedLeftHandle(i);
  return Point2d(h.x - key.parameter, h.y - key.leftValue);
}

Point2d right_tangent(const QvStdFCurveImpl& body, QvULong i) {
  const QvStdFCurveKey& key = body.Key(i);
  const Point2d h = body.EvaluatedRightHandle(i);
  return Point2d(h.x - key.parameter, h.y - key.rightValue);
}

// An automatic key lets the right handle of the key before it reach one third of the way, when
// that key is automatic as well. Before key i loses its automatic flag, the handle of key i - 1 is
// stored where it evaluates, so that segment keeps its shape.
void freeze_right_reach(QvStdFCurveImpl& body, QvULong i) {
  const std::uint16_t automatic = kFlagTangentAutomatic;
  if ((body.Key(i).flags & automatic) && (body.Key(i - 1).flags & automatic))
    qv::internal::store_right_handle(body, i - 1, body.EvaluatedRightHandle(i - 1));
}

// Keys [first, last] store their evaluated handles, keep continuity only where it still holds
// and lose the computed-tangent constraints of `constraint`. With `left` the first key stores
// only its right handle, with `right` the last key only its left one: the handles inside the
// interval.
void freeze_keys(QvStdFCurveImpl& body, QvULong first, QvULong last, QvLong left, QvLong right,
                 QvLong constraint) {
  const std::uint16_t cleared =
      qv::internal::constraint_flag_bits(constraint & kFreezableConstraints);
  // Evaluated handles read the flags of the neighbours, so all are read before any is stored.
  std::vector<Point2d> lefts(last - first + 1);
  std::vector<Point2d> rights(last - first + 1);
  for (QvULong i = first; i <= last; ++i) {
    lefts[i - first] = body.EvaluatedLeftHandle(i);
    rights[i - first] = body.EvaluatedRightHandle(i);
  }
  if (first >= 1 && (cleared & kFlagTangentAutomatic)) freeze_right_reach(body, first);
  for (QvULong i = first; i <= last; ++i) {
    const bool do_left = !(i == first && left != 0) || (i == last && right != 0);
    const bool do_right = !(i == last && right != 0) || (i == first && left != 0);
    if (do_left) qv::internal::store_left_handle(body, i, lefts[i - first]);
    if (do_right) qv::internal::store_right_handle(body, i, rights[i - first]);
  }
  for (QvULong i = first; i <= last; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    if ((key.flags & kFlagTangentContinuity) && !qv::internal::tangents_continuous(body, i))
      clear_flags(key, kFlagTangentContinuity);
    clear_flags(key, cleared);
  }
  qv::internal::repair_segments(body, first == 0 ? 0 : first - 1, last);
}

// Ends the curve with a new segment of `kind`, constant or linear, from the last key to a new key
// at `point`. The new key arrives where that segment ends: at the last key's right value for a
// constant segment, at the point for a linear one; its handles lie on its own values.
QvLong append_plain_segment(QvStdFCurveImpl& body, const QvPoint2<double>& point,
                            QvBaseFCurve::FSKind kind) {
  const QvULong n = body.m_numKeys;
  if (body.m_readOnly != 0 || n == 0 || !std::isfinite(point.x)) return 0;
  if (!(point.x > body.Key(n - 1).parameter)) return 0;
  body.InsertKeys(n, 1);
  QvStdFCurveKey& last = body.Key(n - 1);
  QvStdFCurveKey& key = body.Key(n);
  key.parameter = point.x;
  key.leftValue = kind == QvBaseFCurve::FSConstant ? last.rightValue : point.y;
  key.rightValue = point.y;
  key.segmentKind = last.segmentKind;
  key.flags = kFlagTangentContinuity;
  last.segmentKind = static_cast<unsigned char>(kind);
  qv::internal::store_left_handle(body, n, Point2d(point.x, key.leftValue));
  qv::internal::store_right_handle(body, n, point);
  qv::internal::repair_segments(body, n - 1, n - 1);
  return 1;
}

}  // namespace

QvLong QvStdFCurve::CreateKey(double parameter, double value) {
  return CreateKey(parameter, value, static_cast<FSKind>(0), static_cast<FSKind>(0));
}

QvLong QvStdFCurve::CreateKey(double parameter, double value, FSKind left, FSKind right) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (!std::isfinite(parameter) || !is_kind_or_inherit(left) || !is_kind_or_inherit(right))
    return 0;
  return qv::internal::create_key(body, parameter, value, left, right) ? 1 : 0;
}

QvLong QvStdFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                      QvLong openFrom, QvLong openTo, QvLong keepUserData) {
  return MergeAndCreateKey(from, to, parameter, value, static_cast<FSKind>(0),
                           static_cast<FSKind>(0), openFrom, openTo, keepUserData);
}

QvLong QvStdFCurve::MergeAndCreateKey(double from, double to, double parameter, double value,
                                      FSKind left, FSKind right, QvLong openFrom, QvLong openTo,
                                      QvLong keepUserData) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (!std::isfinite(parameter) || !is_kind_or_inherit(left) || !is_kind_or_inherit(right))
    return 0;
  if (!is_interval(from, to)) return 0;
  if (AreAnyParametersLockedInInterval(from, to, openFrom, openTo)) return 0;
  if (AreAnyValuesLockedInInterval(from, to, openFrom, openTo)) return 0;
  if (body.m_numKeys == 0)
    return qv::internal::create_key(body, parameter, value, left, right) ? 1 : 0;

  QvULong first;
  QvULong end;
  body.SelectInterval(from, to, openFrom, openTo, first, end);
  std::unique_ptr<CFCUserDataSet> kept;
  if (keepUserData != 0) {
    if (const CFCUserDataSet* set = GetUserDataSet(parameter))
      kept = std::make_unique<CFCUserDataSet>(*set);
  }
  const bool everything = end - first == body.m_numKeys;
  QvStdFCurveImpl scratch(body);
  std::vector<double> removed;
  qv::internal::remove_keys(scratch, first, end, static_cast<FSKind>(0), removed);
  if (everything && left != 0) scratch.m_firstSegmentKind = left;
  if (!qv::internal::create_key(scratch, parameter, value, left, right)) return 0;

  body.Swap(scratch);
  if (everything) {
    qv::internal::destroy_user_data_store(m_userData);
    m_userData = nullptr;
  } else {
    for (double p : removed) RemoveKeyUserData(p);
  }
  if (kept) {
    QvULong i;
    if (find_key(body, parameter, kKeyTolerance, i))
      SetUserDataSet(*kept, body.Key(i).parameter);
  }
  return 1;
}

QvLong QvStdFCurve::CreateNonModifyingKey(double parameter, QvLong noFold) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (!std::isfinite(parameter)) return 0;
  if (noFold == 0) parameter = body.Fold(parameter);
  const QvULong n = body.m_numKeys;
  QvStdFCurveImpl scratch(body);
  // The automatic handles of the keys on both sides would follow the new neighbour; storing
  // them as they evaluate now keeps the shape.
  const QvStdFCurveImpl::KeyPosition found = scratch.FindKey(parameter);
  const QvULong hi = found.exact ? found.position - 1 : found.position;
  QvULong keys[2] = {0, 0};
  QvULong count = 0;
  if (hi >= 1) keys[count++] = hi - 1;
  if (hi < n) keys[count++] = hi;
  Point2d lefts[2];
  Point2d rights[2];
  for (QvULong k = 0; k < count; ++k) {
    lefts[k] = scratch.EvaluatedLeftHandle(keys[k]);
    rights[k] = scratch.EvaluatedRightHandle(keys[k]);
  }
  // The key before reaches one third of the way only while its neighbour is automatic too.
  if (keys[0] >= 1) freeze_right_reach(scratch, keys[0]);
  for (QvULong k = 0; k < count; ++k) {
    if (!(scratch.Key(keys[k]).flags & kFlagTangentAutomatic)) continue;
    qv::internal::store_left_handle(scratch, keys[k], lefts[k]);
    qv::internal::store_right_handle(scratch, keys[k], rights[k]);
  }
  for (QvULong k = 0; k < count; ++k) clear_flags(scratch.Key(keys[k]), kFlagTangentAutomatic);
  // On a key already there this sets both sides to the value that the curve has at it, which
  // is the one on the right.
  const double value = scratch.EvalCore(scratch.SnapToKey(parameter));
  if (!qv::internal::create_key(scratch, parameter, value, static_cast<FSKind>(0),
                                static_cast<FSKind>(0)))
    return 0;
  body.Swap(scratch);
  return 1;
}

QvLong QvStdFCurve::MergeAndCreateNonModifyingKey(double from, double to, double parameter,
                                                  QvLong openFrom, QvLong openTo,
                                                  QvLong keepUserData, QvLong noFold) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (noFold == 0) {
    from = body.Fold(from);
    to = body.Fold(to);
    parameter = body.Fold(parameter);
  }
  if (!is_interval(from, to) || !std::isfinite(parameter)) return 0;
  if (AreAnyParametersLockedInInterval(from, to, openFrom, openTo)) return 0;
  if (AreAnyValuesLockedInInterval(from, to, openFrom, openTo)) return 0;
  const double value = qv::internal::value_with_constant_extrapolation(body, parameter);
  return MergeAndCreateKey(from, to, parameter, value, static_cast<FSKind>(0),
                           static_cast<FSKind>(0), openFrom, openTo, keepUserData);
}

QvLong QvStdFCurve::RemoveKey(double parameter, double tolerance) {
  return RemoveKey(parameter, static_cast<FSKind>(0), tolerance);
}

QvLong QvStdFCurve::RemoveKey(double parameter, FSKind kind, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || !is_kind_or_inherit(kind)) return 0;
  if (AreAnyParametersLockedInInterval(parameter, parameter, 0, 0) ||
      AreAnyValuesLockedInInterval(parameter, parameter, 0, 0))
    return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  const bool only = body.m_numKeys == 1;
  std::vector<double> removed;
  removed.reserve(1);
  qv::internal::remove_keys(body, i, i + 1, kind, removed);
  if (only) {
    // A curve left without keys keeps no user data at all, its own blobs included.
    qv::internal::destroy_user_data_store(m_userData);
    m_userData = nullptr;
  } else {
    RemoveKeyUserData(removed[0]);
  }
  return 1;
}

QvLong QvStdFCurve::RemoveKeys(double from, double to, QvLong openFrom, QvLong openTo) {
  return RemoveKeys(from, to, static_cast<FSKind>(0), openFrom, openTo);
}

QvLong QvStdFCurve::RemoveKeys(double from, double to, FSKind kind, QvLong openFrom,
                               QvLong openTo) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || !is_kind_or_inherit(kind)) return 0;
  if (!is_interval(from, to)) return 0;
  if (AreAnyParametersLockedInInterval(from, to, openFrom, openTo) ||
      AreAnyValuesLockedInInterval(from, to, openFrom, openTo))
    return 0;
  QvULong first;
  QvULong end;
  body.SelectInterval(from, to, openFrom, openTo, first, end);
  if (first >= end) return 1;
  const bool everything = end - first == body.m_numKeys;
  std::vector<double> removed;
  removed.reserve(end - first);
  qv::internal::remove_keys(body, first, end, kind, removed);
  if (everything) {
    qv::internal::destroy_user_data_store(m_userData);
    m_userData = nullptr;
  } else {
    for (double p : removed) RemoveKeyUserData(p);
  }
  return 1;
}

QvLong QvStdFCurve::SetValueWhenNoKeys(double value) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || std::isnan(value)) return 0;
  m_impl->m_valueWhenNoKeys = value;
  return 1;
}

QvLong QvStdFCurve::SetKeyValue(double parameter, KeySide side, double value, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0 || !is_side(side)) return 0;
  if (AreAnyValuesLockedInInterval(parameter, parameter, 0, 0)) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  QvStdFCurveKey& key = body.Key(i);
  const bool locked = (key.flags & kFlagValueLocked) != 0;
  if (side == KeySideRight) {
    if (locked && !(std::fabs(value - key.rightValue) <= kKeyTolerance)) return 0;
    key.rightHandle.y += value - key.rightValue;
    key.rightValue = value;
  } else {
    if (locked && !(std::fabs(value - key.leftValue) <= kKeyTolerance)) return 0;
    key.leftHandle.y += value - body.Arrival(i);
    key.leftValue = value;
  }
  return 1;
}

QvLong QvStdFCurve::AppendConstantSegment(const QvPoint2<double>& point) {
  LockGuard guard(*this);
  return append_plain_segment(*m_impl, point, FSConstant);
}

QvLong QvStdFCurve::AppendLinearSegment(const QvPoint2<double>& point) {
  LockGuard guard(*this);
  return append_plain_segment(*m_impl, point, FSLinear);
}

// A sample that stays on the line of the last linear segment moves the last key along the line
// instead of adding one, so that streams of collinear samples cost one key.
QvLong QvStdFCurve::AppendOrExtendLinearSegment(const QvPoint2<double>& point, double tolerance) {
  LockGuard guard(*this);
  {
    QvStdFCurveImpl& body = *m_impl;
    const QvULong n = body.m_numKeys;
    if (body.m_readOnly != 0 || n == 0 || !std::isfinite(point.x)) return 0;
    if (!(point.x > body.Key(n - 1).parameter)) return 0;
    if (n >= 2 && body.Key(n - 2).segmentKind == FSLinear) {
      const QvStdFCurveKey& prev = body.Key(n - 2);
      const QvStdFCurveKey& last = body.Key(n - 1);
      const double line = (point.x - prev.parameter) / (last.parameter - prev.parameter) *
                              (last.leftValue - prev.rightValue) +
                          prev.rightValue;
      if (std::fabs(point.y - line) <= tolerance) {
        const bool parameter_locked = (last.flags & kFlagParameterLocked) &&
                                      std::fabs(point.x - last.parameter) > kKeyTolerance;
        const bool value_locked = (last.flags & kFlagValueLocked) &&
                                  (std::fabs(line - last.leftValue) > kKeyTolerance ||
                                   std::fabs(line - last.rightValue) > kKeyTolerance);
        const double old_parameter = last.parameter;
        std::unique_ptr<CFCUserDataSet> set;
        if (!parameter_locked) {
          if (const CFCUserDataSet* s = GetUserDataSet(old_parameter))
            set = std::make_unique<CFCUserDataSet>(*s);
        }
        QvStdFCurveKey& key = body.Key(n - 1);
        if (!parameter_locked) {
          const double dx = point.x - key.parameter;
          key.parameter = point.x;
          key.leftHandle.x += dx;
          key.rightHandle.x += dx;
        }
        if (!value_locked) {
          key.leftHandle.y += line - key.leftValue;
          key.rightHandle.y += line - key.rightValue;
          key.leftValue = line;
          key.rightValue = line;
        }
        qv::internal::repair_segments(body, n - 2, n - 2);
        if (set) {
          RemoveKeyUserData(old_parameter);
          SetUserDataSet(*set, point.x);
        }
        return 1;
      }
    }
  }
  return AppendLinearSegment(point);
}

QvLong QvStdFCurve::AppendBezierCubicSegment(const QvPoint2<double>& rightHandle,
                                             const QvPoint2<double>& leftHandle,
                                             const QvPoint2<double>& point) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (body.m_readOnly != 0 || n == 0 || !std::isfinite(point.x)) return 0;
  const QvStdFCurveKey& last = body.Key(n - 1);
  if (!(point.x > last.parameter)) return 0;
  if (!QvStdFCurve_IsCubicSegmentValid(Point2d(last.parameter, last.rightValue), rightHandle,
                                       leftHandle, point))
    return 0;
  const unsigned char kind = last.segmentKind;
  body.InsertKeys(n, 1);
  QvStdFCurveKey& key = body.Key(n);
  key.parameter = point.x;
  key.leftValue = point.y;
  key.rightValue = point.y;
  key.leftHandle = point;
  key.rightHandle = point;
  key.segmentKind = kind;
  key.flags = kFlagTangentContinuity;
  qv::internal::store_left_handle(body, n, leftHandle);
  const Point2d left = body.Key(n).leftHandle;
  qv::internal::store_right_handle(body, n, Point2d(2.0 * point.x - left.x, 2.0 * point.y - left.y));
  qv::internal::store_right_handle(body, n - 1, rightHandle);
  body.Key(n - 1).segmentKind = FSBezierCubic;
  if (qv::internal::tangents_continuous(body, n - 1))
    set_flags(body.Key(n - 1), kFlagTangentContinuity);
  qv::internal::repair_segments(body, n - 1, n - 1);
  return 1;
}

QvLong QvStdFCurve::SetKeyTgtHandle(double parameter, KeySide side,
                                    const QvPoint2<double>& tangent, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.m_numKeys == 0) return 1;
  if (AreAnyTgtLengthsLockedInInterval(parameter, parameter, 0, 0) ||
      AreAnyTgtDirectionsLockedInInterval(parameter, parameter, 0, 0))
    return 0;
  if (!is_side(side) || !is_finite(tangent)) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = body.Key(i);
  if (side == KeySideRight) {
    const Point2d wanted(key.parameter + tangent.x, key.rightValue + tangent.y);
    const Point2d stored = qv::internal::right_handle_to_store(body, i, wanted);
    if (i + 1 < body.m_numKeys &&
        !qv::internal::segment_valid_with(body, i, stored, body.Key(i + 1).leftHandle))
      return 0;
    body.Key(i).rightHandle = stored;
  } else {
    const Point2d wanted(key.parameter + tangent.x, key.leftValue + tangent.y);
    const Point2d stored = qv::internal::left_handle_to_store(body, i, wanted);
    if (i > 0 && !qv::internal::segment_valid_with(body, i - 1, body.Key(i - 1).rightHandle, stored))
      return 0;
    body.Key(i).leftHandle = stored;
  }
  return 1;
}

QvLong QvStdFCurve::SetKeyTgtHandles(double parameter, const QvPoint2<double>& left,
                                     const QvPoint2<double>& right, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.m_numKeys == 0) return 1;
  if (AreAnyTgtLengthsLockedInInterval(parameter, parameter, 0, 0) ||
      AreAnyTgtDirectionsLockedInInterval(parameter, parameter, 0, 0))
    return 0;
  if (!is_finite(left) || !is_finite(right)) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  const QvStdFCurveKey& key = body.Key(i);
  Point2d stored_left;
  Point2d stored_right;
  if (!qv::internal::fit_left_handle(
          body, i, Point2d(key.parameter + left.x, key.leftValue + left.y), stored_left))
    return 0;
  if (!qv::internal::fit_right_handle(
          body, i, Point2d(key.parameter + right.x, key.rightValue + right.y), stored_right))
    return 0;
  body.Key(i).leftHandle = stored_left;
  body.Key(i).rightHandle = stored_right;
  return 1;
}

QvLong QvStdFCurve::LockTangentContinuity(double& parameter, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  QvStdFCurveKey& key = body.Key(i);
  if (!(key.flags & kFlagTangentContinuity)) {
    if (interior_between_cubics(body, i) && !qv::internal::tangents_continuous(body, i)) return 0;
    set_flags(key, kFlagTangentContinuity);
  }
  parameter = key.parameter;
  return 1;
}

QvLong QvStdFCurve::UnlockTangentContinuity(double& parameter, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  clear_flags(body.Key(i), kFlagTangentContinuity);
  parameter = body.Key(i).parameter;
  return 1;
}

// What a drag of the handle on `side` onto itself does with continuity on: the key's handles are
// frozen as they evaluate, the handle on `side` stays and the other turns to meet it, keeping its
// own length and shortened where it would leave its segment invalid.
QvLong QvStdFCurve::UnifyAndLockTangentContinuity(double& parameter, KeySide side,
                                                  double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !is_side(side)) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  if (body.Key(i).flags & (kFlagTangentLengthLocked | kFlagTangentDirectionLocked)) return 0;
  if (interior_between_cubics(body, i) && !qv::internal::tangents_continuous(body, i)) {
    QvStdFCurveImpl scratch(body);
    freeze_keys(scratch, i, i, 0, 0, kComputedTangents);
    set_flags(scratch.Key(i), kFlagTangentContinuity);
    if (side == KeySideLeft)
      qv::internal::propagate_left(scratch, i);
    else
      qv::internal::propagate_right(scratch, i);
    body.Swap(scratch);
  } else {
    set_flags(body.Key(i), kFlagTangentContinuity);
  }
  parameter = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::LockTangentLengthContinuity(double& parameter, double tolerance,
                                                double scale) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  if (interior_between_cubics(body, i)) {
    const double a = scaled_length(left_tangent(body, i), scale);
    const double b = scaled_length(right_tangent(body, i), scale);
    if (!(std::fabs(a - b) <= 1e-7)) return 0;
  }
  set_flags(body.Key(i), kFlagTangentLengthContinuity);
  parameter = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::UnlockTangentLengthContinuity(double& parameter, double tolerance, double) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  clear_flags(body.Key(i), kFlagTangentLengthContinuity);
  parameter = body.Key(i).parameter;
  return 1;
}

// The tangent that is not on `side` takes the scaled length of the one that is, and the lock then
// follows the rule of LockTangentLengthContinuity. If that length would leave its segment invalid
// the call refuses, since a shorter handle would break the lock that it is asked to set; a
// tangent of no length has no direction to lengthen along and stays as it is.
QvLong QvStdFCurve::UnifyAndLockTangentLengthContinuity(double& parameter, KeySide side,
                                                        double tolerance, double scale) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || !is_side(side)) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  if (body.Key(i).flags & (kFlagTangentLengthLocked | kFlagTangentDirectionLocked)) return 0;
  QvStdFCurveImpl scratch(body);
  freeze_keys(scratch, i, i, 0, 0, kComputedTangents);
  const QvStdFCurveKey& key = scratch.Key(i);
  const Point2d l(key.leftHandle.x - key.parameter, key.leftHandle.y - key.leftValue);
  const Point2d r(key.rightHandle.x - key.parameter, key.rightHandle.y - key.rightValue);
  const double target = scaled_length(side == KeySideLeft ? l : r, scale);
  const Point2d other = side == KeySideLeft ? r : l;
  const double own = scaled_length(other, scale);
  if (own > 0.0 && own != target) {
    const double f = target / own;
    if (side == KeySideLeft) {
      const Point2d wanted(key.parameter + other.x * f, key.rightValue + other.y * f);
      const Point2d stored = qv::internal::right_handle_to_store(scratch, i, wanted);
      if (i + 1 < scratch.m_numKeys &&
          !qv::internal::segment_valid_with(scratch, i, stored, scratch.Key(i + 1).leftHandle))
        return 0;
      scratch.Key(i).rightHandle = stored;
    } else {
      const Point2d wanted(key.parameter + other.x * f, key.leftValue + other.y * f);
      const Point2d stored = qv::internal::left_handle_to_store(scratch, i, wanted);
      if (i > 0 &&
          !qv::internal::segment_valid_with(scratch, i - 1, scratch.Key(i - 1).rightHandle, stored))
        return 0;
      scratch.Key(i).leftHandle = stored;
    }
  }
  if (interior_between_cubics(scratch, i)) {
    const double a = scaled_length(left_tangent(scratch, i), scale);
    const double b = scaled_length(right_tangent(scratch, i), scale);
    if (!(std::fabs(a - b) <= 1e-7)) return 0;
  }
  set_flags(scratch.Key(i), kFlagTangentLengthContinuity);
  body.Swap(scratch);
  parameter = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::SetConstraint(double& parameter, KeyConstraint constraint, QvLong on,
                                  double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  const std::uint16_t bits = qv::internal::constraint_flag_bits(constraint);
  if (on != 0)
    set_flags(body.Key(i), bits);
  else
    clear_flags(body.Key(i), bits);
  parameter = body.Key(i).parameter;
  return 1;
}

QvLong QvStdFCurve::SetConstraintAtIndex(QvULong index, KeyConstraint constraint, QvLong on) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || index >= body.m_numKeys) return 0;
  const std::uint16_t bits = qv::internal::constraint_flag_bits(constraint);
  if (on != 0)
    set_flags(body.Key(index), bits);
  else
    clear_flags(body.Key(index), bits);
  return 1;
}

// The end keys store only their inner handles; the outer ones, which linear extrapolation reads
// as they are stored, stay.
QvLong QvStdFCurve::FreezeAllTangents(KeyConstraint constraint) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || m_impl->m_numKeys == 0) return 0;
  return FreezeTangentsInInterval(QvULong{0}, m_impl->m_numKeys - 1, 1, 1, constraint);
}

QvLong QvStdFCurve::FreezeTangentsInInterval(double from, double to, QvLong left, QvLong right,
                                             KeyConstraint constraint) {
  LockGuard guard(*this);
  const QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (std::isnan(from) || std::isnan(to)) return 0;
  // The key nearest to each end; a tie goes to the earlier key.
  auto nearest = [&body](double x) -> QvULong {
    const QvStdFCurveImpl::KeyPosition found = body.FindKey(x);
    if (found.exact) return found.position - 1;
    if (found.position == 0) return 0;
    if (found.position == body.m_numKeys) return body.m_numKeys - 1;
    const QvULong a = found.position - 1;
    const double da = x - body.Key(a).parameter;
    const double db = body.Key(a + 1).parameter - x;
    return db < da ? a + 1 : a;
  };
  return FreezeTangentsInInterval(nearest(from), nearest(to), left, right, constraint);
}

QvLong QvStdFCurve::FreezeTangentsInInterval(QvULong first, QvULong last, QvLong left,
                                             QvLong right, KeyConstraint constraint) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  if (body.m_readOnly != 0 || n == 0) return 0;
  if (first > last || last >= n) return 0;
  freeze_keys(body, first, last, left, right, constraint);
  return 1;
}

QvLong QvStdFCurve::SetSegmentKind(double parameter, KeySide side, FSKind kind, double tolerance) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  QvULong i;
  if (!find_key(body, parameter, tolerance, i)) return 0;
  return SetSegmentKindAtIndex(i, side, kind);
}

QvLong QvStdFCurve::SetSegmentKindAtIndex(QvULong index, KeySide side, FSKind kind) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || index >= body.m_numKeys || !is_kind(kind)) return 0;
  // Any side but the left one names the segment that leaves the key.
  if (side == KeySideLeft) {
    if (index == 0) {
      body.m_firstSegmentKind = kind;
      return 1;
    }
    qv::internal::change_segment_kind(body, index - 1, kind);
    return 1;
  }
  if (index + 1 == body.m_numKeys) {
    body.Key(index).segmentKind = static_cast<unsigned char>(kind);
    return 1;
  }
  qv::internal::change_segment_kind(body, index, kind);
  return 1;
}

// The key at or before x names the segment; before the first key there is none to find.
QvLong QvStdFCurve::SetSegmentKindAtParameter(double parameter, FSKind kind) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (body.m_readOnly != 0 || body.m_numKeys == 0) return 0;
  if (!is_kind(kind) || std::isnan(parameter)) return 0;
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(parameter);
  if (found.position == 0) return 0;
  return SetSegmentKindAtIndex(found.position - 1, KeySideRight, kind);
}

QvLong QvStdFCurve::SetFirstSegmentKind(FSKind kind) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0 || !is_kind(kind)) return 0;
  m_impl->m_firstSegmentKind = kind;
  return 1;
}

QvLong QvStdFCurve::ConvertToUniformSegmentKind(FSKind kind) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (!is_kind(kind)) return 0;
  bool uniform = body.m_firstSegmentKind == kind;
  for (QvULong i = 0; uniform && i < body.m_numKeys; ++i)
    uniform = body.Key(i).segmentKind == kind;
  if (uniform) return 1;
  if (body.m_readOnly != 0) return 0;
  body.m_firstSegmentKind = kind;
  for (QvULong i = 0; i < body.m_numKeys; ++i) qv::internal::change_segment_kind(body, i, kind);
  return 1;
}

QvLong QvStdFCurve::SetDefaultBezierTangentConstraint(QvLong on) {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  body.m_defaultBezierTangent = on != 0 ? 1 : 0;
  for (QvULong i = 0; i < body.m_numKeys; ++i) {
    qv::internal::store_left_handle(body, i, body.Key(i).leftHandle);
    qv::internal::store_right_handle(body, i, body.Key(i).rightHandle);
  }
  return 1;
}

QvLong QvStdFCurve::SetReadOnlyConstraint(QvLong on) {
  LockGuard guard(*this);
  m_impl->m_readOnly = on != 0 ? 1 : 0;
  return 1;
}

QvLong QvStdFCurve::SetClampingValues(double min, double max) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0) return 0;
  if (std::isnan(min) || std::isnan(max) || min > max) return 0;
  m_impl->m_clampMin = min;
  m_impl->m_clampMax = max;
  return 1;
}

QvLong QvStdFCurve::SetExtrapolationMethod(ExtrapolationMethod method) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0) return 0;
  if (method < ExtrapolationConstant || method > ExtrapolationCycleOffset) return 0;
  m_impl->m_extrapolation = static_cast<unsigned char>(method);
  return 1;
}

QvLong QvStdFCurve::SetAsTimeFCurve(QvLong on) {
  LockGuard guard(*this);
  if (m_impl->m_readOnly != 0) return 0;
  const QvLong state = on != 0 ? 1 : 0;
  if (m_impl->m_timeCurve == state) return 0;
  m_impl->m_timeCurve = state;
  return 1;
}

// Automatic tangents are computed whenever they are read, so there is nothing to adjust.
QvLong QvStdFCurve::AdjustAdjacentAutomaticKeysTangents(double) { return 1; }
