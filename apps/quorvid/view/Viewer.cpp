#include "apps/quorvid/view/Viewer.h"

#include <algorithm>

#include "apps/common/Deadline.h"
#include "apps/common/Process.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/view/PngFile.h"
#include "apps/quorvid/view/TileGrid.h"

namespace quorvid::app {

namespace {

constexpr UIColor kGapColor{0.15F, 0.15F, 0.15F};
constexpr char kEscape = 27;

}  // namespace

std::unique_ptr<Viewer> Viewer::open(const ViewOptions& options, std::string& error) {
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
  return viewer->addTiles(error) ? std::move(viewer) : nullptr;
}

Viewer::Viewer(const ViewOptions& options, std::unique_ptr<Window> window)
    : options_(options), window_(std::move(window)) {
  window_->contentView()->setBackgroundColor(kGapColor);
  window_->setEventHandler([this](const WindowEvent& event) { handle(event); });
}

Viewer::~Viewer() {
  window_->setEventHandler({});
  tiles_.clear();
}

bool Viewer::addTiles(std::string& error) {
  UIView& content = *window_->contentView();
  TileOptions options;
  options.live.stallAfter = options_.stallAfter;
  options.live.shape = options_.shape;
  options.live.greyWhenStill = true;
  options.text = options_.text;
  options.verbose = options_.verbose;
  const std::vector<CGRect> frames = tileFrames(content.bounds().size, options_.channels.size());
  for (std::size_t i = 0; i < frames.size(); ++i) {
    StreamTarget target = options_.target;
    target.channel = options_.channels[i];
    tiles_.push_back(Tile::make(target, content, frames[i], options));
    if (!tiles_.back()) {
      tiles_.clear();
      error = "can't make a view: no OpenGL ES 2 context";
      return false;
    }
  }
  return true;
}

void Viewer::run(const std::function<void()>& everySecond) {
  const double start = steadySeconds();
  double second = start + 1;
  for (const auto& tile : tiles_) {
    tile->play();
  }
  while (!stopRequested() && window_->runTurn()) {
    const double now = steadySeconds();
    if (options_.seconds > 0 && now - start >= options_.seconds) break;
    for (const auto& tile : tiles_) {
      tile->look(now);
    }
    showTitle(now);
    if (now < second) continue;
    second = std::max(second + 1, now);
    everySecond();
  }
}

std::vector<TileReport> Viewer::reports() const {
  const double now = steadySeconds();
  std::vector<TileReport> reports;
  for (const auto& tile : tiles_) {
    reports.push_back(tile->report(now));
  }
  return reports;
}

void Viewer::handle(const WindowEvent& event) {
  if (event.kind == WindowEventKind::Key) {
    handleKey(event.key);
  } else if (event.kind == WindowEventKind::Resized) {
    layOut();
  }
}

void Viewer::handleKey(char key) {
  if (key == 'q') {
    window_->close();
  } else if (key == 'f' || (key == kEscape && window_->isFullScreen())) {
    window_->setFullScreen(!window_->isFullScreen());
  } else if (key == 'r') {
    for (const auto& tile : tiles_) {
      tile->restart();
    }
  } else if (key == 's') {
    savePicture();
  } else if (key == ' ') {
    pauseOrPlay();
  } else if (key == 'h' || key == '?' || key == '/') {
    note(kKeys);
  } else if (key >= '1' && key <= '9') {
    choose(static_cast<std::size_t>(key - '1'));
  }
}

// The tile gets the window to itself, or gives it back.
void Viewer::choose(std::size_t tile) {
  if (tile >= tiles_.size()) return;
  const bool isBack = chosen_ == tile;
  chosen_.reset();
  if (!isBack) chosen_ = tile;
  for (std::size_t i = 0; i < tiles_.size(); ++i) {
    tiles_[i]->setVisible(isBack || i == tile);
  }
  layOut();
}

void Viewer::pauseOrPlay() {
  const bool playing =
      std::any_of(tiles_.begin(), tiles_.end(), [](const auto& tile) { return tile->isPlaying(); });
  for (const auto& tile : tiles_) {
    if (playing) {
      tile->pause();
    } else {
      tile->play();
    }
  }
}

void Viewer::savePicture() {
  const std::string name = freeSnapshotName();
  std::string error;
  const bool saved = saveSnapshot(name, error);
  note(saved ? "wrote " + name : error);
}

void Viewer::layOut() {
  const CGSize area = window_->contentView()->bounds().size;
  const std::vector<CGRect> frames = tileFrames(area, tiles_.size());
  for (std::size_t i = 0; i < tiles_.size(); ++i) {
    tiles_[i]->setFrame(chosen_ == i ? CGRect{{0, 0}, area} : frames[i]);
  }
}

// Device and channels, and for how long a stalled one has been silent, in whole seconds.
void Viewer::showTitle(double now) {
  std::string title = "Quorvid: " + options_.target.device;
  for (const auto& tile : tiles_) {
    title += ", channel " + std::to_string(tile->target().channel);
    if (tile->isStalled()) {
      title += " STALLED for " + std::to_string(static_cast<int>(tile->silence(now))) + " s";
    }
  }
  if (title != title_) {
    title_ = title;
    window_->setTitle(title_);
  }
}

bool Viewer::saveSnapshot(const std::string& fileName, std::string& error) {
  WindowPicture picture;
  if (!window_->snapshot(picture)) {
    error = "can't read the picture back: the graphics context is lost";
    return false;
  }
  return writePng(picture, fileName, error);
}

}  // namespace quorvid::app
