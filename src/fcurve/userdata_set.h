#ifndef QV_SRC_FCURVE_USERDATA_SET_H
#define QV_SRC_FCURVE_USERDATA_SET_H

#include <qv/QvBaseFCurve.h>
#include <qv/QvTypes.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace qv::internal {

// Identifiers order by their fields in declaration order; the order shows only in buffers, where
// it must not change from one build to the next.
struct UidLess {
  bool operator()(const _pmbUID& a, const _pmbUID& b) const;
};

}  // namespace qv::internal

// Blobs under 16-byte identifiers, each an owned copy of the host's bytes. The library never
// looks inside a blob; an empty blob is a blob like any other.
class CFCUserDataSet {
 public:
  using Blob = std::vector<unsigned char>;
  using Map = std::map<_pmbUID, Blob, qv::internal::UidLess>;

  bool empty() const { return m_entries.empty(); }
  std::size_t size() const { return m_entries.size(); }

  // Copies `size` bytes from `data`; replaces an earlier blob under the same identifier.
  void Set(const _pmbUID& id, const unsigned char* data, QvULong size);
  const Blob* Find(const _pmbUID& id) const;
  bool Remove(const _pmbUID& id);

  // Bytes of the set block: size word, version, count, then per entry the identifier, a length
  // word and the blob.
  QvULong BufferSize() const;
  // Writes the set block at `out`; returns BufferSize().
  QvULong Write(unsigned char* out) const;
  // Reads a set block that starts with its size word at `in`, never touching a byte at or after
  // `end`. Returns the bytes taken, size word included, or 0 for a short or malformed block; the
  // set is filled only on success. A block whose size word is 0 is an empty set of 4 bytes.
  QvULong Read(const unsigned char* in, const unsigned char* end);

  const Map& Entries() const { return m_entries; }

 private:
  Map m_entries;
};

// The user data store of one curve: the curve's own blobs and the blobs of its keys, keyed by the
// key's exact parameter. A key's entry lives only while its set holds a blob.
class QvFCurveUserDataStore {
 public:
  using KeyMap = std::map<double, std::unique_ptr<CFCUserDataSet>>;

  QvFCurveUserDataStore() = default;
  QvFCurveUserDataStore(const QvFCurveUserDataStore& other);
  QvFCurveUserDataStore& operator=(const QvFCurveUserDataStore&) = delete;

  bool HoldsAnything() const { return !curveData.empty() || !keyData.empty(); }

  // The set of the key at exactly `parameter`, or null.
  const CFCUserDataSet* KeySet(double parameter) const;
  // Replaces the key's set by a copy of `set`; an empty set removes the entry.
  void PutKeySet(double parameter, const CFCUserDataSet& set);
  // Re-keys every entry at f(parameter). Entries that meet at one parameter keep the later one.
  template <class F> void Rekey(F f);

  QvULong BufferSize() const;
  QvULong Write(unsigned char* out) const;

  CFCUserDataSet curveData;
  KeyMap keyData;
};

template <class F> void QvFCurveUserDataStore::Rekey(F f) {
  // Nodes move from one map to the other, so that re-keying allocates nothing and cannot fail.
  KeyMap moved;
  while (!keyData.empty()) {
    auto node = keyData.extract(keyData.begin());
    node.key() = f(node.key());
    auto result = moved.insert(std::move(node));
    if (!result.inserted) result.position->second = std::move(result.node.mapped());
  }
  keyData.swap(moved);
}

namespace qv::internal {

// Parses the user data block that follows a size word of `size` bytes at `body`, into `store`,
// which holds whatever the target had before (or nothing). Returns the bytes consumed after the
// size word, or 0 if the block is malformed; `store` may then hold a partial read and must be
// thrown away.
QvULong read_user_data_block(const unsigned char* body, QvULong size, bool hadStore,
                             QvFCurveUserDataStore& store);

}  // namespace qv::internal

#endif
