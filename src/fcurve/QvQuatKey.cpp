#include <qv/QvQuatFCurve.h>

#include <cmath>

namespace {

constexpr unsigned kFlagMask = 0x3FFF;

bool within(double a, double b, double tolerance) {
  const double d = std::fabs(a - b);
  return d <= tolerance;
}

}  // namespace

QvQuatKey::QvQuatKey()
    : time(0.0), value(0.0, 0.0, 0.0), tension(0.0f), continuity(0.0f), bias(0.0f), flags(0),
      paramLock(0), valueLock(0) {}

QvQuatKey::QvQuatKey(double time_, QvPoint3<double> const& value_, float tension_,
                     float continuity_, float bias_, int flags_)
    : time(time_), value(value_), tension(tension_), continuity(continuity_), bias(bias_),
      flags(static_cast<std::uint16_t>(static_cast<unsigned>(flags_) & kFlagMask)), paramLock(0),
      valueLock(0) {}

QvQuatKey::QvQuatKey(const QvQuatKey& other) = default;
QvQuatKey& QvQuatKey::operator=(const QvQuatKey& other) = default;

QvLong QvQuatKey::operator==(const QvQuatKey& other) const {
  const bool doubles = within(time, other.time, 1e-9) && within(value.x, other.value.x, 1e-9) &&
                       within(value.y, other.value.y, 1e-9) &&
                       within(value.z, other.value.z, 1e-9);
  const bool floats = within(tension, other.tension, 1e-7) &&
                      within(continuity, other.continuity, 1e-7) &&
                      within(bias, other.bias, 1e-7);
  const bool bits = flags == other.flags && paramLock == other.paramLock &&
                    valueLock == other.valueLock;
  return doubles && floats && bits ? 1 : 0;
}

QvLong QvQuatKey::operator!=(const QvQuatKey& other) const { return *this == other ? 0 : 1; }

QvLong QvQuatKey::operator<(const QvQuatKey& other) const { return time < other.time ? 1 : 0; }
