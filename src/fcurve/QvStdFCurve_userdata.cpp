#include <qv/QvBaseFCurve.h>

#include "fcurve/buffer_bytes.h"
#include "fcurve/userdata_set.h"
#include "fcurve/userdata_store.h"

#include <cmath>
#include <cstring>
#include <utility>

// User data of curves and keys. The store is made on the first write and lives until the curve
// goes; key sets follow their keys through every edit that moves, scales, merges or deletes keys.

using qv::internal::get_f64;
using qv::internal::load_u16;
using qv::internal::load_u32;
using qv::internal::put_f64;
using qv::internal::store_u16;
using qv::internal::store_u32;

namespace {

constexpr QvULong kUserDataVersion = 256;

void put_uid(unsigned char* p, const _pmbUID& id) {
  store_u32(p, id.Data1);
  store_u16(p + 4, id.Data2);
  store_u16(p + 6, id.Data3);
  std::memcpy(p + 8, id.Data4, 8);
}

_pmbUID get_uid(const unsigned char* p) {
  _pmbUID id;
  id.Data1 = load_u32(p);
  id.Data2 = load_u16(p + 4);
  id.Data3 = load_u16(p + 6);
  std::memcpy(id.Data4, p + 8, 8);
  return id;
}

bool acceptable_version(QvULong version) {
  return version >= kUserDataVersion && version != 0xFFFFFFFFu;
}

// A reader that stops at a fixed end instead of trusting the counts that the bytes declare.
class Cursor {
 public:
  Cursor(const unsigned char* p, const unsigned char* end) : m_p(p), m_end(end) {}
  bool Has(QvULong n) const { return static_cast<std::size_t>(m_end - m_p) >= n; }
  const unsigned char* Take(QvULong n) {
    const unsigned char* p = m_p;
    m_p += n;
    return p;
  }
  const unsigned char* Here() const { return m_p; }
  const unsigned char* End() const { return m_end; }

 private:
  const unsigned char* m_p;
  const unsigned char* m_end;
};

}  // namespace

namespace qv::internal {

bool UidLess::operator()(const _pmbUID& a, const _pmbUID& b) const {
  if (a.Data1 != b.Data1) return a.Data1 < b.Data1;
  if (a.Data2 != b.Data2) return a.Data2 < b.Data2;
  if (a.Data3 != b.Data3) return a.Data3 < b.Data3;
  return std::memcmp(a.Data4, b.Data4, 8) < 0;
}

QvFCurveUserDataStore* clone_user_data_store(const QvFCurveUserDataStore* store) {
  if (store == nullptr) return nullptr;
  return new QvFCurveUserDataStore(*store);
}

void destroy_user_data_store(QvFCurveUserDataStore* store) noexcept { delete store; }

QvULong read_user_data_block(const unsigned char* body, QvULong size, bool hadStore,
                             QvFCurveUserDataStore& store) {
  Cursor in(body, body + size);
  if (!in.Has(5)) return 0;
  const QvULong version = load_u32(in.Take(4));
  if (!acceptable_version(version)) return 0;
  if (*in.Take(1) != 1) return 5;
  if (!in.Has(1)) return 0;
  if (*in.Take(1) == 1) {
    CFCUserDataSet set;
    const QvULong taken = set.Read(in.Here(), in.End());
    if (taken == 0) return 0;
    in.Take(taken);
    // A store that was there already keeps its own curve blobs.
    if (!hadStore) store.curveData = std::move(set);
  }
  if (!in.Has(1)) return 0;
  if (*in.Take(1) == 1) {
    if (!in.Has(4)) return 0;
    const QvULong count = load_u32(in.Take(4));
    for (QvULong k = 0; k < count; ++k) {
      if (!in.Has(8)) return 0;
      const double parameter = get_f64(in.Take(8));
      CFCUserDataSet set;
      const QvULong taken = set.Read(in.Here(), in.End());
      if (taken == 0) return 0;
      in.Take(taken);
      if (set.empty() || store.KeySet(parameter) != nullptr) continue;
      store.PutKeySet(parameter, set);
    }
  }
  return static_cast<QvULong>(in.Here() - body);
}

}  // namespace qv::internal

void CFCUserDataSet::Set(const _pmbUID& id, const unsigned char* data, QvULong size) {
  Blob blob(data, data + size);
  m_entries[id] = std::move(blob);
}

