#include "apps/desk/devices/ServerCheck.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

constexpr std::size_t kLongestHost = 253;

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<int> portOf(const std::string& typed) {
  const std::string text = trimmed(typed);
  const char* const end = text.data() + text.size();
  int port = 0;
  const auto read = std::from_chars(text.data(), end, port);
  if (read.ec != std::errc() || read.ptr != end || port < 1 || port > 65535) return std::nullopt;
  return port;
}

bool isControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

std::string troubleWithHost(const std::string& host) {
  if (host.empty()) return tr("Type the address of the server: a name, or four numbers.");
  const auto isOdd = [](char c) { return isControl(c) || c == ' ' || c == '/' || c == ':'; };
  if (std::any_of(host.begin(), host.end(), isOdd)) {
    return tr("An address has no spaces, slashes or colons; the ports have entries of their own.");
  }
  return host.size() > kLongestHost ? tr("This address is too long.") : "";
}

std::string tooLong(const char* sentence, std::size_t most, std::size_t size) {
  return size > most ? trf(sentence, most, size) : "";
}

}  // namespace

std::size_t longestAccount(LivePath path) {
  return path == LivePath::Fleet ? 31 : 22;
}

std::size_t longestDevice(LivePath path) {
  return path == LivePath::Fleet ? 31 : 63;
}

ServerTrouble troubleWith(const ServerEntry& entry) {
  if (auto host = troubleWithHost(trimmed(entry.host)); !host.empty()) {
    return {ServerField::Host, std::move(host)};
  }
  if (!trimmed(entry.listPort).empty() && !portOf(entry.listPort)) {
    return {ServerField::ListPort,
            tr("The port of the device list is a number from 1 to 65535, or left empty.")};
  }
  if (!portOf(entry.videoPort)) {
    return {ServerField::VideoPort, tr("The port of the video is a number from 1 to 65535.")};
  }
  auto account = tooLong("The account has {} bytes at most on this path; this one has {}.",
                         longestAccount(entry.path), entry.account.size());
  if (!account.empty()) return {ServerField::Account, std::move(account)};
  auto password = tooLong("The password has {} bytes at most; this one has {}.", kLongestPassword,
                          entry.password.size());
  if (!password.empty()) return {ServerField::Password, std::move(password)};
  return {};
}

Server serverOf(const ServerEntry& entry) {
  Server server;
  server.name = trimmed(entry.name);
  server.host = trimmed(entry.host);
  server.listPort = portOf(entry.listPort).value_or(0);
  server.videoPort = portOf(entry.videoPort).value_or(0);
  server.path = entry.path;
  server.account = entry.account;
  server.cameras = std::clamp(entry.cameras, 1, 8);
  return server;
}

ServerEntry entryOf(const Server& server) {
  const auto text = [](int port) { return port == 0 ? std::string() : std::to_string(port); };
  ServerEntry entry;
  entry.name = server.name;
  entry.host = server.host;
  entry.listPort = text(server.listPort);
  entry.videoPort = text(server.videoPort);
  entry.path = server.path;
  entry.account = server.account;
  entry.cameras = server.cameras;
  return entry;
}

std::string troubleWithDevice(LivePath path, const std::string& id) {
  if (id.empty()) return tr("Type the identifier of the device.");
  if (std::any_of(id.begin(), id.end(), isControl) ||
      g_utf8_validate(id.c_str(), -1, nullptr) == 0) {
    return tr("This identifier has characters that can't be typed.");
  }
  return tooLong("An identifier has {} bytes at most on this path; this one has {}.",
                 longestDevice(path), id.size());
}

}  // namespace quorvid::desk
