#include <qv/QvMipPath2fProp1d.h>

#include <qv/QvGC.h>
#include <qv/QvMorpher.h>
#include <qv/QvPath2fProp1d.h>
#include <qv/QvTransfo4.h>

#include "morph/keyframed_body.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

namespace qi = qv::internal;

class QvMipP2fP1dAgentImpl {
 public:
  explicit QvMipP2fP1dAgentImpl(QvMipPath2fProp1d& l) : list(l), result(1) {}
  QvMipPath2fProp1d& list;
  QvPath2fProp1d result;
};

namespace {

// Agent first, list second, released in reverse order.
class AgentLock {
 public:
  AgentLock(QvCriticalSection& agent, QvCriticalSection& list) : m_agent(agent), m_list(list) {
    m_agent.LOCK();
    m_list.LOCK();
  }
  ~AgentLock() {
    m_list.UNLOCK();
    m_agent.UNLOCK();
  }
  AgentLock(const AgentLock&) = delete;
  AgentLock& operator=(const AgentLock&) = delete;

 private:
  QvCriticalSection& m_agent;
  QvCriticalSection& m_list;
};

void ClearPath(QvPath2fProp1d& path) {
  while (path.NumPoints() > 0) {
    if (!path.RemoveSubpath(0)) break;
  }
}

// The shape at t seen through keys lo..hi of body.
void EvalKeys(const QvMipPath2fProp1dImpl& body, QvULong lo, QvULong hi, double t,
              double smallestFeature, double propertyTolerance, QvPath2fProp1d& result) {
  const qi::MipLocation at = qi::MipLocate(body, lo, hi, t);
  if (at.before || at.after || at.hit) {
    result = *body.keys[at.index].path;
    return;
  }
  const QvMipKey& a = body.keys[at.index];
  const QvMipKey& b = body.keys[at.index + 1];
  QvGC gc;
  gc.SetSmallestFeatureSize(smallestFeature);
  gc.SetPropertyTolerance(propertyTolerance);
  gc.SetAngleThreshold(0.25);
  QvMorpher morpher(a.path.get(), b.path.get(), gc);
  morpher.LinearMorph((t - a.parameter) / (b.parameter - a.parameter), result);
}

}  // namespace

QvMipP2fP1dAgent::QvMipP2fP1dAgent(QvMipPath2fProp1d& list) : m_impl(nullptr) {
  list.Lock();
  try {
    m_impl = new QvMipP2fP1dAgentImpl(list);
  } catch (...) {
    list.Unlock();
    throw;
  }
  list.Unlock();
}

QvMipP2fP1dAgent::~QvMipP2fP1dAgent() { delete m_impl; }

const QvPath2fProp1d& QvMipP2fP1dAgent::Eval(double t, double smallestFeature,
                                             double propertyTolerance) {
  AgentLock lock(m_section, m_impl->list.m_section);
  ClearPath(m_impl->result);
  const QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  if (body.NumKeys() == 0) return m_impl->result;
  EvalKeys(body, 0, body.NumKeys() - 1, t, smallestFeature, propertyTolerance, m_impl->result);
  return m_impl->result;
}

const QvPath2fProp1d& QvMipP2fP1dAgent::EvalInInterval(double t, double smallestFeature,
                                                       double propertyTolerance,
                                                       QvLong excludeFrom, QvLong excludeTo,
                                                       double from, double to) {
  AgentLock lock(m_section, m_impl->list.m_section);
  ClearPath(m_impl->result);
  const QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  if (from > to) {
    std::swap(from, to);
    std::swap(excludeFrom, excludeTo);
  }
  QvULong first = 0;
  QvULong last = 0;
  if (!qi::MipFindRange(body, from, to, first, last)) return m_impl->result;
  if (excludeFrom && std::fabs(body.Parameter(first) - from) <= kQvMipKeyTolerance) {
    if (first == last) return m_impl->result;
    ++first;
  }
  if (excludeTo && std::fabs(body.Parameter(last) - to) <= kQvMipKeyTolerance) {
    if (first == last) return m_impl->result;
    --last;
  }
  // A single key in the interval holds for every t, as the end keys of a
  // whole list do outside its range.
  EvalKeys(body, first, last, t, smallestFeature, propertyTolerance, m_impl->result);
  return m_impl->result;
}

