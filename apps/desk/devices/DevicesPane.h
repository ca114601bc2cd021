// DevicesPane: the devices of the server by name, with search; each with its cameras to click, or
// to drag into a tile. Main thread; the list is asked for on a thread of its own.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DevicesPane {
 public:
  explicit DevicesPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }
  // Asks the server again.
  void refresh();
  void search();  // the keyboard goes to the search entry

 private:
  Desk& desk_;
  Ui ui_{"DevicesPane"};
  Life life_;
};

}  // namespace quorvid::desk
