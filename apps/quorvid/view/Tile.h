// Tile: one stream in the viewer's window: its live view inside a container, with the mark of a
// stall and a line of text. Main thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "apps/quorvid/view/StallMark.h"
#include "apps/quorvid/view/TextStrip.h"
#include "apps/quorvid/view/TileMeter.h"
#include "quorvid/live/LiveView.h"

namespace quorvid::app {

// A stream that is asked for before there is a window to show it in: the two take their time side
// by side.
struct AskedStream {
  StreamTarget target;
  std::shared_ptr<LiveView> view;  // plays
  double since = 0;                // steady clock
};
// Null when memory is out.
std::optional<AskedStream> askFor(const StreamTarget& target, const LiveOptions& options);

struct TileOptions {
  LiveOptions live;
  bool text = true;      // with a line of text
  bool verbose = false;  // each change of state is a line on standard error
  bool named = false;    // lines about it name the device, not only the channel
};

class Tile {
 public:
  // Null when the graphics can't be had. The tile adds its container to `parent`.
  static std::unique_ptr<Tile> make(AskedStream stream, UIView& parent, CGRect frame,
                                    const TileOptions& options);
  ~Tile();

  const StreamTarget& target() const { return target_; }
  const std::string& name() const { return name_; }
  bool isStalled() const { return mark_.isShown(); }
  bool isPlaying() const { return view_->isPlaying(); }
  void play();
  void restart();
  // The last picture stays.
  void pause();
  void setFrame(CGRect frame);
  CGRect frame() const { return container_->frame(); }
  // Whether it is in the window, and whether anybody can see it there. The stream of one that can't
  // be seen goes on without being decoded.
  void setVisible(bool isInWindow, bool isSeen);
  bool isInWindow() const { return container_->superview() != nullptr; }
  std::optional<LivePicture> snapshot() const { return view_->snapshot(); }
  // Once a turn: marks a stalled stream and tells of restarts.
  void look(double now);
  bool hadPicture() const { return meter_.hadPicture(); }
  // Once a turn: renews the text once a second.
  void renewText(double now);
  TileReport report(double now) const;
  // Seconds since the last picture, or since the tile was started or shown.
  double silence(double now) const { return meter_.silence(now); }

 private:
  struct Restart {  // of a silent stream
    double time, silence;
  };

  Tile(AskedStream stream, UIView& parent, CGRect frame, const TileOptions& options);
  void begin();
  std::string whyNoPicture(const LiveStatus& status, const LiveFigures& figures) const;
  void statusChanged(const LiveStatus& status);
  void lookForRestart(const LiveFigures& figures, bool isPicture, double now);
  void placePicture();

  const StreamTarget target_;
  const std::string name_;
  const TileOptions options_;
  UIView& parent_;
  std::shared_ptr<UIView> container_;
  StallMark mark_;
  std::shared_ptr<LiveView> view_;
  std::unique_ptr<TextStrip> strip_;
  TileMeter meter_;
  double textDue_ = 0;
  CGSize pictureArea_;
  std::uint64_t restarts_ = 0;  // that the view had counted at the last look
  std::optional<Restart> untold_;
  LiveStatus trouble_;  // the last reason that was given, until a stream is live
};

}  // namespace quorvid::app
