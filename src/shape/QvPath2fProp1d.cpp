// A path with one property curve for each subpath that has one: the model,
// the curve accessors, the edits that keep the curves' keys in step with the
// points, and persistence.
#include <qv/QvPath2fProp1d.h>

#include <qv/QvStdFCurve.h>

#include "shape/prop_entries.h"
#include "shape/shape_buffer.h"

#include <cstdint>
#include <new>
#include <utility>

namespace qi = qv::internal;

namespace {

// Format word: kind 4 in the low half, version 0x0100 in the high half.
constexpr std::uint32_t kFormatWord = 0x01000004u;
constexpr unsigned kFirstRawVersion = 0x0100u;

// Shifts every key above `above` by delta, which may be negative.
void shift_keys_above(QvPath2fProp1dEntries& entries, QvULong above, std::int64_t delta) {
  for (QvPath2fProp1dEntry& e : entries.list)
    if (e.key > above) e.key = static_cast<QvULong>(static_cast<std::int64_t>(e.key) + delta);
}

// A stored curve of the oldest form is a standard curve; it becomes a raw
// curve over the same keys, joined by straight lines. A curve that does not
// start at arc length 0 cannot describe a subpath from its start: null.
std::unique_ptr<QvRawFCurve> raw_from_standard(const QvStdFCurve& old) {
  QvDoubleArray parameters(16), left(16), right(16);
  old.GetKeys(parameters, left, right, 0);
  if (parameters.size == 0 || parameters[0] != 0.0) return nullptr;
  auto raw = std::make_unique<QvRawFCurve>(parameters[0], right[0]);
  for (QvULong k = 1; k < parameters.size; ++k)
    raw->AppendLinearSegment(QvPoint2<double>(parameters[k], left[k]));
  return raw;
}

}  // namespace

// ---------------------------------------------------------------------------
// Construction and assignment

QvPath2fProp1d::QvPath2fProp1d() : QvPath2fProp1d(1) {}

QvPath2fProp1d::QvPath2fProp1d(QvULong capacity)
    : QvPath2f(capacity), m_entries(new QvPath2fProp1dEntries) {}

QvPath2fProp1d::QvPath2fProp1d(const QvPath2f& path)
    : QvPath2f(path), m_entries(new QvPath2fProp1dEntries) {}

QvPath2fProp1d::QvPath2fProp1d(const QvPath2fProp1d& other) : QvPath2f(other), m_entries(nullptr) {
  LockGuard guard(other);
  m_entries = new QvPath2fProp1dEntries(*other.m_entries);
}

QvPath2fProp1d::~QvPath2fProp1d() { delete m_entries; }

QvPath2fProp1d& QvPath2fProp1d::operator=(const QvPath2fProp1d& other) {
  if (this == &other) return *this;
  LockGuard guard(*this);
  LockGuard other_guard(other);
  // Copy the curves first: if that throws, nothing has changed.
  auto copy = std::make_unique<QvPath2fProp1dEntries>(*other.m_entries);
  QvPath2f::operator=(static_cast<const QvPath2f&>(other));
  delete m_entries;
  m_entries = copy.release();
  return *this;
}

QvShape2f& QvPath2fProp1d::operator=(const QvShape2f& other) {
  if (this == &other) return *this;
  if (const QvShape2f* prop = other.QueryShapeKind(KindPathProp))
    return *this = *static_cast<const QvPath2fProp1d*>(prop);
  if (const QvShape2f* path = other.QueryShapeKind(KindPath)) {
    LockGuard guard(*this);
    QvPath2f::operator=(*static_cast<const QvPath2f*>(path));
    // The curves were keyed to the old points.
    m_entries->list.clear();
  }
  return *this;
}

QvShape2f* QvPath2fProp1d::QueryShapeKind(Kind kind) const {
  LockGuard guard(*this);
  return kind == KindPathProp ? const_cast<QvPath2fProp1d*>(this) : nullptr;
}

