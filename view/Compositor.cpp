#include "view/Compositor.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorvid {

// What stays the same during one draw().
struct Compositor::Pass {
  PixelRect region;
  double scaleX = 0;  // pixels a point
  double scaleY = 0;
  bool manySamples = false;  // of the framebuffer, a pixel

  // The nearest whole pixels, each edge for itself: neighbours neither overlap nor leave a gap.
  PixelRect toPixels(const CGRect& points) const {
    const auto edge = [](double at) {
      constexpr double kLimit = 1 << 20;  // far outside any framebuffer, and fit for an int
      return static_cast<int>(std::lround(std::isnan(at) ? 0 : std::clamp(at, -kLimit, kLimit)));
    };
    const int left = edge(points.origin.x * scaleX);
    const int right = edge((points.origin.x + points.size.width) * scaleX);
    const int top = edge(points.origin.y * scaleY);
    const int bottom = edge((points.origin.y + points.size.height) * scaleY);
    return {region.x + left, region.y + region.height - bottom, right - left, bottom - top};
  }
};

namespace {

PixelRect intersection(const PixelRect& a, const PixelRect& b) {
  const int left = std::max(a.x, b.x);
  const int low = std::max(a.y, b.y);
  const int right = std::min(a.x + a.width, b.x + b.width);
  const int high = std::min(a.y + a.height, b.y + b.height);
  return {left, low, std::max(right - left, 0), std::max(high - low, 0)};
}

bool isEmpty(const PixelRect& box) {
  return box.width <= 0 || box.height <= 0;
}

// Appends what is left of `box` outside `hole`: strips below and above, the rest left and right.
void subtract(const PixelRect& box, const PixelRect& hole, std::vector<PixelRect>& left) {
  const PixelRect cut = intersection(box, hole);
  if (isEmpty(cut)) {
    left.push_back(box);
    return;
  }
  const int top = cut.y + cut.height;
  const int right = cut.x + cut.width;
  for (const PixelRect& piece : {PixelRect{box.x, box.y, box.width, cut.y - box.y},
                                 PixelRect{box.x, top, box.width, box.y + box.height - top},
                                 PixelRect{box.x, cut.y, cut.x - box.x, cut.height},
                                 PixelRect{right, cut.y, box.x + box.width - right, cut.height}}) {
    if (!isEmpty(piece)) left.push_back(piece);
  }
}

void scissor(const PixelRect& box) {
  glScissor(box.x, box.y, box.width, box.height);
}

void clear(const PixelRect& box, const CGColorRef& color) {
  scissor(box);
  glClearColor(color.red, color.green, color.blue, 1);
  glClear(GL_COLOR_BUFFER_BIT);
}

// All of the picture that is bound for reading.
void blit(const Drawable& drawable, const PixelRect& target, GLenum filter) {
  const int low = drawable.isTopFirst() ? drawable.height() : 0;
  glBlitFramebuffer(0, low, drawable.width(), drawable.height() - low, target.x, target.y,
                    target.x + target.width, target.y + target.height, GL_COLOR_BUFFER_BIT, filter);
}

bool hasManySamples() {
  GLint buffers = 0;
  glGetIntegerv(GL_SAMPLE_BUFFERS, &buffers);
  return buffers > 0;
}

}  // namespace

std::string Compositor::draw(CALayer& tree, const PixelRect& region) {
  const CGSize size = tree.bounds().size;
  if (std::string reason = prepare(); !reason.empty()) return reason;
  if (region.width <= 0 || region.height <= 0 || !(size.width > 0) || !(size.height > 0)) {
    return {};
  }
  const BorrowedGlState borrowed(host_);
  const Pass pass{region, region.width / size.width, region.height / size.height, hasManySamples()};
  const CGPoint frameOrigin = tree.frame().origin;
  items_.clear();
  collect(pass, tree, {-frameOrigin.x, -frameOrigin.y});
  drawItems(pass);
  dropUnused();
  return {};
}

std::string Compositor::prepare() {
  const void* current = GlBinding::current().context;
  if (current == nullptr) return "no GL context is current";
  // A context may stand where a former one of another kind stood.
  if (current != context_ || host_.embedded != HostGl::isEmbedded()) {
    pictures_.clear();
    scaled_ = ScaledPicture();
    context_ = current;
    drawsWindow_ = false;
    host_ = HostGl::ofCurrentContext();
  }
  if (!host_.canComposite()) return "the context offers neither OpenGL ES 3 nor OpenGL 3";
  const bool fit = !host_.embedded || !hasManySamples();  // desktop OpenGL copies to all samples
  return fit ? "" : "the framebuffer has several samples a pixel, which OpenGL ES can't copy to";
}

