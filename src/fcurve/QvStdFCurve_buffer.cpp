#include <qv/QvStdFCurve.h>

#include "fcurve/QvStdFCurveImpl.h"
#include "fcurve/buffer_bytes.h"

#include <cmath>
#include <cstdint>
#include <cstring>

// The standard curve's buffer body. Every field is written and read one by one, little-endian and
// unaligned, so that the bytes are the same on every host; every double that is not finite is
// stored and read as 0.0.

namespace {

constexpr QvULong kVersion = 264;
constexpr QvULong kMarkerFlags = 257;
constexpr QvULong kMarkerSettings = 259;
constexpr QvULong kMarkerDefaultTangent = 262;
constexpr QvULong kMarkerTimeCurve = 264;

// Bytes of the user data block of a curve that has no store: size, version, "no data".
constexpr QvULong kEmptyUserDataBlock = 9;

using qv::internal::body_length;
using Reader = qv::internal::BodyReader;
using Writer = qv::internal::BodyWriter;

bool coincides(const QvPoint2<double>& handle, double x, double y) {
  const double dx = handle.x - x;
  const double dy = handle.y - y;
  return dx * dx + dy * dy <= 1e-15;
}

// The 60 bytes that every form of a key record starts with: the parameter, both values, both
// handles and the segment kind, padded to a whole word.
void read_key_record(Reader& in, QvStdFCurveKey& key) {
  key.parameter = in.F64();
  key.leftValue = in.F64();
  key.rightValue = in.F64();
  key.leftHandle.x = in.F64();
  key.leftHandle.y = in.F64();
  key.rightHandle.x = in.F64();
  key.rightHandle.y = in.F64();
  key.segmentKind = static_cast<unsigned char>(in.U8());
  in.Skip(3);
}

// The oldest form: no clamps or settings, 64-byte records with a word at offset 60 that must be 0.
QvULong read_oldest(Reader& in, QvStdFCurveImpl& body) {
  body.m_valueWhenNoKeys = in.F64();
  body.m_firstSegmentKind = static_cast<QvBaseFCurve::FSKind>(in.U32());
  const QvULong n = in.U32();
  if (!in.Ok() || !in.Need(static_cast<std::uint64_t>(n) * 64)) return 0;
  body.Resize(n);
  for (QvULong i = 0; i < n; ++i) {
    QvStdFCurveKey& key = body.Key(i);
    read_key_record(in, key);
    if (in.U32() != 0) return 0;
    key.flags = qv::internal::kFlagTangentContinuity;
  }
  return in.Ok() ? 20 + 64 * n : 0;
}

}  // namespace

// A body that fails the validity test is repaired here, before its size is reported, by dropping
// every key that does not lie after its predecessor: the size and the bytes written then agree.
QvULong QvStdFCurve::GetBufferSize() const {
  LockGuard guard(*this);
  QvStdFCurveImpl& body = *m_impl;
  if (!body.IsValid()) {
    QvULong kept = body.m_numKeys == 0 ? 0 : 1;
    for (QvULong i = 1; i < body.m_numKeys; ++i) {
      if (!(body.Key(i).parameter > body.Key(kept - 1).parameter)) continue;
      if (kept != i) body.Key(kept) = body.Key(i);
      ++kept;
    }
    if (kept < body.m_numKeys) body.EraseKeys(kept, body.m_numKeys - kept);
  }
  const QvULong user_data = m_userData != nullptr ? GetUserDataBufferSize() : kEmptyUserDataBlock;
  return 64 + 64 * body.m_numKeys + user_data;
}

QvULong QvStdFCurve::WriteToBuffer(void* buffer) const {
  if (buffer == nullptr) return 0;
  LockGuard guard(*this);
  const QvULong size = GetBufferSize();
  const QvStdFCurveImpl& body = *m_impl;
  const QvULong n = body.m_numKeys;
  Writer out(static_cast<unsigned char*>(buffer));
  out.U32(size - 4);
  out.U32(kVersion);
  out.U32(KindStandard);
  out.F64(body.m_valueWhenNoKeys);
  out.F64(body.m_clampMin);
  out.F64(body.m_clampMax);
  out.U32(static_cast<QvULong>(body.m_firstSegmentKind));
  out.U32(n);
  for (QvULong i = 0; i < n; ++i) {
    const QvStdFCurveKey& key = body.Key(i);
    out.F64(key.parameter);
    out.F64(key.leftValue);
    out.F64(key.rightValue);
    out.F64(key.leftHandle.x);
    out.F64(key.leftHandle.y);
    out.F64(key.rightHandle.x);
    out.F64(key.rightHandle.y);
    out.U8(key.segmentKind);
    out.U8(0);
    out.U8(0);
    out.U8(0);
  }
  out.U32(kMarkerFlags);
  for (QvULong i = 0; i < n; ++i) out.U16(body.Key(i).flags);
  out.U32(kMarkerSettings);
  out.U8(body.m_extrapolation);
  out.U8(body.m_readOnly != 0 ? 1 : 0);
  for (QvULong i = 0; i < n; ++i) {
    out.U8(body.Key(i).spare[0]);
    out.U8(body.Key(i).spare[1]);
  }
  if (m_userData != nullptr) {
    out.Skip(WriteUserDataToBuffer(out.At()));
  } else {
    out.U32(kEmptyUserDataBlock - 4);
    out.U32(256);
    out.U8(0);
  }
  out.U32(kMarkerDefaultTangent);
  out.U8(body.m_defaultBezierTangent != 0 ? 1 : 0);
  out.U32(kMarkerTimeCurve);
  out.U8(body.m_timeCurve != 0 ? 1 : 0);
  return size;
}

