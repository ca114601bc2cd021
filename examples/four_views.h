// Four live views of one device in a ViewHost: what the embedding examples have in common. The
// rest of each is its toolkit's: window and GL context, loop, text.
#pragma once

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

struct Arguments {
  quorvid::LiveTarget target;
  int seconds = 0;  // 0: until the window is closed
};

// HOST PORT DEVICE [SECONDS]. False, with a line on standard error, when one is missing.
inline bool parse(int argc, char** argv, Arguments& arguments) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s HOST PORT DEVICE [SECONDS]\n", argc > 0 ? argv[0] : "");
    return false;
  }
  arguments.target.host = argv[1];
  arguments.target.port = std::atoi(argv[2]);
  arguments.target.device = argv[3];
  if (argc > 4) arguments.seconds = std::atoi(argv[4]);
  return true;
}

struct FourViews {
  struct Tile {
    std::shared_ptr<quorvid::LiveView> view;  // null before play() and after stop()
    std::string text;                         // channel, state and reason
    quorvid::CGRect place;                    // in the window, in points
  };

  std::unique_ptr<quorvid::ViewHost> host = quorvid::ViewHost::create();
  std::array<Tile, 4> tiles;  // by channel
  std::size_t shown = 0;      // views that had shown a picture at stop()

  // Makes the views and lets them play. The window's GL context is current, because the views can
  // then share what they draw with it. textChanged: called with the channel, in refresh(). False
  // when a view can't be made.
  bool play(quorvid::LiveTarget target, const std::function<void(int)>& textChanged) {
    host->useCurrentDisplay();
    for (int channel = 0; channel < 4; ++channel) {
      Tile& tile = tiles[target.channel = channel];
      tile.view = quorvid::LiveView::initWithFrame(quorvid::CGRectMake(0, 0, 320, 240));
      if (tile.view == nullptr) return false;
      host->contentView()->addSubview(tile.view);
      tile.view->setStatusHandler([=, &tile](const quorvid::LiveStatus& status) {
        tile.text = "Channel " + std::to_string(channel) + ": " + nameOf(status.state);
        if (!status.sentence.empty()) tile.text += ", " + status.sentence;
        textChanged(channel);
      });
      tile.view->connect(target);
    }
    return true;
  }

  // Two by two in a window of so many points; scale: pixels per point. To be called as often as one
  // may have changed.
  void place(int width, int height, double scale) {
    constexpr double kGap = 4;
    const double across = (width - 3 * kGap) / 2, down = (height - 3 * kGap) / 2;
    host->resize(width, height, scale);
    for (int channel = 0; channel < 4; ++channel) {
      Tile& tile = tiles[channel];
      const int column = channel % 2, row = channel / 2;
      const double x = kGap + column * (across + kGap), y = kGap + row * (down + kGap);
      tile.place = quorvid::CGRectMake(x, y, across, down);
      if (tile.view != nullptr && width > 0) tile.view->setFrame(tile.place);
    }
  }

  // Before the GL context goes, which is current.
  void stop() {
    for (Tile& tile : tiles) {
      if (tile.view == nullptr) continue;
      shown += tile.view->figures().shown > 0 ? 1 : 0;
      tile.view->removeFromSuperview();
      tile.view.reset();
    }
    host->release();
  }

  // For main() to return: 0 if every view showed a picture.
  int status() const { return shown == tiles.size() ? 0 : 1; }
};
