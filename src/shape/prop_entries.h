#ifndef QV_SRC_SHAPE_PROP_ENTRIES_H
#define QV_SRC_SHAPE_PROP_ENTRIES_H

// The curves of a path with a property, one for each subpath that has one,
// kept in ascending order of the subpath's first point index with at most
// one entry for an index.

#include <qv/QvRawFCurve.h>
#include <qv/QvTypes.h>

#include <memory>
#include <vector>

struct QvPath2fProp1dEntry {
  QvULong key;
  std::unique_ptr<QvRawFCurve> curve;
};

struct QvPath2fProp1dEntries {
  std::vector<QvPath2fProp1dEntry> list;

  QvPath2fProp1dEntries() = default;
  QvPath2fProp1dEntries(const QvPath2fProp1dEntries& other) {
    list.reserve(other.list.size());
    for (const QvPath2fProp1dEntry& e : other.list)
      list.push_back(QvPath2fProp1dEntry{e.key, std::make_unique<QvRawFCurve>(*e.curve)});
  }
  QvPath2fProp1dEntries& operator=(const QvPath2fProp1dEntries&) = delete;
};

#endif
