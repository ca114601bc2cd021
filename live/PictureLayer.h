// PictureLayer: shows a stream's pictures inside a view, in the stream's own shape. The host's
// thread; no current GL context is changed.
//
// The decoder's pictures are all of one size, whatever the stream's shape. So the picture is drawn
// to fill the layer's storage, which has as many pixels as the window shows of it, and the layer
// stands where a picture of the stream's shape belongs: each pixel is shaded once.
#pragma once

#include <memory>

#include "live/Picture.h"
#include "quorvid/render/AAPLEAGLLayer.h"

namespace quorvid {

class PictureLayer {
 public:
  // Null when there is no OpenGL ES 2 context, or none that draws.
  static std::unique_ptr<PictureLayer> make(CALayer& parent);
  ~PictureLayer();
  PictureLayer(const PictureLayer&) = delete;
  PictureLayer& operator=(const PictureLayer&) = delete;

  void show(Picture picture);
  // GL refused what would be drawn into; the next picture asks for it again.
  bool lacksStorage() const;
  // bounds: of the view. shape: see LiveOptions. Draws the last picture anew when they differ from
  // before, or the layer's scale does.
  void place(CGRect bounds, double shape);
  // Draws the last picture in grey, or in its colours again.
  void setGrey(bool grey);
  // What show() was given last.
  const Picture& last() const { return last_; }

 private:
  explicit PictureLayer(std::shared_ptr<AAPLEAGLLayer> layer) : layer_(std::move(layer)) {}
  CGRect rectangle() const;
  CGRect toPixels(CGRect frame) const;
  bool moveTo(CGRect frame);
  void draw();
  void drawBlack();

  std::shared_ptr<AAPLEAGLLayer> layer_;
  Picture last_;
  CGRect bounds_;
  CGRect placed_;     // where the storage was made for
  double scale_ = 0;  // and in which scale
  double shape_ = 0;
  bool grey_ = false;
};

}  // namespace quorvid