// A window stays one although pictures of it are drawn beside it: else its layers would change
// their storages to and fro.
StorageLayout Compositor::layout() {
  if (!prepare().empty()) return StorageLayout::Plain;
  GLint framebuffer = 0;
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &framebuffer);
  if (framebuffer == 0) drawsWindow_ = true;
  const std::shared_ptr<ShareGroup> group = ShareGroup::existing();
  if (group == nullptr) return StorageLayout::Plain;
  const bool fits = drawsWindow_ && host_.eglImages && group->hasWindowStorage() &&
                    eglGetCurrentDisplay() == group->display();
  group->setLayout(fits ? StorageLayout::Window : StorageLayout::Plain);
  return group->layout();
}

void Compositor::collect(const Pass& pass, CALayer& layer, CGPoint origin) {
  const CGRect frame = layer.frame();
  const CGPoint position{origin.x + frame.origin.x, origin.y + frame.origin.y};
  const PixelRect target = pass.toPixels({position, frame.size});
  if (Drawable* drawable = layer.drawable(); drawable != nullptr && drawable->hasContent()) {
    items_.push_back({drawable, {}, target});  // it hides the background
  } else if (layer.backgroundColor().alpha > 0) {
    items_.push_back({nullptr, layer.backgroundColor(), intersection(target, pass.region)});
  }
  for (const auto& sublayer : layer.sublayers()) {
    collect(pass, *sublayer, position);
  }
}

void Compositor::drawItems(const Pass& pass) {
  std::size_t drawn = 0;  // contents before this one
  for (std::size_t i = 0; i < items_.size(); ++i) {
    if (items_[i].content != nullptr) continue;
    uncover(i);
    const bool hidesContent = std::any_of(
        items_.begin() + static_cast<std::ptrdiff_t>(drawn),
        items_.begin() + static_cast<std::ptrdiff_t>(i), [&](const Item& item) {
          return item.content != nullptr && !isEmpty(intersection(item.target, items_[i].target));
        });
    if (hidesContent) drawContents(pass, std::exchange(drawn, i), i);
    for (const PixelRect& box : seen_) clear(box, items_[i].color);
  }
  drawContents(pass, drawn, items_.size());
}

// Into seen_: what no item in front hides of a background.
void Compositor::uncover(std::size_t index) {
  seen_.assign(1, items_[index].target);
  for (std::size_t i = index + 1; i < items_.size() && !seen_.empty(); ++i) {
    rest_.clear();
    for (const PixelRect& box : seen_) subtract(box, items_[i].target, rest_);
    seen_.swap(rest_);
  }
}

void Compositor::drawContents(const Pass& pass, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) {
    if (items_[i].content != nullptr) drawContent(pass, *items_[i].content, items_[i].target);
  }
}

void Compositor::drawContent(const Pass& pass, Drawable& drawable, const PixelRect& target) {
  Entry& entry = pictures_[drawable.storage()];
  entry.used = true;
  if (target.width <= 0 || target.height <= 0) return;
  if (!entry.picture.bindForReading(drawable, host_.eglImages)) {
    clear(intersection(target, pass.region), {0, 0, 0, 1});  // nothing else was drawn there
    return;
  }
  const bool same = target.width == drawable.width() && target.height == drawable.height();
  if (!same && pass.manySamples) {
    drawScaled(pass, drawable, target);
    return;
  }
  scissor(pass.region);
  blit(drawable, target, same ? GL_NEAREST : GL_LINEAR);
}

// What is seen of the target gets its size first, and goes to the framebuffer as it then is.
void Compositor::drawScaled(const Pass& pass, Drawable& drawable, const PixelRect& target) {
  const PixelRect visible = intersection(target, pass.region);
  if (visible.width <= 0 || visible.height <= 0 ||
      !scaled_.bindForDrawing(visible.width, visible.height)) {
    return;
  }
  scissor({0, 0, visible.width, visible.height});
  blit(drawable, {target.x - visible.x, target.y - visible.y, target.width, target.height},
       GL_LINEAR);
  scaled_.bindForReading();
  scissor(visible);
  glBlitFramebuffer(0, 0, visible.width, visible.height, visible.x, visible.y,
                    visible.x + visible.width, visible.y + visible.height, GL_COLOR_BUFFER_BIT,
                    GL_NEAREST);
}

void Compositor::dropUnused() {
  for (auto it = pictures_.begin(); it != pictures_.end();) {
    if (!it->second.used) {
      it->second.picture.release();
      it = pictures_.erase(it);
    } else {
      it->second.used = false;
      ++it;
    }
  }
}

void Compositor::release() {
  if (context_ != nullptr && GlBinding::current().context == context_) {
    for (auto& [storage, entry] : pictures_) {
      entry.picture.release();
    }
    scaled_.release();
  }
  pictures_.clear();
  scaled_ = ScaledPicture();
  context_ = nullptr;
}

}  // namespace quorvid
