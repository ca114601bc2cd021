// Viewer: the window of `quorvid view` with one tile a channel. Main thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/quorvid/view/Tile.h"
#include "quorvid/view/Window.h"

namespace quorvid::app {

struct ViewOptions {
  StreamTarget target;  // its channel is that of the first tile
  std::vector<int> channels{0};
  PixelSize size{960, 720};
  bool headless = false;
  double seconds = 0;  // 0: until the window is closed or a signal comes
  double stallAfter = 5;
  std::string snapshot;  // empty: none
  bool json = false;
  bool verbose = false;
};

class Viewer {
 public:
  // Null, with a sentence in `error`, when there is no window or no graphics. log: outlives it.
  static std::unique_ptr<Viewer> open(const ViewOptions& options, LogFilter& log,
                                      std::string& error);
  ~Viewer();

  // Plays until the time is up, the window is closed or a signal comes.
  void run();
  const std::vector<std::unique_ptr<Tile>>& tiles() const { return tiles_; }
  // Writes what the window shows now. Before the viewer goes: it takes the pictures along.
  bool saveSnapshot(const std::string& fileName, std::string& error);

 private:
  Viewer(const ViewOptions& options, LogFilter& log, std::unique_ptr<Window> window);
  bool addTiles(std::string& error);
  void playNext(double now);
  void handle(const WindowEvent& event);
  void handleKey(char key);
  void layOut();
  void showTitle(double now);

  ViewOptions options_;
  LogFilter& log_;
  std::unique_ptr<Window> window_;
  std::vector<std::unique_ptr<Tile>> tiles_;
  std::string title_;
};

}  // namespace quorvid::app
