// ServerChooser: the button that names the server, with its menu: choose, add, change, forget, the
// simulator. Asks for a password where none is kept. Main thread.
#pragma once

#include <functional>

#include "apps/desk/model/Desk.h"
#include "apps/desk/simulator/Simulator.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class ServerChooser {
 public:
  ServerChooser(Desk& desk, Simulator& simulator);
  GtkWidget* widget() const;
  // Of the dialogs; to be called once, before the others.
  void setWindow(GtkWindow* window) { window_ = window; }

  // Uses the server that was used last, if there is one; asks for its password where need be.
  void useLast();
  void add();           // the dialog
  void useSimulator();  // starts it where it doesn't run

 private:
  Desk& desk_;
  Simulator& simulator_;
  GtkWindow* window_ = nullptr;
  Ui ui_{"ServerChooser"};
  Life life_;
};

}  // namespace quorvid::desk
