#pragma once

#include <cairo.h>

#include <cstdint>
#include <memory>
#include <string>

namespace quorvid::sim {

struct CairoDeleter {
  void operator()(cairo_surface_t* p) const { cairo_surface_destroy(p); }
  void operator()(cairo_t* p) const { cairo_destroy(p); }
  void operator()(cairo_pattern_t* p) const { cairo_pattern_destroy(p); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, CairoDeleter>;
using CairoPtr = std::unique_ptr<cairo_t, CairoDeleter>;
using PatternPtr = std::unique_ptr<cairo_pattern_t, CairoDeleter>;

struct SceneLabels {
  std::string device;
  int channel = 0;
};

// When a picture is, in its loop.
struct SceneMoment {
  std::uint16_t counter = 0;
  double seconds = 0;
  double loopSeconds = 4;
};

// A drive on a country road, seen by a dash camera, with what a tester wants to read off it:
// device and channel, clock, picture number, colour bars and the block code of SceneCode.h.
//
// Drawn in units of 1/480 of the picture's height, so that every size shows the same scene.
class Scene {
 public:
  Scene(int width, int height, SceneLabels labels);

  void draw(const SceneMoment& moment);
  // The last picture drawn: 4 bytes a pixel, in memory order blue, green, red, unused.
  const std::uint8_t* pixels() const { return cairo_image_surface_get_data(surface_.get()); }
  int stride() const { return cairo_image_surface_get_stride(surface_.get()); }

 private:
  SceneLabels labels_;
  double width_;  // in drawing units; the height is 480
  SurfacePtr surface_;
  SurfacePtr background_;
  CairoPtr cairo_;
};

constexpr double kSceneHeight = 480;
constexpr double kHorizon = 186;

// Horizon, sky, hills and everything else that does not move. (SceneBackground.cpp)
void drawBackground(cairo_t* cairo, double width, int channel);
// Lane marks, roadside and the car in front. (SceneRoad.cpp)
void drawTraffic(cairo_t* cairo, double width, const SceneMoment& moment);
// Labels, clock, colour bars and block code. (SceneStrip.cpp)
void drawStrip(cairo_t* cairo, double width, const SceneLabels& labels, const SceneMoment& moment);

}  // namespace quorvid::sim
