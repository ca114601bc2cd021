#include "apps/desk/recording/Recordings.h"

namespace quorvid::desk {

void Recordings::begin(const Camera& camera) {
  (void)camera;
}

void Recordings::end(const Camera& camera) {
  (void)camera;
}

void Recordings::endAll() {}

std::optional<RecordingState> Recordings::stateOf(const Camera& camera) const {
  (void)camera;
  return std::nullopt;
}

std::vector<Camera> Recordings::underWay() const {
  return {};
}

void Recordings::saveSnapshot(const Camera& camera, LivePicture picture) {
  (void)camera;
  (void)picture;
}

}  // namespace quorvid::desk
