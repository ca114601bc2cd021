// CameraText: a camera as a line of text, "2/BUS-7", channel and device: in the settings, and while
// it is dragged. Any thread.
#pragma once

#include <optional>
#include <string>

#include "apps/desk/model/Server.h"

namespace quorvid::desk {

std::string textOf(const Camera& camera);
// Nothing when it is none.
std::optional<Camera> cameraOf(const std::string& text);

}  // namespace quorvid::desk
