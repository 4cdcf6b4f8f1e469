#include <qv/QvMotionPath3d.h>

#include "shape/motion_body.h"
#include "shape/shape_buffer.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <new>

using qv::internal::kMotionTimeTolerance;

namespace {

constexpr QvMotionTangentPair kDefaultPair = {QvMotionPath3d::TangentSmooth,
                                              QvMotionPath3d::TangentSmooth};
constexpr QvMotionTangentPair kLegacyPair = {QvMotionPath3d::TangentConstant,
                                             QvMotionPath3d::TangentConstant};
constexpr std::uint32_t kWriteVersion = 259;
constexpr std::uint32_t kOldestVersion = 257;

void append_node(QvMotionPath3dImpl& body, const QvPoint3<double>& point, double time) {
  body.points.push_back(point);
  body.clientData.push_back(nullptr);
  body.nodeTimes.push_back(time);
  body.nodeFlags.push_back(0);
  body.tangentInfo.push_back(kDefaultPair);
}

void append_segment(QvMotionPath3dImpl& body, const QvPoint3<double>& c0,
                    const QvPoint3<double>& c1, const QvPoint3<double>& point, double time) {
  body.Reserve(1);
  body.points.push_back(c0);
  body.points.push_back(c1);
  body.clientData.push_back(nullptr);
  body.clientData.push_back(nullptr);
  append_node(body, point, time);
}

void prepend_segment(QvMotionPath3dImpl& body, const QvPoint3<double>& point,
                     const QvPoint3<double>& c0, const QvPoint3<double>& c1, double time,
                     unsigned char flags) {
  // Build the front into fresh vectors: an insert at the front of a full vector could throw after
  // moving half of the elements.
  QvMotionPath3dImpl next;
  next.points.reserve(body.points.size() + 3);
  next.points.push_back(point);
  next.points.push_back(c0);
  next.points.push_back(c1);
  next.points.insert(next.points.end(), body.points.begin(), body.points.end());
  next.clientData.assign(3, nullptr);
  next.clientData.insert(next.clientData.end(), body.clientData.begin(), body.clientData.end());
  next.nodeTimes.reserve(body.nodeTimes.size() + 1);
  next.nodeTimes.push_back(time);
  next.nodeTimes.insert(next.nodeTimes.end(), body.nodeTimes.begin(), body.nodeTimes.end());
  next.nodeFlags.reserve(body.nodeFlags.size() + 1);
  next.nodeFlags.push_back(flags);
  next.nodeFlags.insert(next.nodeFlags.end(), body.nodeFlags.begin(), body.nodeFlags.end());
  next.tangentInfo.reserve(body.tangentInfo.size() + 1);
  next.tangentInfo.push_back(kDefaultPair);
  next.tangentInfo.insert(next.tangentInfo.end(), body.tangentInfo.begin(),
                          body.tangentInfo.end());
  std::swap(body, next);
}

double finite_or_zero(double v) { return std::isfinite(v) ? v : 0.0; }

void store_f64(unsigned char* out, double v) {
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  qv::internal::store_u32(out, static_cast<std::uint32_t>(bits & 0xFFFFFFFFu));
  qv::internal::store_u32(out + 4, static_cast<std::uint32_t>(bits >> 32));
}

double load_f64(const unsigned char* in) {
  const std::uint64_t bits = static_cast<std::uint64_t>(qv::internal::load_u32(in)) |
                             (static_cast<std::uint64_t>(qv::internal::load_u32(in + 4)) << 32);
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

}  // namespace

QvMotionPath3d::QvMotionPath3d() : m_body(new QvMotionPath3dImpl) {
  m_body->points.reserve(4);
  m_body->clientData.reserve(4);
  m_body->nodeTimes.reserve(2);
  m_body->nodeFlags.reserve(2);
  m_body->tangentInfo.reserve(2);
}

QvMotionPath3d::QvMotionPath3d(const QvPoint3<double>& p0, const QvPoint3<double>& p1, double t0,
                               double t1)
    : QvMotionPath3d() {
  append_node(*m_body, p0, t0);
  append_segment(*m_body, p0, p0, p1, t1);
  m_body->nodeFlags[0] = NodeStraightSegment;
}

QvMotionPath3d::QvMotionPath3d(const QvPoint3<double>& p0, const QvPoint3<double>& c0,
                               const QvPoint3<double>& c1, const QvPoint3<double>& p1, double t0,
                               double t1)
    : QvMotionPath3d() {
  append_node(*m_body, p0, t0);
  append_segment(*m_body, c0, c1, p1, t1);
}

QvMotionPath3d::QvMotionPath3d(const QvMotionPath3d& other) : m_body(nullptr) {
  QvCriticalSectionGuard guard(other.m_lock);
  m_body = new QvMotionPath3dImpl(*other.m_body);
}

QvMotionPath3d& QvMotionPath3d::operator=(const QvMotionPath3d& other) {
  QvCriticalSectionGuard guard(m_lock);
  if (this == &other) return *this;
  QvCriticalSectionGuard other_guard(other.m_lock);
  std::unique_ptr<QvMotionPath3dImpl> copy(new QvMotionPath3dImpl(*other.m_body));
  delete m_body;
  m_body = copy.release();
  return *this;
}

QvMotionPath3d::~QvMotionPath3d() { delete m_body; }

// ---------------------------------------------------------------------------------------------
// Building at the ends.

QvLong QvMotionPath3d::Moveto(const QvPoint3<double>& point, double time) {
  QvCriticalSectionGuard guard(m_lock);
  if (!m_body->points.empty()) return 0;
  m_body->Reserve(1);
  append_node(*m_body, point, time);
  return 1;
}

QvLong QvMotionPath3d::Lineto(const QvPoint3<double>& point, double time) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || !(time > body.nodeTimes.back())) return 0;
  append_segment(body, point, point, point, time);
  body.nodeFlags[body.NumNodes() - 2] =
      static_cast<unsigned char>(body.nodeFlags[body.NumNodes() - 2] | NodeStraightSegment);
  return 1;
}

