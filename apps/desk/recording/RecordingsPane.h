// RecordingsPane: recordings under way and files in the folder, to be opened in the system's
// player. Main thread.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class RecordingsPane {
 public:
  explicit RecordingsPane(Desk& desk, Recordings& recordings);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  Desk& desk_;
  Ui ui_{"RecordingsPane"};
  Life life_;
};

}  // namespace quorvid::desk
