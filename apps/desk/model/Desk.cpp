#include "apps/desk/model/Desk.h"

#include <algorithm>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

void Desk::use(const Server& server, const std::string& password) {
  server_ = server;
  password_ = password;
  devices_.clear();
  settings_.chooseServer(server.id);
  tellTrouble();
  serverChanged.tell();
  devicesChanged.tell();
}

void Desk::leave() {
  server_.reset();
  password_.clear();
  devices_.clear();
  serverChanged.tell();
  devicesChanged.tell();
}

const Device* Desk::device(const std::string& id) const {
  const auto found = std::find_if(devices_.begin(), devices_.end(),
                                  [&](const Device& device) { return device.id == id; });
  return found == devices_.end() ? nullptr : &*found;
}

void Desk::setDevices(std::vector<Device> devices) {
  devices_ = std::move(devices);
  devicesChanged.tell();
}

void Desk::tellTrouble() {
  if (settings_.trouble() == toldTrouble_) return;
  toldTrouble_ = settings_.trouble();
  if (!toldTrouble_.empty()) said.tell(toldTrouble_);
}

LiveTarget Desk::target(const Camera& camera) const {
  LiveTarget target;
  if (!server_) return target;
  target.path = server_->path;
  target.host = server_->host;
  target.port = server_->videoPort;
  target.account = server_->account;
  target.password = password_;
  target.device = camera.device;
  target.channel = camera.channel;
  return target;
}

std::string Desk::titleOf(const Camera& camera) const {
  const Device* const known = device(camera.device);
  return trf("{}, camera {}", known == nullptr ? camera.device : known->name, camera.channel + 1);
}

std::string Desk::shortTitleOf(const Camera& camera) const {
  const Device* const known = device(camera.device);
  return fmt::format("{} · {}", known == nullptr ? camera.device : known->name, camera.channel + 1);
}

}  // namespace quorvid::desk