QvLong QvMotionPath3d::Curveto(const QvPoint3<double>& c0, const QvPoint3<double>& c1,
                               const QvPoint3<double>& point, double time) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || !(time > body.nodeTimes.back())) return 0;
  append_segment(body, c0, c1, point, time);
  const QvULong joint = body.NumNodes() - 2;
  if (body.IsLocked(joint) && !qv::internal::motion_lock_g1(body, joint))
    body.nodeFlags[joint] = static_cast<unsigned char>(body.nodeFlags[joint] & ~NodeG1Locked);
  return 1;
}

QvLong QvMotionPath3d::PreLineto(const QvPoint3<double>& point, double time) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || !(time < body.nodeTimes.front())) return 0;
  prepend_segment(body, point, point, point, time, NodeStraightSegment);
  return 1;
}

QvLong QvMotionPath3d::PreCurveto(const QvPoint3<double>& c0, const QvPoint3<double>& c1,
                                  const QvPoint3<double>& point, double time) {
  QvCriticalSectionGuard guard(m_lock);
  QvMotionPath3dImpl& body = *m_body;
  if (body.points.empty() || !(time < body.nodeTimes.front())) return 0;
  // The new segment runs from point to the old first node: c1 is the control next to it.
  prepend_segment(body, point, c1, c0, time, 0);
  if (body.IsLocked(1) && !qv::internal::motion_lock_g1(body, 1))
    body.nodeFlags[1] = static_cast<unsigned char>(body.nodeFlags[1] & ~NodeG1Locked);
  return 1;
}

// ---------------------------------------------------------------------------------------------
// Access.

QvULong QvMotionPath3d::NumPoints() const {
  QvCriticalSectionGuard guard(m_lock);
  return m_body->NumPoints();
}

QvULong QvMotionPath3d::NumNodes() const {
  QvCriticalSectionGuard guard(m_lock);
  return m_body->NumNodes();
}

QvLong QvMotionPath3d::GetTimeInterval(double& first, double& last) const {
  QvCriticalSectionGuard guard(m_lock);
  if (m_body->nodeTimes.empty()) return 0;
  first = m_body->nodeTimes.front();
  last = m_body->nodeTimes.back();
  return 1;
}

double QvMotionPath3d::GetFirstTime(QvLong) const {
  QvCriticalSectionGuard guard(m_lock);
  return m_body->nodeTimes.empty() ? 0.0 : m_body->nodeTimes.front();
}

