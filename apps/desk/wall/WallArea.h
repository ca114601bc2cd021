// WallArea: what all tiles' pictures are drawn into, behind their widgets. Main thread. It draws
// when a view has something new, and rests while nobody can see it.
#pragma once

#include <functional>
#include <memory>

#include "apps/desk/toolkit/Ui.h"
#include "apps/desk/wall/Canvas.h"
#include "quorvid/view/ViewHost.h"

namespace quorvid::desk {

class WallArea {
 public:
  struct Calls {
    std::function<void()> arrange;  // places the views; before each turn
    std::function<void()> begin;    // the host is there
    std::function<void()> end;      // it goes: so must the views
  };
  explicit WallArea(Calls calls);
  ~WallArea();
  WallArea(const WallArea&) = delete;
  WallArea& operator=(const WallArea&) = delete;

  GtkWidget* widget() const { return canvas_->widget(); }
  // Null while there is no GL context.
  ViewHost* host() { return host_.get(); }
  // Lets the views take what came, and has it drawn. Not while GTK draws: texts change.
  void turn();
  void turnSoon();
  // Pictures drawn so far, of the whole wall.
  unsigned long drawn() const { return drawn_; }

 private:
  void begin();
  void end();
  std::string draw(int width, int height);
  void watchSurface();
  void tellVisible();

  const Calls calls_;
  std::unique_ptr<Canvas> canvas_;
  std::unique_ptr<ViewHost> host_;
  Source timer_;              // a stream that went silent wakes nobody
  std::pair<int, int> size_;  // of the last turn, in points
  GdkSurface* surface_ = nullptr;
  gulong stateWatch_ = 0;
  gint64 asked_ = 0;  // when a drawing was asked for that has not come yet; 0: none
  bool covered_ = false;
  bool turning_ = false;
  unsigned long drawn_ = 0;
  Source soon_;
};

}  // namespace quorvid::desk
