// RecordingsPane: recordings under way and files in the folder, to be opened in the system's
// player. Main thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/FolderWatch.h"
#include "apps/desk/recording/OpenFile.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Task.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class RecordingsPane {
 public:
  explicit RecordingsPane(Desk& desk, Recordings& recordings);
  GtkWidget* widget() const { return ui_.get("pane"); }

 private:
  void showUnderWay();
  GtkWidget* addUnderWay(const Recordings::Entry& entry);
  void useFolder();
  void showFiles(const FolderListing& listing);
  GtkWidget* makeFileRow(const FolderFile& file);
  void showWhatThereIs();
  std::string pathOf(const std::string& name) const;
  OpenFailed teller();

  Desk& desk_;
  Recordings& recordings_;
  Ui ui_{"RecordingsPane"};
  std::string folder_;
  std::map<int, GtkWidget*> underWay_;  // by the recording's number
  std::vector<FolderFile> files_;       // as the rows stand
  FolderWatch watch_{[this](const FolderListing& listing) { showFiles(listing); }};
  Life life_;
};

}  // namespace quorvid::desk
