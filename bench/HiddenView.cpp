// hidden_view HOST PORT DEVICE SECONDS: hides a live view for so long, and tells as one JSON object
// what was decoded meanwhile and how long it took after that until what was kept was decoded, until
// a picture stood, and the present one (lag below 100 ms). Without a display; what stands does so
// at a turn's end, 60 turns a second.
#include <poll.h>

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
  double turnUntilShown(const LiveFigures& hidden) const;
};

// Until a picture stands, at the pace of the view's descriptor. Returns the seconds until the last
// of what was kept was decoded; below 0: no picture came.
double Case::turnUntilShown(const LiveFigures& hidden) const {
  const auto start = Clock::now();
  double decoded = 0;
  std::uint64_t count = hidden.decoded;
  for (LiveFigures now = hidden; now.shown == hidden.shown; now = view->figures()) {
    if (secondsSince(start) > kMostWait) return -1;
    if (now.decoded > count && now.converted == hidden.converted) decoded = secondsSince(start);
    count = now.decoded;
    pollfd ready{view->descriptor(), POLLIN, 0};
    if (poll(&ready, 1, 1) == 1 && !window->runTurn()) return -1;
  }
  return decoded;
}

bool Case::hide(double seconds) const {
  constexpr std::uint64_t kSettled = 50;
  if (turnUntil([&] { return view->figures().shown > kSettled; }) < 0) return false;
  view->setVisible(false);
  const LiveFigures before = view->figures();
  const auto start = Clock::now();
  turnUntil([&] { return secondsSince(start) >= seconds; });
  const LiveFigures hidden = view->figures();
  view->setVisible(true);
  const auto shown = Clock::now();
  const double kept = turnUntilShown(hidden);
  const double first = kept < 0 ? -1 : secondsSince(shown);
  const std::uint64_t group = view->figures().decoded - hidden.decoded;
  const double lag = view->figures().lag;
  const double present = first + turnUntil([&] { return view->figures().lag < kPresent; });
  const LiveFigures after = view->figures();
  std::cout << "{\"hidden_seconds\": " << seconds
            << ", \"received\": " << hidden.received - before.received
            << ", \"decoded_hidden\": " << hidden.decoded - before.decoded
            << ", \"decoded_after\": " << after.decoded - hidden.decoded
            << ", \"decoded_until_first_picture\": " << group
            << ", \"they_were_decoded_after_ms\": " << kept * 1000
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