double QvMotionPath3d::GetLastTime(QvLong) const {
  QvCriticalSectionGuard guard(m_lock);
  return m_body->nodeTimes.empty() ? 0.0 : m_body->nodeTimes.back();
}

QvLong QvMotionPath3d::GetNode(QvULong i, QvPoint3<double>& point, double& time) const {
  QvCriticalSectionGuard guard(m_lock);
  if (i % 3 != 0 || i >= m_body->NumPoints()) return 0;
  point = m_body->points[i];
  time = m_body->nodeTimes[i / 3];
  return 1;
}

QvLong QvMotionPath3d::IsNode(QvULong i) const { return i % 3 == 0 ? 1 : 0; }

QvLong QvMotionPath3d::GetControlPoint(QvULong i, QvPoint3<double>& point) const {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  point = m_body->points[i];
  return 1;
}

QvLong QvMotionPath3d::GetControlPoints(QvULong first, QvULong last, QvPoint3<double>* points,
                                        double* times) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  if (points == nullptr || first > last || last >= body.NumPoints()) return 0;
  QvULong node = 0;
  for (QvULong i = first; i <= last; ++i) {
    points[i - first] = body.points[i];
    if (times != nullptr && i % 3 == 0) times[node++] = body.nodeTimes[i / 3];
  }
  return 1;
}

QvLong QvMotionPath3d::GetControlPointKind(QvULong i, PointKind& kind) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumPoints();
  if (i >= n) return 0;
  if (n == 1) {
    kind = PointOnly;
    return 1;
  }
  if (i == n - 1) {
    kind = body.IsStraight(i / 3 - 1) ? PointLineEnd : PointCubicEnd;
    return 1;
  }
  const QvLong base = body.IsStraight(i / 3) ? PointLineStart : PointCubicStart;
  kind = static_cast<PointKind>(base + static_cast<QvLong>(i % 3));
  return 1;
}

QvLong QvMotionPath3d::GetControlPointKind(QvULong i, QvLong& kind) const {
  PointKind k;
  if (!GetControlPointKind(i, k)) return 0;
  kind = k;
  return 1;
}

QvLong QvMotionPath3d::GetControlPointKind(QvULong i, QvULong& kind) const {
  PointKind k;
  if (!GetControlPointKind(i, k)) return 0;
  kind = static_cast<QvULong>(k);
  return 1;
}

QvLong QvMotionPath3d::GetClosestControlPointIndex(const QvPoint3<double>& point,
                                                   double tolerance, QvULong& index) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  bool found = false;
  double best = 0.0;
  QvULong best_index = 0;
  for (QvULong i = 0; i < body.NumPoints(); ++i) {
    // The controls of a straight segment sit on its ends and cannot be dragged.
    if (i % 3 != 0 && body.IsStraight(i / 3)) continue;
    const QvPoint3<double> d = qv::internal::motion_sub(body.points[i], point);
    if (!(std::fabs(d.x) <= tolerance && std::fabs(d.y) <= tolerance &&
          std::fabs(d.z) <= tolerance))
      continue;
    const double s = qv::internal::motion_squared_length(d);
    if (!found || s < best) {
      found = true;
      best = s;
      best_index = i;
    }
  }
  if (!found) return 0;
  index = best_index;
  return 1;
}

void* QvMotionPath3d::GetClientData(QvULong i) const {
  QvCriticalSectionGuard guard(m_lock);
  return i < m_body->NumPoints() ? m_body->clientData[i] : nullptr;
}

QvLong QvMotionPath3d::SetClientData(QvULong i, void* pointer) {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  m_body->clientData[i] = pointer;
  return 1;
}

QvLong QvMotionPath3d::GetLeftTangentInfo(QvULong i, TangentInfo& info) const {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  info = static_cast<TangentInfo>(m_body->tangentInfo[i / 3].left);
  return 1;
}

QvLong QvMotionPath3d::GetLeftTangentInfo(QvULong i, QvLong& info) const {
  TangentInfo k;
  if (!GetLeftTangentInfo(i, k)) return 0;
  info = k;
  return 1;
}

QvLong QvMotionPath3d::GetLeftTangentInfo(QvULong i, QvULong& info) const {
  TangentInfo k;
  if (!GetLeftTangentInfo(i, k)) return 0;
  info = static_cast<QvULong>(k);
  return 1;
}

