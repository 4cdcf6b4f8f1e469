#ifndef QV_SRC_FCURVE_KEY_ARRAY_H
#define QV_SRC_FCURVE_KEY_ARRAY_H

// The key search, cycle folding and key moves of the curves that keep their keys as a plain sorted
// array (the raw curve and the two stepped kinds). They are written once over the key type, which
// needs a `parameter` member (and a `value` for the moves); each body keeps its own cursor and
// passes it in, so that a search stays a direct call into inlined code with no indirection.

#include <qv/QvArray.h>
#include <qv/QvTypes.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace qv::internal {

// Where a parameter falls among the keys. `position` is the index of the first key after it, or,
// when `exact`, the index of the key at it plus one: key position - 1 is always the last key at or
// before the parameter, and 0 means before the first key.
struct KeyLocation {
  QvULong position;
  bool exact;
};

// A run of keys chosen by an interval: `count` keys from `first`.
struct KeySelection {
  QvULong first;
  QvULong count;
};

constexpr double kKeySearchTolerance = 1e-15;  // parameters of keys compare this close
constexpr double kKeySnapTolerance = 1e-12;    // a folded parameter snaps onto a key this close
constexpr double kKeySeamTolerance = 1e-9;     // a cycle remainder this small is a seam

// Consecutive evaluations at rising parameters mostly land in the cursor's interval or next to
// it, so a long curve first tries the few intervals around the cursor before it bisects. Needs at
// least one key; leaves the cursor on the key at or before t.
template <class Key>
KeyLocation locate_key(const std::vector<Key>& keys, QvULong& cursor_io, double t) {
  const QvULong n = static_cast<QvULong>(keys.size());
  const Key* k = keys.data();
  if (t <= k[0].parameter) {
    cursor_io = 0;
    const bool exact = std::fabs(t - k[0].parameter) <= kKeySearchTolerance;
    return KeyLocation{exact ? 1u : 0u, exact};
  }
  if (t >= k[n - 1].parameter) {
    cursor_io = n - 1;
    return KeyLocation{n, std::fabs(t - k[n - 1].parameter) <= kKeySearchTolerance};
  }
  if (cursor_io > n - 1) cursor_io = n - 1;
  const QvULong cursor = cursor_io;
  const QvULong lo = cursor >= 2 ? cursor - 2 : 0;
  const QvULong hi = std::min(cursor + 2, n - 1);

  if (n - 1 >= 11 && t >= k[lo].parameter && t <= k[hi].parameter) {
    const long long tries[4] = {static_cast<long long>(cursor), static_cast<long long>(hi) - 1,
                                static_cast<long long>(lo), static_cast<long long>(cursor) - 1};
    for (long long i : tries) {
      if (i < 0 || i + 1 > static_cast<long long>(n - 1)) continue;
      const QvULong a = static_cast<QvULong>(i);
      if (t >= k[a].parameter && t < k[a + 1].parameter) {
        cursor_io = a;
        return KeyLocation{a + 1, std::fabs(t - k[a].parameter) <= kKeySearchTolerance};
      }
    }
    if (std::fabs(t - k[hi].parameter) <= kKeySearchTolerance) {
      cursor_io = hi;
      return KeyLocation{hi + 1, true};
    }
  }

  QvULong a;
  QvULong b;
  if (t > k[lo].parameter) {
    a = t > k[hi].parameter ? hi : lo;
    b = n - 1;
  } else {
    a = 0;
    b = lo;
  }
  while (b - a > 1) {
    const QvULong mid = (a + b) / 2;
    if (t > k[mid].parameter) {
      a = mid;
    } else if (t < k[mid].parameter) {
      b = mid;
    } else {
      cursor_io = mid;
      return KeyLocation{mid + 1, true};
    }
  }
  // The lower start [0, lo] may end on a key equal to t at its upper end.
  if (t == k[b].parameter) {
    cursor_io = b;
    return KeyLocation{b + 1, true};
  }
  cursor_io = a;
  return KeyLocation{a + 1, false};
}

// The key nearest to t among those within `tolerance`; an earlier key wins a tie.
template <class Key>
bool find_key_near(const std::vector<Key>& keys, QvULong& cursor, double t, double tolerance,
                   QvULong& index) {
  const QvULong n = static_cast<QvULong>(keys.size());
  if (n == 0) return false;
  const KeyLocation loc = locate_key(keys, cursor, t - tolerance);
  const QvULong candidate = loc.exact ? loc.position - 1 : loc.position;
  if (candidate >= n) return false;
  const double top = t + tolerance;
  if (keys[candidate].parameter > top) return false;
  QvULong best = candidate;
  double best_distance = std::fabs(t - keys[candidate].parameter);
  QvULong i = candidate;
  while (std::fabs(keys[i].parameter - top) > kKeySearchTolerance && i + 1 < n &&
         keys[i + 1].parameter <= top) {
    ++i;
    const double d = std::fabs(t - keys[i].parameter);
    if (d < best_distance) {
      best = i;
      best_distance = d;
    }
  }
  index = best;
  return true;
}

