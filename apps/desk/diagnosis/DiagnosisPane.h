// DiagnosisPane: what an examination of a camera's stream finds, step by step, to be copied into a
// ticket. Main thread; `quorvid probe` is a process of its own.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class DiagnosisPane {
 public:
  explicit DiagnosisPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  Desk& desk_;
  Ui ui_{"DiagnosisPane"};
  Life life_;
};

}  // namespace quorvid::desk
