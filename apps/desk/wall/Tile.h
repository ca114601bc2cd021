// Tile: one place on the wall: a camera's live view, and over it its name, state, figures and menu.
// Main thread. The view is drawn by the wall's GL area beneath; the widgets lie above it.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Ui.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/ViewHost.h"

namespace quorvid::desk {

// What a tile asks of the wall.
struct TileCalls {
  std::function<void()> enlarge;
  std::function<void()> remove;
  std::function<void(const Camera&)> drop;  // a camera was let fall on it
  std::function<void()> turn;               // its view has something new
  std::function<bool()> mayMove;            // dragged, onto another
};

class Tile {
 public:
  Tile(Desk& desk, Recordings& recordings, TileCalls calls);
  ~Tile() { stop(); }
  Tile(const Tile&) = delete;
  Tile& operator=(const Tile&) = delete;

  GtkWidget* widget() const { return box_.get(); }
  // Where the picture is.
  GtkWidget* picture() const { return ui_.get("picture"); }
  const std::optional<Camera>& camera() const { return camera_; }
  // Shows that camera from now on, or none.
  void show(const std::optional<Camera>& camera);

  // Plays in that host, if there is a camera and it doesn't play yet.
  void play(ViewHost& host);
  // The view goes.
  void stop();
  LiveView* view() const { return view_.get(); }
  // Where it stands in the host, in points; seen: whether anybody sees it there.
  void place(const CGRect& frame, bool seen);

  void restart();
  void snapshot();
  void toggleRecording();
  void showMenu();
  // Brings its texts up to date; a few times a second.
  void tell();

 private:
  void addActions();
  void addDragging();
  void setText(const char* id, const std::string& text);
  void setShape(const std::string& name);

  Desk& desk_;
  Recordings& recordings_;
  const TileCalls calls_;
  Ui ui_{"Tile"};
  ObjectPtr<GtkWidget> box_;  // around it
  std::optional<Camera> camera_;
  std::shared_ptr<LiveView> view_;
  std::shared_ptr<UIView> root_;  // the host's
  Source watch_;                  // of the view's descriptor
  LiveOptions options_;
  CGRect frame_{};
  bool seen_ = true;
  std::string told_;  // to screen readers
};

}  // namespace quorvid::desk
