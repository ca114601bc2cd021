// What the viewer writes as PNG files: its window, and tiles in their streams' own shapes.
#include <utility>

#include "apps/common/Terminal.h"
#include "apps/quorvid/view/PngFile.h"
#include "apps/quorvid/view/Viewer.h"

namespace quorvid::app {

namespace {

bool writeTile(LivePicture picture, const std::string& fileName, std::string& error) {
  return writePng({picture.width, picture.height, std::move(picture.rgb)}, fileName, error);
}

}  // namespace

bool Viewer::saveSnapshot(const std::string& fileName, std::string& error) {
  WindowPicture picture;
  if (!window_->snapshot(picture)) {
    error = "can't read the picture back: the graphics context is lost";
    return false;
  }
  return writePng(picture, fileName, error);
}

bool Viewer::saveTiles(const std::string& folder, std::string& error) const {
  for (const auto& tile : wall_.tiles()) {
    const std::string name = folder + "/" + fileNameOf(tile->target()) + ".png";
    auto picture = tile->snapshot();
    if (picture && !writeTile(std::move(*picture), name, error)) return false;
  }
  return true;
}

void Viewer::savePicture() {
  const std::string name = freeSnapshotName();
  std::string error;
  const bool saved = saveSnapshot(name, error);
  note(saved ? "wrote " + name : error);
}

void Viewer::saveShownTiles() const {
  for (const auto& tile : wall_.tiles()) {
    if (!tile->isInWindow()) continue;
    const std::string name = freeSnapshotName("-" + fileNameOf(tile->target()));
    std::string error = "no picture of " + tile->name() + " yet";
    auto picture = tile->snapshot();
    const bool saved = picture && writeTile(std::move(*picture), name, error);
    note(saved ? "wrote " + name : error);
  }
}

}  // namespace quorvid::app
