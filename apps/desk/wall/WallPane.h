// WallPane: the tiles with live cameras. Main thread.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class WallPane {
 public:
  WallPane(Desk& desk, Recordings& recordings);
  GtkWidget* widget() const { return ui_.get("pane"); }
  GtkWidget* layoutButton() const { return ui_.get("layouts"); }

 private:
  Desk& desk_;
  Recordings& recordings_;
  Ui ui_{"WallPane"};
};

}  // namespace quorvid::desk