QvLong QvMotionPath3d::SetLeftTangentInfo(QvULong i, QvULong info) {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints() || info >= 5) return 0;
  m_body->tangentInfo[i / 3].left = static_cast<std::int32_t>(info);
  return 1;
}

QvLong QvMotionPath3d::GetRightTangentInfo(QvULong i, TangentInfo& info) const {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints()) return 0;
  info = static_cast<TangentInfo>(m_body->tangentInfo[i / 3].right);
  return 1;
}

QvLong QvMotionPath3d::GetRightTangentInfo(QvULong i, QvLong& info) const {
  TangentInfo k;
  if (!GetRightTangentInfo(i, k)) return 0;
  info = k;
  return 1;
}

QvLong QvMotionPath3d::GetRightTangentInfo(QvULong i, QvULong& info) const {
  TangentInfo k;
  if (!GetRightTangentInfo(i, k)) return 0;
  info = static_cast<QvULong>(k);
  return 1;
}

QvLong QvMotionPath3d::SetRightTangentInfo(QvULong i, QvULong info) {
  QvCriticalSectionGuard guard(m_lock);
  if (i >= m_body->NumPoints() || info >= 5) return 0;
  m_body->tangentInfo[i / 3].right = static_cast<std::int32_t>(info);
  return 1;
}

QvLong QvMotionPath3d::GetNodeIndexFromInitialTime(double t, double tolerance,
                                                   QvULong& index) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  if (body.nodeTimes.empty() || !(tolerance >= 0.0)) return 0;
  // The nearest node is one of the two around t.
  const QvULong k = t <= body.nodeTimes.front() ? 0
                    : t >= body.nodeTimes.back() ? body.NumNodes() - 1
                                                 : qv::internal::motion_find_segment(body, t);
  QvULong best = k;
  if (k + 1 < body.NumNodes() &&
      std::fabs(body.nodeTimes[k + 1] - t) < std::fabs(body.nodeTimes[k] - t))
    best = k + 1;
  if (!(std::fabs(body.nodeTimes[best] - t) <= tolerance)) return 0;
  index = 3u * best;
  return 1;
}

QvLong QvMotionPath3d::GetBracketingIndices(double t, double tolerance, QvULong& before,
                                            QvLong& hasBefore, QvULong& after,
                                            QvLong& hasAfter, QvLong) const {
  QvCriticalSectionGuard guard(m_lock);
  const QvMotionPath3dImpl& body = *m_body;
  const QvULong n = body.NumNodes();
  if (n == 0 || t != t) return 0;
  const double tol = tolerance >= 0.0 ? tolerance : 0.0;
  if (t < body.nodeTimes.front() - tol) {
    hasBefore = 0;
    after = 0;
    hasAfter = 1;
    return 1;
  }
  if (t > body.nodeTimes.back() + tol) {
    before = 3u * (n - 1);
    hasBefore = 1;
    hasAfter = 0;
    return 1;
  }
  QvULong k = t <= body.nodeTimes.front()  ? 0
              : t >= body.nodeTimes.back() ? n - 1
                                           : qv::internal::motion_find_segment(body, t);
  if (k + 1 < n && std::fabs(body.nodeTimes[k + 1] - t) <= tol &&
      std::fabs(body.nodeTimes[k + 1] - t) < std::fabs(body.nodeTimes[k] - t))
    ++k;
  if (std::fabs(body.nodeTimes[k] - t) <= tol) {
    before = after = 3u * k;
    hasBefore = hasAfter = 1;
    return 1;
  }
  before = 3u * k;
  after = 3u * (k + 1);
  hasBefore = hasAfter = 1;
  return 1;
}

// ---------------------------------------------------------------------------------------------
// Persistence: length, version, reserved, n, the points, the node times, the (left, right)
// tangent bytes and the flag byte of each node, then a zero word.

QvULong QvMotionPath3d::GetBufferSize() const {
  QvCriticalSectionGuard guard(m_lock);
  const QvULong n = m_body->NumPoints();
  return 20u + 24u * n + (n ? 11u * (n / 3u + 1u) : 0u);
}