QvLong QvMipP2fP1dAgent::CreateKey(double t, const QvPath2fProp1d& path) {
  AgentLock lock(m_section, m_impl->list.m_section);
  m_impl->list.m_impl->CreateKey(t, path);
  return 1;
}

QvLong QvMipP2fP1dAgent::CreateKeyFromEvaluation(double t) {
  AgentLock lock(m_section, m_impl->list.m_section);
  if (m_impl->result.NumPoints() == 0) return 0;
  m_impl->list.m_impl->CreateKey(t, m_impl->result);
  return 1;
}

QvLong QvMipP2fP1dAgent::MergeAndCreateKey(double from, double to, double t,
                                           const QvPath2fProp1d& path, QvLong keepFrom,
                                           QvLong keepTo) {
  AgentLock lock(m_section, m_impl->list.m_section);
  QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  // Copied first: path may be the path of a key about to go.
  const QvPath2fProp1d copy(path);
  QvULong first = 0;
  QvULong last = 0;
  if (qi::MipFindRemovable(body, from, to, keepFrom, keepTo, first, last)) {
    // A lone key already at t is simply given the new path.
    const bool lone_at_t =
        first == last && std::fabs(body.Parameter(first) - t) <= kQvMipKeyTolerance;
    if (!lone_at_t) body.RemoveRange(first, last);
  }
  body.CreateKey(t, copy);
  return 1;
}

QvLong QvMipP2fP1dAgent::RemoveKey(double t, double tolerance) {
  AgentLock lock(m_section, m_impl->list.m_section);
  QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  if (body.NumKeys() == 0) return 1;
  const double reach = std::fabs(tolerance);
  QvULong first = 0;
  QvULong last = 0;
  if (!qi::MipFindRange(body, t - reach, t + reach, first, last)) return 0;
  QvULong nearest = first;
  double best = std::fabs(body.Parameter(first) - t);
  for (QvULong i = first + 1; i <= last; ++i) {
    const double d = std::fabs(body.Parameter(i) - t);
    if (d < best) {
      best = d;
      nearest = i;
    }
  }
  body.RemoveRange(nearest, nearest);
  return 1;
}

QvLong QvMipP2fP1dAgent::RemoveKeys(double from, double to, QvLong keepFrom, QvLong keepTo) {
  AgentLock lock(m_section, m_impl->list.m_section);
  QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  if ((keepFrom != 0) != (keepTo != 0) && std::fabs(from - to) <= kQvMipKeyTolerance) {
    keepFrom = 0;
    keepTo = 0;
  }
  QvULong first = 0;
  QvULong last = 0;
  if (qi::MipFindRemovable(body, from, to, keepFrom, keepTo, first, last))
    body.RemoveRange(first, last);
  return 1;
}

QvLong QvMipP2fP1dAgent::ShiftKeyParameters(double d) {
  AgentLock lock(m_section, m_impl->list.m_section);
  for (QvMipKey& k : m_impl->list.m_impl->keys) k.parameter += d;
  return 1;
}

QvLong QvMipP2fP1dAgent::ScaleKeyParameterAxis(double s) {
  AgentLock lock(m_section, m_impl->list.m_section);
  QvMipPath2fProp1dImpl& body = *m_impl->list.m_impl;
  for (QvMipKey& k : body.keys) k.parameter *= s;
  // A negative scale reverses the order; keys stay sorted by rising parameter.
  if (s < 0) std::reverse(body.keys.begin(), body.keys.end());
  return 1;
}

QvLong QvMipP2fP1dAgent::Transform(const QvTransfo4& m) {
  AgentLock lock(m_section, m_impl->list.m_section);
  for (QvMipKey& k : m_impl->list.m_impl->keys) k.path->Transform(m);
  return 1;
}
