#include "apps/quorvid/view/Viewer.h"

#include <algorithm>
#include <utility>

#include "apps/common/Deadline.h"
#include "apps/common/Process.h"
#include "apps/common/Terminal.h"

namespace quorvid::app {

namespace {

constexpr UIColor kGapColor{0.15F, 0.15F, 0.15F};
constexpr char kEscape = 27;
constexpr int kFullScreenKey = 11;

LiveOptions liveOptionsOf(const ViewOptions& options) {
  LiveOptions live;
  live.stallAfter = options.stallAfter;
  live.shape = options.shape;
  live.greyWhenStill = true;
  return live;
}

// Before the window is opened, so that connections and window are made side by side. None when
// memory is out.
std::vector<AskedStream> askForAll(const ViewOptions& options) {
  std::vector<AskedStream> streams;
  for (const StreamTarget& target : options.targets) {
    std::optional<AskedStream> stream = askFor(target, liveOptionsOf(options));
    if (!stream) return {};
    streams.push_back(std::move(*stream));
  }
  return streams;
}

}  // namespace

std::unique_ptr<Viewer> Viewer::open(const ViewOptions& options, std::string& error) {
  std::vector<AskedStream> streams = askForAll(options);
  WindowOptions wanted;
  wanted.title = "Quorvid";
  wanted.width = options.size.width;
  wanted.height = options.size.height;
  wanted.headless = options.headless;
  std::unique_ptr<Window> window = Window::open(wanted, &error);
  if (!window) {
    error = "can't open a window: " + error;
    return nullptr;
  }
  std::unique_ptr<Viewer> viewer(new Viewer(options, std::move(window)));
  TileOptions tile;
  tile.live = liveOptionsOf(options);
  tile.text = options.text;
  tile.verbose = options.verbose;
  tile.named = options.targets.front().device != options.targets.back().device;
  if (streams.empty()) {
    error = "can't make a view: there is no memory";
    return nullptr;
  }
  if (viewer->wall_.addTiles(std::move(streams), tile)) return viewer;
  error = "can't make a view: no OpenGL ES 2 context";
  return nullptr;
}

Viewer::Viewer(const ViewOptions& options, std::unique_ptr<Window> window)
    : options_(options),
      window_(std::move(window)),
      wall_(window_->contentView()),
      keys_(window_->contentView()) {
  window_->contentView()->setBackgroundColor(kGapColor);
  window_->setEventHandler([this](const WindowEvent& event) { handle(event); });
}

Viewer::~Viewer() {
  window_->setEventHandler({});
}

void Viewer::run(const std::function<void()>& everySecond) {
  const double start = steadySeconds();
  double second = start + 1;
  while (!stopRequested() && window_->runTurn()) {
    const double now = steadySeconds();
    if (options_.seconds > 0 && now - start >= options_.seconds) break;
    wall_.look(now);
    showTitle(now);
    if (now < second) continue;
    second = std::max(second + 1, now);
    everySecond();
  }
}

std::vector<TileReport> Viewer::reports() const {
  return wall_.reports(steadySeconds());
}

void Viewer::handle(const WindowEvent& event) {
  switch (event.kind) {
    case WindowEventKind::Key:
      handleKey(event);
      break;
    case WindowEventKind::Click:
      if (event.clicks == 2) wall_.enlargeAt({event.x, event.y});
      break;
    case WindowEventKind::Resized:
      wall_.layOut();
      break;
    case WindowEventKind::Hidden:
    case WindowEventKind::Shown:
      wall_.setSeen(event.kind == WindowEventKind::Shown);
      break;
    case WindowEventKind::Close:
      break;
  }
  keys_.raise();
}

void Viewer::handleKey(const WindowEvent& event) {
  const char key = event.key;
  if (key == 'q') {
    window_->close();
  } else if (key == 'f' || event.functionKey == kFullScreenKey) {
    window_->setFullScreen(!window_->isFullScreen());
  } else if (key == kEscape) {
    leave();
  } else if (key == 'r') {
    wall_.restart();
  } else if (key == 's') {
    savePicture();
  } else if (key == 't') {
    saveShownTiles();
  } else if (key == ' ') {
    wall_.pauseOrPlay();
  } else if (key == 'h' || key == '?') {
    toggleKeys();
  } else if (key >= '1' && key <= '9') {
    wall_.enlarge(static_cast<std::size_t>(key - '1'));
  }
}

// What came last, by what lies on top.
void Viewer::leave() {
  if (keys_.isShown()) return keys_.hide();
  if (!wall_.giveBack() && window_->isFullScreen()) window_->setFullScreen(false);
}

void Viewer::toggleKeys() {
  if (keys_.isShown()) return keys_.hide();
  note(keysSentence());
  keys_.show();
}

void Viewer::showTitle(double now) {
  const std::string title = wall_.title(now);
  if (title == title_) return;
  title_ = title;
  window_->setTitle(title_);
}

}  // namespace quorvid::app
