// soak_views: a host with a window of live views, every other one a UIFleetLiveView, which also
// asks for device lists and positions. Arguments and log: soak/Course.h.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/Clock.h"
#include "quorvid/base/Log.h"
#include "quorvid/view/Window.h"
#include "soak/Course.h"
#include "soak/FleetTile.h"
#include "soak/LiveTile.h"
#include "soak/Queries.h"

namespace {

constexpr int kColumns = 8;
constexpr int kTileWidth = 80;
constexpr int kTileHeight = 60;

class Views : public soak::Host {
 public:
  Views(quorvid::Window& window, soak::Course& course)
      : window_(window), course_(course), queries_(course) {
    quorvid::UIView& parent = *window.contentView();
    for (int i = 0; i < course.members(); ++i) {
      const int column = i % kColumns, row = i / kColumns;
      const quorvid::CGRect frame =
          quorvid::CGRectMake(column * kTileWidth, row * kTileHeight, kTileWidth, kTileHeight);
      if (i % 2 == 0) {
        tiles_.push_back(std::make_shared<soak::FleetTile>(course, parent, frame));
      } else {
        tiles_.push_back(std::make_shared<soak::LiveTile>(course, parent, frame));
      }
    }
  }

  void begin() override {
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
      tiles_[i]->play(course_.draw(isFirst_, i % 2 == 0));
    }
    isFirst_ = false;
    queries_.begin();
    isPlaying_ = true;
  }
  void turn() override {
    window_.runTurn();
    queries_.turn();
    const double now = quorvid::steadySeconds();
    for (const auto& tile : tiles_) {
      if (isPlaying_) tile->look(now);
    }
  }
  void rest() override {
    isPlaying_ = false;
    queries_.rest();
    for (const auto& tile : tiles_) tile->rest();
  }
  soak::Counts counts() override {
    soak::Counts sum;
    for (const auto& tile : tiles_) soak::add(sum, tile->counts());
    sum.queries = queries_.answered();
    return sum;
  }

 private:
  quorvid::Window& window_;
  soak::Course& course_;
  soak::Queries queries_;
  std::vector<std::shared_ptr<soak::Tile>> tiles_;
  bool isFirst_ = true, isPlaying_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  soak::Course course(argc, argv);
  quorvid::setLogSink([](std::string_view) {});
  std::string error;
  const int rows = (course.members() + kColumns - 1) / kColumns;
  const auto window =
      quorvid::Window::open({"Soak", kColumns * kTileWidth, rows * kTileHeight, true}, &error);
  if (window == nullptr) return std::fprintf(stderr, "no window: %s\n", error.c_str()), 2;
  Views views(*window, course);
  course.run(views);
}
