#ifndef QV_SRC_MORPH_KEYFRAMED_BODY_H
#define QV_SRC_MORPH_KEYFRAMED_BODY_H

#include <qv/QvPath2fProp1d.h>
#include <qv/QvTypes.h>

#include <cstdint>
#include <memory>
#include <vector>

// Key parameters closer than this are the same key.
constexpr double kQvMipKeyTolerance = 1e-15;

struct QvMipKey {
  double parameter;
  std::unique_ptr<QvPath2fProp1d> path;
};

// The keys of a keyed shape list, sorted by strictly rising parameter.
class QvMipPath2fProp1dImpl {
 public:
  QvMipPath2fProp1dImpl() = default;
  QvMipPath2fProp1dImpl(const QvMipPath2fProp1dImpl& other);
  QvMipPath2fProp1dImpl& operator=(const QvMipPath2fProp1dImpl&) = delete;

  QvULong NumKeys() const { return static_cast<QvULong>(keys.size()); }
  double Parameter(QvULong i) const { return keys[i].parameter; }

  // Inserts a copy of path at t, or replaces the path of the key at t.
  void CreateKey(double t, const QvPath2fProp1d& path);
  void RemoveRange(QvULong first, QvULong last);

  std::vector<QvMipKey> keys;
};

namespace qv::internal {

// Where t falls among keys lo..hi (lo <= hi): `index` is the key at or just
// before t and `hit` says whether t lies on it within the key tolerance.
// `before` and `after` mark t at or outside the first and last keys.
struct MipLocation {
  QvULong index;
  bool hit;
  bool before;
  bool after;
};
MipLocation MipLocate(const QvMipPath2fProp1dImpl& body, QvULong lo, QvULong hi, double t);

// The first and last key inside from..to (from <= to). Returns false, with
// first untouched, when no key falls in the range.
bool MipFindRange(const QvMipPath2fProp1dImpl& body, double from, double to, QvULong& first,
                  QvULong& last);

// The range from..to ordered, less the keys that sit exactly on a kept end.
// Returns false when nothing is left to remove.
bool MipFindRemovable(const QvMipPath2fProp1dImpl& body, double from, double to,
                      QvLong keepFrom, QvLong keepTo, QvULong& first, QvULong& last);

void MipStoreF64(unsigned char* out, double v);
double MipLoadF64(const unsigned char* in);

}  // namespace qv::internal

#endif
