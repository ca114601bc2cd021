// Desk: what the panes share: the chosen server with its password, its devices, and who wants to
// hear of changes. Main thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/desk/model/Server.h"
#include "apps/desk/model/Settings.h"

namespace quorvid::desk {

// Functions that are called in turn. They outlive nobody: panes are made once and stay.
template <class... Arguments>
class Listeners {
 public:
  void add(std::function<void(Arguments...)> listener) { all_.push_back(std::move(listener)); }
  void tell(Arguments... arguments) const {
    for (const auto& listener : all_) listener(arguments...);
  }

 private:
  std::vector<std::function<void(Arguments...)>> all_;
};

class Desk {
 public:
  explicit Desk(Settings& settings) : settings_(settings) {}

  Settings& settings() { return settings_; }
  // The chosen server; for the simulator, with the ports that it has now. Nothing before one was
  // chosen.
  const std::optional<Server>& server() const { return server_; }
  const std::string& password() const { return password_; }
  // Shows that server from now on; remembered but for its password.
  void use(const Server& server, const std::string& password);
  // No server is shown.
  void leave();

  const std::vector<Device>& devices() const { return devices_; }
  const Device* device(const std::string& id) const;
  void setDevices(std::vector<Device> devices);

  // Says why the settings can't be written just now: once, until they can, or why changes.
  void tellTrouble();

  // What a view, player or recorder of this camera is to play.
  LiveTarget target(const Camera& camera) const;
  // "BUS-7, camera 2", with the device's name as far as it is known; channels count from 1 here.
  std::string titleOf(const Camera& camera) const;

  // "BUS-7 · 2", where there is little room.
  std::string shortTitleOf(const Camera& camera) const;

  Listeners<> serverChanged;
  Listeners<> devicesChanged;
  // A camera is to be shown in the next free tile of the wall; a device in as many as it has.
  Listeners<const Camera&> cameraWanted;
  Listeners<const Device&> deviceWanted;
  // A tile's camera is to be examined.
  Listeners<const Camera&> diagnosisWanted;
  // A sentence for the user, shown for a moment.
  Listeners<const std::string&> said;

 private:
  Settings& settings_;
  std::optional<Server> server_;
  std::string password_;
  std::vector<Device> devices_;
  std::string toldTrouble_;
};

}  // namespace quorvid::desk
