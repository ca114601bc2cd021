#include <algorithm>
#include <cmath>

#include "sim/media/Scene.h"

namespace quorvid::sim {
namespace {

constexpr double kFocal = 420;       // drawing units
constexpr double kCameraHeight = 2;  // metres; so are all lengths on the road
constexpr double kNearest = 3.6;
constexpr double kFarthest = 220;
constexpr double kPattern = 40;     // what stands beside the road repeats after so many metres
constexpr double kCruise = 20;      // metres a second
constexpr double kLeftEdge = -5.6;  // the camera is in the middle of the right lane
constexpr double kMiddle = -1.9;
constexpr double kRightEdge = 1.9;
constexpr Paint kHaze{.72, .78, .78};

// The camera's view at one moment: places on the road to places in the picture.
class View {
 public:
  View(double width, const SceneMoment& moment) : middle_(width / 2) {
    const double phase = 2 * std::numbers::pi * moment.seconds / moment.loopSeconds;
    curve_ = 0.0009 * std::sin(phase);
    // A whole number of patterns in the loop, so that its end fits its beginning.
    const double patterns = std::max(1.0, std::round(kCruise * moment.loopSeconds / kPattern));
    travelled_ = patterns * kPattern * moment.seconds / moment.loopSeconds;
    share_ = moment.seconds / moment.loopSeconds;
  }

  double x(double side, double ahead) const {
    return middle_ + kFocal * (side / ahead + curve_ * ahead);
  }
  double y(double ahead) const { return kHorizon + kFocal * kCameraHeight / ahead; }
  double scale(double ahead) const { return kFocal / ahead; }
  double travelled() const { return travelled_; }
  double share() const { return share_; }

