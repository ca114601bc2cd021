// PositionsPane: the records of the devices again and again, changed cells marked for a moment;
// asks only while it is seen. Main thread; the poller has a thread of its own.
#pragma once

#include "apps/desk/model/Desk.h"
#include "apps/desk/positions/PositionPoller.h"
#include "apps/desk/positions/PositionTable.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class PositionsPane {
 public:
  explicit PositionsPane(Desk& desk);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  QueryTarget target() const;
  void watchWindow();
  bool isMinimized() const;
  void serverChanged();
  // Begins or ends, by whether anybody looks.
  void decide();
  void take(const std::vector<DevInfoItem>& records);
  void tellTrouble(QueryOutcome outcome);
  void showStatus(const std::string& headline, const std::string& sentence);

  Desk& desk_;
  Ui ui_{"PositionsPane"};
  PositionTable table_;
  PositionPoller poller_;
  GdkSurface* surface_ = nullptr;  // the window's, once it is there
  std::string lastPoll_;
};

}  // namespace quorvid::desk