QvULong QvMotionPath3d::WriteToBuffer(void* buffer) const {
  QvCriticalSectionGuard guard(m_lock);
  if (buffer == nullptr) return 0;
  const QvMotionPath3dImpl& body = *m_body;
  const QvULong size = GetBufferSize();
  const QvULong n = body.NumPoints();
  unsigned char* out = static_cast<unsigned char*>(buffer);
  qv::internal::store_u32(out, size - 4u);
  qv::internal::store_u32(out + 4, kWriteVersion);
  qv::internal::store_u32(out + 8, 0);
  qv::internal::store_u32(out + 12, n);
  out += 16;
  for (const QvPoint3<double>& p : body.points) {
    store_f64(out, finite_or_zero(p.x));
    store_f64(out + 8, finite_or_zero(p.y));
    store_f64(out + 16, finite_or_zero(p.z));
    out += 24;
  }
  if (n) {
    for (double t : body.nodeTimes) {
      store_f64(out, finite_or_zero(t));
      out += 8;
    }
    for (const QvMotionTangentPair& pair : body.tangentInfo) {
      *out++ = static_cast<unsigned char>(pair.left);
      *out++ = static_cast<unsigned char>(pair.right);
    }
    for (unsigned char f : body.nodeFlags) *out++ = f;
  }
  qv::internal::store_u32(out, 0);
  return size;
}

QvULong QvMotionPath3d::ReadFromBufferBody(const void* body_bytes) {
  if (body_bytes == nullptr) return 0;
  const std::uint64_t available = qv::internal::body_length(body_bytes);
  const unsigned char* in = static_cast<const unsigned char*>(body_bytes);
  if (available < 12) return 0;
  const std::uint32_t version = qv::internal::load_u32(in);
  if (version < kOldestVersion) return 0;
  const std::uint64_t n = qv::internal::load_u32(in + 8);
  if (n != 0 && n % 3 != 1) return 0;
  const std::uint64_t nodes = n ? n / 3 + 1 : 0;
  const std::uint64_t tangent_bytes = version == 257 ? 0 : version == 258 ? 1 : 2;
  const std::uint64_t consumed = 16 + 24 * n + nodes * (8 + tangent_bytes + 1);
  if (consumed > available) return 0;

  QvMotionPath3dImpl next;
  try {
    next.points.resize(static_cast<std::size_t>(n));
    next.clientData.assign(static_cast<std::size_t>(n), nullptr);
    next.nodeTimes.resize(static_cast<std::size_t>(nodes));
    next.nodeFlags.resize(static_cast<std::size_t>(nodes));
    next.tangentInfo.assign(static_cast<std::size_t>(nodes), kLegacyPair);
  } catch (const std::bad_alloc&) {
    return 0;
  }
  const unsigned char* p = in + 12;
  for (QvPoint3<double>& point : next.points) {
    point = QvPoint3<double>(load_f64(p), load_f64(p + 8), load_f64(p + 16));
    p += 24;
  }
  for (std::size_t k = 0; k < nodes; ++k, p += 8) {
    next.nodeTimes[k] = load_f64(p);
    if (k > 0 && !(next.nodeTimes[k] > next.nodeTimes[k - 1])) return 0;
  }
  if (tangent_bytes == 1) {
    p += nodes;
  } else if (tangent_bytes == 2) {
    for (QvMotionTangentPair& pair : next.tangentInfo) {
      if (p[0] >= 5 || p[1] >= 5) return 0;
      pair.left = p[0];
      pair.right = p[1];
      p += 2;
    }
  }
  for (unsigned char& f : next.nodeFlags) f = *p++;

  QvCriticalSectionGuard guard(m_lock);
  std::swap(*m_body, next);
  return static_cast<QvULong>(consumed);
}

QvMotionPath3d* QvMotionPath3d::CreateFromBufferBody(const void* body, QvULong& bytesRead) {
  return QvMotionPath3d_CreateFromBufferBody(body, bytesRead);
}

QvMotionPath3d* CreateFromBufferBody(const void* body, QvULong& bytesRead) {
  return QvMotionPath3d_CreateFromBufferBody(body, bytesRead);
}

QvMotionPath3d* QvMotionPath3d_CreateFromBufferBody(const void* body, QvULong& bytesRead) {
  try {
    std::unique_ptr<QvMotionPath3d> path(new QvMotionPath3d);
    const QvULong read = path->ReadFromBufferBody(body);
    if (read == 0) return nullptr;
    bytesRead = read;
    return path.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
