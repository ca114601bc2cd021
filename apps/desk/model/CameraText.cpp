#include "apps/desk/model/CameraText.h"

#include <charconv>

namespace quorvid::desk {

std::string textOf(const Camera& camera) {
  return std::to_string(camera.channel) + "/" + camera.device;
}

std::optional<Camera> cameraOf(const std::string& text) {
  Camera camera;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, camera.channel);
  if (read.ec != std::errc() || read.ptr == end || *read.ptr != '/') return std::nullopt;
  camera.device.assign(read.ptr + 1, end);
  if (camera.device.empty() || camera.channel < 0 || camera.channel > 7) return std::nullopt;
  return camera;
}

}  // namespace quorvid::desk