 private:
  double middle_;
  double curve_;
  double travelled_;
  double share_;
};

Paint hazed(const Paint& paint, double ahead) {
  return mix(paint, kHaze, std::clamp(ahead / 260, 0.0, .8));
}

// A stripe of the ground between two sides, from one distance to another.
void fillStripe(cairo_t* cairo, const View& view, double left, double right, double from,
                double to) {
  constexpr int kSteps = 8;
  const double ratio = to / from;
  for (int i = 0; i <= kSteps; ++i) {
    const double ahead = from * std::pow(ratio, i / double{kSteps});
    cairo_line_to(cairo, view.x(left, ahead), view.y(ahead));
  }
  for (int i = kSteps; i >= 0; --i) {
    const double ahead = from * std::pow(ratio, i / double{kSteps});
    cairo_line_to(cairo, view.x(right, ahead), view.y(ahead));
  }
  cairo_close_path(cairo);
  cairo_fill(cairo);
}

// Calls `draw` with the distance of each thing that stands every `spacing` metres, the farthest
// first.
template <typename Draw>
void everySoOften(const View& view, double spacing, double farthest, Draw draw) {
  const long first = std::lround(std::ceil((view.travelled() + kNearest) / spacing));
  const long last = std::lround(std::floor((view.travelled() + farthest) / spacing));
  for (long i = last; i >= first; --i) {
    draw(static_cast<double>(i) * spacing - view.travelled(), i);
  }
}

void drawRoad(cairo_t* cairo, const View& view) {
  setPaint(cairo, {.45, .42, .33});
  fillStripe(cairo, view, kLeftEdge - 1.1, kRightEdge + 1.1, kNearest, kFarthest);
  setPaint(cairo, {.27, .28, .30});
  fillStripe(cairo, view, kLeftEdge, kRightEdge, kNearest, kFarthest);
  setPaint(cairo, {.30, .31, .33});
  everySoOften(view, 10, 120, [&](double ahead, long) {
    fillStripe(cairo, view, kLeftEdge, kRightEdge, std::max(kNearest, ahead - 5), ahead);
  });
  setPaint(cairo, {.90, .90, .86});
  fillStripe(cairo, view, kLeftEdge + .25, kLeftEdge + .42, kNearest, 160);
  fillStripe(cairo, view, kRightEdge - .42, kRightEdge - .25, kNearest, 160);
  everySoOften(view, 10, 150, [&](double ahead, long) {
    fillStripe(cairo, view, kMiddle - .11, kMiddle + .11, std::max(kNearest, ahead - 4), ahead);
  });
}

void drawTree(cairo_t* cairo, const View& view, double side, double ahead, bool tall) {
  const double s = view.scale(ahead);
  const double x = view.x(side, ahead);
  const double ground = view.y(ahead);
  const double height = tall ? 7 : 5;
  setPaint(cairo, hazed({.34, .25, .17}, ahead));
  fillBox(cairo, x - .22 * s, ground - height * .5 * s, .44 * s, height * .5 * s);
  const Paint leaves = tall ? Paint{.17, .36, .16} : Paint{.26, .44, .15};
  setPaint(cairo, hazed(leaves, ahead));
  fillDisc(cairo, x - .9 * s, ground - height * .52 * s, 1.35 * s);
  fillDisc(cairo, x + .9 * s, ground - height * .55 * s, 1.3 * s);
  fillDisc(cairo, x, ground - height * .78 * s, 1.55 * s);
  setPaint(cairo, hazed(mix(leaves, {.8, .85, .4}, .25), ahead));
  fillDisc(cairo, x + .45 * s, ground - height * .84 * s, .8 * s);
}

void drawPost(cairo_t* cairo, const View& view, double side, double ahead) {
  const double s = view.scale(ahead);
  const double x = view.x(side, ahead);
  const double ground = view.y(ahead);
  setPaint(cairo, hazed({.93, .93, .91}, ahead));
  fillBox(cairo, x - .06 * s, ground - s, .12 * s, s);
  setPaint(cairo, hazed({.85, .25, .15}, ahead));
  fillBox(cairo, x - .06 * s, ground - .85 * s, .12 * s, .2 * s);
}

void drawRoadside(cairo_t* cairo, const View& view) {
  everySoOften(view, 10, 170, [&](double ahead, long i) {
    if (i % 2 == 0) drawTree(cairo, view, -13, ahead, i % 4 == 0);
    if (i % 4 == 1) drawTree(cairo, view, 9.5, ahead, true);
    if (i % 4 == 3) drawTree(cairo, view, 13, ahead, false);
    drawPost(cairo, view, kRightEdge + .8, ahead);
    if (i % 2 != 0) drawPost(cairo, view, kLeftEdge - .8, ahead);
  });
}

struct CarLook {
  Paint body;
  Paint lamps;
};

void drawCar(cairo_t* cairo, const View& view, double side, double ahead, const CarLook& look) {
  const double s = view.scale(ahead);
  const double x = view.x(side, ahead);
  const double ground = view.y(ahead);
  cairo_set_source_rgba(cairo, 0, 0, 0, .35);
  fillRounded(cairo, x - 1.0 * s, ground - .12 * s, 2.0 * s, .2 * s, .1 * s);
  setPaint(cairo, {.08, .08, .09});
  fillBox(cairo, x - .82 * s, ground - .36 * s, .28 * s, .36 * s);
  fillBox(cairo, x + .54 * s, ground - .36 * s, .28 * s, .36 * s);
  setPaint(cairo, hazed(mix(look.body, {0, 0, 0}, .25), ahead));
  fillRounded(cairo, x - .68 * s, ground - 1.45 * s, 1.36 * s, .9 * s, .2 * s);
  setPaint(cairo, hazed(look.body, ahead));
  fillRounded(cairo, x - .9 * s, ground - .92 * s, 1.8 * s, .7 * s, .14 * s);
  setPaint(cairo, hazed({.13, .18, .24}, ahead));
  fillRounded(cairo, x - .58 * s, ground - 1.36 * s, 1.16 * s, .44 * s, .1 * s);
  setPaint(cairo, look.lamps);
  fillRounded(cairo, x - .84 * s, ground - .78 * s, .3 * s, .2 * s, .05 * s);
  fillRounded(cairo, x + .54 * s, ground - .78 * s, .3 * s, .2 * s, .05 * s);
  setPaint(cairo, {.92, .92, .85});
  fillBox(cairo, x - .26 * s, ground - .55 * s, .52 * s, .14 * s);
}

}  // namespace

void drawTraffic(cairo_t* cairo, double width, const SceneMoment& moment) {
  const View view(width, moment);
  drawRoad(cairo, view);
  drawRoadside(cairo, view);
  const double sway = std::sin(2 * std::numbers::pi * view.share());
  drawCar(cairo, view, .12 * sway, 15 + 2.5 * sway, {{.68, .12, .12}, {1, .30, .22}});
  // The oncoming car comes out of the haze and is past the camera well before the loop's end.
  const double oncoming = 190 * (1 - view.share() / .8);
  if (oncoming > kNearest) drawCar(cairo, view, -3.75, oncoming, {{.20, .33, .58}, {1, 1, .86}});
}

}  // namespace quorvid::sim