const CFCUserDataSet::Blob* CFCUserDataSet::Find(const _pmbUID& id) const {
  const auto it = m_entries.find(id);
  return it == m_entries.end() ? nullptr : &it->second;
}

bool CFCUserDataSet::Remove(const _pmbUID& id) { return m_entries.erase(id) != 0; }

QvULong CFCUserDataSet::BufferSize() const {
  QvULong bytes = 12;
  for (const auto& entry : m_entries) bytes += 20 + static_cast<QvULong>(entry.second.size());
  return bytes;
}

QvULong CFCUserDataSet::Write(unsigned char* out) const {
  const QvULong bytes = BufferSize();
  store_u32(out, bytes - 4);
  store_u32(out + 4, kUserDataVersion);
  store_u32(out + 8, static_cast<QvULong>(m_entries.size()));
  unsigned char* p = out + 12;
  for (const auto& entry : m_entries) {
    put_uid(p, entry.first);
    const QvULong length = static_cast<QvULong>(entry.second.size());
    store_u32(p + 16, length);
    if (length != 0) std::memcpy(p + 20, entry.second.data(), length);
    p += 20 + length;
  }
  return bytes;
}

QvULong CFCUserDataSet::Read(const unsigned char* in, const unsigned char* end) {
  Cursor outer(in, end);
  if (!outer.Has(4)) return 0;
  const QvULong size = load_u32(outer.Take(4));
  if (size == 0) return 4;
  if (!outer.Has(size)) return 0;
  Cursor block(outer.Here(), outer.Here() + size);
  if (!block.Has(8)) return 0;
  if (!acceptable_version(load_u32(block.Take(4)))) return 0;
  const QvULong count = load_u32(block.Take(4));
  Map entries;
  for (QvULong k = 0; k < count; ++k) {
    if (!block.Has(20)) return 0;
    const _pmbUID id = get_uid(block.Take(16));
    const QvULong length = load_u32(block.Take(4));
    if (!block.Has(length)) return 0;
    const unsigned char* bytes = block.Take(length);
    entries[id] = Blob(bytes, bytes + length);
  }
  m_entries.swap(entries);
  // A later version may append fields to the block; its size word says how far to skip.
  return 4 + size;
}

QvFCurveUserDataStore::QvFCurveUserDataStore(const QvFCurveUserDataStore& other)
    : curveData(other.curveData) {
  for (const auto& entry : other.keyData)
    keyData.emplace(entry.first, std::make_unique<CFCUserDataSet>(*entry.second));
}

const CFCUserDataSet* QvFCurveUserDataStore::KeySet(double parameter) const {
  const auto it = keyData.find(parameter);
  return it == keyData.end() ? nullptr : it->second.get();
}

void QvFCurveUserDataStore::PutKeySet(double parameter, const CFCUserDataSet& set) {
  if (set.empty()) {
    keyData.erase(parameter);
    return;
  }
  auto copy = std::make_unique<CFCUserDataSet>(set);
  keyData[parameter] = std::move(copy);
}

QvULong QvFCurveUserDataStore::BufferSize() const {
  QvULong bytes = 11;
  if (!curveData.empty()) bytes += curveData.BufferSize();
  if (!keyData.empty()) {
    bytes += 4;
    for (const auto& entry : keyData) bytes += 8 + entry.second->BufferSize();
  }
  return bytes;
}

QvULong QvFCurveUserDataStore::Write(unsigned char* out) const {
  const QvULong bytes = BufferSize();
  store_u32(out, bytes - 4);
  store_u32(out + 4, kUserDataVersion);
  out[8] = HoldsAnything() ? 1 : 0;
  unsigned char* p = out + 9;
  *p++ = curveData.empty() ? 0 : 1;
  if (!curveData.empty()) p += curveData.Write(p);
  *p++ = keyData.empty() ? 0 : 1;
  if (!keyData.empty()) {
    store_u32(p, static_cast<QvULong>(keyData.size()));
    p += 4;
    for (const auto& entry : keyData) {
      put_f64(p, entry.first);
      p += 8;
      p += entry.second->Write(p);
    }
  }
  return bytes;
}

namespace {

// The kind's own tolerant search moves `parameter` onto the key found. A NaN is refused first:
// no key lies near it.
bool find_key(const QvBaseFCurve& curve, double& parameter, double tolerance) {
  if (std::isnan(parameter) || std::isnan(tolerance)) return false;
  return curve.GetNumKeys() != 0 &&
         curve.GetNearestKeyParameterInCenteredInterval(parameter, tolerance) != 0;
}

}  // namespace

