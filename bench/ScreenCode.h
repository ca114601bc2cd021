// ScreenCode: the simulator's block code, read off the screen of an X server that keeps its
// framebuffer in a file (Xvfb -fbdir). The file is mapped: a look costs 64 reads from memory, and
// the X server nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sim/media/Scene.h"

namespace quorvid::bench {

// Of the picture on the screen, in pixels.
struct ScreenArea {
  int x = 0, y = 0, width = 640, height = 480;
};

class ScreenCode {
 public:
  // file: of 32 bits a pixel. @throws std::runtime_error with a sentence
  ScreenCode(const std::string& file, const ScreenArea& area);
  ~ScreenCode();
  ScreenCode(const ScreenCode&) = delete;
  ScreenCode& operator=(const ScreenCode&) = delete;

  // The number of the picture, once for each that is new since the last look; nothing while the
  // code is the same, or half drawn.
  std::optional<std::uint16_t> look();

 private:
  const volatile std::uint8_t* map_ = nullptr;
  std::size_t size_ = 0;
  std::vector<std::size_t> places_;  // in the map, of each cell's green byte
  sim::CodeCells cells_{};
  std::optional<std::uint16_t> last_;
};

}  // namespace quorvid::bench