QvShape2f* QvPath2fProp1d::Clone() const {
  try {
    return new QvPath2fProp1d(*this);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

// ---------------------------------------------------------------------------
// Entries

QvRawFCurve* QvPath2fProp1d::GetPropCurveInsideCriticalSection(QvULong key) const {
  for (const QvPath2fProp1dEntry& e : m_entries->list) {
    if (e.key > key) break;
    if (e.key == key) return e.curve.get();
  }
  return nullptr;
}

void QvPath2fProp1d::SetPropCurveInsideCriticalSection(QvULong key, const QvRawFCurve& curve) {
  std::vector<QvPath2fProp1dEntry>& list = m_entries->list;
  auto it = list.begin();
  for (; it != list.end() && it->key <= key; ++it) {
    if (it->key == key) {
      if (it->curve.get() != &curve) *it->curve = curve;
      return;
    }
  }
  auto copy = std::make_unique<QvRawFCurve>(curve);
  list.insert(it, QvPath2fProp1dEntry{key, std::move(copy)});
}

void QvPath2fProp1d::RemovePropCurveInsideCriticalSection(QvULong first, QvULong last) {
  std::vector<QvPath2fProp1dEntry>& list = m_entries->list;
  for (auto it = list.begin(); it != list.end(); ++it) {
    if (it->key == first) {
      list.erase(it);
      break;
    }
  }
  shift_keys_above(*m_entries, first,
                   static_cast<std::int64_t>(first) - static_cast<std::int64_t>(last) - 1);
}

QvRawFCurve* QvPath2fProp1d::FindCurveInsideCriticalSection(QvULong index) const {
  if (!IsLegalIndex(index)) return nullptr;
  return GetPropCurveInsideCriticalSection(StartOfSubpath(index));
}

QvLong QvPath2fProp1d::HasPropCurve(QvULong index) const {
  LockGuard guard(*this);
  return FindCurveInsideCriticalSection(index) ? 1 : 0;
}

const QvRawFCurve& QvPath2fProp1d::GetPropCurve(QvULong index) const {
  LockGuard guard(*this);
  if (const QvRawFCurve* curve = FindCurveInsideCriticalSection(index)) return *curve;
  // Callers test HasPropCurve first; an empty curve keeps a wrong call harmless.
  static const QvRawFCurve none;
  return none;
}

void QvPath2fProp1d::SetPropCurve(QvULong index, const QvRawFCurve& curve) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  SetPropCurveInsideCriticalSection(StartOfSubpath(index), curve);
}

void QvPath2fProp1d::SetPropCurve(QvULong index, const QvPoint2dArray& points, double tolerance) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  const QvRawFCurve curve(points, tolerance);
  SetPropCurveInsideCriticalSection(StartOfSubpath(index), curve);
}

void QvPath2fProp1d::SetPropCurve(QvULong index, const QvPath2fProp1d& other, QvULong j) {
  LockGuard guard(*this);
  LockGuard other_guard(other);
  if (!IsLegalIndex(index)) return;
  if (const QvRawFCurve* curve = other.FindCurveInsideCriticalSection(j))
    SetPropCurveInsideCriticalSection(StartOfSubpath(index), *curve);
}

void QvPath2fProp1d::SetPropCurve(QvULong index, QvULong j) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return;
  if (const QvRawFCurve* curve = FindCurveInsideCriticalSection(j)) {
    // The source may move when an entry is inserted before it.
    const QvRawFCurve copy(*curve);
    SetPropCurveInsideCriticalSection(StartOfSubpath(index), copy);
  }
}

double QvPath2fProp1d::EvalPropCurve(QvULong index, double parameter) const {
  LockGuard guard(*this);
  const QvRawFCurve* curve = FindCurveInsideCriticalSection(index);
  return curve ? curve->Eval(parameter, 0) : 0.0;
}

