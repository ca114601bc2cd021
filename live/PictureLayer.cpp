#include "live/PictureLayer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "port/EAGLContext.h"

namespace quorvid {
namespace {

constexpr int kBlack = 16, kNoColour = 128;

bool sameSize(CGRect a, CGRect b) {
  return a.size.width == b.size.width && a.size.height == b.size.height;
}

// Where the layer's superlayer lies in the tree.
CGPoint originOf(const CALayer& layer) {
  CGPoint origin{};
  auto node = layer.superlayer();
  while (node != nullptr) {
    auto parent = node->superlayer();
    if (parent == nullptr) break;  // where the root itself lies counts for nothing
    origin.x += node->frame().origin.x;
    origin.y += node->frame().origin.y;
    node = std::move(parent);
  }
  return origin;
}

// A copy without colour; null when memory is short.
PicturePtr greyCopyOf(CVPixelBufferRef picture) {
  CVPixelBufferRef made = nullptr;
  if (CVPixelBufferCreate(CVPixelBufferGetWidth(picture), CVPixelBufferGetHeight(picture),
                          CVPixelBufferGetPixelFormatType(picture), 0, &made) != kCVReturnSuccess) {
    return nullptr;
  }
  PicturePtr grey(made);
  const std::size_t bytes = CVPixelBufferGetWidthOfPlane(picture, 0);
  for (std::size_t y = 0; y < CVPixelBufferGetHeight(picture); ++y) {
    std::memcpy(CVPixelBufferGetBaseAddressOfPlane(made, 0) +
                    y * CVPixelBufferGetBytesPerRowOfPlane(made, 0),
                CVPixelBufferGetBaseAddressOfPlane(picture, 0) +
                    y * CVPixelBufferGetBytesPerRowOfPlane(picture, 0),
                bytes);
  }
  std::memset(CVPixelBufferGetBaseAddressOfPlane(made, 1), kNoColour,
              CVPixelBufferGetBytesPerRowOfPlane(made, 1) * CVPixelBufferGetHeightOfPlane(made, 1));
  CVBufferSetAttachment(made, kCVImageBufferYCbCrMatrixKey,
                        CVBufferGetAttachment(picture, kCVImageBufferYCbCrMatrixKey));
  return grey;
}

}  // namespace

std::unique_ptr<PictureLayer> PictureLayer::make(CALayer& parent) {
  std::shared_ptr<AAPLEAGLLayer> layer = AAPLEAGLLayer::initWithFrame(parent.bounds());
  if (layer == nullptr || layer->program() == 0 || isStorageRefused(*layer)) return nullptr;
  layer->setBackgroundColor(UIColor::blackColor().CGColor());
  parent.addSublayer(layer);
  std::unique_ptr<PictureLayer> made(new PictureLayer(std::move(layer)));
  made->bounds_ = made->placed_ = parent.bounds();
  made->scale_ = made->layer_->contentsScale();
  made->layer_->setRenewal([self = made.get()] {
    self->scale_ = self->layer_->contentsScale();
    self->layer_->resetRenderBuffer();
    self->draw();
  });
  made->drawBlack();
  return made;
}

PictureLayer::~PictureLayer() {
  layer_->setRenewal({});
  layer_->removeFromSuperlayer();
}

bool PictureLayer::lacksStorage() const {
  return isStorageRefused(*layer_);
}

void PictureLayer::show(Picture picture) {
  const bool reshaped = !(picture.shape == last_.shape);
  last_ = std::move(picture);
  grey_ = false;
  if (reshaped) moveTo(rectangle());
  draw();
}

void PictureLayer::place(CGRect bounds, double shape) {
  bounds_ = bounds;
  shape_ = shape;
  if (moveTo(rectangle())) draw();
}

// True when its storage is a new one, with nothing in it.
bool PictureLayer::moveTo(CGRect frame) {
  const bool fits = sameSize(frame, placed_) && scale_ == layer_->contentsScale();
  placed_ = frame;
  layer_->setFrame(frame);
  if (fits) return false;
  scale_ = layer_->contentsScale();
  layer_->resetRenderBuffer();
  return true;
}

CGRect PictureLayer::rectangle() const {
  const double ratio = shape_ > 0 ? shape_ : last_.shape.ratio;
  if (shape_ < 0 || ratio <= 0) return toPixels(bounds_);
  return toPixels(AVMakeRectWithAspectRatioInsideRect({ratio, 1}, bounds_));
}

// Each edge on the window's nearest pixel, where composition draws it too. So the storage has just
// as many pixels as it is drawn to, and is copied: one that had one more would be scaled, pixel by
// pixel, with every drawing of the window.
CGRect PictureLayer::toPixels(CGRect frame) const {
  const double scale = layer_->contentsScale();
  if (!(scale > 0)) return frame;
  const CGPoint origin = originOf(*layer_);
  const auto edge = [scale](double from, double at) {
    return std::round((from + at) * scale) / scale - from;
  };
  const double left = edge(origin.x, frame.origin.x), top = edge(origin.y, frame.origin.y);
  return CGRectMake(left, top, edge(origin.x, frame.origin.x + frame.size.width) - left,
                    edge(origin.y, frame.origin.y + frame.size.height) - top);
}

void PictureLayer::setGrey(bool grey) {
  if (std::exchange(grey_, grey) != grey) draw();
}

// The first picture of a layer takes long, for its shaders are translated then: no stream waits
// yet. They may be other ones for sizes that are powers of 2, which no stream's pictures have.
void PictureLayer::drawBlack() {
  constexpr std::size_t kWidth = 24, kHeight = 12;
  CVPixelBufferRef black = nullptr;
  if (CVPixelBufferCreate(kWidth, kHeight, kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 0,
                          &black) != kCVReturnSuccess) {
    return;
  }
  last_.buffer.reset(black);
  for (std::size_t plane = 0; plane < 2; ++plane) {
    std::memset(CVPixelBufferGetBaseAddressOfPlane(black, plane), plane == 0 ? kBlack : kNoColour,
                CVPixelBufferGetBytesPerRowOfPlane(black, plane) *
                    CVPixelBufferGetHeightOfPlane(black, plane));
  }
  draw();
  last_ = {};
}

// The layer fits a picture's shape into its frame; a frame of the picture's own shape is filled.
void PictureLayer::draw() {
  if (last_.buffer == nullptr) return;
  if (lacksStorage()) layer_->resetRenderBuffer();
  const PicturePtr grey = grey_ ? greyCopyOf(last_.buffer.get()) : nullptr;
  CVPixelBufferRef const shown = grey != nullptr ? grey.get() : last_.buffer.get();
  layer_->setFrame(CGRectMake(placed_.origin.x, placed_.origin.y,
                              static_cast<double>(CVPixelBufferGetWidth(shown)),
                              static_cast<double>(CVPixelBufferGetHeight(shown))));
  layer_->setPixelBuffer(shown);
  layer_->setFrame(placed_);
}

}  // namespace quorvid
