// PositionsPane: the records of the devices again and again, changed cells marked for a moment;
// asks only while it is seen. Main thread; the poller has a thread of its own.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class PositionsPane {
 public:
  explicit PositionsPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  Desk& desk_;
  Ui ui_{"PositionsPane"};
  Life life_;
};

}  // namespace quorvid::desk
