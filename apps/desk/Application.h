// Application: the program: its command line, its one window, its styles. Main thread.
#pragma once

#include <memory>
#include <string>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

class MainWindow;
class Settings;

// What the command line says.
struct StartOptions {
  gint64 started = g_get_monotonic_time();  // the process, near enough
  std::string kiosk;                        // a layout; empty: a window
  int pageSeconds = 15;                     // of a kiosk's page
  bool stats = false;                       // figures each second on standard output
  std::string settings;                     // another file than the user's own
  std::string simulator;  // further options of the bundled simulator's command line
};

class Application {
 public:
  Application();
  ~Application();
  Application(const Application&) = delete;
  Application& operator=(const Application&) = delete;

  // Until the last window is closed; yields the exit status.
  int run(int argc, char** argv);

 private:
  void addOptions();
  int takeOptions(GVariantDict* options);
  void activate();

  ObjectPtr<AdwApplication> app_;
  StartOptions options_;
  std::unique_ptr<Settings> settings_;
  std::unique_ptr<MainWindow> window_;
};

}  // namespace quorvid::desk
