// A host in miniature: it sees only the installed headers and library.
#include <qv/qv.h>

#include <cstdio>

int main() {
  QvPoint2dArray points;
  for (int i = 0; i < 10; ++i) points.Add(i * 0.5, i * 0.25);
  if (points.GetSize() != 10 || points.capacity != 16) return 1;

  QvCriticalSection lock;
  lock.LOCK();
  lock.LOCK();
  lock.UNLOCK();
  lock.UNLOCK();

  if (QvPoint2<double>(0, 0) != QvPoint2<double>(1e-9, -1e-9)) return 2;
  std::printf("qvgeom consumer: ok\n");
  return 0;
}
