// picture_proof: shows that every picture a live view shows is whole and of now, while its host is
// treated badly. Plays a simulator started with --live (and the same --fps, --seconds, device) and
// prints one JSON object. scripts/proof.sh runs it in the cases that matter.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <sstream>
#include <thread>

#include "ProofReport.h"
#include "Watched.h"
#include "quorvid/view/RunLoop.h"

namespace quorvid::bench {
namespace {

constexpr double kMostPatience = 60;  // seconds for the first picture

double now() {
  const auto time = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(time).count();
}
void sleepFor(double time) {
  std::this_thread::sleep_for(std::chrono::duration<double>(time));
}

// "LENGTH:OTHER" in seconds: a stall of that length every OTHER, or hidden for LENGTH after OTHER.
struct Span {
  double length = 0, other = 0;
};

struct Options {
  std::string server, path = "fleet", from = "view";
  SourceSettings source{.device = "TRUCK-7"};
  int channel = 0;
  double duration = 60, fps = 25, turns = 0;
  Span stall, hide;
  int width = 640, height = 480;
  bool churn = false, secondThread = false, trace = false;
};

LiveTarget targetOf(const Options& options, int channel) {
  LiveTarget target;
  const std::size_t colon = options.server.rfind(':');
  target.path = options.path == "car" ? LivePath::Car : LivePath::Fleet;
  target.host = options.server.substr(0, colon);
  target.port = std::stoi(options.server.substr(colon + 1));
  target.device = options.source.device;
  target.channel = channel;
  return target;
}

class Proof {
 public:
  explicit Proof(const Options& options) : options_(options), check_(options.source) {}
  int run();

 private:
  void playAll(Window& window);
  void treatBadly(double played);
  void churn(UIView& content, double played);
  void playOnOtherThread(const std::atomic<bool>& ends);

  const Options options_;
  SourceCheck check_;
  std::unique_ptr<Watched> main_;
  std::vector<std::unique_ptr<Watched>> others_;
  ProofResult result_;
  double stalled_ = 0, churned_ = 0;
};

long threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

// Its two threads end by themselves.
double secondsToStop(LiveView& view) {
  const long before = threads();
  const double start = now();
  view.stop();
  while (threads() > before - 2 && now() - start < kMostPatience) sleepFor(0.001);
  return now() - start;
}

int Proof::run() {
  std::string error;
  const auto window = Window::open({"Proof", options_.width, options_.height, true}, &error);
  if (!window) return std::cerr << error << '\n', 1;
  main_ = std::make_unique<Watched>(window->contentView()->bounds(),
                                    targetOf(options_, options_.channel), check_);
  if (main_->view == nullptr) return std::cerr << "no live view could be made\n", 1;
  window->contentView()->addSubview(main_->view);
  std::atomic<bool> ends{false};
  std::thread other;
  if (options_.secondThread) other = std::thread([&] { playOnOtherThread(ends); });
  playAll(*window);
  ends = true;
  if (other.joinable()) other.join();
  result_.figures = main_->view->figures();
  result_.state = main_->view->status().state;
  if (result_.figures.shown > 0) result_.stopping = secondsToStop(*main_->view);
  result_.pictures = check_.finish();
  for (const CheckedPicture& p : result_.pictures) {
    if (!options_.trace) break;
    std::cerr << p.view << ' ' << p.time << " number " << p.number << " age " << p.age << " dB "
              << p.decibels << " cell " << p.worstCell << '\n';
  }
  const auto json = reportOf(result_);
  std::cout << json.dump() << '\n';
  return json["below 30 dB"] == 0 && json["unreadable"] == 0 && json["out of order"] == 0 ? 0 : 1;
}

void Proof::playAll(Window& window) {
  double turned = now(), start = turned + kMostPatience;
  while (now() - start < options_.duration && window.runTurn()) {
    const double paused = now() - turned;
    turned = now();
    if (paused > std::max(0.5, 1.5 * options_.turns)) {
      result_.pauses.push_back({"stopped", paused, unixSeconds()});
    }
    main_->look(options_.from == "window" ? &window : nullptr);
    if (turned < start && main_->view->figures().shown > 0) start = turned;
    for (const auto& other : others_) other->look(nullptr);
    if (turned >= start) treatBadly(turned - start);
    if (options_.churn && turned >= start) churn(*window.contentView(), turned - start);
    if (options_.turns > 0) sleepFor(options_.turns);
  }
}

void Proof::treatBadly(double played) {
  if (options_.stall.length > 0 && played - stalled_ > options_.stall.other) {
    sleepFor(options_.stall.length);
    stalled_ = played;
  }
  if (options_.hide.length <= 0) return;
  const bool isVisible =
      played < options_.hide.other || played > options_.hide.other + options_.hide.length;
  if (isVisible == main_->view->isVisible()) return;
  const std::uint64_t shown = main_->view->figures().shown;
  result_.shownHidden = isVisible ? shown - result_.shownHidden : shown;
  main_->view->setVisible(isVisible);
  if (isVisible) {
    result_.pauses.push_back({"hidden", options_.hide.length, unixSeconds()});
  }
}

// Two more views of the next channel come and go, each for a second.
void Proof::churn(UIView& content, double played) {
  if (played - churned_ < 0.5) return;
  churned_ = played;
  if (others_.size() == 2) {
    others_.front()->view->removeFromSuperview();
    others_.erase(others_.begin());
  }
  auto made = std::make_unique<Watched>(CGRectMake(0, 0, 64, 48),
                                        targetOf(options_, options_.channel + 1), check_);
  if (made->view == nullptr) return;
  content.addSubview(made->view);
  others_.push_back(std::move(made));
}

void Proof::playOnOtherThread(const std::atomic<bool>& ends) {
  Watched watched(CGRectMake(0, 0, 640, 480), targetOf(options_, options_.channel), check_);
  while (watched.view != nullptr && !ends) {
    RunLoop::currentRunLoop()->refreshAt(std::chrono::steady_clock::now());
    watched.look(nullptr);
    sleepFor(0.005);
  }
}

Span spanOf(const std::string& text) {
  Span span;
  char colon = 0;
  std::istringstream in(text);
  in >> span.length >> colon >> span.other;
  if (!in || colon != ':') throw CLI::ValidationError(text + " is not of the form LENGTH:OTHER");
  return span;
}

}  // namespace
}  // namespace quorvid::bench

