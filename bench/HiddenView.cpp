// hidden_view HOST PORT DEVICE SECONDS: hides a live view for so long, and tells as one JSON object
// what was decoded meanwhile and how long it took after that until a picture stood, and the present
// one (lag below 100 ms). Without a display; times are those of a turn's end, 60 turns a second.
#include <chrono>
#include <cstdlib>
#include <iostream>

#include "quorvid/live/LiveView.h"
#include "quorvid/view/Window.h"

namespace quorvid::bench {
namespace {

using Clock = std::chrono::steady_clock;
constexpr double kMostWait = 60;
constexpr double kPresent = 0.1;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Case {
  std::unique_ptr<Window> window;
  std::shared_ptr<LiveView> view;

  // Turns until the condition holds. In seconds; below 0: it never did.
  template <typename Condition>
  double turnUntil(Condition holds) const {
    const auto start = Clock::now();
    while (!holds()) {
      if (secondsSince(start) > kMostWait || !window->runTurn()) return -1;
    }
    return secondsSince(start);
  }
  bool hide(double seconds) const;
};

bool Case::hide(double seconds) const {
  constexpr std::uint64_t kSettled = 50;
  if (turnUntil([&] { return view->figures().shown > kSettled; }) < 0) return false;
  view->setVisible(false);
  const LiveFigures before = view->figures();
  const auto start = Clock::now();
  turnUntil([&] { return secondsSince(start) >= seconds; });
  const LiveFigures hidden = view->figures();
  view->setVisible(true);
  const double first = turnUntil([&] { return view->figures().shown > hidden.shown; });
  const double lag = view->figures().lag;
  const double present = first + turnUntil([&] { return view->figures().lag < kPresent; });
  const LiveFigures after = view->figures();
  std::cout << "{\"hidden_seconds\": " << seconds
            << ", \"received\": " << hidden.received - before.received
            << ", \"decoded_hidden\": " << hidden.decoded - before.decoded
            << ", \"decoded_after\": " << after.decoded - hidden.decoded
            << ", \"shown_after\": " << after.shown - hidden.shown
            << ", \"first_picture_ms\": " << first * 1000 << ", \"its_lag_ms\": " << lag * 1000
            << ", \"present_picture_ms\": " << present * 1000 << ", \"state\": \""
            << nameOf(view->status().state) << "\"}\n";
  return first >= 0;
}

int measure(const LiveTarget& target, double seconds) {
  std::string error;
  Case hidden{Window::open({"hidden", 640, 480, true}, &error), nullptr};
  if (hidden.window == nullptr) return std::cerr << error << '\n', 1;
  hidden.view = LiveView::initWithFrame(hidden.window->contentView()->bounds());
  if (hidden.view == nullptr) return std::cerr << "no live view could be made\n", 1;
  hidden.window->contentView()->addSubview(hidden.view);
  hidden.view->connect(target);
  return hidden.hide(seconds) ? 0 : 1;
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) {
  if (argc != 5) return std::cerr << "usage: hidden_view HOST PORT DEVICE SECONDS\n", 2;
  quorvid::LiveTarget target;
  target.host = argv[1];
  target.port = std::atoi(argv[2]);  // NOLINT(cert-err34-c): 0 is refused
  target.device = argv[3];
  return quorvid::bench::measure(target, std::atof(argv[4]));  // NOLINT(cert-err34-c)
}
