// picture_proof: shows that every picture a live view shows is whole and of now, while its host is
// treated badly. Plays a simulator started with --live (and the same --fps, --seconds, device) and
// prints one JSON object. scripts/proof.sh runs it in the cases that matter.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "SourceCheck.h"
#include "quorvid/live/LiveView.h"
#include "quorvid/view/RunLoop.h"
#include "quorvid/view/Window.h"

namespace quorvid::bench {
namespace {

constexpr double kLeastDecibels = 30;
constexpr double kMostAge = 0.2;      // seconds by which a picture of now may be late
constexpr double kMostPatience = 60;  // seconds for the first picture

double seconds(auto clockTime) {
  return std::chrono::duration<double>(clockTime.time_since_epoch()).count();
}
double now() {
  return seconds(std::chrono::steady_clock::now());
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

// A view, and what it showed so far.
class Watched {
 public:
  Watched(CGRect frame, const Options& options, int channel, SourceCheck& check)
      : view(LiveView::initWithFrame(frame)), check_(check), channel_(channel) {
    static std::atomic<int> views{0};
    number_ = views++;
    if (view != nullptr) view->connect(targetOf(options, channel));
  }

  // After a turn. window: pictures are read from there, where it is not null.
  void look(Window* window) {
    const LiveFigures figures = view->figures();
    if (figures.shown == shown_) return;
    shown_ = figures.shown;
    ShownPicture picture;
    picture.view = number_;
    picture.channel = channel_;
    picture.time = seconds(std::chrono::system_clock::now());
    picture.streamWidth = figures.streamWidth;
    picture.streamHeight = figures.streamHeight;
    picture.shape = figures.shape;
    if (window != nullptr) {
      WindowPicture read;
      if (!window->snapshot(read)) return;
      picture.width = read.width;
      picture.height = read.height;
      picture.rgb = std::move(read.rgb);
    } else {
      auto read = view->snapshot();
      if (!read) return;
      picture.width = read->width;
      picture.height = read->height;
      picture.rgb = std::move(read->rgb);
    }
    check_.add(std::move(picture));
  }

  std::shared_ptr<LiveView> view;

 private:
  SourceCheck& check_;
  int channel_;
  int number_ = 0;
  std::uint64_t shown_ = 0;
};

// What kept the loop from turning, or the view from being seen.
struct Pause {
  std::string kind;
  double length = 0, end = 0;  // end: Unix time
};

class Proof {
 public:
  explicit Proof(const Options& options) : options_(options), check_(options.source) {}
  int run();

 private:
  void playAll(Window& window);
  void treatBadly(double played);
  void churn(UIView& content, double played);
  void playOnOtherThread(const std::atomic<bool>& ends);
  nlohmann::ordered_json report(const std::vector<CheckedPicture>& pictures) const;
  nlohmann::ordered_json reportPauses(const std::vector<CheckedPicture>& pictures) const;
  nlohmann::ordered_json reportSizes(const std::vector<CheckedPicture>& pictures) const;

  const Options options_;
  SourceCheck check_;
  std::unique_ptr<Watched> main_;
  std::vector<std::unique_ptr<Watched>> others_;
  std::vector<Pause> pauses_;
  LiveFigures figures_;
  double stalled_ = 0, churned_ = 0;
  std::uint64_t shownHidden_ = 0;
};

int Proof::run() {
  std::string error;
  const auto window = Window::open({"Proof", options_.width, options_.height, true}, &error);
  if (!window) return std::cerr << error << '\n', 1;
  main_ = std::make_unique<Watched>(window->contentView()->bounds(), options_, options_.channel,
                                    check_);
  if (main_->view == nullptr) return std::cerr << "no live view could be made\n", 1;
  window->contentView()->addSubview(main_->view);
  std::atomic<bool> ends{false};
  std::thread other;
  if (options_.secondThread) other = std::thread([&] { playOnOtherThread(ends); });
  playAll(*window);
  ends = true;
  if (other.joinable()) other.join();
  figures_ = main_->view->figures();
  const auto pictures = check_.finish();
  if (options_.trace) {
    for (const CheckedPicture& p : pictures) {
      std::cerr << p.view << ' ' << p.time << " number " << p.number << " age " << p.age << " dB "
                << p.decibels << " cell " << p.worstCell << '\n';
    }
  }
  const auto json = report(pictures);
  std::cout << json.dump() << '\n';
  return json["below 30 dB"] == 0 && json["unreadable"] == 0 && json["out of order"] == 0 ? 0 : 1;
}

void Proof::playAll(Window& window) {
  double turned = now(), start = turned + kMostPatience;
  while (now() - start < options_.duration && window.runTurn()) {
    const double paused = now() - turned;
    turned = now();
    if (paused > std::max(0.5, 1.5 * options_.turns)) {
      pauses_.push_back({"stopped", paused, seconds(std::chrono::system_clock::now())});
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
  shownHidden_ = isVisible ? shown - shownHidden_ : shown;
  main_->view->setVisible(isVisible);
  if (isVisible) {
    pauses_.push_back({"hidden", options_.hide.length, seconds(std::chrono::system_clock::now())});
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
  auto made =
      std::make_unique<Watched>(CGRectMake(0, 0, 64, 48), options_, options_.channel + 1, check_);
  if (made->view == nullptr) return;
  content.addSubview(made->view);
  others_.push_back(std::move(made));
}

void Proof::playOnOtherThread(const std::atomic<bool>& ends) {
  Watched watched(CGRectMake(0, 0, 640, 480), options_, options_.channel, check_);
  while (watched.view != nullptr && !ends) {
    RunLoop::currentRunLoop()->refreshAt(std::chrono::steady_clock::now());
    watched.look(nullptr);
    sleepFor(0.005);
  }
}

double median(std::vector<double> values) {
  if (values.empty()) return -1;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

nlohmann::ordered_json Proof::report(const std::vector<CheckedPicture>& pictures) const {
  nlohmann::ordered_json json;
  double worst = 100, worstCell = 100;
  long below = 0, unreadable = 0, disorder = 0;
  std::vector<double> ages;
  for (const CheckedPicture& picture : pictures) {
    if (picture.number < 0) {
      ++unreadable;
      continue;
    }
    worst = std::min(worst, picture.decibels);
    worstCell = std::min(worstCell, picture.worstCell);
    below += picture.decibels < kLeastDecibels ? 1 : 0;
    disorder += picture.isInOrder ? 0 : 1;
    if (picture.view == 0) ages.push_back(picture.age);
  }
  json["compared"] = pictures.size();
  json["worst dB"] = worst;
  json["worst cell dB"] = worstCell;
  json["below 30 dB"] = below;
  json["unreadable"] = unreadable;
  json["out of order"] = disorder;
  json["median age"] = median(ages);
  json["pauses"] = reportPauses(pictures);
  json["sizes"] = reportSizes(pictures);
  json["shown while hidden"] = shownHidden_;
  json["state"] = nameOf(main_->view->status().state);
  for (const auto& [name, value] : {std::pair{"received", figures_.received},
                                    {"decoded", figures_.decoded},
                                    {"shown", figures_.shown},
                                    {"overwritten", figures_.overwritten},
                                    {"held", figures_.held},
                                    {"lost", figures_.lost},
                                    {"reconnections", figures_.reconnections},
                                    {"restarts", figures_.restarts}}) {
    json[name] = value;
  }
  json["first picture"] = figures_.firstPicture;
  json["longest pause"] = figures_.longestPause;
  return json;
}

// For each pause: from its end to the first picture shown, and to the first one that is of now.
nlohmann::ordered_json Proof::reportPauses(const std::vector<CheckedPicture>& pictures) const {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  const auto first = std::find_if(pictures.begin(), pictures.end(),
                                  [](const CheckedPicture& picture) { return picture.view == 0; });
  for (const Pause& pause : pauses_) {
    if (first == pictures.end() || pause.end < first->time) continue;
    nlohmann::ordered_json json{{"kind", pause.kind}, {"length", pause.length}};
    for (const CheckedPicture& picture : pictures) {
      if (picture.view != 0 || picture.time < pause.end || picture.number < 0) continue;
      if (!json.contains("to a picture")) {
        json["to a picture"] = picture.time - pause.end;
        json["its age"] = picture.age;
        json["its number"] = picture.number;
      }
      if (picture.age > kMostAge) continue;
      json["to one of now"] = picture.time - pause.end;
      break;
    }
    list.push_back(json);
  }
  return list;
}

// The first picture of each size in a row.
nlohmann::ordered_json Proof::reportSizes(const std::vector<CheckedPicture>& pictures) const {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  const CheckedPicture* last = nullptr;
  for (const CheckedPicture& picture : pictures) {
    if (picture.view != 0 || picture.number < 0) continue;
    if (last == nullptr || last->streamWidth != picture.streamWidth ||
        last->streamHeight != picture.streamHeight) {
      const std::string size =
          std::to_string(picture.streamWidth) + "x" + std::to_string(picture.streamHeight);
      list.push_back({{"size", size},
                      {"first number", picture.number},
                      {"its age", picture.age},
                      {"after", last != nullptr ? picture.time - last->time : 0}});
    }
    last = &picture;
  }
  return list;
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

int main(int argc, char** argv) {
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
}
