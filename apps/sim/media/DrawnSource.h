#pragma once

#include "sim/media/PictureSource.h"
#include "sim/media/Scene.h"

namespace quorvid::sim {

// The drawn scene as a source: a loop of `frames` pictures whose end fits its beginning.
class DrawnSource final : public PictureSource {
 public:
  // sampleShape: width / height of a pixel where the picture is shown.
  DrawnSource(int width, int height, AVRational rate, std::size_t frames, SceneLabels labels,
              double sampleShape = 1);

  AVFrame* next() override;
  void rewind() override { index_ = 0; }
  // index: of the picture that next() gives.
  void moveTo(std::size_t index) { index_ = index; }
  AVRational rate() const override { return rate_; }

 private:
  void draw(const SceneMoment& moment);

  AVRational rate_;
  std::size_t frames_;
  std::size_t index_ = 0;
  const SceneLabels labels_;
  const double sceneWidth_;  // in drawing units
  SurfacePtr surface_;
  SurfacePtr background_;
  CairoPtr cairo_;
  FramePtr picture_;
  ScalerPtr scaler_;
};

}  // namespace quorvid::sim