// Public operations. Each takes the curve's lock; lookups of keys go through the kind's own
// tolerant search, so that every kind finds keys the same way its editors do.

QvLong QvBaseFCurve::SetFCurveUserData(const _pmbUID& id, const unsigned char* data,
                                       QvULong size) {
  if (data == nullptr && size != 0) return 0;
  LockGuard guard(*this);
  if (m_userData == nullptr) m_userData = new QvFCurveUserDataStore;
  m_userData->curveData.Set(id, data, size);
  return 1;
}

namespace {

// Blobs of size 0 still hand out a valid pointer.
const unsigned char kNoBytes[1] = {0};

const unsigned char* blob_bytes(const CFCUserDataSet::Blob& blob) {
  return blob.empty() ? kNoBytes : blob.data();
}

}  // namespace

QvLong QvBaseFCurve::GetFCurveUserData(const _pmbUID& id, const unsigned char*& data,
                                       QvULong& size) const {
  LockGuard guard(*this);
  if (m_userData == nullptr) return 0;
  const CFCUserDataSet::Blob* blob = m_userData->curveData.Find(id);
  if (blob == nullptr) return 0;
  data = blob_bytes(*blob);
  size = static_cast<QvULong>(blob->size());
  return 1;
}

QvLong QvBaseFCurve::RemoveFCurveUserData(const _pmbUID& id) {
  LockGuard guard(*this);
  if (m_userData == nullptr) return 0;
  return m_userData->curveData.Remove(id) ? 1 : 0;
}

QvLong QvBaseFCurve::HasUserData() const {
  LockGuard guard(*this);
  return m_userData != nullptr && m_userData->HoldsAnything() ? 1 : 0;
}

QvLong QvBaseFCurve::HasUserData(double parameter) const {
  LockGuard guard(*this);
  if (GetNumKeys() == 0 || m_userData == nullptr) return 0;
  return m_userData->KeySet(parameter) != nullptr ? 1 : 0;
}

QvLong QvBaseFCurve::SetKeyUserData(double& parameter, const _pmbUID& id,
                                    const unsigned char* data, QvULong size, double tolerance) {
  if (data == nullptr && size != 0) return 0;
  LockGuard guard(*this);
  double key = parameter;
  if (!find_key(*this, key, tolerance)) return 0;
  // Build the new set aside first: a failed allocation leaves the store as it was.
  CFCUserDataSet set;
  if (m_userData != nullptr) {
    if (const CFCUserDataSet* old = m_userData->KeySet(key)) set = *old;
  }
  set.Set(id, data, size);
  auto owned = std::make_unique<CFCUserDataSet>(std::move(set));
  if (m_userData == nullptr) m_userData = new QvFCurveUserDataStore;
  m_userData->keyData[key] = std::move(owned);
  parameter = key;
  return 1;
}

QvLong QvBaseFCurve::GetKeyUserData(double& parameter, const _pmbUID& id,
                                    const unsigned char*& data, QvULong& size,
                                    double tolerance) const {
  LockGuard guard(*this);
  double key = parameter;
  if (!find_key(*this, key, tolerance)) return 0;
  if (m_userData == nullptr) return 0;
  const CFCUserDataSet* set = m_userData->KeySet(key);
  if (set == nullptr) return 0;
  const CFCUserDataSet::Blob* blob = set->Find(id);
  if (blob == nullptr) return 0;
  data = blob_bytes(*blob);
  size = static_cast<QvULong>(blob->size());
  parameter = key;
  return 1;
}

QvLong QvBaseFCurve::RemoveKeyUserData(double& parameter, const _pmbUID& id, double tolerance) {
  LockGuard guard(*this);
  double key = parameter;
  if (!find_key(*this, key, tolerance)) return 0;
  if (m_userData == nullptr) return 0;
  const auto it = m_userData->keyData.find(key);
  if (it == m_userData->keyData.end() || !it->second->Remove(id)) return 0;
  if (it->second->empty()) m_userData->keyData.erase(it);
  parameter = key;
  return 1;
}

