// MainWindow: the panes side by side, or one at a time where it is narrow; the actions that menus
// and keys call. Main thread.
#pragma once

#include "apps/desk/Application.h"
#include "apps/desk/FrameMeter.h"
#include "apps/desk/devices/DevicesPane.h"
#include "apps/desk/devices/ServerChooser.h"
#include "apps/desk/devices/WelcomePane.h"
#include "apps/desk/diagnosis/DiagnosisPane.h"
#include "apps/desk/model/Desk.h"
#include "apps/desk/positions/PositionsPane.h"
#include "apps/desk/recording/Preferences.h"
#include "apps/desk/recording/RecordingsPane.h"
#include "apps/desk/toolkit/Ui.h"
#include "apps/desk/wall/WallPane.h"

namespace quorvid::desk {

class MainWindow {
 public:
  MainWindow(GtkApplication* app, Settings& settings, const StartOptions& options);
  // Ends recordings and views.
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  void present();

 private:
  void addActions();
  void followWidth();
  void addAction(const char* name, std::function<void()> call);
  void addAction(const char* name, const GVariantType* type, std::function<void(GVariant*)> call);
  void showPage(const std::string& name);
  void showServer();
  void say(const std::string& sentence, bool isForGood = false);
  bool askBeforeClosing();
  void keepAwake();
  void beginKiosk(const StartOptions& options);
  void beginStats();
  void printStats();

  GtkWindow* window() const { return ui_.get<GtkWindow>("window"); }

  const gint64 started_;
  Ui ui_{"MainWindow"};
  Desk desk_;
  Simulator simulator_;
  ServerChooser chooser_;
  Recordings recordings_;
  WelcomePane welcome_;
  DevicesPane devices_;
  WallPane wall_;
  PositionsPane positions_;
  RecordingsPane files_;
  Preferences preferences_;
  DiagnosisPane diagnosis_;
  bool mayClose_ = false;
  bool isKiosk_ = false;
  guint inhibition_ = 0;  // while pictures are recorded, or for good in a kiosk
  FrameMeter meter_;
  double listShown_ = -1;  // seconds since the start
  Source stats_;
};

}  // namespace quorvid::desk
