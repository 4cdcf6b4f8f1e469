#include "fcurve/kinds_ops.h"

#include <qv/QvTransfo4.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "fcurve/buffer_bytes.h"
#include "fcurve/userdata_set.h"

using qv::internal::BodyReader;
using qv::internal::load_u32;
using qv::internal::kFlagBothLocks;
using qv::internal::kFlagParameterLocked;
using qv::internal::kFlagValueLocked;
using qv::internal::kStepKeyTolerance;
using qv::internal::put_f64;
using qv::internal::store_u16;
using qv::internal::store_u32;
using qv::internal::saturate_trunc;
using qv::internal::SteppedLocation;
using qv::internal::SteppedSelection;
using qv::internal::wrap_long;

namespace {

using Key = qv::internal::SteppedKey;

// Beyond this many drawn or sampled vertices only the ends of an extent are drawn.
constexpr double kMaxRepeatedPoints = 4194304.0;

bool finite_all(std::initializer_list<double> values) {
  for (double v : values)
    if (!std::isfinite(v)) return false;
  return true;
}

std::uint16_t constraint_bits(QvBaseFCurve::KeyConstraint c) {
  switch (c) {
    case QvBaseFCurve::KCParameterLocked:
      return kFlagParameterLocked;
    case QvBaseFCurve::KCValueLocked:
      return kFlagValueLocked;
    case QvBaseFCurve::KCKeyLocked:
      return kFlagBothLocks;
    default:
      return 0;
  }
}

// A vertex of the drawn steps in (parameter, value) space; `jump` marks the far end of a rise.
struct StepPoint {
  double t;
  double v;
  bool jump;
};

// The steps over [from, to], repeated cycle by cycle under the cycling methods.
void build_steps(const QvSteppedFCurveImpl& body, double from, double to,
                 std::vector<StepPoint>& out) {
  out.push_back(StepPoint{from, static_cast<double>(body.Eval(from)), false});
  if (!(to - from > kStepKeyTolerance)) return;
  const QvULong n = body.NumKeys();
  auto add_key = [&](double p) {
    if (!(p - from > kStepKeyTolerance && to - p > kStepKeyTolerance && p > out.back().t)) return;
    const double before = out.back().v;
    const double after = static_cast<double>(body.Eval(p));
    out.push_back(StepPoint{p, before, false});
    if (after != before) out.push_back(StepPoint{p, after, true});
  };
  if (n >= 2 && body.IsCycling()) {
    const double first = body.KeyAt(0).parameter;
    const double period = body.KeyAt(n - 1).parameter - first;
    const double c0 = std::floor((from - first) / period);
    const double c1 = std::floor((to - first) / period);
    if ((c1 - c0 + 1.0) * static_cast<double>(n) <= kMaxRepeatedPoints) {
      for (double c = c0; c <= c1; c += 1.0)
        for (QvULong i = 0; i + 1 < n; ++i) add_key(body.KeyAt(i).parameter + c * period);
    }
  } else {
    for (QvULong i = 0; i < n; ++i) add_key(body.KeyAt(i).parameter);
  }
  out.push_back(StepPoint{to, out.back().v, false});
}

// The class identifier that follows the version and the kind: the first word tells the two kinds
// apart, the other twelve bytes are shared.
constexpr QvULong kIdBoolean = 0x84F21462u;
constexpr QvULong kIdInteger = 0x84F21461u;
constexpr QvULong kIdSecond = 0x11D197CAu;
constexpr QvULong kIdTailLow = 0xA0006A93u;
constexpr QvULong kIdTailHigh = 0xF0353E24u;
constexpr QvULong kVersionWritten = 258;
constexpr QvULong kVersionLegacy = 257;  // one flag byte per key instead of two

}  // namespace

// ---- values and construction ----------------------------------------------------------------

