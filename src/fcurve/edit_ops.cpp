#include "fcurve/edit_ops.h"

#include <cmath>

namespace qv::internal {

namespace {

using FS = QvBaseFCurve::FSKind;

constexpr double kMaxSlope = 100000.0;
constexpr int kShorteningSteps = 1022;

double clamp_slope(double s) {
  if (s < -kMaxSlope) return -kMaxSlope;
  if (s > kMaxSlope) return kMaxSlope;
  return s;
}

Point2d lerp(const Point2d& a, const Point2d& b, double t) {
  return Point2d(a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t);
}

// A direction of unit length; a vector within 1e-9 of zero on both axes has none and stays.
Point2d unit_or_same(const Point2d& v) {
  if (std::fabs(v.x) <= 1e-9 && std::fabs(v.y) <= 1e-9) return v;
  const double length = std::sqrt(v.x * v.x + v.y * v.y);
  return Point2d(v.x / length, v.y / length);
}

double squared(const Point2d& v) { return v.x * v.x + v.y * v.y; }

Point2d key_left(const QvStdFCurveKey& k) { return Point2d(k.parameter, k.leftValue); }
Point2d key_right(const QvStdFCurveKey& k) { return Point2d(k.parameter, k.rightValue); }

QvStdFCurveKey new_key(double x, double y, FS kind) {
  QvStdFCurveKey key{};
  key.parameter = x;
  key.leftValue = y;
  key.rightValue = y;
  key.leftHandle = Point2d(x, y);
  key.rightHandle = Point2d(x, y);
  key.segmentKind = static_cast<unsigned char>(kind);
  key.flags = kFlagTangentContinuity;
  return key;
}

bool coincides(const Point2d& handle, const Point2d& key) {
  const double dx = handle.x - key.x;
  const double dy = handle.y - key.y;
  return dx * dx + dy * dy <= 1e-15;
}

// The mirror of a handle through its key, onto the key's other side.
Point2d mirror(const Point2d& handle, const Point2d& from, const Point2d& to) {
  return Point2d(to.x - (handle.x - from.x), to.y - (handle.y - from.y));
}

}  // namespace

// The left routine guards its denominator with a 1e-9 test, the right one with a floor of 0.001:
// documents depend on both, so the two stay different.
Point2d left_handle_to_store(const QvStdFCurveImpl& body, QvULong i, const Point2d& h) {
  if (body.m_defaultBezierTangent == 0 || i == 0) return h;
  const QvStdFCurveKey& prev = body.Key(i - 1);
  const QvStdFCurveKey& key = body.Key(i);
  const double dx = (prev.parameter - key.parameter) / 3.0;
  const double d = h.x - key.parameter;
  const double denominator = std::fabs(d) > 1e-9 ? -d : 0.001;
  const double arrival = body.Arrival(i);
  const double slope = clamp_slope((arrival - h.y) / denominator);
  return Point2d(key.parameter + dx, arrival + slope * dx);
}

Point2d right_handle_to_store(const QvStdFCurveImpl& body, QvULong i, const Point2d& h) {
  if (body.m_defaultBezierTangent == 0 || i + 1 >= body.m_numKeys) return h;
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& next = body.Key(i + 1);
  const double dx = (next.parameter - key.parameter) / 3.0;
  const double d = h.x - key.parameter;
  const double denominator = d < -0.001 ? d : (d > 0.001 ? d : 0.001);
  const double slope = clamp_slope((h.y - key.rightValue) / denominator);
  return Point2d(key.parameter + dx, key.rightValue + slope * dx);
}

void store_left_handle(QvStdFCurveImpl& body, QvULong i, const Point2d& h) {
  body.Key(i).leftHandle = left_handle_to_store(body, i, h);
}

void store_right_handle(QvStdFCurveImpl& body, QvULong i, const Point2d& h) {
  body.Key(i).rightHandle = right_handle_to_store(body, i, h);
}

void repair_cubic(const Point2d& p0, Point2d& p1, Point2d& p2, const Point2d& p3) {
  if (p0.x > p1.x) p1.x = p0.x;
  if (p2.x > p3.x) p2.x = p3.x;
  if (QvStdFCurve_IsCubicSegmentValid(p0, p1, p2, p3)) return;
  const Point2d a = p1;
  const Point2d b = p2;
  double f = 0.9;
  for (int step = 0; step < 20; ++step, f *= 0.9) {
    p1 = Point2d(p0.x + f * (a.x - p0.x), p0.y + f * (a.y - p0.y));
    p2 = Point2d(p3.x + f * (b.x - p3.x), p3.y + f * (b.y - p3.y));
    if (QvStdFCurve_IsCubicSegmentValid(p0, p1, p2, p3)) return;
  }
  const double reach = (p3.x - p0.x) / 3.0;
  const Point2d u = unit_or_same(Point2d(a.x - p0.x, a.y - p0.y));
  const Point2d v = unit_or_same(Point2d(b.x - p3.x, b.y - p3.y));
  p1 = Point2d(p0.x + reach * u.x, p0.y + reach * u.y);
  p2 = Point2d(p3.x + reach * v.x, p3.y + reach * v.y);
  if (p1.x < p0.x) p1.x = p0.x;
  if (p1.x > p3.x) p1.x = p3.x;
  if (p2.x < p0.x) p2.x = p0.x;
  if (p2.x > p3.x) p2.x = p3.x;
}

bool segment_valid_with(const QvStdFCurveImpl& body, QvULong i, const Point2d& right,
                        const Point2d& left) {
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& next = body.Key(i + 1);
  return QvStdFCurve_IsCubicSegmentValid(key_right(key), right, left, key_left(next)) != 0;
}

bool segment_valid(const QvStdFCurveImpl& body, QvULong i) {
  return segment_valid_with(body, i, body.Key(i).rightHandle, body.Key(i + 1).leftHandle);
}

void repair_segments(QvStdFCurveImpl& body, QvULong first, QvULong last) {
  const QvULong n = body.m_numKeys;
  if (n < 2) return;
  if (last > n - 2) last = n - 2;
  for (QvULong i = first; i <= last; ++i) {
    if (segment_valid(body, i)) continue;
    Point2d p1 = body.Key(i).rightHandle;
    Point2d p2 = body.Key(i + 1).leftHandle;
    repair_cubic(key_right(body.Key(i)), p1, p2, key_left(body.Key(i + 1)));
    store_right_handle(body, i, p1);
    store_left_handle(body, i + 1, p2);
  }
}

namespace {

// Candidates run from the request itself down by factors of 0.99 towards the key.
template <class Accept>
bool shorten_towards(const Point2d& key, const Point2d& requested, Accept accept) {
  if (accept(requested)) return true;
  double f = 0.99;
  for (int step = 0; step < kShorteningSteps; ++step, f *= 0.99) {
    const Point2d candidate(key.x + f * (requested.x - key.x), key.y + f * (requested.y - key.y));
    if (accept(candidate)) return true;
  }
  return false;
}

}  // namespace

bool fit_left_handle(const QvStdFCurveImpl& body, QvULong i, const Point2d& requested,
                     Point2d& stored) {
  if (i == 0) {
    stored = left_handle_to_store(body, i, requested);
    return true;
  }
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& prev = body.Key(i - 1);
  return shorten_towards(key_left(key), requested, [&](const Point2d& candidate) {
    const Point2d s = left_handle_to_store(body, i, candidate);
    if (!(s.x >= prev.parameter && s.x <= key.parameter)) return false;
    if (!segment_valid_with(body, i - 1, prev.rightHandle, s)) return false;
    stored = s;
    return true;
  });
}

bool fit_right_handle(const QvStdFCurveImpl& body, QvULong i, const Point2d& requested,
                      Point2d& stored) {
  if (i + 1 >= body.m_numKeys) {
    stored = right_handle_to_store(body, i, requested);
    return true;
  }
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& next = body.Key(i + 1);
  return shorten_towards(key_right(key), requested, [&](const Point2d& candidate) {
    const Point2d s = right_handle_to_store(body, i, candidate);
    if (!(s.x >= key.parameter && s.x <= next.parameter)) return false;
    if (!segment_valid_with(body, i, s, next.leftHandle)) return false;
    stored = s;
    return true;
  });
}

bool tangents_continuous(const QvStdFCurveImpl& body, QvULong i) {
  return body.TangentsContinuous(i);
}

namespace {

// The direction that the side being aligned takes from the other side's tangent `from`: opposite
// to it, or its mirror across the vertical through the key under mirror continuity.
Point2d aligned_direction(const QvStdFCurveKey& key, const Point2d& from) {
  const double length = std::sqrt(squared(from));
  if (key.flags & kFlagTangentMirrorContinuity) return Point2d(-from.x / length, from.y / length);
  return Point2d(-from.x / length, -from.y / length);
}

// Where one handle of the key goes when it turns to follow the other side's tangent: along the
// aligned direction, at its own length. The right handle follows the left tangent when
// `rightFollows`, the left the right otherwise. False when either handle has no length.
bool aligned_handle(const QvStdFCurveKey& key, bool rightFollows, Point2d& wanted) {
  const Point2d r(key.rightHandle.x - key.parameter, key.rightHandle.y - key.rightValue);
  const Point2d l(key.leftHandle.x - key.parameter, key.leftHandle.y - key.leftValue);
  if (squared(r) <= 1e-9 || squared(l) <= 1e-9) return false;
  const Point2d& own = rightFollows ? r : l;
  const double own_value = rightFollows ? key.rightValue : key.leftValue;
  const double length = std::sqrt(squared(own));
  const Point2d u = aligned_direction(key, rightFollows ? l : r);
  wanted = Point2d(key.parameter + u.x * length, own_value + u.y * length);
  return true;
}

}  // namespace

// The right handle turns to follow the left tangent: the left direction, negated, at the right
// handle's own length.
void propagate_left(QvStdFCurveImpl& body, QvULong i) {
  Point2d wanted;
  Point2d stored;
  if (aligned_handle(body.Key(i), true, wanted) && fit_right_handle(body, i, wanted, stored))
    body.Key(i).rightHandle = stored;
}

// The mirror: the left handle turns to follow the right tangent.
void propagate_right(QvStdFCurveImpl& body, QvULong i) {
  Point2d wanted;
  Point2d stored;
  if (aligned_handle(body.Key(i), false, wanted) && fit_left_handle(body, i, wanted, stored))
    body.Key(i).leftHandle = stored;
}

void freeze_left(QvStdFCurveImpl& body, QvULong i) {
  store_left_handle(body, i, body.EvaluatedLeftHandle(i));
}

void freeze_right(QvStdFCurveImpl& body, QvULong i) {
  store_right_handle(body, i, body.EvaluatedRightHandle(i));
}

// Each handle rides with its side's change whatever happens to the value; a locked value is
// written only when it does not move by more than 1e-15, side by side.
void set_both_values(QvStdFCurveImpl& body, QvULong i, double value) {
  QvStdFCurveKey& key = body.Key(i);
  const bool locked = (key.flags & kFlagValueLocked) != 0;
  key.leftHandle.y += value - body.Arrival(i);
  if (!locked || std::fabs(value - key.leftValue) <= kKeyTolerance) key.leftValue = value;
  key.rightHandle.y += value - key.rightValue;
  if (!locked || std::fabs(value - key.rightValue) <= kKeyTolerance) key.rightValue = value;
  if (i == 0) body.m_valueWhenNoKeys = value;
}

namespace {

// After the last key L: L's right handle continues its left tangent when L carries continuity,
// so that appending does not put a corner into a smooth end.
void append_key(QvStdFCurveImpl& body, double x, double y, FS left, FS right) {
  const QvULong n = body.m_numKeys;
  const QvULong li = n - 1;
  const QvStdFCurveKey& last = body.Key(li);
  if (left == 0) left = static_cast<FS>(last.segmentKind);
  if (right == 0) right = static_cast<FS>(last.segmentKind);
  const double d = (x - last.parameter) / 3.0;
  Point2d right_handle;
  bool mirror_left = false;
  if ((last.flags & kFlagTangentContinuity) && li != 0) {
    const Point2d lh = last.leftHandle;
    if (std::fabs(lh.x - last.parameter) <= 1e-7)
      right_handle = Point2d(last.parameter, last.rightValue - std::fabs(lh.y - last.leftValue));
    else
      right_handle = Point2d(last.parameter + d, last.rightValue + (lh.y - last.leftValue) * d /
                                                                       (lh.x - last.parameter));
  } else {
    right_handle = Point2d(last.parameter + d, last.rightValue);
    mirror_left = n == 1 && coincides(last.leftHandle, key_left(last));
  }
  body.InsertKeys(n, 1);
  body.Key(n) = new_key(x, y, right);
  QvStdFCurveKey& previous = body.Key(li);
  previous.segmentKind = static_cast<unsigned char>(left);
  store_right_handle(body, li, right_handle);
  if (mirror_left)
    store_left_handle(body, li, mirror(previous.rightHandle, key_right(previous), key_left(previous)));
  store_left_handle(body, n, Point2d(x - d, y));
  const QvStdFCurveKey& added = body.Key(n);
  store_right_handle(body, n, mirror(added.leftHandle, key_left(added), key_right(added)));
  repair_segments(body, li, li);
}

void insert_before_first(QvStdFCurveImpl& body, double x, double y, FS left, FS right) {
  const QvULong n = body.m_numKeys;
  const QvStdFCurveKey& first = body.Key(0);
  if (left == 0) left = body.m_firstSegmentKind;
  if (right == 0) right = body.m_firstSegmentKind;
  const double d = (first.parameter - x) / 3.0;
  Point2d left_handle;
  bool mirror_right = false;
  if (n > 1 && (first.flags & kFlagTangentContinuity)) {
    const Point2d rh = first.rightHandle;
    if (std::fabs(rh.x - first.parameter) <= 1e-7)
      left_handle = Point2d(first.parameter, first.leftValue - std::fabs(rh.y - first.rightValue));
    else
      left_handle = Point2d(first.parameter - d, first.leftValue - (rh.y - first.rightValue) * d /
                                                                       (rh.x - first.parameter));
  } else {
    left_handle = Point2d(first.parameter - d, first.leftValue);
    mirror_right = n == 1 && coincides(first.rightHandle, key_right(first));
  }
  body.InsertKeys(0, 1);
  body.Key(0) = new_key(x, y, right);
  body.m_valueWhenNoKeys = y;
  body.m_firstSegmentKind = left;
  store_left_handle(body, 1, left_handle);
  if (mirror_right) {
    const QvStdFCurveKey& old = body.Key(1);
    store_right_handle(body, 1, mirror(old.leftHandle, key_left(old), key_right(old)));
  }
  store_right_handle(body, 0, Point2d(x + d, y));
  const QvStdFCurveKey& added = body.Key(0);
  store_left_handle(body, 0, mirror(added.rightHandle, key_right(added), key_left(added)));
  repair_segments(body, 0, 0);
}

}  // namespace

// The cubic of the stored handles is split by de Casteljau at the t of x, so that both halves
// retrace it; the new key's handles then ride with its value from the split point.
bool insert_between(QvStdFCurveImpl& body, QvULong i, double x, double y, FS left, FS right) {
  const QvStdFCurveKey& key = body.Key(i);
  const QvStdFCurveKey& next = body.Key(i + 1);
  if (left == 0) left = static_cast<FS>(key.segmentKind);
  if (right == 0) right = static_cast<FS>(key.segmentKind);
  const Point2d p0 = key_right(key);
  const Point2d p1 = key.rightHandle;
  const Point2d p2 = next.leftHandle;
  const Point2d p3 = key_left(next);
  const double t = solve_bezier(x, p0.x, p1.x, p2.x, p3.x);
  if (std::fabs(t) <= kKeyTolerance || std::fabs(t - 1.0) <= kKeyTolerance) {
    set_both_values(body, std::fabs(t) <= kKeyTolerance ? i : i + 1, y);
    return true;
  }
  const Point2d a = lerp(p0, p1, t);
  const Point2d b = lerp(p1, p2, t);
  const Point2d c = lerp(p2, p3, t);
  Point2d d = lerp(a, b, t);
  Point2d e = lerp(b, c, t);
  // The key goes at x itself, not at the split point that the root search found near it.
  const Point2d split(x, lerp(d, e, t).y);
  Point2d first_right = a;
  Point2d second_left = c;
  repair_cubic(p0, first_right, d, split);
  repair_cubic(split, e, second_left, p3);
  body.InsertKeys(i + 1, 1);
  body.Key(i + 1) = new_key(x, y, right);
  body.Key(i).segmentKind = static_cast<unsigned char>(left);
  store_right_handle(body, i, first_right);
  const double arrival = body.Arrival(i + 1);
  store_left_handle(body, i + 1, Point2d(d.x, d.y + arrival - split.y));
  store_right_handle(body, i + 1, Point2d(e.x, e.y + y - split.y));
  store_left_handle(body, i + 2, second_left);
  repair_segments(body, i, i + 1);
  return true;
}

bool create_key(QvStdFCurveImpl& body, double x, double y, FS left, FS right) {
  const QvULong n = body.m_numKeys;
  if (n == 0) {
    body.Resize(1);
    body.Key(0) = new_key(x, y, right != 0 ? right : body.m_firstSegmentKind);
    body.m_valueWhenNoKeys = y;
    if (left != 0) body.m_firstSegmentKind = left;
    return true;
  }
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(x);
  if (found.exact) {
    const QvULong i = found.position - 1;
    if (body.Key(i).flags & kFlagValueLocked) return false;
    set_both_values(body, i, y);
    return true;
  }
  if (found.position == n) {
    append_key(body, x, y, left, right);
    return true;
  }
  if (found.position == 0) {
    insert_before_first(body, x, y, left, right);
    return true;
  }
  return insert_between(body, found.position - 1, x, y, left, right);
}

namespace {

// Scales a handle about its key, keeping its direction; a handle shorter than 1e-7 stays put.
Point2d scaled_handle(const Point2d& handle, const Point2d& key, double scale) {
  const Point2d v(handle.x - key.x, handle.y - key.y);
  if (std::sqrt(squared(v)) < 1e-7) return handle;
  return Point2d(key.x + v.x * scale, key.y + v.y * scale);
}

// Keys a and a + 1 have just become neighbours: their facing handles stretch with the span, in
// proportion to the stretch of the part of it that each used to reach into.
void reform_span(QvStdFCurveImpl& body, QvULong a, double old_next_of_a, double old_prev_of_b) {
  const QvStdFCurveKey& ka = body.Key(a);
  const QvStdFCurveKey& kb = body.Key(a + 1);
  const double span = kb.parameter - ka.parameter;
  const Point2d p0 = key_right(ka);
  const Point2d p3 = key_left(kb);
  Point2d p1 = scaled_handle(ka.rightHandle, p0, span / (old_next_of_a - ka.parameter));
  Point2d p2 = scaled_handle(kb.leftHandle, p3, span / (kb.parameter - old_prev_of_b));
  repair_cubic(p0, p1, p2, p3);
  store_right_handle(body, a, p1);
  store_left_handle(body, a + 1, p2);
}

}  // namespace

void remove_keys(QvStdFCurveImpl& body, QvULong first, QvULong end, FS kind,
                 std::vector<double>& removed) {
  const QvULong n = body.m_numKeys;
  if (first >= end || end > n) return;
  for (QvULong i = first; i < end; ++i) removed.push_back(body.Key(i).parameter);
  const QvULong count = end - first;
  if (count == n) {
    body.EraseKeys(0, n);
    if (kind != 0) body.m_firstSegmentKind = kind;
    return;
  }
  if (first == 0) {
    body.EraseKeys(0, count);
    QvStdFCurveKey& head = body.Key(0);
    if (!(head.flags & kFlagValueLocked)) {
      head.leftHandle.y += head.rightValue - head.leftValue;
      head.leftValue = head.rightValue;
    }
    body.m_valueWhenNoKeys = head.leftValue;
    if (kind != 0) body.m_firstSegmentKind = kind;
    return;
  }
  if (kind != 0) body.Key(first - 1).segmentKind = static_cast<unsigned char>(kind);
  if (end == n) {
    body.EraseKeys(first, count);
    return;
  }
  const double old_next_of_a = body.Key(first).parameter;
  const double old_prev_of_b = body.Key(end - 1).parameter;
  body.EraseKeys(first, count);
  reform_span(body, first - 1, old_next_of_a, old_prev_of_b);
  repair_segments(body, first - 1, first - 1);
}

void change_segment_kind(QvStdFCurveImpl& body, QvULong i, FS kind) {
  QvStdFCurveKey& key = body.Key(i);
  if (key.segmentKind == kind) return;
  if (kind == QvBaseFCurve::FSBezierCubic && i + 1 < body.m_numKeys && !segment_valid(body, i)) {
    const QvStdFCurveKey& next = body.Key(i + 1);
    const double gap = next.parameter - key.parameter;
    const double step = next.leftValue - key.rightValue;
    const double x0 = key.parameter;
    const double y0 = key.rightValue;
    store_right_handle(body, i, Point2d(x0 + gap / 3.0, y0 + step / 3.0));
    store_left_handle(body, i + 1, Point2d(x0 + 2.0 * gap / 3.0, y0 + 2.0 * step / 3.0));
    // A smooth end key keeps its tangent: the new segment's handle there turns to follow it.
    if ((body.Key(i).flags & kFlagTangentContinuity) && !tangents_continuous(body, i))
      propagate_left(body, i);
    if ((body.Key(i + 1).flags & kFlagTangentContinuity) && !tangents_continuous(body, i + 1))
      propagate_right(body, i + 1);
  }
  body.Key(i).segmentKind = static_cast<unsigned char>(kind);
}

double value_with_constant_extrapolation(const QvStdFCurveImpl& body, double x) {
  const QvULong n = body.m_numKeys;
  if (n == 0) return body.m_valueWhenNoKeys;
  x = body.SnapToKey(x);
  const QvStdFCurveImpl::KeyPosition found = body.FindKey(x);
  if (found.exact) return body.Key(found.position - 1).rightValue;
  if (found.position == n) return body.Key(n - 1).rightValue;
  if (found.position == 0) return body.Key(0).leftValue;
  return body.SegmentValue(x, found.position - 1);
}

}  // namespace qv::internal