QvULong QvPath2fProp1d::EvalPropCurve(QvULong index, const QvDoubleArray& in,
                                      QvDoubleArray& out) const {
  LockGuard guard(*this);
  const QvRawFCurve* curve = FindCurveInsideCriticalSection(index);
  if (!curve) return 0;
  const QvULong n = in.size;
  for (QvULong k = 0; k < n; ++k) out.Add(curve->Eval(in[k], 0));
  return n;
}

QvLong QvPath2fProp1d::GetPropCurveParameter(QvULong index, double position,
                                             double& parameter) const {
  LockGuard guard(*this);
  const QvRawFCurve* curve = FindCurveInsideCriticalSection(index);
  double largest = 0.0;
  if (!curve || !curve->GetLargestKeyParameter(largest)) return 0;
  parameter = position * largest;
  return 1;
}

double QvPath2fProp1d::GetLargestArcLength(QvULong index) const {
  LockGuard guard(*this);
  const QvRawFCurve* curve = FindCurveInsideCriticalSection(index);
  double largest = 0.0;
  if (curve) curve->GetLargestKeyParameter(largest);
  return largest;
}

void QvPath2fProp1d::AppendLinearSegment(QvULong index, double x, double y) {
  LockGuard guard(*this);
  if (QvRawFCurve* curve = FindCurveInsideCriticalSection(index))
    curve->AppendLinearSegment(QvPoint2<double>(x, y));
}

void QvPath2fProp1d::AppendOrExtendLinearSegment(QvULong index, double x, double y,
                                                 double tolerance) {
  LockGuard guard(*this);
  if (QvRawFCurve* curve = FindCurveInsideCriticalSection(index))
    curve->AppendOrExtendLinearSegment(QvPoint2<double>(x, y), tolerance);
}

// ---------------------------------------------------------------------------
// Edits that move points

QvLong QvPath2fProp1d::ReplaceSubpathSection(QvULong first, QvULong last, const QvPath2f& other,
                                             QvULong otherFirst, QvULong otherLast) {
  LockGuard guard(*this);
  const std::int64_t before = NumPointsInsideCriticalSection();
  if (!QvPath2f::ReplaceSubpathSection(first, last, other, otherFirst, otherLast)) return 0;
  const std::int64_t after = NumPointsInsideCriticalSection();
  // The subpath's own curve stays as it was; only those behind it move.
  shift_keys_above(*m_entries, last, after - before);
  return 1;
}

QvLong QvPath2fProp1d::RemoveSubpath(QvULong index) {
  LockGuard guard(*this);
  if (!IsLegalIndex(index)) return QvPath2f::RemoveSubpath(index);
  const QvULong first = StartOfSubpath(index);
  const QvULong last = EndOfSubpath(index);
  if (!QvPath2f::RemoveSubpath(index)) return 0;
  RemovePropCurveInsideCriticalSection(first, last);
  return 1;
}

// Which points go depends on where the section lies: at the subpath's end the
// first node stays, at its start the last node stays, and inside it both stay
// and the subpath falls in two, each part keeping the curve.
QvLong QvPath2fProp1d::RemoveSubpathSection(QvULong first, QvULong last) {
  LockGuard guard(*this);
  const bool legal = IsLegalIndex(first) && IsLegalIndex(last) && first <= last;
  QvULong removed_last = 0;
  bool split = false;
  const QvRawFCurve* split_curve = nullptr;
  if (legal) {
    const QvULong s = StartOfSubpath(first);
    const QvULong e = EndOfSubpath(first);
    if (last == e || last == LastIndex()) {
      removed_last = last;
    } else if (first == s) {
      removed_last = last - 1;
    } else {
      removed_last = last - 1;
      split = true;
      split_curve = GetPropCurveInsideCriticalSection(s);
    }
  }
  // Keep the curve apart: the base operation may not touch it, but the
  // entries move when the copy is inserted.
  std::unique_ptr<QvRawFCurve> kept;
  if (split_curve) kept = std::make_unique<QvRawFCurve>(*split_curve);
  const std::int64_t before = NumPointsInsideCriticalSection();
  if (!QvPath2f::RemoveSubpathSection(first, last)) return 0;
  if (!legal) return 1;
  const std::int64_t after = NumPointsInsideCriticalSection();
  shift_keys_above(*m_entries, removed_last, after - before);
  if (split && kept) SetPropCurveInsideCriticalSection(first + 1, *kept);
  return 1;
}

