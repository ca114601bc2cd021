#include "sim/media/Scene.h"

#include "sim/Error.h"

namespace quorvid::sim {
namespace {

SurfacePtr newSurface(int width, int height) {
  SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
    throw SimError("no memory for a drawn scene of this size");
  }
  return surface;
}

CairoPtr newCairo(cairo_surface_t* surface, double scale) {
  CairoPtr cairo(cairo_create(surface));
  cairo_scale(cairo.get(), scale, scale);
  return cairo;
}

}  // namespace

Scene::Scene(int width, int height, SceneLabels labels)
    : labels_(std::move(labels)),
      width_(kSceneHeight * width / height),
      surface_(newSurface(width, height)),
      background_(newSurface(width, height)),
      cairo_(newCairo(surface_.get(), height / kSceneHeight)) {
  const CairoPtr back = newCairo(background_.get(), height / kSceneHeight);
  drawBackground(back.get(), width_, labels_.channel);
}

void Scene::draw(const SceneMoment& moment) {
  cairo_t* cairo = cairo_.get();
  cairo_save(cairo);
  cairo_identity_matrix(cairo);
  cairo_set_source_surface(cairo, background_.get(), 0, 0);
  cairo_paint(cairo);
  cairo_restore(cairo);
  drawTraffic(cairo, width_, moment);
  drawStrip(cairo, width_, labels_, moment);
  cairo_surface_flush(surface_.get());
}

}  // namespace quorvid::sim
