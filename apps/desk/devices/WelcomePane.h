// WelcomePane: what stands in the window while no server is in use: one of those remembered, a new
// one, or the bundled simulator. Main thread.
#pragma once

#include "apps/desk/devices/ServerChooser.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class WelcomePane {
 public:
  explicit WelcomePane(ServerChooser& chooser);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  void listServers();

  ServerChooser& chooser_;
  Ui ui_{"WelcomePane"};
};

}  // namespace quorvid::desk