// ---------------------------------------------------------------------------
// Persistence
//
// Body: kind and version (one word), a whole plain-path buffer with its own
// length word, the entry count, then each entry's key and a whole raw-curve
// buffer with its length word.

QvULong QvPath2fProp1d::GetBufferSize() const {
  LockGuard guard(*this);
  QvULong size = QvPath2f::GetBufferSize() + 12;
  for (const QvPath2fProp1dEntry& e : m_entries->list) size += e.curve->GetBufferSize() + 4;
  return size;
}

QvULong QvPath2fProp1d::WriteToBuffer(void* buffer) const {
  if (!buffer) return 0;
  LockGuard guard(*this);
  const QvULong size = GetBufferSize();
  unsigned char* out = static_cast<unsigned char*>(buffer);
  qi::store_u32(out, size - 4);
  qi::store_u32(out + 4, kFormatWord);
  QvULong at = 8 + QvPath2f::WriteToBuffer(out + 8);
  qi::store_u32(out + at, static_cast<QvULong>(m_entries->list.size()));
  at += 4;
  for (const QvPath2fProp1dEntry& e : m_entries->list) {
    qi::store_u32(out + at, e.key);
    at += 4;
    at += e.curve->WriteToBuffer(out + at);
  }
  return at;
}

// Everything is read into temporaries; the path and its curves change only
// when the whole body has been read.
QvULong QvPath2fProp1d::ReadFromBufferBody(const void* body) {
  if (!body) return 0;
  const unsigned char* in = static_cast<const unsigned char*>(body);
  const std::uint64_t length = qi::body_length(body);
  if (length < 4 || qi::load_u16(in) != KindPathProp) return 0;
  const unsigned version = qi::load_u16(in + 2);
  if (version != 0 && version < kFirstRawVersion) return 0;
  if (length < 12) return 0;
  const std::uint64_t path_length = qi::load_u32(in + 4);
  if (path_length + 12 > length) return 0;
  try {
    QvPath2f path(1);
    const QvULong path_read = path.ReadFromBufferBody(in + 8);
    if (path_read == 0 || path_read != path_length) return 0;
    const QvULong count = qi::load_u32(in + 8 + path_length);
    std::uint64_t at = 12 + path_length;
    const QvULong num_points = path.NumPoints();
    QvPath2fProp1dEntries entries;
    for (QvULong k = 0; k < count; ++k) {
      if (at + 8 > length) return 0;
      const QvULong key = qi::load_u32(in + at);
      const std::uint64_t curve_length = qi::load_u32(in + at + 4);
      if (at + 8 + curve_length > length) return 0;
      // A key names the first point of a subpath, and keys rise.
      if (key >= num_points || !path.IsStartOfSubpath(key)) return 0;
      if (!entries.list.empty() && entries.list.back().key >= key) return 0;
      const unsigned char* curve_body = in + at + 8;
      std::unique_ptr<QvRawFCurve> curve;
      if (version == 0) {
        QvStdFCurve old;
        if (old.ReadFromBufferBody(curve_body) == 0) return 0;
        curve = raw_from_standard(old);
      } else {
        curve = std::make_unique<QvRawFCurve>();
        if (curve->ReadFromBufferBody(curve_body) == 0) return 0;
      }
      if (curve) entries.list.push_back(QvPath2fProp1dEntry{key, std::move(curve)});
      at += 8 + curve_length;
    }
    LockGuard guard(*this);
    QvPath2f::operator=(path);
    std::swap(m_entries->list, entries.list);
    return static_cast<QvULong>(at);
  } catch (const std::bad_alloc&) {
    return 0;
  }
}
