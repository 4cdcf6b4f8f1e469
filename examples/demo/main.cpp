// The library shown on built-in examples. Pictures are written into the folder given as first
// argument, or demo-output/ in the current directory.
#include <qv/qv.h>

#include <cstdio>
#include <filesystem>
#include <string>

int main(int argc, char** argv) {
  const std::filesystem::path out_dir = argc > 1 ? argv[1] : "demo-output";
  std::filesystem::create_directories(out_dir);

  // Arrays give memory back as they shrink: show the capacity chain of a growing and shrinking run.
  QvPoint2dArray points;
  std::printf("capacity while appending:");
  for (int i = 0; i < 20; ++i) {
    points.Add(i, i * i);
    std::printf(" %u", static_cast<unsigned>(points.capacity));
  }
  std::printf("\ncapacity while removing:");
  while (points.GetSize() > 0) {
    points.Remove(points.GetSize() - 1);
    std::printf(" %u", static_cast<unsigned>(points.capacity));
  }
  std::printf("\n");

  const QvPoint2<double> a(3, 4);
  QvPoint2<double> unit = a.NormalizedClone();
  std::printf("|(3, 4)| = %g, normalized (%g, %g)\n", a.Length(), unit.x, unit.y);
  std::printf("pictures go to %s\n", out_dir.string().c_str());
  return 0;
}
