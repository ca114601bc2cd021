#include <array>
#include <cmath>

#include "sim/media/Scene.h"

namespace quorvid::sim {
namespace {

// A time of day; each channel has its own, so that tiles are told apart at a glance.
struct Daylight {
  Paint zenith, haze, sun, farHills, nearHills;
};

constexpr std::array<Daylight, 4> kDaylights{{
    {{.16, .42, .78}, {.86, .91, .93}, {1, .97, .86}, {.52, .64, .74}, {.33, .50, .44}},
    {{.20, .20, .45}, {.98, .70, .46}, {1, .86, .58}, {.50, .40, .54}, {.30, .28, .38}},
    {{.42, .62, .80}, {.99, .91, .80}, {1, .99, .94}, {.68, .70, .76}, {.45, .53, .47}},
    {{.44, .50, .57}, {.83, .85, .86}, {.94, .94, .93}, {.58, .63, .67}, {.37, .46, .44}},
}};

PatternPtr verticalGradient(double top, double bottom, const Paint& from, const Paint& to) {
  PatternPtr pattern(cairo_pattern_create_linear(0, top, 0, bottom));
  cairo_pattern_add_color_stop_rgb(pattern.get(), 0, from.red, from.green, from.blue);
  cairo_pattern_add_color_stop_rgb(pattern.get(), 1, to.red, to.green, to.blue);
  return pattern;
}

void drawSky(cairo_t* cairo, double width, const Daylight& light) {
  const PatternPtr sky = verticalGradient(0, kHorizon, light.zenith, light.haze);
  cairo_set_source(cairo, sky.get());
  fillBox(cairo, 0, 0, width, kHorizon);

  const double x = width * 0.73;
  const double y = kHorizon * 0.56;
  const PatternPtr glow(cairo_pattern_create_radial(x, y, 8, x, y, 130));
  cairo_pattern_add_color_stop_rgba(glow.get(), 0, light.sun.red, light.sun.green, light.sun.blue,
                                    .75);
  cairo_pattern_add_color_stop_rgba(glow.get(), 1, light.sun.red, light.sun.green, light.sun.blue,
                                    0);
  cairo_set_source(cairo, glow.get());
  fillBox(cairo, 0, 0, width, kHorizon);
  setPaint(cairo, light.sun);
  fillDisc(cairo, x, y, 17);
}

void drawCloud(cairo_t* cairo, double x, double y, double size) {
  cairo_push_group(cairo);
  setPaint(cairo, {1, 1, 1});
  for (const auto& [dx, dy, r] : {std::array{-1.5, .25, .55}, std::array{-.7, -.1, .75},
                                  std::array{.2, -.25, .9}, std::array{1.0, .1, .7}}) {
    fillDisc(cairo, x + dx * size, y + dy * size, r * size);
  }
  fillRounded(cairo, x - 2 * size, y + .1 * size, 3.8 * size, .7 * size, .35 * size);
  cairo_pop_group_to_source(cairo);
  cairo_paint_with_alpha(cairo, .6);
}

void drawHills(cairo_t* cairo, double width, const Paint& paint, double height, double phase) {
  cairo_move_to(cairo, 0, kHorizon + 2);
  for (int i = 0; i <= width / 4 + 1; ++i) {
    const double x = 4.0 * i;
    const double ridge = .55 + .25 * std::sin(x * .011 + phase) +
                         .14 * std::sin(x * .031 + 2 * phase) +
                         .06 * std::sin(x * .083 + 3 * phase);
    cairo_line_to(cairo, x, kHorizon - height * ridge);
  }
  cairo_line_to(cairo, width + 4, kHorizon + 2);
  cairo_close_path(cairo);
  setPaint(cairo, paint);
  cairo_fill(cairo);
}

}  // namespace

void drawBackground(cairo_t* cairo, double width, int channel) {
  const Daylight& light = kDaylights[static_cast<std::size_t>(channel) % kDaylights.size()];
  drawSky(cairo, width, light);
  drawCloud(cairo, width * .18, 92, 19);
  drawCloud(cairo, width * .45, 64, 13);
  drawCloud(cairo, width * .91, 74, 15);
  drawHills(cairo, width, light.farHills, 74, 1.3 + channel);
  drawHills(cairo, width, light.nearHills, 38, 4.1 + 2 * channel);
  const PatternPtr fields = verticalGradient(
      kHorizon, kSceneHeight, mix(light.nearHills, {.62, .68, .38}, .55), {.30, .44, .20});
  cairo_set_source(cairo, fields.get());
  fillBox(cairo, 0, kHorizon, width, kSceneHeight - kHorizon);
}

}  // namespace quorvid::sim