template <class Curve>
bool QvSteppedFCurveOps<Curve>::AcceptValue(double v, QvLong& out) {
  if constexpr (kBoolean) {
    if (std::fabs(v) <= kStepKeyTolerance) {
      out = 0;
      return true;
    }
    if (std::fabs(v - 1.0) <= kStepKeyTolerance) {
      out = 1;
      return true;
    }
    return false;
  } else {
    if (!(v >= -2147483648.0 && v <= 2147483647.0)) return false;
    const double whole = std::floor(v);
    if (!(v - whole <= kStepKeyTolerance)) return false;
    out = static_cast<QvLong>(whole);
    return true;
  }
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::Convert(double v) {
  if constexpr (kBoolean) {
    return std::fabs(v - 1.0) <= kStepKeyTolerance ? 1 : 0;
  } else {
    return saturate_trunc(v);
  }
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::Construct(Curve& self, double valueWhenNoKeys) {
  self.m_impl = new QvSteppedFCurveImpl(kBoolean, valueWhenNoKeys);
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::CopyConstruct(Curve& self, const Curve& other) {
  typename Curve::LockGuard guard(other);
  self.m_impl = new QvSteppedFCurveImpl(*other.m_impl);
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::Assign(Curve& self, const Curve& other) {
  typename Curve::LockGuard target(self);
  if (&self == &other) return;
  typename Curve::LockGuard source(other);
  QvSteppedFCurveImpl copy(*other.m_impl);  // the only step that can throw, and it comes first
  self.QvBaseFCurve::operator=(other);
  *self.m_impl = std::move(copy);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::Set(Curve& self, const Base& other) {
  typename Curve::LockGuard guard(self);
  if (other.GetKind() != self.GetKind()) return 0;
  Assign(self, static_cast<const Curve&>(other));
  return 1;
}

template <class Curve>
QvBaseFCurve* QvSteppedFCurveOps<Curve>::QueryFCurveKind(const Curve& self, Base::Kind kind) {
  return kind == self.GetKind() ? const_cast<Curve*>(&self) : nullptr;
}

template <class Curve>
QvBaseFCurve* QvSteppedFCurveOps<Curve>::Clone(const Curve& self) {
  try {
    return new Curve(self);
  } catch (...) {
    return nullptr;
  }
}

// ---- key creation ------------------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::CreateKey(Curve& self, double parameter, double value) {
  QvLong v;
  if (!AcceptValue(value, v) || !std::isfinite(parameter)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  return body.CreateKeyCore(parameter, v);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::CreateNonModifyingKey(Curve& self, double parameter,
                                                        QvLong noFold) {
  if (!std::isfinite(parameter)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  const double t = noFold != 0 ? parameter : body.Fold(parameter);
  return body.CreateKeyCore(t, body.StepValue(t));
}

// Ensures a key at the parameter without changing the steps, whatever locks the key there holds;
// returns its index.
template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::EnsureKey(Curve& self, double parameter) {
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() != 0) {
    const SteppedLocation loc = body.LocateKey(parameter);
    if (loc.exact) return loc.position - 1;
  }
  body.CreateKeyCore(parameter, body.StepValue(parameter));
  const SteppedLocation loc = body.LocateKey(parameter);
  return loc.position - 1;
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::EraseWithUserData(Curve& self, QvULong first, QvULong count) {
  QvSteppedFCurveImpl& body = *self.m_impl;
  for (QvULong i = first; i < first + count; ++i) self.RemoveKeyUserData(body.KeyAt(i).parameter);
  body.EraseKeys(first, count);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::MergeInsideCriticalSection(Curve& self, double from, double to,
                                                             double parameter, QvLong value,
                                                             QvLong openFrom, QvLong openTo,
                                                             QvLong keepUserData) {
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() == 0) return body.CreateKeyCore(parameter, value);
  if (from > to) std::swap(from, to);
  const SteppedSelection sel = body.Select(from, to, openFrom, openTo);
  if (sel.count == 1 && std::fabs(parameter - body.KeyAt(sel.first).parameter) <= kStepKeyTolerance)
    return body.CreateKeyCore(parameter, value);
  if (body.AnyFlagInRange(from, to, openFrom, openTo, kFlagBothLocks, false)) return 0;
  // The set of the removed key nearest to the new one goes with the new key (earlier on a tie).
  std::unique_ptr<CFCUserDataSet> kept;
  if (keepUserData != 0 && sel.count != 0) {
    QvULong nearest = sel.first;
    for (QvULong i = sel.first + 1; i < sel.first + sel.count; ++i)
      if (std::fabs(body.KeyAt(i).parameter - parameter) <
          std::fabs(body.KeyAt(nearest).parameter - parameter))
        nearest = i;
    if (const CFCUserDataSet* set = self.GetUserDataSet(body.KeyAt(nearest).parameter))
      kept = std::make_unique<CFCUserDataSet>(*set);
  }
  const bool first_changes = sel.count != 0 && sel.first == 0;
  EraseWithUserData(self, sel.first, sel.count);
  if (body.NumKeys() == 0) body.m_valueWhenNoKeys = value;
  const QvLong result = body.CreateKeyCore(parameter, value);
  if (first_changes) body.UpdateValueBeforeFirstKey(value);
  if (kept) self.SetUserDataSet(*kept, parameter);
  return result;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::MergeAndCreateKey(Curve& self, double from, double to,
                                                    double parameter, double value, QvLong openFrom,
                                                    QvLong openTo, QvLong keepUserData) {
  QvLong v;
  if (!AcceptValue(value, v) || !finite_all({from, to, parameter})) return 0;
  typename Curve::LockGuard guard(self);
  if (self.m_impl->m_readOnly != 0) return 0;
  return MergeInsideCriticalSection(self, from, to, parameter, v, openFrom, openTo, keepUserData);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::MergeAndCreateNonModifyingKey(Curve& self, double from, double to,
                                                                double parameter, QvLong openFrom,
                                                                QvLong openTo, QvLong keepUserData,
                                                                QvLong noFold) {
  if (!finite_all({from, to, parameter})) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  double t = parameter;
  if (noFold == 0 && body.IsCycling() && body.NumKeys() >= 2) {
    t = body.Fold(parameter);
    const double moved = t - parameter;
    from += moved;
    to += moved;
    if (from > to) std::swap(from, to);
    t = std::clamp(t, from, to);
  }
  return MergeInsideCriticalSection(self, from, to, t, body.StepValue(t), openFrom, openTo,
                                    keepUserData);
}

// ---- key removal -------------------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::RemoveKey(Curve& self, double parameter, double tolerance) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0) return 1;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  // Only a locked key (value and parameter both) stays; a key with one lock may go, and the value
  // before the keys then follows the rules of a removed first key.
  if ((body.KeyAt(i).flags & kFlagBothLocks) == kFlagBothLocks) return 0;
  EraseWithUserData(self, i, 1);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::RemoveKeys(Curve& self, double from, double to, QvLong openFrom,
                                             QvLong openTo) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0) return 1;
  if ((openFrom != 0) != (openTo != 0) && std::fabs(from - to) <= kStepKeyTolerance) {
    openFrom = 0;
    openTo = 0;
  }
  if (from > to) std::swap(from, to);
  if (body.AnyFlagInRange(from, to, openFrom, openTo, kFlagBothLocks, true)) return 0;
  const SteppedSelection sel = body.Select(from, to, openFrom, openTo);
  EraseWithUserData(self, sel.first, sel.count);
  return 1;
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::RemoveHeadInside(Curve& self, double parameter) {
  const QvULong i = EnsureKey(self, parameter);
  EraseWithUserData(self, 0, i);
}

template <class Curve>
void QvSteppedFCurveOps<Curve>::RemoveTailInside(Curve& self, double parameter) {
  const QvULong i = EnsureKey(self, parameter);
  EraseWithUserData(self, i + 1, self.m_impl->NumKeys() - i - 1);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::RemoveHead(Curve& self, double parameter) {
  if (!std::isfinite(parameter)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0 || body.LocateKey(parameter).exact) return 1;
  RemoveHeadInside(self, parameter);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::RemoveTail(Curve& self, double parameter) {
  if (!std::isfinite(parameter)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0 || body.LocateKey(parameter).exact) return 1;
  RemoveTailInside(self, parameter);
  return 1;
}

// ---- values of keys ----------------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetValueWhenNoKeys(Curve& self, double value) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  body.m_valueWhenNoKeys = Convert(value);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyValue(const Curve& self, double parameter,
                                              Base::KeySide side, double& value, double tolerance) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  value = side == Base::KeySideLeft ? body.LeftValue(i) : body.KeyAt(i).value;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyValues(const Curve& self, double parameter, double& left,
                                               double& right, double tolerance) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  left = body.LeftValue(i);
  right = body.KeyAt(i).value;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetKeyValue(Curve& self, double parameter, Base::KeySide side,
                                              double value, double tolerance) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() == 0 || body.m_readOnly != 0) return 0;
  if (body.AnyFlagInRange(parameter - tolerance, parameter + tolerance, 0, 0, kFlagValueLocked,
                          false))
    return 0;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  const QvLong v = Convert(value);
  if (side == Base::KeySideRight) {
    Key& key = body.KeyAt(i);
    if ((key.flags & kFlagValueLocked) != 0 && key.value != v) return 0;
    key.value = v;
    return 1;
  }
  if (side != Base::KeySideLeft) return 0;
  if (i == 0) {
    const Key& key = body.KeyAt(0);
    if ((key.flags & kFlagValueLocked) != 0 && key.value != v) return 0;
    body.m_valueBeforeFirstKey = v;
    return 1;
  }
  Key& previous = body.KeyAt(i - 1);
  if ((previous.flags & kFlagValueLocked) != 0 && previous.value != v) return 0;
  previous.value = v;
  return 1;
}

// ---- reading -----------------------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetFCurveInfo(const Curve& self, Base::FCurveInfo* info) {
  if (info == nullptr) return 0;
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (info->mask & 1u) info->kind = self.GetKind();
  if (info->mask & 2u) info->numKeys = body.NumKeys();
  if (info->mask & 4u) info->valueWhenNoKeys = body.m_valueWhenNoKeys;
  if (info->mask & 64u)
    info->extrapolation = static_cast<Base::ExtrapolationMethod>(body.m_extrapolation);
  if ((info->mask & 56u) != 0) {
    // Steps have no segment kind and no clamp to report.
    info->mask &= ~56u;
    info->firstSegmentKind = Base::FSConstant;
    info->clampMin = 0.0;
    info->clampMax = 0.0;
    return 0;
  }
  return 1;
}

namespace {

QvLong fill_key_info(const QvSteppedFCurveImpl& body, QvULong i, QvBaseFCurve::KeyInfo* info) {
  if (info->mask & 1u) info->index = i;
  if (info->mask & 2u) info->parameter = body.KeyAt(i).parameter;
  if (info->mask & 4u) info->leftValue = body.LeftValue(i);
  if (info->mask & 8u) info->rightValue = body.KeyAt(i).value;
  if ((info->mask & 0x1F0u) != 0) {
    info->mask &= ~0x1F0u;
    info->leftTangentX = info->leftTangentY = 0.0;
    info->rightTangentX = info->rightTangentY = 0.0;
    info->segmentKind = QvBaseFCurve::FSConstant;
    return 0;
  }
  return 1;
}

}  // namespace

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyInfoFromIndex(const Curve& self, QvULong index,
                                                      Base::KeyInfo* info) {
  if (info == nullptr) return 0;
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (index >= body.NumKeys()) {
    info->mask = 0;
    return 0;
  }
  return fill_key_info(body, index, info);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyInfoFromParameter(const Curve& self, double parameter,
                                                          Base::KeyInfo* info) {
  if (info == nullptr) return 0;
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, 0.0, i)) {
    info->mask = 0;
    return 0;
  }
  return fill_key_info(body, i, info);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyParameter(const Curve& self, QvULong index,
                                                  double& parameter) {
  typename Curve::LockGuard guard(self);
  if (index >= self.m_impl->NumKeys()) return 0;
  parameter = self.m_impl->KeyAt(index).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetKeyIndex(const Curve& self, double parameter, QvULong& index) {
  typename Curve::LockGuard guard(self);
  QvULong i;
  if (!self.m_impl->FindKeyNear(parameter, 0.0, i)) return 0;
  index = i;
  return 1;
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::GetNumKeys(const Curve& self) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->NumKeys();
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::GetKeyParameters(const Curve& self, double from, double to,
                                                    QvDoubleArray& parameters, QvLong openFrom,
                                                    QvLong openTo) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  const SteppedSelection sel = body.Select(from, to, openFrom, openTo);
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i)
    parameters.Add(body.KeyAt(i).parameter);
  return sel.count;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsKeyParameter(const Curve& self, double parameter,
                                                 double tolerance) {
  typename Curve::LockGuard guard(self);
  QvULong i;
  return self.m_impl->FindKeyNear(parameter, tolerance, i) ? 1 : 0;
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::GetAllKeyParameters(const Curve& self,
                                                       QvDoubleArray& parameters) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  for (QvULong i = 0; i < body.NumKeys(); ++i) parameters.Add(body.KeyAt(i).parameter);
  return body.NumKeys();
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetNextKeyParameter(const Curve& self, double parameter,
                                                      double& next, QvLong include) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0 || std::isnan(parameter)) return 0;
  const SteppedLocation loc = body.LocateKey(parameter);
  QvULong i = loc.position;
  if (loc.exact && include != 0) i = loc.position - 1;
  if (i >= n) return 0;
  next = body.KeyAt(i).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetPrevKeyParameter(const Curve& self, double parameter,
                                                      double& prev, QvLong include) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() == 0 || std::isnan(parameter)) return 0;
  const SteppedLocation loc = body.LocateKey(parameter);
  QvULong count = loc.position;  // keys at or before the parameter
  if (loc.exact && include == 0) --count;
  if (count == 0) return 0;
  prev = body.KeyAt(count - 1).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetNearestKeyParameter(const Curve& self, double parameter,
                                                         double& nearest) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0 || std::isnan(parameter)) return 0;
  const SteppedLocation loc = body.LocateKey(parameter);
  if (loc.exact) {
    nearest = body.KeyAt(loc.position - 1).parameter;
  } else if (loc.position == 0) {
    nearest = body.KeyAt(0).parameter;
  } else if (loc.position >= n) {
    nearest = body.KeyAt(n - 1).parameter;
  } else {
    const double a = body.KeyAt(loc.position - 1).parameter;
    const double b = body.KeyAt(loc.position).parameter;
    nearest = parameter - a < b - parameter ? a : b;  // a tie goes to the later key
  }
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetNearestKeyParameterInCenteredInterval(const Curve& self,
                                                                           double& parameter,
                                                                           double halfWidth) {
  typename Curve::LockGuard guard(self);
  QvULong i;
  if (!self.m_impl->FindKeyNear(parameter, halfWidth, i)) return 0;
  parameter = self.m_impl->KeyAt(i).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetClampingValues(Curve&, double, double) {
  return 0;  // stepped values are never clamped
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetClampingValues(const Curve&, double& min, double& max) {
  min = -DBL_MAX;
  max = DBL_MAX;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetSmallestKeyParameter(const Curve& self, double& parameter) {
  typename Curve::LockGuard guard(self);
  if (self.m_impl->NumKeys() == 0) return 0;
  parameter = self.m_impl->KeyAt(0).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsSmallestKeyParameter(const Curve& self, double parameter) {
  typename Curve::LockGuard guard(self);
  if (self.m_impl->NumKeys() == 0) return 0;
  return std::fabs(parameter - self.m_impl->KeyAt(0).parameter) <= kStepKeyTolerance ? 1 : 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetLargestKeyParameter(const Curve& self, double& parameter) {
  typename Curve::LockGuard guard(self);
  const QvULong n = self.m_impl->NumKeys();
  if (n == 0) return 0;
  parameter = self.m_impl->KeyAt(n - 1).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsLargestKeyParameter(const Curve& self, double parameter) {
  typename Curve::LockGuard guard(self);
  const QvULong n = self.m_impl->NumKeys();
  if (n == 0) return 0;
  return std::fabs(parameter - self.m_impl->KeyAt(n - 1).parameter) <= kStepKeyTolerance ? 1 : 0;
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::GetMinusInfinityVal(const Curve& self) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  return body.NumKeys() == 0 ? body.m_valueWhenNoKeys : body.m_valueBeforeFirstKey;
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::GetPlusInfinityVal(const Curve& self) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  const QvULong n = body.NumKeys();
  return n == 0 ? body.m_valueWhenNoKeys : body.KeyAt(n - 1).value;
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::GetValueUpperBound(const Curve& self, QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() == 0) return body.m_valueWhenNoKeys;
  QvLong best = body.m_valueBeforeFirstKey;
  for (const Key& k : body.m_keys) best = std::max(best, k.value);
  return best;
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::GetValueLowerBound(const Curve& self, QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.NumKeys() == 0) return body.m_valueWhenNoKeys;
  QvLong best = body.m_valueBeforeFirstKey;
  for (const Key& k : body.m_keys) best = std::min(best, k.value);
  return best;
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::Eval(const Curve& self, double parameter, QvLong) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->Eval(parameter);
}

template <class Curve>
double QvSteppedFCurveOps<Curve>::FoldParameter(const Curve& self, double parameter) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->Fold(parameter);
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::GetKeys(const Curve& self, QvDoubleArray& parameters,
                                           QvDoubleArray& leftValues, QvDoubleArray& rightValues,
                                           QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  for (QvULong i = 0; i < body.NumKeys(); ++i) {
    parameters.Add(body.KeyAt(i).parameter);
    leftValues.Add(body.LeftValue(i));
    rightValues.Add(body.KeyAt(i).value);
  }
  return body.NumKeys();
}

// ---- drawing and sampling ----------------------------------------------------------------------

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::Flatten(const Curve& self, const QvTransfo4& transform, double,
                                           QvPoint2dArray& points, QvPointTagArray& tags, QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0) return 0;
  QvULong added = 0;
  auto emit = [&](double t, double v, QvPointTag tag) {
    points.Add(transform.Map(QvPoint2<double>(t, v)));
    tags.Add(tag);
    ++added;
  };
  // Tags are the drawing flags of every curve kind: 0 opens the line, 2 marks the far end of a
  // jump, 1 is any other point.
  const Key& first = body.KeyAt(0);
  emit(first.parameter, body.m_valueBeforeFirstKey, TagFirst);
  // The rise at the first key: its far end, and the key itself opening the steps that follow.
  if (!(n == 1 &&
        std::fabs(static_cast<double>(first.value) - body.m_valueBeforeFirstKey) <= 1e-9)) {
    emit(first.parameter, first.value, TagLast);
    emit(first.parameter, first.value, TagFirst);
  }
  for (QvULong i = 1; i < n; ++i) {
    emit(body.KeyAt(i).parameter, body.KeyAt(i - 1).value, TagInner);
    emit(body.KeyAt(i).parameter, body.KeyAt(i).value, TagLast);
  }
  return added;
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::FlattenFromTo(const Curve& self, const QvExtent2<double>& extent,
                                                 const QvTransfo4& transform, double,
                                                 QvPoint2dArray& points, QvPointTagArray& tags,
                                                 QvBoolArray& flags, QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  double from = extent.min.x;
  double to = extent.max.x;
  if (extent.state == QvExtent2<double>::ExtentEmpty) return 0;
  if (extent.state == QvExtent2<double>::ExtentUniverse) {
    if (body.NumKeys() == 0) return 0;
    from = body.KeyAt(0).parameter;
    to = body.KeyAt(body.NumKeys() - 1).parameter;
  }
  if (!finite_all({from, to})) return 0;
  if (from > to) std::swap(from, to);
  std::vector<StepPoint> poly;
  poly.reserve(128);
  build_steps(body, from, to, poly);
  for (std::size_t i = 0; i < poly.size(); ++i) {
    points.Add(transform.Map(QvPoint2<double>(poly[i].t, poly[i].v)));
    tags.Add(i == 0 ? TagFirst : (poly[i].jump ? TagLast : TagInner));
    flags.Add(poly[i].jump ? 2 : 0);
  }
  return static_cast<QvULong>(poly.size());
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::EvalSequence(const Curve& self, double from, double to,
                                                double step, double, QvDoubleArray& parameters,
                                                QvDoubleArray& values, QvLong) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (!finite_all({from, to})) return 0;
  if (std::fabs(to - from) <= kStepKeyTolerance) {
    parameters.Add(from);
    values.Add(body.Eval(from));
    return 1;
  }
  if (from < to && (!(step > 0.0) || !std::isfinite(step) || (to - from) / step > 16777216.0))
    return 0;
  QvULong added = 0;
  for (double k = 0.0;; k += 1.0) {
    const double x = from + k * step;
    if (!(x < to)) break;
    parameters.Add(x);
    values.Add(body.Eval(x));
    ++added;
  }
  parameters.Add(to);
  values.Add(body.Eval(to));
  return added + 1;
}

// ---- locks and settings ------------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetReadOnlyConstraint(Curve& self, QvLong on) {
  typename Curve::LockGuard guard(self);
  self.m_impl->m_readOnly = on != 0 ? 1 : 0;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsReadOnly(const Curve& self) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->m_readOnly;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsConstraintSupported(const Curve&,
                                                        Base::KeyConstraint constraint) {
  return constraint_bits(constraint) != 0 ? 1 : 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetConstraint(Curve& self, double& parameter,
                                                Base::KeyConstraint constraint, QvLong on,
                                                double tolerance) {
  const std::uint16_t bits = constraint_bits(constraint);
  if (bits == 0) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  Key& key = body.KeyAt(i);
  key.flags = static_cast<std::uint16_t>(on != 0 ? (key.flags | bits) : (key.flags & ~bits));
  parameter = key.parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::GetConstraint(const Curve& self, double& parameter,
                                                Base::KeyConstraint constraint, QvLong& on,
                                                double tolerance) {
  const std::uint16_t bits = constraint_bits(constraint);
  if (bits == 0) return 0;
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  QvULong i;
  if (!body.FindKeyNear(parameter, tolerance, i)) return 0;
  on = (body.KeyAt(i).flags & bits) == bits ? 1 : 0;
  parameter = body.KeyAt(i).parameter;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::AreAnyValuesLockedInInterval(const Curve& self, double from,
                                                               double to, QvLong openFrom,
                                                               QvLong openTo) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->AnyFlagInRange(from, to, openFrom, openTo, kFlagValueLocked, false) ? 1 : 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::AreAnyParametersLockedInInterval(const Curve& self, double from,
                                                                   double to, QvLong openFrom,
                                                                   QvLong openTo) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->AnyFlagInRange(from, to, openFrom, openTo, kFlagParameterLocked, false) ? 1
                                                                                              : 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::AreAnyKeysLockedInInterval(const Curve& self, double from,
                                                             double to, QvLong openFrom,
                                                             QvLong openTo) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->AnyFlagInRange(from, to, openFrom, openTo, kFlagBothLocks, true) ? 1 : 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetExtrapolationMethod(Curve& self,
                                                         Base::ExtrapolationMethod method) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (method != Base::ExtrapolationConstant && method != Base::ExtrapolationCycle &&
      method != Base::ExtrapolationCycleOffset)
    return 0;
  if (body.m_readOnly != 0) return 0;
  // The boolean kind enters its lock once more here than it leaves; hosts that count lock levels
  // rely on that, so the extra level stays.
  if constexpr (kBoolean) self.Lock();
  body.m_extrapolation = static_cast<std::uint8_t>(method);
  return 1;
}

template <class Curve>
QvBaseFCurve::ExtrapolationMethod QvSteppedFCurveOps<Curve>::GetExtrapolationMethod(
    const Curve& self) {
  typename Curve::LockGuard guard(self);
  return static_cast<Base::ExtrapolationMethod>(self.m_impl->m_extrapolation);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetDefaultBezierTangentConstraint(Curve& self, QvLong on) {
  typename Curve::LockGuard guard(self);
  self.m_impl->m_defaultBezierTangent = on != 0 ? 1 : 0;
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsDefautlBezierTangentConstraintOn(const Curve& self) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->m_defaultBezierTangent;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SetAsTimeFCurve(Curve& self, QvLong on) {
  typename Curve::LockGuard guard(self);
  const QvLong next = on != 0 ? 1 : 0;
  const QvLong changed = self.m_impl->m_isTimeCurve != next ? 1 : 0;
  self.m_impl->m_isTimeCurve = next;
  return changed;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsTimeFCurve(const Curve& self) {
  typename Curve::LockGuard guard(self);
  return self.m_impl->m_isTimeCurve;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::EvalInverse(const Curve&, double, double&, QvLong) {
  return 0;  // a step function has no inverse
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::IsBijective(const Curve&) {
  return 0;
}

// ---- whole-curve operations --------------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ShiftParameters(Curve& self, double offset) {
  if (!std::isfinite(offset)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 ||
      body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagParameterLocked, false))
    return 0;
  for (Key& k : body.m_keys) k.parameter += offset;
  self.TranslateAllKeyUserData(offset);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ScaleParameterAxis(Curve& self, double scale) {
  if (!std::isfinite(scale)) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 ||
      body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagParameterLocked, false))
    return 0;
  std::vector<Key> saved(body.m_keys);
  for (Key& k : body.m_keys) k.parameter *= scale;
  if (!body.StrictlyRising()) {
    body.m_keys.swap(saved);
    return 0;
  }
  self.ScaleAllKeyUserData(scale);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ShiftValues(Curve& self, double offset) {
  if constexpr (kBoolean) {
    (void)self;
    (void)offset;
    return 1;  // adding to an on/off state means nothing
  } else {
    typename Curve::LockGuard guard(self);
    QvSteppedFCurveImpl& body = *self.m_impl;
    if (body.m_readOnly != 0 || body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagBothLocks, true))
      return 0;
    const QvLong k = saturate_trunc(std::floor(offset + 0.5));
    for (Key& key : body.m_keys) {
      if (k != 0 && (key.flags & kFlagValueLocked) != 0) continue;
      key.value = wrap_long(static_cast<long long>(key.value) + k);
    }
    body.m_valueWhenNoKeys = wrap_long(static_cast<long long>(body.m_valueWhenNoKeys) + k);
    return 1;
  }
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ScaleAndShiftValues(Curve& self, double scale, double shift) {
  if constexpr (kBoolean) {
    (void)self;
    (void)scale;
    (void)shift;
    return 1;
  } else {
    if (!(std::fabs(scale) > 1e-7)) return 0;
    typename Curve::LockGuard guard(self);
    QvSteppedFCurveImpl& body = *self.m_impl;
    if (body.m_readOnly != 0 || body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagBothLocks, true))
      return 0;
    const QvSteppedFCurveImpl saved(body);
    const long long a = saturate_trunc(std::floor(scale + 0.5));
    const long long b = saturate_trunc(std::floor(shift + 0.5));
    auto map = [&](QvLong x) { return wrap_long(static_cast<long long>(x) * a + b); };
    body.m_valueWhenNoKeys = map(body.m_valueWhenNoKeys);
    body.m_clampLow = map(body.m_clampLow);
    body.m_clampHigh = map(body.m_clampHigh);
    if (body.m_clampLow > body.m_clampHigh) std::swap(body.m_clampLow, body.m_clampHigh);
    // Each key is driven from the value arriving at it: the left value before the first key, then
    // the key before, already updated. This is how stored documents were scaled, and it stays.
    QvLong arriving = body.m_valueBeforeFirstKey;
    for (Key& key : body.m_keys) {
      const QvLong next = map(arriving);
      if (!((key.flags & kFlagValueLocked) != 0 && key.value != next)) key.value = next;
      arriving = key.value;
    }
    if (!body.StrictlyRising()) {
      body = saved;
      return 0;
    }
    return 1;
  }
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::MirrorValues(Curve& self) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 || body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagValueLocked, false))
    return 0;
  const long long sum = static_cast<long long>(GetValueUpperBound(self, 0)) +
                        static_cast<long long>(GetValueLowerBound(self, 0));
  auto mirror = [&](QvLong v) { return wrap_long(sum - v); };
  for (Key& k : body.m_keys) k.value = mirror(k.value);
  body.m_valueBeforeFirstKey = mirror(body.m_valueBeforeFirstKey);
  body.m_valueWhenNoKeys = mirror(body.m_valueWhenNoKeys);
  return 1;
}

// A step that held from key i to key i + 1 holds, mirrored, from the image of key i + 1 to the
// image of key i: each new key takes the value that arrived at its old key, and the value past the
// old end becomes the value before the new first key.
template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::MirrorParameters(Curve& self) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 ||
      body.AnyFlagInRange(-DBL_MAX, DBL_MAX, 0, 0, kFlagParameterLocked, false))
    return 0;
  const QvULong n = body.NumKeys();
  if (n == 0) return 1;
  const double sum = body.KeyAt(0).parameter + body.KeyAt(n - 1).parameter;
  std::vector<Key> mirrored;
  mirrored.reserve(n);
  QvDoubleArray old_parameters(n);
  QvDoubleArray new_parameters(n);
  for (QvULong j = 0; j < n; ++j) {
    const QvULong i = n - 1 - j;
    mirrored.push_back(Key{sum - body.KeyAt(i).parameter, body.LeftValue(i), body.KeyAt(i).flags});
    old_parameters.Add(body.KeyAt(i).parameter);
    new_parameters.Add(sum - body.KeyAt(i).parameter);
  }
  for (QvULong j = 1; j < n; ++j)
    if (!(mirrored[j].parameter > mirrored[j - 1].parameter)) return 0;
  body.m_valueBeforeFirstKey = body.KeyAt(n - 1).value;
  body.m_keys.swap(mirrored);
  body.m_cursor = 0;
  self.MoveKeyUserDataTail(old_parameters, new_parameters);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ScaleAndOffsetParameters(Curve& self, double from, double to,
                                                           double anchor, double scale,
                                                           double offset, QvLong openFrom,
                                                           QvLong openTo,
                                                           Base::RegionHandle handle) {
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 || !finite_all({anchor, scale, offset})) return 0;
  const bool moves_parameters =
      handle == Base::RegionHandleMinParameter || handle == Base::RegionHandleMaxParameter;
  const bool moves_values =
      handle == Base::RegionHandleMinValue || handle == Base::RegionHandleMaxValue;
  if (!moves_parameters && !moves_values) return 0;
  const SteppedSelection sel = body.Select(from, to, openFrom, openTo);
  if (sel.count == 0) return 1;
  const std::uint16_t guard_bits = moves_parameters ? kFlagParameterLocked : kFlagValueLocked;
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i)
    if ((body.KeyAt(i).flags & guard_bits) != 0) return 0;
  QvDoubleArray old_parameters(sel.count);
  QvDoubleArray new_parameters(sel.count);
  if (!qv::internal::scale_and_offset_keys(body.m_keys, sel, moves_parameters, anchor, scale,
                                           offset, old_parameters, new_parameters, Convert))
    return 0;
  if (moves_parameters) self.MoveKeyUserDataTail(old_parameters, new_parameters);
  return 1;
}

// ---- reduction, resampling and smoothing -------------------------------------------------------

// Under a cycling method the range is folded into the key range; a range that spans a seam runs
// as its two folded pieces, and one longer than a period as the whole key range.
template <class Curve>
template <class Fn>
void QvSteppedFCurveOps<Curve>::ForRanges(const QvSteppedFCurveImpl& body, double from, double to,
                                          bool offsetCycleToo, Fn&& fn) {
  const bool cycles = body.m_extrapolation == 3 || (offsetCycleToo && body.m_extrapolation == 4);
  qv::internal::for_each_cycle_range(body.m_keys, cycles, from, to, fn);
}

// Of a run of equal values only the first key stays; a key with a lock always stays, and so does
// the last key of the range. Each key is compared with the key before it as the list stood.
template <class Curve>
void QvSteppedFCurveOps<Curve>::ReduceCore(Curve& self, QvULong first, QvULong last) {
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (last < first + 2) return;
  std::vector<Key> kept(body.m_keys.begin(),
                        body.m_keys.begin() + static_cast<std::ptrdiff_t>(first) + 1);
  for (QvULong k = first + 1; k < last; ++k) {
    const Key& key = body.KeyAt(k);
    const bool differs =
        std::fabs(static_cast<double>(key.value) - static_cast<double>(body.KeyAt(k - 1).value)) >
        kStepKeyTolerance;
    if (differs || (key.flags & kFlagBothLocks) != 0) {
      kept.push_back(key);
    } else {
      self.RemoveKeyUserData(key.parameter);
    }
  }
  kept.insert(kept.end(), body.m_keys.begin() + static_cast<std::ptrdiff_t>(last),
              body.m_keys.end());
  body.m_keys.swap(kept);
  body.m_cursor = 0;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ReduceNumKeys(Curve& self, double from, double to, double) {
  if (!finite_all({from, to})) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (body.NumKeys() == 0) return 1;
  if (from > to) std::swap(from, to);
  ForRanges(body, from, to, false, [&](double a, double b) {
    const QvULong i = EnsureKey(self, a);
    const double end = b;
    const QvULong j = EnsureKey(self, end);
    (void)i;
    ReduceCore(self, body.LocateKey(a).position - 1, j);
  });
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::ResampleSequence(Curve& self, double from, double to, double step,
                                                   QvLong keepKeys, QvLong) {
  if (!finite_all({from, to, step})) return 0;
  typename Curve::LockGuard guard(self);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0) return 0;
  if (from > to) std::swap(from, to);
  if (std::fabs(to - from) > kStepKeyTolerance &&
      (!(step > 0.0) || (to - from) / step > 16777216.0))
    return 0;
  ForRanges(body, from, to, true, [&](double a, double b) {
    if (std::fabs(b - a) <= kStepKeyTolerance) {
      EnsureKey(self, a);
      return;
    }
    QvULong previous = EnsureKey(self, a);
    auto sample_at = [&](double s) {
      QvULong near;
      QvULong index;
      if (body.FindKeyNear(s, 1e-7, near)) {
        index = near;
      } else {
        index = EnsureKey(self, s);
      }
      if (keepKeys == 0 && index > previous + 1) {
        // Removing keys between samples drops their steps; values that arrive at the sample stay.
        for (QvULong i = previous + 1; i < index; ++i)
          self.RemoveKeyUserData(body.KeyAt(i).parameter);
        body.m_keys.erase(body.m_keys.begin() + static_cast<std::ptrdiff_t>(previous) + 1,
                          body.m_keys.begin() + static_cast<std::ptrdiff_t>(index));
        body.m_cursor = 0;
        index = previous + 1;
      }
      previous = index;
    };
    const double count = std::floor((b - a) / step);
    for (double k = 1.0; k <= count; k += 1.0) sample_at(a + k * step);
    sample_at(b);
  });
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::SmoothSequence(Curve& self, double from, double to,
                                                 const double* kernel, QvULong count) {
  if constexpr (kBoolean) {
    (void)self;
    (void)from;
    (void)to;
    (void)kernel;
    (void)count;
    return 0;  // a filtered on/off state is not on/off
  } else {
    if (kernel == nullptr || count == 0 || !finite_all({from, to})) return 0;
    typename Curve::LockGuard guard(self);
    QvSteppedFCurveImpl& body = *self.m_impl;
    if (body.m_readOnly != 0) return 0;
    if (from > to) std::swap(from, to);
    ForRanges(body, from, to, true, [&](double a, double b) {
      const SteppedSelection sel = body.Select(a, b, 0, 0);
      if (sel.count < count) return;
      const long long half = static_cast<long long>((count - 1) / 2);
      std::vector<QvLong> source(sel.count);
      for (QvULong i = 0; i < sel.count; ++i) source[i] = body.KeyAt(sel.first + i).value;
      for (long long i = 0; i < static_cast<long long>(sel.count); ++i) {
        double sum = 0.0;
        for (long long w = 0; w < static_cast<long long>(count); ++w) {
          const long long at = i + w - half;
          if (at < 0 || at >= static_cast<long long>(sel.count)) continue;
          sum += kernel[w] * static_cast<double>(source[static_cast<std::size_t>(at)]);
        }
        Key& key = body.KeyAt(sel.first + static_cast<QvULong>(i));
        // Filtered values come back to whole numbers by rounding half up; locked values stay.
        if ((key.flags & kFlagValueLocked) == 0) key.value = saturate_trunc(std::floor(sum + 0.5));
      }
    });
    return 1;
  }
}

// ---- cut, append, paste, snapshot --------------------------------------------------------------

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::AppendInside(Curve& self, const Curve& other) {
  QvSteppedFCurveImpl& body = *self.m_impl;
  const QvSteppedFCurveImpl& tail = *other.m_impl;
  const QvULong n = body.NumKeys();
  if (n == 0 || tail.NumKeys() == 0) return 0;
  const double shift = body.KeyAt(n - 1).parameter - tail.KeyAt(0).parameter;
  std::vector<Key> keys(body.m_keys);
  keys.back().value = tail.KeyAt(0).value;
  for (QvULong i = 1; i < tail.NumKeys(); ++i) {
    Key k = tail.KeyAt(i);
    k.parameter += shift;
    keys.push_back(k);
  }
  for (std::size_t i = 1; i < keys.size(); ++i)
    if (!(keys[i].parameter > keys[i - 1].parameter)) return 0;
  body.m_keys.swap(keys);
  body.m_cursor = 0;
  for (QvULong i = 1; i < tail.NumKeys(); ++i)
    if (const CFCUserDataSet* set = other.GetUserDataSet(tail.KeyAt(i).parameter))
      self.SetUserDataSet(*set, tail.KeyAt(i).parameter + shift);
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::Append(Curve& self, const Base& other) {
  typename Curve::LockGuard guard(self);
  if (other.GetKind() != self.GetKind()) return 0;
  const Curve& source = static_cast<const Curve&>(other);
  typename Curve::LockGuard second(source);
  if (self.m_impl->m_readOnly != 0) return 0;
  const Curve copy(source);  // `other` may be this very curve
  return AppendInside(self, copy);
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::Paste(Curve& self, const Base& other, double from, double to) {
  typename Curve::LockGuard guard(self);
  if (other.GetKind() != self.GetKind()) return 0;
  const Curve& source = static_cast<const Curve&>(other);
  typename Curve::LockGuard second(source);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 || source.m_impl->NumKeys() < 2 || !finite_all({from, to})) return 0;
  if (from > to) std::swap(from, to);
  const Curve pasted(source);
  const Curve saved(self);
  const QvULong n = body.NumKeys();
  const bool has_tail = n != 0 && to < body.KeyAt(n - 1).parameter;
  Curve tail(self);
  if (has_tail) RemoveHeadInside(tail, to);
  if (n == 0) {
    Assign(self, pasted);
    body.m_readOnly = 0;
  } else {
    RemoveTailInside(self, from);
  }
  if ((n != 0 && AppendInside(self, pasted) == 0) || (has_tail && AppendInside(self, tail) == 0)) {
    Assign(self, saved);
    return 0;
  }
  return 1;
}

template <class Curve>
QvLong QvSteppedFCurveOps<Curve>::Cut(Curve& self, double from, double to, Base& out) {
  typename Curve::LockGuard guard(self);
  if (out.GetKind() != self.GetKind() || &out == &self) return 0;
  Curve& target = static_cast<Curve&>(out);
  typename Curve::LockGuard second(target);
  QvSteppedFCurveImpl& body = *self.m_impl;
  if (body.m_readOnly != 0 || target.m_impl->m_readOnly != 0 || !finite_all({from, to})) return 0;
  if (from > to) std::swap(from, to);
  if (body.AnyFlagInRange(from, to, 0, 0, kFlagBothLocks, false)) return 0;
  const Curve saved(self);
  Curve piece(self);
  if (body.NumKeys() != 0) {
    RemoveHeadInside(piece, from);
    RemoveTailInside(piece, to);
  }
  if (body.NumKeys() != 0) {
    // The keys of the range go and the later keys close the gap; at the seam the later side's
    // value holds on.
    const QvLong later = body.StepValue(to);
    const double width = to - from;
    const SteppedSelection sel = body.Select(from, to, 0, 0);
    const bool before_keys = from < body.KeyAt(0).parameter;
    EraseWithUserData(self, sel.first, sel.count);
    QvDoubleArray old_parameters(body.NumKeys());
    QvDoubleArray new_parameters(body.NumKeys());
    for (QvULong i = sel.first; i < body.NumKeys(); ++i) {
      old_parameters.Add(body.KeyAt(i).parameter);
      body.KeyAt(i).parameter -= width;
      new_parameters.Add(body.KeyAt(i).parameter);
    }
    self.MoveKeyUserDataTail(old_parameters, new_parameters);
    if (!before_keys && body.CreateKeyCore(from, later) == 0) {
      Assign(self, saved);
      return 0;
    }
    if (!body.StrictlyRising()) {
      Assign(self, saved);
      return 0;
    }
  }
  Assign(target, piece);
  return 1;
}

template <class Curve>
QvBaseFCurve* QvSteppedFCurveOps<Curve>::SnapShot(const Curve& self, double from, double to,
                                                  Base::ExtrapolationMethod) {
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  if (!finite_all({from, to})) return nullptr;
  if (from > to) std::swap(from, to);
  try {
    std::unique_ptr<Curve> snap(new Curve(0.0));
    snap->QvBaseFCurve::operator=(self);
    snap->RemoveAllKeyUserData();
    QvSteppedFCurveImpl& out = *snap->m_impl;
    out.m_valueWhenNoKeys = body.m_valueWhenNoKeys;
    out.m_isTimeCurve = body.m_isTimeCurve;
    out.m_defaultBezierTangent = body.m_defaultBezierTangent;
    // Hold ends: the value before the range is the value at its start.
    const QvLong at_from = body.Eval(from);
    out.m_keys.push_back(Key{from, at_from, 0});
    out.m_valueBeforeFirstKey = at_from;
    if (to - from > kStepKeyTolerance) {
      std::vector<StepPoint> steps;
      build_steps(body, from, to, steps);
      for (std::size_t i = 1; i + 1 < steps.size(); ++i) {
        const double p = steps[i].t;
        if (p > out.m_keys.back().parameter) {
          const QvLong v = body.Eval(p);
          QvULong k;
          std::uint16_t flags = 0;
          if (!body.IsCycling() && body.FindKeyNear(p, 0.0, k)) {
            flags = body.KeyAt(k).flags;
            if (const CFCUserDataSet* set = self.GetUserDataSet(p)) snap->SetUserDataSet(*set, p);
          }
          out.m_keys.push_back(Key{p, v, flags});
        }
      }
      out.m_keys.push_back(Key{to, body.Eval(to), 0});
    }
    return snap.release();
  } catch (...) {
    return nullptr;
  }
}

// ---- buffer body -------------------------------------------------------------------------------

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::GetBufferSize(const Curve& self) {
  // A body whose parameters do not rise is put right before it is measured, so that size and
  // contents agree; this happens before the lock, as it always has.
  self.m_impl->RepairOrder();
  typename Curve::LockGuard guard(self);
  const QvULong n = self.m_impl->NumKeys();
  return (kBoolean ? 36 + 11 * n : 42 + 14 * n) + self.GetUserDataBufferSize();
}

template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::WriteToBuffer(const Curve& self, void* buffer) {
  if (buffer == nullptr) return 0;
  const QvULong size = GetBufferSize(self);
  typename Curve::LockGuard guard(self);
  const QvSteppedFCurveImpl& body = *self.m_impl;
  unsigned char* p = static_cast<unsigned char*>(buffer);
  store_u32(p, size - 4);
  store_u32(p + 4, kVersionWritten);
  store_u32(p + 8, static_cast<QvULong>(self.GetKind()));
  store_u32(p + 12, kBoolean ? kIdBoolean : kIdInteger);
  store_u32(p + 16, kIdSecond);
  store_u32(p + 20, kIdTailLow);
  store_u32(p + 24, kIdTailHigh);
  p += 28;
  const QvULong n = body.NumKeys();
  if constexpr (kBoolean) {
    p[0] = body.m_valueWhenNoKeys != 0 ? 1 : 0;
    p[1] = body.m_valueBeforeFirstKey != 0 ? 1 : 0;
    p[2] = body.m_extrapolation;
    p[3] = body.m_readOnly != 0 ? 1 : 0;
    store_u32(p + 4, n);
    p += 8;
  } else {
    store_u32(p, static_cast<QvULong>(body.m_valueWhenNoKeys));
    store_u32(p + 4, static_cast<QvULong>(body.m_valueBeforeFirstKey));
    p[8] = body.m_extrapolation;
    p[9] = body.m_readOnly != 0 ? 1 : 0;
    store_u32(p + 10, n);
    p += 14;
  }
  for (const Key& k : body.m_keys) {
    put_f64(p, k.parameter);
    p += 8;
    if constexpr (kBoolean) {
      *p++ = k.value != 0 ? 1 : 0;
    } else {
      store_u32(p, static_cast<QvULong>(k.value));
      p += 4;
    }
    store_u16(p, k.flags);
    p += 2;
  }
  self.WriteUserDataToBuffer(p);
  return size;
}

// Everything is read into a scratch curve; only a body that reads whole is swapped in.
template <class Curve>
QvULong QvSteppedFCurveOps<Curve>::ReadFromBufferBody(Curve& self, const void* data) {
  if (data == nullptr) return 0;
  const unsigned char* bytes = static_cast<const unsigned char*>(data);
  BodyReader in(bytes, load_u32(bytes - 4));
  try {
    Curve scratch(kBoolean ? 1.0 : 0.0);
    QvSteppedFCurveImpl& body = *scratch.m_impl;
    const QvULong version = in.U32();
    if (!in.Ok() || version < kVersionLegacy || version == 0xFFFFFFFFu) return 0;
    if (in.U32() != static_cast<QvULong>(self.GetKind())) return 0;
    if (in.U32() != (kBoolean ? kIdBoolean : kIdInteger) || in.U32() != kIdSecond ||
        in.U32() != kIdTailLow || in.U32() != kIdTailHigh || !in.Ok())
      return 0;
    const bool legacy = version == kVersionLegacy;
    if constexpr (kBoolean) {
      body.m_valueWhenNoKeys = in.U8() != 0 ? 1 : 0;
      body.m_valueBeforeFirstKey = in.U8() != 0 ? 1 : 0;
    } else {
      body.m_valueWhenNoKeys = static_cast<QvLong>(in.U32());
      body.m_valueBeforeFirstKey = static_cast<QvLong>(in.U32());
    }
    body.m_extrapolation = in.U8();
    body.m_readOnly = in.U8() != 0 ? 1 : 0;
    const QvULong n = in.U32();
    const std::size_t record = (kBoolean ? 10u : 13u) + (legacy ? 0u : 1u);
    if (!in.Ok() || in.Remaining() / record < n) return 0;
    body.m_keys.resize(n);
    for (QvULong i = 0; i < n; ++i) {
      Key& k = body.KeyAt(i);
      k.parameter = in.F64();
      if constexpr (kBoolean) {
        k.value = in.U8() == 1 ? 1 : 0;
      } else {
        k.value = static_cast<QvLong>(in.U32());
      }
      k.flags = legacy ? in.U8() : in.U16();
    }
    if (!in.UserDataBlock([&scratch](const unsigned char* start) {
          return scratch.ReadUserDataFromBufferBody(start);
        }))
      return 0;
    if (!in.Ok()) return 0;
    typename Curve::LockGuard guard(self);
    std::swap(self.m_impl, scratch.m_impl);
    self.ExchangeUserData(scratch);
    return in.Consumed();
  } catch (...) {
    return 0;
  }
}

template class QvSteppedFCurveOps<QvBooleanFCurve>;
template class QvSteppedFCurveOps<QvIntegerFCurve>;
