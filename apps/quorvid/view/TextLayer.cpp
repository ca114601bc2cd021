#include "apps/quorvid/view/TextLayer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "apps/common/Terminal.h"
#include "apps/quorvid/view/DrawingLibraries.h"
#include "base/PicturePtr.h"

namespace quorvid::app {

namespace {

constexpr double kTextSize = 11, kBaseline = 13, kMargin = 6;
constexpr double kBackground = 0.09, kText = 1;  // shares of white
constexpr int kNoColour = 128, kBlack = 16, kRange = 219;

struct Release {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};
using SurfacePtr = std::unique_ptr<cairo_surface_t, Release>;
using CairoPtr = std::unique_ptr<cairo_t, Release>;

double widthOf(cairo_t* cairo, const std::string& text) {
  cairo_text_extents_t extents;
  cairo_text_extents(cairo, text.c_str(), &extents);
  return extents.x_advance;
}

std::string cutTo(cairo_t* cairo, std::string text, double room) {
  if (widthOf(cairo, text) <= room) return text;
  while (!text.empty() && widthOf(cairo, text + "...") > room) {
    while (text.size() > 1 && (text.back() & 0xC0) == 0x80) text.pop_back();
    text.pop_back();
  }
  return text + "...";
}

// The lines in shades of grey, a byte a pixel: what cairo takes for opacity.
SurfacePtr drawn(const std::vector<TextLine>& lines, int width, int height, double scale) {
  SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height));
  const CairoPtr made(cairo_create(surface.get()));
  cairo_t* const cairo = made.get();
  cairo_set_source_rgba(cairo, 0, 0, 0, kBackground);
  cairo_set_operator(cairo, CAIRO_OPERATOR_SOURCE);
  cairo_paint(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_OVER);
  cairo_scale(cairo, scale, scale);
  cairo_select_font_face(cairo, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(cairo, kTextSize);
  cairo_set_source_rgba(cairo, 0, 0, 0, kText);
  for (const TextLine& line : lines) {
    cairo_move_to(cairo, kMargin + line.left, kBaseline + line.top);
    cairo_show_text(cairo,
                    cutTo(cairo, line.text, width / scale - 2 * kMargin - line.left).c_str());
  }
  cairo_surface_flush(surface.get());
  return surface;
}

// Null when memory is short.
PicturePtr pictureOf(cairo_surface_t* surface, int width, int height) {
  const unsigned char* const grey = cairo_image_surface_get_data(surface);
  CVPixelBufferRef made = nullptr;
  if (grey == nullptr ||
      CVPixelBufferCreate(static_cast<std::size_t>(width), static_cast<std::size_t>(height),
                          kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 0,
                          &made) != kCVReturnSuccess) {
    return nullptr;
  }
  PicturePtr picture(made);
  for (int y = 0; y < height; ++y) {
    const unsigned char* const from =
        grey + std::ptrdiff_t{y} * cairo_image_surface_get_stride(surface);
    std::uint8_t* const to =
        CVPixelBufferGetBaseAddressOfPlane(made, 0) +
        static_cast<std::size_t>(y) * CVPixelBufferGetBytesPerRowOfPlane(made, 0);
    std::transform(from, from + width, to, [](unsigned char value) {
      return static_cast<std::uint8_t>(kBlack + value * kRange / 255);
    });
  }
  std::memset(CVPixelBufferGetBaseAddressOfPlane(made, 1), kNoColour,
              CVPixelBufferGetBytesPerRowOfPlane(made, 1) * CVPixelBufferGetHeightOfPlane(made, 1));
  CVBufferSetAttachment(made, kCVImageBufferYCbCrMatrixKey, kCVImageBufferYCbCrMatrix_ITU_R_601_4);
  return picture;
}

}  // namespace

void loadFonts() {
  if (const std::string why = cairoLibrary.load(); !why.empty()) return note("no text: " + why);
  drawn({{"0"}}, 16, 16, 1);
}

std::unique_ptr<TextLayer> TextLayer::make(std::shared_ptr<UIView> container) {
  if (!cairoLibrary.load().empty()) return nullptr;
  std::shared_ptr<AAPLEAGLLayer> layer = AAPLEAGLLayer::initWithFrame(CGRectMake(0, 0, 16, 16));
  if (layer == nullptr) return nullptr;
  return std::unique_ptr<TextLayer>(new TextLayer(std::move(container), std::move(layer)));
}

void TextLayer::place(CGRect frame) {
  if (!isPlaced()) container_->layer()->addSublayer(layer_);
  const bool isNewSize = frame.size.width != frame_.size.width ||
                         frame.size.height != frame_.size.height ||
                         scale_ != layer_->contentsScale();
  frame_ = frame;
  scale_ = layer_->contentsScale();
  layer_->setFrame(frame);
  if (!isNewSize) return;
  layer_->resetRenderBuffer();
  draw();
}

void TextLayer::show(std::vector<TextLine> lines) {
  if (lines == lines_) return;
  lines_ = std::move(lines);
  draw();
}

// The layer fits a picture's shape into its frame; a frame of the picture's own shape is filled.
void TextLayer::draw() {
  if (!isPlaced()) return;
  const int width = static_cast<int>(std::lround(frame_.size.width * scale_));
  const int height = static_cast<int>(std::lround(frame_.size.height * scale_));
  const PicturePtr picture = pictureOf(drawn(lines_, width, height, scale_).get(), width, height);
  if (picture == nullptr) return;
  layer_->setFrame(CGRectMake(frame_.origin.x, frame_.origin.y, width, height));
  layer_->setPixelBuffer(picture.get());
  layer_->setFrame(frame_);
}

}  // namespace quorvid::app
