#include "gstreamer/Settings.h"

#include "apps/common/Failure.h"
#include "apps/common/PasswordFile.h"
#include "apps/common/Values.h"

namespace quorvid::gst {

quorvid_target Target::view() const {
  quorvid_target target = QUORVID_TARGET_INIT;
  target.path = path;
  target.host = host.c_str();
  target.port = port;
  target.channel = channel;
  target.device = device.c_str();
  target.account = account.c_str();
  target.password = password.c_str();
  return target;
}

Target targetOf(const Settings& settings) {
  if (settings.server.empty()) throw app::Failure("no server is given: set server=HOST:PORT");
  if (settings.device.empty()) throw app::Failure("no device is given: set device=ID");
  const app::Endpoint server = app::parseEndpoint(settings.server);
  Target target;
  target.host = server.host;
  target.port = server.port;
  target.path = settings.path;
  target.device = settings.device;
  target.channel = settings.channel;
  target.account = settings.account;
  target.password = app::readPassword(settings.passwordFile);
  return target;
}

}  // namespace quorvid::gst
