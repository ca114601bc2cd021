// LiveView: a view that plays the live stream of one camera, keeps it whole and in time, and says
// how it stands. The view for applications.
//
// The thread that makes it makes every call and runs its run loop (ViewHost::refresh() or a Window
// does); pictures are drawn and handlers called inside a turn of that loop. No call waits: play(),
// stop(), connect(), restart() return at once, whatever the network does. Nothing ends the process.
//
//   auto view = quorvid::LiveView::initWithFrame(CGRectMake(0, 0, 640, 480));
//   host->contentView()->addSubview(view);
//   quorvid::LiveTarget target;
//   target.host = "fleet.example.com"; target.port = 6602; target.device = "BUS-17";
//   view->connect(target);
//
// Two threads of its own for each session, one that receives and one that decodes, so a late or
// hidden host costs pictures that nobody saw and never references or time. They end by themselves,
// at the latest when a name look-up under way has ended.
//
// Loss it accepts: of pictures that wait the newest is drawn; what is older than `mostLag` is not
// shown; frames beyond 8 MiB or 12 s are dropped by whole groups. Each is counted. Pictures built
// on lost frames are never shown.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "quorvid/base/Export.h"
#include "quorvid/base/Geometry.h"
#include "quorvid/live/LiveStatus.h"
#include "quorvid/view/View.h"

namespace quorvid {

struct LiveOptions {
  // Seconds without a picture after which the stream counts as stalled and is started again, with
  // pauses that double up to 30 s. 0: never. (What can't be connected, or is lost, is tried again
  // whatever this says.)
  double stallAfter = 5;
  // Seconds by which a picture may be late and still be shown.
  double mostLag = 1;
  // Width / height of the picture on screen. 0: the stream's own. Below 0: fills the view.
  double shape = 0;
  // Draws the last picture in grey while none follows.
  bool greyWhenStill = false;
};

class QUORVID_API LiveView : public UIView {
 public:
  // frame: in the superview's points; may be changed at any time by setFrame(), and that is all a
  // resize takes. Never null but when memory is out: a view that can't draw, because no OpenGL ES 2
  // context can be had, is Failed with NoGraphics for good, and the log has a line.
  static std::shared_ptr<LiveView> initWithFrame(CGRect frame, const LiveOptions& options = {});
  // The same without graphics yet: it can play before its window is there, which takes longer to
  // open than a connection. What it draws with is made by prepareToDraw(), or else in the first
  // turn of the run loop. Until then nobody knows whether it can draw: connect() and play() go
  // ahead, and a view that turns out not to be able stops then and is Failed with NoGraphics for
  // good.
  static std::shared_ptr<LiveView> initToDrawLater(CGRect frame, const LiveOptions& options = {});
  // Makes what it draws with, if that is not there yet, beside the GL context that is current.
  // False when the view can't draw.
  bool prepareToDraw();
  // Stops.
  ~LiveView() override;

  // Plays this target; a session under way is stopped first and the last picture stays. False, with
  // the sentence in status(), when the target is impossible or the view can't draw: nothing is
  // played then.
  bool connect(const LiveTarget& target);
  // Plays the last target (again); nothing while it plays. False as for connect().
  bool play();
  // Ends the session; the last picture stays.
  void stop();
  // The same as stop() and play(), at once and without a pause.
  void restart();
  bool isPlaying() const;
  const LiveTarget& target() const;

  // A hidden view goes on receiving, and neither decodes nor draws. Visible again, it decodes what
  // came since the last key frame without drawing and goes on with the newest picture. A view in a
  // window that can't be seen is hidden by itself (ViewHost::setVisible(); Window calls it).
  void setVisible(bool visible);
  // As setVisible() was told.
  bool isVisible() const;
  void setOptions(const LiveOptions& options);
  const LiveOptions& options() const;

  LiveStatus status() const;
  LiveFigures figures() const;
  // Called in a turn of the run loop when the status has changed. It may make any call, and let the
  // view go. What it throws leaves the turn: the host's refresh() or run() throws it.
  void setStatusHandler(std::function<void(const LiveStatus&)> handler);

  // Readable (poll, g_unix_fd_add, QSocketNotifier) when a turn of the run loop would draw a
  // picture or tell of a change: for hosts whose loop sleeps. The view's own, cleared by the turn;
  // -1 where the system gave none. Nothing wakes for the mere time: a host turns the loop a few
  // times a second besides, so that a stream that went silent is told of and started again.
  int descriptor() const;
  // Called when descriptor() becomes readable, on a thread of the view: to wake a loop, no more. A
  // call may still be under way when this, or the destructor, returns. What it throws is dropped,
  // with a line in the log.
  void setWakeHandler(std::function<void()> handler);

  // The last picture in the stream's own shape, as RGB; nothing before the first one.
  std::optional<LivePicture> snapshot() const;

 private:
  struct State;
  QUORVID_LOCAL explicit LiveView(CGRect frame);
  QUORVID_LOCAL void windowVisibilityChanged() override;
  std::unique_ptr<State> state_;
};

}  // namespace quorvid
