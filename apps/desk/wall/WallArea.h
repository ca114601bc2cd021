// WallArea: the GL area that all tiles' pictures are drawn into, behind their widgets. Main thread.
// It draws when a view has something new, and rests while nobody can see it.
#pragma once

#include <functional>
#include <memory>

#include "apps/desk/toolkit/Ui.h"
#include "quorvid/view/ViewHost.h"

namespace quorvid::desk {

class WallArea {
 public:
  struct Calls {
    std::function<void()> arrange;  // places the views; before each turn
    std::function<void()> begin;    // the host is there
    std::function<void()> end;      // it goes: so must the views
  };
  WallArea(GtkGLArea* area, Calls calls);
  ~WallArea();
  WallArea(const WallArea&) = delete;
  WallArea& operator=(const WallArea&) = delete;

  // Null while the area has no GL context.
  ViewHost* host() { return host_.get(); }
  // Lets the views take what came, and has it drawn. Not while GTK draws: texts change.
  void turn();
  void turnSoon();
  // Pictures drawn so far, of the whole wall.
  unsigned long drawn() const { return drawn_; }

 private:
  void realize();
  void unrealize();
  bool render();
  void watchSurface();
  void tellVisible();

  GtkGLArea* area_;
  const Calls calls_;
  std::unique_ptr<ViewHost> host_;
  Source timer_;  // a stream that went silent wakes nobody
  GdkSurface* surface_ = nullptr;
  gulong stateWatch_ = 0;
  gint64 asked_ = 0;  // when a drawing was asked for that has not come yet; 0: none
  bool covered_ = false;
  bool turning_ = false;
  unsigned long drawn_ = 0;
  Source soon_;
};

}  // namespace quorvid::desk
