// WelcomePane: what stands in the window while no server is remembered: add one, or try the
// bundled simulator. Main thread.
#pragma once

#include "apps/desk/devices/ServerChooser.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class WelcomePane {
 public:
  explicit WelcomePane(ServerChooser& chooser);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  Ui ui_{"WelcomePane"};
};

}  // namespace quorvid::desk