// Reads into a scratch curve and exchanges contents with this one only once the whole body has
// been read, so that a body that is short, truncated or inconsistent leaves the curve as it was.
QvULong QvStdFCurve::ReadFromBufferBody(const void* data) {
  if (data == nullptr) return 0;
  try {
    QvStdFCurve scratch(0.0, FSBezierCubic);
    QvStdFCurveImpl& body = *scratch.m_impl;
    Reader in(static_cast<const unsigned char*>(data), body_length(data));
    const QvULong version = in.U32();
    QvULong consumed = 0;
    if (!in.Ok() || version == 0 || (version >= 2 && version < 256)) return 0;
    if (version == 1) {
      consumed = read_oldest(in, body);
      if (consumed == 0) return 0;
    } else {
      if (in.U32() != KindStandard) return 0;
      body.m_valueWhenNoKeys = in.F64();
      body.m_clampMin = in.F64();
      body.m_clampMax = in.F64();
      body.m_firstSegmentKind = static_cast<FSKind>(in.U32());
      const QvULong n = in.U32();
      if (!in.Ok() || !in.Need(static_cast<std::uint64_t>(n) * 60)) return 0;
      body.Resize(n);
      for (QvULong i = 0; i < n; ++i) {
        QvStdFCurveKey& key = body.Key(i);
        read_key_record(in, key);
        key.flags = qv::internal::kFlagTangentContinuity;
      }
      if (version >= 257) {
        if (in.U32() != kMarkerFlags) return 0;
        for (QvULong i = 0; i < n; ++i)
          body.Key(i).flags = static_cast<std::uint16_t>(version >= 261 ? in.U16() : in.U8());
      }
      if (version >= 259) {
        if (in.U32() != kMarkerSettings) return 0;
        body.m_extrapolation = static_cast<unsigned char>(in.U8());
        body.m_readOnly = in.U8() != 0 ? 1 : 0;
        for (QvULong i = 0; i < n; ++i) {
          body.Key(i).spare[0] = static_cast<unsigned char>(in.U8());
          body.Key(i).spare[1] = static_cast<unsigned char>(in.U8());
        }
        // The user data block carries its own size; a store is read only when it says so.
        const QvULong block = in.U32();
        if (!in.Ok() || block < 5 || !in.Need(block)) return 0;
        const unsigned char* start = in.At();
        const QvULong block_version = in.U32();
        if (block_version < 256 || block_version == 0xFFFFFFFFu) return 0;
        if (in.U8() == 1 && scratch.ReadUserDataFromBufferBody(start) == 0) return 0;
        in.JumpTo(start + block);
      }
      if (version >= 262) {
        if (in.U32() != kMarkerDefaultTangent) return 0;
        body.m_defaultBezierTangent = in.U8() != 0 ? 1 : 0;
      }
      if (version >= 264) {
        if (in.U32() != kMarkerTimeCurve) return 0;
        body.m_timeCurve = in.U8() != 0 ? 1 : 0;
      }
      if (!in.Ok()) return 0;
      consumed = static_cast<QvULong>(in.At() - static_cast<const unsigned char*>(data));
    }
    // Keys must rise: search and evaluation rely on it.
    for (QvULong i = 1; i < body.m_numKeys; ++i)
      if (!(body.Key(i).parameter > body.Key(i - 1).parameter)) return 0;
    const QvULong n = body.m_numKeys;
    if (version >= 256 && n >= 2) {
      for (QvULong i = 1; i + 1 < n; ++i)
        if (!body.TangentsContinuous(i))
          body.Key(i).flags &= static_cast<std::uint16_t>(~qv::internal::kFlagTangentContinuity);
    }
    if (version < 263 && n >= 1) {
      // Older writers left the outer handles on their keys; they become mirrors of the inner ones.
      QvStdFCurveKey& first = body.Key(0);
      if (coincides(first.leftHandle, first.parameter, first.leftValue))
        first.leftHandle = QvPoint2<double>(2.0 * first.parameter - first.rightHandle.x,
                                            first.leftValue - (first.rightHandle.y - first.rightValue));
      QvStdFCurveKey& last = body.Key(n - 1);
      if (coincides(last.rightHandle, last.parameter, last.rightValue))
        last.rightHandle = QvPoint2<double>(2.0 * last.parameter - last.leftHandle.x,
                                            last.rightValue - (last.leftHandle.y - last.leftValue));
    }
    LockGuard guard(*this);
    ExchangeUserData(scratch);
    m_impl->Swap(body);
    return consumed;
  } catch (...) {
    return 0;
  }
}
