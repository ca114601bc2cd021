// Preferences: where recordings and snapshots go, and how long a file gets. Main thread.
#pragma once

#include <optional>

#include "apps/desk/model/Desk.h"
#include "apps/desk/recording/Recordings.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class Preferences {
 public:
  Preferences(Desk& desk, Recordings& recordings);
  ~Preferences();
  Preferences(const Preferences&) = delete;
  Preferences& operator=(const Preferences&) = delete;

  void present(GtkWindow* parent);

 private:
  GtkWindow* window() const { return ui_->get<GtkWindow>("window"); }
  void make();
  void end();
  void show();
  void chooseFolder();
  void keep();

  Desk& desk_;
  Recordings& recordings_;
  RecordingOptions options_;  // as shown
  bool isShowing_ = false;    // the widgets follow the options, not the user
  std::optional<Ui> ui_;      // while the window is open: a hidden one is in a screen reader's way
  ObjectPtr<GtkFileChooserNative> chooser_;
};

}  // namespace quorvid::desk
