// The library shown on built-in examples. Pictures are written into the folder given as first
// argument, or demo-output/ in the current directory:
//   fill_rules.png      hard fill of the same shapes under the even-odd and the winding rule
//   aa_4x4.png ...      anti-aliased fill at 4x4 and 8x8 sub-samples, without and with the filter
//   soft_fill.png       soft edges, spreading past the shape and kept inside it
//   stroke_joins.png    bevel, miter and round joins; round, square and butt caps
//   stroke_tapered.png  constant against tapered width
//   curves.png          one set of keys as a smooth curve, a natural spline and a stepped curve
//   morph.png           a star turning into a circle, frame by frame
//   vectorize.png       pixels traced back into curves: the mask, and the fitted outline
#include <qv/qv.h>

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using P = QvPoint2<float>;

bool write_png(const std::filesystem::path& file, const QvRaster<unsigned char>& raster) {
  FILE* out = std::fopen(file.string().c_str(), "wb");
  if (out == nullptr) return false;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  if (info == nullptr || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    std::fclose(out);
    return false;
  }
  png_init_io(png, out);
  png_set_IHDR(png, info, static_cast<png_uint_32>(raster.width),
               static_cast<png_uint_32>(raster.height), 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (QvLong y = 0; y < raster.height; ++y) {
    // White paper, black ink.
    std::vector<png_byte> row(static_cast<std::size_t>(raster.width));
    for (QvLong x = 0; x < raster.width; ++x)
      row[static_cast<std::size_t>(x)] =
          static_cast<png_byte>(255 - raster.pixels[y * raster.width + x]);
    png_write_row(png, row.data());
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  std::fclose(out);
  return true;
}

// A five-pointed star drawn in one stroke of the pen: it crosses itself, so
// its centre is a hole under even-odd and filled under winding.
void add_star(QvPath2f& path, float cx, float cy, float radius) {
  for (int i = 0; i <= 5; ++i) {
    const double a = (i * 144.0 - 90.0) * 3.14159265358979323846 / 180.0;
    const P p(cx + radius * static_cast<float>(std::cos(a)), cy + radius * static_cast<float>(std::sin(a)));
    if (i == 0)
      path.Moveto(p);
    else
      path.Lineto(p);
  }
  path.Closeto();
}

void add_circle(QvPath2f& path, float cx, float cy, float r) {
  const float k = 0.5522847498307935f * r;
  path.Moveto(P(cx + r, cy));
  path.Curveto(P(cx + r, cy + k), P(cx + k, cy + r), P(cx, cy + r));
  path.Curveto(P(cx - k, cy + r), P(cx - r, cy + k), P(cx - r, cy));
  path.Curveto(P(cx - r, cy - k), P(cx - k, cy - r), P(cx, cy - r));
  path.Curveto(P(cx + k, cy - r), P(cx + r, cy - k), P(cx + r, cy));
  path.Closeto();
}


// Strokes a polyline of (time, value) points from a curve, mapped into a panel
// whose lower left corner is (x0, y0): time runs right, value runs up.
void plot(const QvPoint2dArray& points, double x0, double y0, double sx, double sy,
          QvRaster<unsigned char>& r) {
  if (points.GetSize() == 0) return;
  QvPath2f line(points.GetSize());
  for (QvULong i = 0; i < points.GetSize(); ++i) {
    const P p(static_cast<float>(x0 + points[i].x * sx), static_cast<float>(y0 - points[i].y * sy));
    if (i == 0)
      line.Moveto(p);
    else
      line.Lineto(p);
  }
  QvGC gc;
  gc.SetLineWidth(2);
  gc.SetJoin(QvGC::RoundJoin);
  gc.SetEndCap(QvGC::RoundCap);
  line.Stroke(gc, r);
}

// The keys themselves, as dots.
void plot_keys(const QvPoint2dArray& keys, double x0, double y0, double sx, double sy,
               QvRaster<unsigned char>& r) {
  QvPath2f dots(4 * keys.GetSize() + 4);
  for (QvULong i = 0; i < keys.GetSize(); ++i)
    add_circle(dots, static_cast<float>(x0 + keys[i].x * sx),
               static_cast<float>(y0 - keys[i].y * sy), 4);
  QvGC gc;
  gc.SetAASuperSampling(4);
  dots.AAFill(gc, r, nullptr, nullptr);
}

QvPath2f sample_shapes() {
  QvPath2f path(64);
  add_star(path, 70, 75, 60);
  add_circle(path, 170, 60, 40);
  add_circle(path, 200, 95, 40);
  return path;
}

QvGC placed(double dx, double dy) {
  QvGC gc;
  QvTransfo4 t;
  t.Translate(dx, dy, 0.0);
  gc.SetTransform(t);
  return gc;
}

bool save(const std::filesystem::path& dir, const char* name, const QvRaster<unsigned char>& r) {
  const bool ok = write_png(dir / name, r);
  std::printf("%s %s\n", ok ? "wrote" : "could not write", (dir / name).string().c_str());
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  const std::filesystem::path out_dir = argc > 1 ? argv[1] : "demo-output";
  std::filesystem::create_directories(out_dir);
  bool ok = true;
  const QvPath2f shapes = sample_shapes();

  {
    QvRaster<unsigned char> r(520, 160, 0);
    QvGC even_odd = placed(10, 5);
    even_odd.SetFillRule(QvGC::EvenOddRule);
    shapes.Fill(even_odd, r, nullptr, nullptr);
    QvGC winding = placed(270, 5);
    winding.SetFillRule(QvGC::WindingRule);
    shapes.Fill(winding, r, nullptr, nullptr);
    ok &= save(out_dir, "fill_rules.png", r);
  }

  struct AAPicture {
    const char* name;
    QvLong sub_samples, radius;
  };
  const AAPicture aa[] = {{"aa_4x4.png", 4, 0},
                          {"aa_4x4_filtered.png", 4, 4},
                          {"aa_8x8.png", 8, 0},
                          {"aa_8x8_filtered.png", 8, 8}};
  for (const AAPicture& picture : aa) {
    QvRaster<unsigned char> r(520, 160, 0);
    for (int rule = 0; rule < 2; ++rule) {
      QvGC gc = placed(10 + 260 * rule, 5);
      gc.SetFillRule(rule == 0 ? QvGC::EvenOddRule : QvGC::WindingRule);
      gc.SetAASuperSampling(picture.sub_samples);
      gc.SetAAFilterRadius(picture.radius);
      shapes.AAFill(gc, r, nullptr, nullptr);
    }
    ok &= save(out_dir, picture.name, r);
  }

  {
    // Soft edges: the shape's own pixels are rewritten in each panel, so each
    // panel is drawn on its own raster and copied in.
    QvRaster<unsigned char> r(780, 160, 0);
    const QvGC::GradientMapMode modes[] = {QvGC::GradientUnmasked, QvGC::GradientMaskedByShape,
                                           QvGC::GradientUnmasked};
    const double offsets[] = {6.0, 12.0, 24.0};
    for (int panel = 0; panel < 3; ++panel) {
      QvRaster<unsigned char> part(260, 160, 0);
      QvGC gc = placed(10, 5);
      gc.SetInteriorOffset(offsets[panel] / 2);
      gc.SetExteriorOffset(offsets[panel] / 2);
      gc.SetGradientMapMode(modes[panel]);
      shapes.SoftFill(gc, part, nullptr);
      r.CopyRaster(260 * panel, 0, part);
    }
    ok &= save(out_dir, "soft_fill.png", r);
  }

  {
    QvPath2f zigzag(16);
    zigzag.Moveto(P(20, 120));
    zigzag.Lineto(P(60, 30));
    zigzag.Lineto(P(100, 120));
    zigzag.Lineto(P(140, 40));
    zigzag.Curveto(P(170, 0), P(200, 150), P(230, 60));
    QvRaster<unsigned char> r(780, 480, 0);
    const QvGC::Join joins[] = {QvGC::BevelJoin, QvGC::MiterJoin, QvGC::RoundJoin};
    const QvGC::EndCap caps[] = {QvGC::RoundCap, QvGC::SquareCap, QvGC::ButtCap};
    for (int j = 0; j < 3; ++j)
      for (int c = 0; c < 3; ++c) {
        QvGC gc = placed(260 * j, 160 * c);
        gc.SetLineWidth(14);
        gc.SetMiterLimit(3);
        gc.SetFlatteningTolerance(0.25);
        gc.SetJoin(joins[j]);
        gc.SetEndCap(caps[c]);
        zigzag.Stroke(gc, r);
      }
    ok &= save(out_dir, "stroke_joins.png", r);

    QvRaster<unsigned char> tapered(520, 320, 0);
    QvPath2f spiral(64);
    spiral.Moveto(P(130, 160));
    for (int i = 1; i <= 120; ++i) {
      const double a = i * 0.15;
      const double radius = 1.0 * i;
      spiral.Lineto(P(130 + static_cast<float>(radius * std::cos(a)),
                      160 + static_cast<float>(radius * std::sin(a))));
    }
    for (int panel = 0; panel < 2; ++panel) {
      QvGC gc = placed(260 * panel, 0);
      gc.SetLineWidth(12);
      gc.SetJoin(QvGC::RoundJoin);
      gc.SetEndCap(QvGC::RoundCap);
      gc.SetWidthType(panel == 0 ? QvGC::ConstantWidth : QvGC::TaperedWidth);
      spiral.Stroke(gc, tapered);
    }
    ok &= save(out_dir, "stroke_tapered.png", tapered);
  }

  {
    // One set of keys read three ways. Each curve is flattened in its own
    // units (time, value) and drawn as a polyline.
    const double keys_xy[][2] = {{0, 20}, {1, 85}, {2, 40}, {3, 95}, {4, 15}, {5, 60}};
    QvPoint2dArray keys(8);
    for (const auto& k : keys_xy) keys.Add(QvPoint2<double>(k[0], k[1]));
    QvStdFCurve smooth(keys, QvStdFCurve::DPCatmullRom, 0.0, QvBaseFCurve::FSBezierCubic,
                       QvBaseFCurve::FSBezierCubic);
    QvStdFCurve spline(keys, QvStdFCurve::DPNaturalSpline, 0.0, QvBaseFCurve::FSBezierCubic,
                       QvBaseFCurve::FSBezierCubic);
    QvIntegerFCurve stepped;
    for (const auto& k : keys_xy) stepped.CreateKey(k[0], k[1]);
    const QvBaseFCurve* curves[] = {&smooth, &spline, &stepped};
    QvRaster<unsigned char> r(780, 160, 0);
    for (int panel = 0; panel < 3; ++panel) {
      QvPoint2dArray points(256);
      QvPointTagArray tags(256);
      curves[panel]->Flatten(QvTransfo4(), 0.01, points, tags, 0);
      const double x0 = 260.0 * panel + 20, y0 = 140;
      plot(points, x0, y0, 44, 1.2, r);
      plot_keys(keys, x0, y0, 44, 1.2, r);
    }
    ok &= save(out_dir, "curves.png", r);
  }

  {
    // In-betweens of a star and a circle: points are paired along the two
    // outlines, so the frames move smoothly from one shape to the other.
    QvPath2f star_path(16), circle_path(16);
    for (int i = 0; i <= 10; ++i) {
      // A simple star, from the same side and in the same turn as the circle,
      // drawn back to its start so that it can be closed.
      const double a = i * 3.14159265358979323846 / 5, radius = i % 2 == 0 ? 55.0 : 24.0;
      const P p(static_cast<float>(radius * std::cos(a)), static_cast<float>(radius * std::sin(a)));
      if (i == 0)
        star_path.Moveto(p);
      else
        star_path.Lineto(p);
    }
    star_path.Closeto();
    add_circle(circle_path, 0, 0, 45);
    const QvPath2fProp1d star(star_path), circle(circle_path);
    QvGC gc;
    gc.SetSmallestFeatureSize(1);
    QvMorpher morpher(&star, &circle, gc);
    QvRaster<unsigned char> r(650, 130, 0);
    for (int frame = 0; frame < 5; ++frame) {
      QvPath2fProp1d between;
      morpher.LinearMorph(frame / 4.0, between);
      QvGC fill = placed(65 + 130 * frame, 65);
      fill.SetFillRule(QvGC::WindingRule);
      fill.SetAASuperSampling(4);
      between.AAFill(fill, r, nullptr, nullptr);
    }
    ok &= save(out_dir, "morph.png", r);
  }

  {
    // A hard-filled mask traced back into an outline of cubic curves, drawn
    // beside it as a thin stroke.
    QvRaster<unsigned char> mask(260, 160, 0);
    shapes.Fill(placed(10, 5), mask, nullptr, nullptr);
    QvPath2f traced(64);
    QvGC fit;
    fit.SetFlatteningTolerance(0.5);
    unsigned char ink = 0;
    for (QvLong i = 0; i < mask.width * mask.height; ++i) ink = std::max(ink, mask.pixels[i]);
    QvVectorizer().VectorizeAndFit(mask, ink, QvExtent2<float>(), fit, traced);
    QvRaster<unsigned char> r(520, 160, 0);
    r.CopyRaster(0, 0, mask);
    QvGC pen = placed(260, 0);
    pen.SetLineWidth(1.5);
    traced.Stroke(pen, r);
    ok &= save(out_dir, "vectorize.png", r);
  }
  return ok ? 0 : 1;
}