// Keys in [from, to]; a non-zero open flag leaves out a key lying on that end. When the two ends
// meet, one open end alone does not empty the selection.
template <class Key>
KeySelection select_keys(const std::vector<Key>& keys, QvULong& cursor, double from, double to,
                         QvLong openFrom, QvLong openTo) {
  const QvULong n = static_cast<QvULong>(keys.size());
  if (n == 0) return KeySelection{0, 0};
  const bool same = std::fabs(from - to) <= kKeySearchTolerance;
  if (same && openFrom != 0 && openTo != 0) return KeySelection{0, 0};
  const KeyLocation loc = locate_key(keys, cursor, from);
  QvULong first = loc.exact ? loc.position - 1 : loc.position;
  if (loc.exact && openFrom != 0 && (!same || (openFrom != 0) == (openTo != 0))) ++first;
  QvULong end = first;
  while (end < n) {
    const double p = keys[end].parameter;
    const bool at_to = std::fabs(p - to) <= kKeySearchTolerance;
    if (p > to && !at_to) break;
    if (at_to && openTo != 0) break;
    ++end;
  }
  if (first >= end) return KeySelection{first, 0};
  return KeySelection{first, end - first};
}

// The plain cycle's fold of t into [first, last], before the snap onto a key that each body makes
// through its own FindKeyNear.
inline double fold_plain_cycle(double first, double last, double t) {
  if (t > last) return std::clamp(std::fmod(t - first, last - first) + first, first, last);
  if (t < first) return std::clamp(last - std::fmod(first - t, last - first), first, last);
  return t;
}

// The offset cycle's fold of t into [first, last]. A remainder within the seam tolerance lands on
// `seam`: the last key for an evaluation or the end of a range, the first key for its start.
inline double fold_offset_cycle(double first, double last, double t, double seam) {
  const double period = last - first;
  const double x = (t - first) / period;
  if (t > first) {
    const double r = period * (x - std::floor(x));
    return std::fabs(r) <= kKeySeamTolerance ? seam : std::clamp(r + first, first, last);
  }
  const double r = period * (std::ceil(x) - x);
  return std::fabs(r) <= kKeySeamTolerance ? seam : std::clamp(last - r, first, last);
}

// Runs `fn(a, b)` over the parts of the key range that [from, to] covers. A cycling curve repeats
// its keys, so a range beyond them is brought back into the keys; a range that straddles a seam
// becomes its two sides, and one longer than a cycle becomes the whole key range. Without
// `cycling` or with fewer than two keys the range runs as it is.
template <class Key, class Fn>
void for_each_cycle_range(const std::vector<Key>& keys, bool cycling, double from, double to,
                          Fn&& fn) {
  if (!cycling || keys.size() < 2) {
    fn(from, to);
    return;
  }
  const double first = keys.front().parameter;
  const double last = keys.back().parameter;
  const double period = last - first;
  const double folded_from = fold_offset_cycle(first, last, from, first);
  const double folded_to = fold_offset_cycle(first, last, to, last);
  const double cycle_from = std::floor((from - first) / period);
  const double cycle_to = std::ceil((to - first) / period) - 1.0;
  if (!(cycle_from < cycle_to)) {
    fn(folded_from, folded_to);
  } else if (to - from > period) {
    fn(first, last);
  } else {
    fn(first, folded_to);
    fn(folded_from, last);
  }
}

template <class Key>
bool keys_strictly_rising(const std::vector<Key>& keys) {
  for (std::size_t i = 1; i < keys.size(); ++i)
    if (!(keys[i].parameter > keys[i - 1].parameter)) return false;
  return true;
}

// Puts keys whose parameters do not rise back in order by dropping: the walk keeps a running
// maximum and drops every key not above it; after a drop it moves on by one, so the key that slid
// into the freed place is not examined in that pass. Returns whether anything was walked (the
// caller's cursor is then stale).
template <class Key>
bool repair_key_order(std::vector<Key>& keys) {
  if (keys.size() < 2 || keys_strictly_rising(keys)) return false;
  double highest = keys[0].parameter;
  std::size_t i = 1;
  while (i < keys.size()) {
    if (!(keys[i].parameter > highest)) {
      keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      highest = keys[i].parameter;
    }
    ++i;
  }
  return true;
}

// Moves the selected keys by x -> (x - anchor) scale + anchor + offset: their parameters, recorded
// before and after in the two arrays, or else their values, each new value passed through
// `convert` into the key's value type. Keys whose parameters no longer rise are all put back and
// the move reports false.
template <class Key, class Convert>
bool scale_and_offset_keys(std::vector<Key>& keys, KeySelection sel, bool moveParameters,
                           double anchor, double scale, double offset,
                           QvDoubleArray& oldParameters, QvDoubleArray& newParameters,
                           Convert convert) {
  std::vector<Key> saved(keys);
  for (QvULong i = sel.first; i < sel.first + sel.count; ++i) {
    Key& k = keys[i];
    if (moveParameters) {
      oldParameters.Add(k.parameter);
      k.parameter = (k.parameter - anchor) * scale + anchor + offset;
      newParameters.Add(k.parameter);
    } else {
      k.value = convert((static_cast<double>(k.value) - anchor) * scale + anchor + offset);
    }
  }
  if (!keys_strictly_rising(keys)) {
    keys.swap(saved);
    return false;
  }
  return true;
}

}  // namespace qv::internal

#endif
