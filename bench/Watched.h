// Watched: a live view whose every picture goes to a SourceCheck. The thread of its run loop.
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "SourceCheck.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/Window.h"

namespace quorvid::bench {

inline double unixSeconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

// A view, and what it showed so far.
class Watched {
 public:
  Watched(CGRect frame, const LiveTarget& target, SourceCheck& check)
      : view(LiveView::initWithFrame(frame)), check_(check), channel_(target.channel) {
    static std::atomic<int> views{0};
    number_ = views++;
    if (view != nullptr) view->connect(target);
  }

  // After a turn. window: pictures are read from there, where it is not null.
  void look(Window* window) {
    const LiveFigures figures = view->figures();
    if (figures.shown == shown_) return;
    shown_ = figures.shown;
    ShownPicture picture;
    picture.view = number_;
    picture.channel = channel_;
    picture.time = unixSeconds();
    picture.streamWidth = figures.streamWidth;
    picture.streamHeight = figures.streamHeight;
    picture.shape = figures.shape;
    if (window != nullptr) {
      WindowPicture read;
      if (!window->snapshot(read)) return;
      picture.width = read.width;
      picture.height = read.height;
      picture.rgb = std::move(read.rgb);
    } else {
      auto read = view->snapshot();
      if (!read) return;
      picture.width = read->width;
      picture.height = read->height;
      picture.rgb = std::move(read->rgb);
    }
    check_.add(std::move(picture));
  }

  std::shared_ptr<LiveView> view;

 private:
  SourceCheck& check_;
  int channel_;
  int number_ = 0;
  std::uint64_t shown_ = 0;
};

}  // namespace quorvid::bench
