// Viewer: the window of `quorvid view` with one tile a stream. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "apps/common/Options.h"
#include "apps/quorvid/view/KeysPanel.h"
#include "apps/quorvid/view/TileWall.h"
#include "quorvid/view/Window.h"

namespace quorvid::app {

struct ViewOptions {
  std::vector<StreamTarget> targets;  // at least one, a tile each
  std::vector<std::string> devices;   // that they belong to
  PixelSize size{960, 738};           // one 4:3 picture and its line of text
  double shape = 0;                   // as LiveOptions has it
  bool headless = false;
  double seconds = 0;  // 0: until the window is closed or a signal comes
  double stallAfter = 5;
  std::string snapshot;       // a file; empty: none
  std::string tileSnapshots;  // a folder; empty: none
  ReportOptions report;
  bool text = true;
  bool verbose = false;
};

class Viewer {
 public:
  // Asks for the streams and opens the window meanwhile. Null, with a sentence in `error`, when
  // there is no window or no graphics.
  static std::unique_ptr<Viewer> open(const ViewOptions& options, std::string& error);
  ~Viewer();

  // Shows them until the time is up, the window is closed or a signal comes; calls everySecond.
  void run(const std::function<void()>& everySecond);
  std::vector<TileReport> reports() const;
  // Writes what the window shows now. Before the viewer goes: it takes the pictures along.
  bool saveSnapshot(const std::string& fileName, std::string& error);
  // Writes each tile's last picture, in the stream's own shape, into the folder; tiles that never
  // had one are left out.
  bool saveTiles(const std::string& folder, std::string& error) const;

 private:
  Viewer(const ViewOptions& options, std::unique_ptr<Window> window);
  void handle(const WindowEvent& event);
  void handleKey(const WindowEvent& event);
  void leave();
  void toggleKeys();
  void savePicture();
  void saveShownTiles() const;
  void showTitle(double now);

  ViewOptions options_;
  std::unique_ptr<Window> window_;
  TileWall wall_;
  KeysPanel keys_;
  std::string title_;
};

}  // namespace quorvid::app
