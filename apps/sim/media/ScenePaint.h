#pragma once

#include <cairo.h>

#include <numbers>

namespace quorvid::sim {

struct Paint {
  double red = 0;
  double green = 0;
  double blue = 0;
};

// `share` of `b`, the rest of `a`.
inline Paint mix(const Paint& a, const Paint& b, double share) {
  return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
          a.blue + (b.blue - a.blue) * share};
}

inline void setPaint(cairo_t* cairo, const Paint& paint, double alpha = 1) {
  cairo_set_source_rgba(cairo, paint.red, paint.green, paint.blue, alpha);
}

inline void fillBox(cairo_t* cairo, double x, double y, double width, double height) {
  cairo_rectangle(cairo, x, y, width, height);
  cairo_fill(cairo);
}

inline void fillDisc(cairo_t* cairo, double x, double y, double radius) {
  cairo_arc(cairo, x, y, radius, 0, 2 * std::numbers::pi);
  cairo_fill(cairo);
}

inline void fillRounded(cairo_t* cairo, double x, double y, double width, double height, double r) {
  constexpr double quarter = std::numbers::pi / 2;
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, x + width - r, y + r, r, -quarter, 0);
  cairo_arc(cairo, x + width - r, y + height - r, r, 0, quarter);
  cairo_arc(cairo, x + r, y + height - r, r, quarter, 2 * quarter);
  cairo_arc(cairo, x + r, y + r, r, 2 * quarter, 3 * quarter);
  cairo_close_path(cairo);
  cairo_fill(cairo);
}

}  // namespace quorvid::sim