int main(int argc, char** argv) try {
  using namespace quorvid::bench;
  Options options;
  CLI::App app("Compares each picture that a live view shows with its source.", "picture_proof");
  app.add_option("server", options.server, "HOST:PORT of a quorvid-sim --live")->required();
  app.add_option("--path", options.path, "fleet or car (fleet)")
      ->check(CLI::IsMember({"fleet", "car"}));
  app.add_option("--device", options.source.device, "Device (TRUCK-7)");
  app.add_option("--channel", options.channel, "Channel (0)");
  app.add_option("--fps", options.fps, "The simulator's (25)");
  app.add_option("--seconds", options.source.loopSeconds, "The simulator's (4)");
  app.add_option("--duration", options.duration, "Seconds to play from the first picture on (60)");
  app.add_option("--width", options.width, "Of the window (640)");
  app.add_option("--height", options.height, "Of the window (480)");
  app.add_option("--from", options.from, "Where pictures are read: view or window (view)")
      ->check(CLI::IsMember({"view", "window"}));
  app.add_option("--turns", options.turns, "Seconds to sleep after each turn of the loop (0)");
  app.add_option_function<std::string>(
      "--stall", [&](const std::string& text) { options.stall = spanOf(text); },
      "LENGTH:EVERY: the main thread stands still that long, that often; seconds");
  app.add_option_function<std::string>(
      "--hide", [&](const std::string& text) { options.hide = spanOf(text); },
      "LENGTH:AFTER: the view is hidden that long, after that time; seconds");
  app.add_flag("--churn", options.churn, "Other views are made and let go all the time");
  app.add_flag("--second-thread", options.secondThread, "A second thread plays another view");
  app.add_flag("--trace", options.trace, "A line for each picture on standard error");
  CLI11_PARSE(app, argc, argv);
  options.source.rate = av_d2q(options.fps, 1001000);
  return Proof(options).run();
} catch (const std::exception& error) {
  std::cerr << "picture_proof: " << error.what() << '\n';
  return 1;
}
