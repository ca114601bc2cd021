#include "sim/media/DrawnSource.h"

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

CairoPtr newCairo(cairo_surface_t* surface, double sampleShape) {
  CairoPtr cairo(cairo_create(surface));
  const double scale = cairo_image_surface_get_height(surface) / kSceneHeight;
  cairo_scale(cairo.get(), scale / sampleShape, scale);
  return cairo;
}

// From what cairo draws to a stream picture: video range, and the matrix for its number of lines.
ScalerPtr newScaler(int width, int height) {
  constexpr int kOne = 1 << 16;
  ScalerPtr scaler(sws_getContext(width, height, AV_PIX_FMT_BGR0, width, height, AV_PIX_FMT_YUV420P,
                                  SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  const int* matrix = sws_getCoefficients(matrixForLines(height));
  if (!scaler || sws_setColorspaceDetails(scaler.get(), matrix, 1, matrix, 0, 0, kOne, kOne) < 0) {
    throw SimError("the drawn scene can't be converted for the encoder");
  }
  return scaler;
}

}  // namespace

DrawnSource::DrawnSource(int width, int height, AVRational rate, std::size_t frames,
                         SceneLabels labels, double sampleShape)
    : rate_(rate),
      frames_(frames),
      labels_(std::move(labels)),
      sceneWidth_(kSceneHeight * width / height * sampleShape),
      surface_(newSurface(width, height)),
      background_(newSurface(width, height)),
      cairo_(newCairo(surface_.get(), sampleShape)),
      picture_(newPicture(width, height)),
      scaler_(newScaler(width, height)) {
  drawBackground(newCairo(background_.get(), sampleShape).get(), sceneWidth_, labels_.channel);
}

void DrawnSource::draw(const SceneMoment& moment) {
  cairo_t* cairo = cairo_.get();
  cairo_save(cairo);
  cairo_identity_matrix(cairo);
  cairo_set_source_surface(cairo, background_.get(), 0, 0);
  cairo_paint(cairo);
  cairo_restore(cairo);
  drawTraffic(cairo, sceneWidth_, moment);
  drawStrip(cairo, sceneWidth_, labels_, moment);
  cairo_surface_flush(surface_.get());
}

AVFrame* DrawnSource::next() {
  if (index_ == frames_) return nullptr;
  const double period = av_q2d(av_inv_q(rate_));
  draw({.counter = static_cast<std::uint16_t>(index_),
        .seconds = static_cast<double>(index_) * period,
        .loopSeconds = static_cast<double>(frames_) * period});
  ++index_;
  if (av_frame_make_writable(picture_.get()) < 0) throw std::bad_alloc();
  // 4 bytes a pixel: blue, green, red, unused.
  const std::uint8_t* from = cairo_image_surface_get_data(surface_.get());
  const int stride = cairo_image_surface_get_stride(surface_.get());
  sws_scale(scaler_.get(), &from, &stride, 0, picture_->height, picture_->data, picture_->linesize);
  return picture_.get();
}

}  // namespace quorvid::sim