QvLong QvBaseFCurve::CopyKeyUserData(const QvBaseFCurve& source, double from, double to) {
  LockGuard target(*this);
  LockGuard other(source);
  if (GetNumKeys() == 0 || source.GetNumKeys() == 0) return 0;
  const CFCUserDataSet* set =
      source.m_userData != nullptr ? source.m_userData->KeySet(from) : nullptr;
  if (set == nullptr) {
    if (m_userData != nullptr) m_userData->keyData.erase(to);
    return 1;
  }
  if (&source == this && from == to) return 1;
  const CFCUserDataSet copy(*set);
  if (m_userData == nullptr) m_userData = new QvFCurveUserDataStore;
  m_userData->PutKeySet(to, copy);
  return 1;
}

void QvBaseFCurve::RemoveKeyUserData(double parameter) {
  LockGuard guard(*this);
  if (m_userData != nullptr) m_userData->keyData.erase(parameter);
}

const CFCUserDataSet* QvBaseFCurve::GetUserDataSet(double parameter) const {
  LockGuard guard(*this);
  return m_userData != nullptr ? m_userData->KeySet(parameter) : nullptr;
}

void QvBaseFCurve::SetUserDataSet(const CFCUserDataSet& set, double parameter) {
  LockGuard guard(*this);
  if (m_userData == nullptr) {
    if (set.empty()) return;
    m_userData = new QvFCurveUserDataStore;
  }
  m_userData->PutKeySet(parameter, set);
}

void QvBaseFCurve::RemoveAllKeyUserData() {
  LockGuard guard(*this);
  if (m_userData != nullptr) m_userData->keyData.clear();
}

void QvBaseFCurve::TranslateAllKeyUserData(double offset) {
  LockGuard guard(*this);
  if (m_userData != nullptr) m_userData->Rekey([offset](double p) { return p + offset; });
}

void QvBaseFCurve::ScaleAllKeyUserData(double scale) {
  LockGuard guard(*this);
  if (m_userData != nullptr) m_userData->Rekey([scale](double p) { return p * scale; });
}

// All sets are taken out before any is put back, so a set that moves onto the place of another
// that is still to move cannot overwrite it.
QvLong QvBaseFCurve::MoveKeyUserDataTail(const QvDoubleArray& from, const QvDoubleArray& to) {
  LockGuard guard(*this);
  if (from.size != to.size) return 0;
  if (m_userData == nullptr) return 1;
  QvFCurveUserDataStore::KeyMap& keys = m_userData->keyData;
  std::vector<std::pair<double, std::unique_ptr<CFCUserDataSet>>> taken;
  taken.reserve(from.size);
  for (QvULong i = 0; i < from.size; ++i) {
    const auto it = keys.find(from.data[i]);
    if (it == keys.end()) continue;
    taken.emplace_back(to.data[i], std::move(it->second));
    keys.erase(it);
  }
  for (auto& entry : taken) keys[entry.first] = std::move(entry.second);
  return 1;
}

void QvBaseFCurve::ExchangeUserData(QvBaseFCurve& other) {
  LockGuard mine(*this);
  LockGuard theirs(other);
  std::swap(m_userData, other.m_userData);
}

QvULong QvBaseFCurve::GetUserDataBufferSize() const {
  LockGuard guard(*this);
  return m_userData != nullptr ? m_userData->BufferSize() : 9;
}

QvULong QvBaseFCurve::WriteUserDataToBuffer(void* buffer) const {
  LockGuard guard(*this);
  unsigned char* out = static_cast<unsigned char*>(buffer);
  if (m_userData != nullptr) return m_userData->Write(out);
  store_u32(out, 5);
  store_u32(out + 4, kUserDataVersion);
  out[8] = 0;
  return 9;
}

// The block's size word stands just before `body`, and the caller has checked that the bytes it
// declares lie inside the buffer. The store is built aside and swapped in only on success.
QvULong QvBaseFCurve::ReadUserDataFromBufferBody(const void* body) {
  LockGuard guard(*this);
  const unsigned char* in = static_cast<const unsigned char*>(body);
  const QvULong size = load_u32(in - 4);
  const bool hadStore = m_userData != nullptr;
  QvFCurveUserDataStore* store =
      hadStore ? new QvFCurveUserDataStore(*m_userData) : new QvFCurveUserDataStore;
  QvULong consumed = 0;
  try {
    consumed = qv::internal::read_user_data_block(in, size, hadStore, *store);
  } catch (...) {
    delete store;
    throw;
  }
  if (consumed == 0 || consumed == 5) {
    delete store;
    return consumed;
  }
  std::swap(m_userData, store);
  delete store;
  return consumed;
}
