// Viewer: the window of `quorvid view` with one tile a channel. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/quorvid/view/Tile.h"
#include "quorvid/view/Window.h"

namespace quorvid::app {

struct ViewOptions {
  StreamTarget target;  // its channel is that of the first tile
  std::vector<int> channels{0};
  PixelSize size{960, 720};
  double shape = 0;  // as LiveOptions has it
  bool headless = false;
  double seconds = 0;  // 0: until the window is closed or a signal comes
  double stallAfter = 5;
  std::string snapshot;  // empty: none
  bool json = false;
  bool stats = false;
  bool text = true;
  bool verbose = false;
};

class Viewer {
 public:
  static constexpr const char* kKeys =
      "keys: q quits, r restarts, space pauses, s writes a PNG, f full screen, 1 to 9 enlarge a "
      "tile and give it its place again, h or ? lists the keys";

  // Null, with a sentence in `error`, when there is no window or no graphics.
  static std::unique_ptr<Viewer> open(const ViewOptions& options, std::string& error);
  ~Viewer();

  // Plays until the time is up, the window is closed or a signal comes; calls everySecond.
  void run(const std::function<void()>& everySecond);
  std::vector<TileReport> reports() const;
  // Writes what the window shows now. Before the viewer goes: it takes the pictures along.
  bool saveSnapshot(const std::string& fileName, std::string& error);

 private:
  Viewer(const ViewOptions& options, std::unique_ptr<Window> window);
  bool addTiles(std::string& error);
  void handle(const WindowEvent& event);
  void handleKey(char key);
  void choose(std::size_t tile);
  void pauseOrPlay();
  void savePicture();
  void layOut();
  void showTitle(double now);

  ViewOptions options_;
  std::unique_ptr<Window> window_;
  std::vector<std::unique_ptr<Tile>> tiles_;
  std::optional<std::size_t> chosen_;  // the tile that has the window to itself
  std::string title_;
};

}  // namespace quorvid::app
