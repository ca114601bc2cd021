// Views of the C interface: quorvid::LiveView behind a handle.
#include <cmath>
#include <utility>

#include "capi/Guard.h"
#include "capi/Host.h"
#include "capi/Picture.h"
#include "capi/Values.h"

using namespace quorvid::capi;
using quorvid::LiveStatus;
using quorvid::LiveView;

namespace {

template <class Call>
std::int32_t with(const quorvid_view* handle, const Call& call) {
  if (handle == nullptr) return QUORVID_BAD_ARGUMENT;
  if (!isOwnThread(*handle)) return QUORVID_WRONG_THREAD;
  return guarded([&] { return call(*handle->view); });
}

std::optional<quorvid::LiveOptions> optionsOf(const quorvid_view_options* options) {
  const quorvid_view_options defaults = QUORVID_VIEW_OPTIONS_INIT;
  const auto given = readStruct(options != nullptr ? options : &defaults, defaults);
  if (!given) return std::nullopt;
  quorvid::LiveOptions made;
  made.greyWhenStill = given->grey_when_still != 0;
  made.mostLag = given->most_lag;
  made.stallAfter = given->stall_after;
  made.shape = given->shape;
  return made;
}

// Nothing where a view can't be.
std::optional<quorvid::CGRect> frameOf(double x, double y, double width, double height) {
  constexpr double kFarthest = 1e6;
  if (!(std::abs(x) <= kFarthest && std::abs(y) <= kFarthest && width > 0 && height > 0 &&
        width <= kFarthest && height <= kFarthest)) {
    return std::nullopt;
  }
  return quorvid::CGRectMake(x, y, width, height);
}

std::int32_t resultOf(const LiveView& view, bool played) {
  if (played) return QUORVID_OK;
  return view.status().reason == quorvid::LiveReason::NoGraphics ? QUORVID_NOT_DRAWN
                                                                 : QUORVID_TARGET_REFUSED;
}

}  // namespace

quorvid_view* quorvid_view_create(quorvid_host* host, double x, double y, double width,
                                  double height, const quorvid_view_options* options) {
  const auto frame = frameOf(x, y, width, height);
  if (host == nullptr || !isOwnThread(*host) || !frame) return nullptr;
  return guardedPointer([&]() -> quorvid_view* {
    const auto made = optionsOf(options);
    if (!made) return nullptr;
    auto handle = std::make_unique<quorvid_view>();
    handle->view = LiveView::initWithFrame(*frame, *made);
    if (handle->view == nullptr) return nullptr;
    std::erase_if(host->views, [](const auto& view) { return view.expired(); });
    host->views.push_back(handle->view);
    host->host->contentView()->addSubview(handle->view);
    return handle.release();
  });
}

void quorvid_view_free(quorvid_view* view) {
  if (view == nullptr || !isOwnThread(*view)) return;
  guarded([&] {
    const std::unique_ptr<quorvid_view> last(view);
    last->view->setStatusHandler({});
    last->view->setWakeHandler({});
    last->view->stop();
    last->view->removeFromSuperview();
    return QUORVID_OK;
  });
}

std::int32_t quorvid_view_set_frame(quorvid_view* view, double x, double y, double width,
                                    double height) {
  return with(view, [=](LiveView& it) {
    const auto frame = frameOf(x, y, width, height);
    if (!frame) return QUORVID_BAD_ARGUMENT;
    it.setFrame(*frame);
    return QUORVID_OK;
  });
}

std::int32_t quorvid_view_connect(quorvid_view* view, const quorvid_target* target) {
  return with(view, [&](LiveView& it) {
    const auto made = targetOf(target);
    return made ? resultOf(it, it.connect(*made)) : QUORVID_BAD_ARGUMENT;
  });
}

std::int32_t quorvid_view_play(quorvid_view* view) {
  return with(view, [](LiveView& it) { return resultOf(it, it.play()); });
}

std::int32_t quorvid_view_stop(quorvid_view* view) {
  return with(view, [](LiveView& it) { return it.stop(), QUORVID_OK; });
}

std::int32_t quorvid_view_restart(quorvid_view* view) {
  return with(view, [](LiveView& it) {
    it.restart();
    return resultOf(it, it.isPlaying());
  });
}

std::int32_t quorvid_view_set_visible(quorvid_view* view, std::int32_t visible) {
  return with(view, [=](LiveView& it) { return it.setVisible(visible != 0), QUORVID_OK; });
}

std::int32_t quorvid_view_set_options(quorvid_view* view, const quorvid_view_options* options) {
  return with(view, [&](LiveView& it) {
    const auto made = optionsOf(options);
    if (!made) return QUORVID_BAD_ARGUMENT;
    it.setOptions(*made);
    return QUORVID_OK;
  });
}

std::int32_t quorvid_view_status(const quorvid_view* view, quorvid_status* status) {
  return with(view, [&](LiveView& it) { return writeStruct(statusOf(it.status()), status); });
}

std::int32_t quorvid_view_figures(const quorvid_view* view, quorvid_figures* figures) {
  return with(view, [&](LiveView& it) { return writeStruct(figuresOf(it.figures()), figures); });
}

std::int32_t quorvid_view_set_status_handler(quorvid_view* view, quorvid_status_handler handler,
                                             void* context) {
  return with(view, [=](LiveView& it) {
    if (handler == nullptr) return it.setStatusHandler({}), QUORVID_OK;
    it.setStatusHandler([=](const LiveStatus& status) {
      const quorvid_status made = statusOf(status);
      handler(&made, context);
    });
    return QUORVID_OK;
  });
}

std::int32_t quorvid_view_descriptor(const quorvid_view* view) {
  return view != nullptr ? view->view->descriptor() : -1;
}

std::int32_t quorvid_view_set_wake_handler(quorvid_view* view, void (*handler)(void* context),
                                           void* context) {
  return with(view, [=](LiveView& it) {
    if (handler == nullptr) return it.setWakeHandler({}), QUORVID_OK;
    it.setWakeHandler([=] { handler(context); });
    return QUORVID_OK;
  });
}

std::int32_t quorvid_view_snapshot(const quorvid_view* view, quorvid_picture** picture) {
  if (picture == nullptr) return QUORVID_BAD_ARGUMENT;
  *picture = nullptr;
  return with(view, [&](LiveView& it) {
    auto shown = it.snapshot();
    if (!shown) return QUORVID_NO_PICTURE;
    *picture = pictureOf(std::move(*shown)).release();
    return QUORVID_OK;
  });
}
