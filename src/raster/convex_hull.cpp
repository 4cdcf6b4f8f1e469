#include "raster/convex_hull.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qv::internal {

namespace {

template <class T>
T cross(const HullVector2<T>& o, const HullVector2<T>& a, const HullVector2<T>& b) {
  return (a[0] - o[0]) * (b[1] - o[1]) - (a[1] - o[1]) * (b[0] - o[0]);
}

}  // namespace

// Andrew's monotone chain: sort by x then y, build the lower and the upper
// chain, dropping every turn that is not strictly to the left. The working
// chain needs up to count + 1 entries, more than hull may hold, so it is kept
// as indices aside and copied out at the end.
template <class T>
QvLong HullGeometry::BuildConvexHull(QvLong count, HullVector2<T>* const input,
                                     QvLong& hullCount, HullVector2<T>* const hull) {
  hullCount = 0;
  if (count <= 0 || !input || !hull) return 0;
  for (QvLong i = 0; i < count; ++i)
    if (!std::isfinite(input[i][0]) || !std::isfinite(input[i][1])) return 0;
  std::vector<QvLong> order(static_cast<std::size_t>(count));
  for (QvLong i = 0; i < count; ++i) order[static_cast<std::size_t>(i)] = i;
  std::sort(order.begin(), order.end(), [&](QvLong l, QvLong r) {
    if (input[l][0] != input[r][0]) return input[l][0] < input[r][0];
    return input[l][1] < input[r][1];
  });
  std::vector<QvLong> chain;
  chain.reserve(static_cast<std::size_t>(count) * 2);
  auto turns_left = [&](QvLong p) {
    const std::size_t n = chain.size();
    return cross(input[chain[n - 2]], input[chain[n - 1]], input[p]) > T(0);
  };
  for (QvLong p : order) {
    while (chain.size() >= 2 && !turns_left(p)) chain.pop_back();
    chain.push_back(p);
  }
  const std::size_t lower = chain.size() + 1;
  for (auto it = order.rbegin() + 1; it != order.rend(); ++it) {
    while (chain.size() >= lower && !turns_left(*it)) chain.pop_back();
    chain.push_back(*it);
  }
  chain.pop_back();  // the upper chain ends where the lower one began
  // All points equal: both chains collapse onto one point.
  if (chain.size() == 2 && input[chain[0]][0] == input[chain[1]][0] &&
      input[chain[0]][1] == input[chain[1]][1])
    chain.pop_back();
  if (chain.empty()) chain.push_back(order.front());
  for (std::size_t i = 0; i < chain.size(); ++i) hull[i] = input[chain[i]];
  hullCount = static_cast<QvLong>(chain.size());
  return 1;
}

template QvLong HullGeometry::BuildConvexHull<double>(QvLong, HullVector2<double>* const,
                                                      QvLong&, HullVector2<double>* const);
template QvLong HullGeometry::BuildConvexHull<float>(QvLong, HullVector2<float>* const,
                                                     QvLong&, HullVector2<float>* const);

}  // namespace qv::internal
