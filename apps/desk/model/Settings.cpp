#include "apps/desk/model/Settings.h"

#include <glib.h>
#include <glib/gstdio.h>
#include <unistd.h>

#include <cerrno>

#include "apps/desk/model/CameraText.h"
#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

//   [program]            server=ID  folder=...  minutes=10
//   [server ID]          name  host  list-port  video-port  path  account  cameras  simulator typed
//   [layout ID]          columns  tiles=2/BUS-7;;0/TRUCK-1       the last one; channel/device
//   [layout ID NAME]     the same, by name
constexpr const char* kProgram = "program";
constexpr const char* kPaths[] = {"fleet", "car", "relay"};
constexpr std::size_t kMostTiles = 256;

std::string serverGroup(const std::string& id) {
  return "server " + id;
}

std::string layoutGroup(const std::string& id, const std::string& name) {
  return "layout " + id + (name.empty() ? "" : " " + name);
}

std::vector<std::string> listOf(GKeyFile* keys, const std::string& group, const char* key) {
  std::vector<std::string> list;
  char** const texts = g_key_file_get_string_list(keys, group.c_str(), key, nullptr, nullptr);
  for (char** text = texts; text != nullptr && *text != nullptr; ++text) list.emplace_back(*text);
  g_strfreev(texts);
  return list;
}

void setList(GKeyFile* keys, const std::string& group, const char* key,
             const std::vector<std::string>& list) {
  std::vector<const char*> texts;
  texts.reserve(list.size());
  for (const std::string& text : list) texts.push_back(text.c_str());
  g_key_file_set_string_list(keys, group.c_str(), key, texts.data(), texts.size());
}

// Those that begin with it, without it.
std::vector<std::string> groupsBehind(GKeyFile* keys, const std::string& beginning) {
  std::vector<std::string> names;
  char** const groups = g_key_file_get_groups(keys, nullptr);
  for (char** group = groups; *group != nullptr; ++group) {
    const std::string name = *group;
    if (name.starts_with(beginning)) names.push_back(name.substr(beginning.size()));
  }
  g_strfreev(groups);
  return names;
}

}  // namespace

Settings::Settings(const std::string& file)
    : file_(file.empty()
                ? taken(g_build_filename(g_get_user_config_dir(), "quorvid", "desk.ini", nullptr))
                : file),
      keys_(g_key_file_new(), g_key_file_unref) {
  GError* failed = nullptr;
  if (g_key_file_load_from_file(keys_.get(), file_.c_str(), G_KEY_FILE_NONE, &failed) != 0) return;
  const ErrorPtr error(failed);
  if (g_error_matches(failed, G_FILE_ERROR, G_FILE_ERROR_NOENT) != 0) return;
  trouble_ = trf("{} can't be read: {}", file_, failed->message);
  if (g_file_test(file_.c_str(), G_FILE_TEST_IS_DIR) != 0) return;
  g_rename(file_.c_str(), (file_ + ".unread").c_str());
}

Settings::~Settings() = default;

std::string Settings::text(const std::string& group, const char* key) const {
  return taken(g_key_file_get_string(keys_.get(), group.c_str(), key, nullptr));
}

int Settings::number(const std::string& group, const char* key, int least, int most,
                     int otherwise) const {
  GError* failed = nullptr;
  const int value = g_key_file_get_integer(keys_.get(), group.c_str(), key, &failed);
  if (failed == nullptr) return value < least || value > most ? otherwise : value;
  g_error_free(failed);
  return otherwise;
}

std::vector<Server> Settings::servers() const {
  std::vector<Server> list;
  for (const std::string& id : groupsBehind(keys_.get(), "server ")) {
    if (auto one = server(id)) list.push_back(std::move(*one));
  }
  return list;
}

std::optional<Server> Settings::server(const std::string& id) const {
  const std::string group = serverGroup(id);
  if (g_key_file_has_group(keys_.get(), group.c_str()) == 0) return std::nullopt;
  Server server;
  server.id = id;
  server.name = text(group, "name");
  server.host = text(group, "host");
  server.listPort = number(group, "list-port", 0, 65535, 0);
  server.videoPort = number(group, "video-port", 0, 65535, 0);
  const std::string path = text(group, "path");
  for (int i = 0; i < 3; ++i) {
    if (path == kPaths[i]) server.path = static_cast<LivePath>(i);
  }
  server.account = text(group, "account");
  server.cameras = number(group, "cameras", 1, 8, 4);
  server.isSimulator =
      g_key_file_get_boolean(keys_.get(), group.c_str(), "simulator", nullptr) != 0;
  return server;
}

std::string Settings::keepServer(Server server) {
  if (server.id.empty()) server.id = taken(g_uuid_string_random());
  GKeyFile* const keys = keys_.get();
  const std::string name = serverGroup(server.id);
  const char* const group = name.c_str();
  g_key_file_set_string(keys, group, "name", server.name.c_str());
  g_key_file_set_string(keys, group, "host", server.host.c_str());
  g_key_file_set_integer(keys, group, "list-port", server.listPort);
  g_key_file_set_integer(keys, group, "video-port", server.videoPort);
  g_key_file_set_string(keys, group, "path", kPaths[static_cast<int>(server.path)]);
  g_key_file_set_string(keys, group, "account", server.account.c_str());
  g_key_file_set_integer(keys, group, "cameras", server.cameras);
  g_key_file_set_boolean(keys, group, "simulator", server.isSimulator ? TRUE : FALSE);
  save();
  return server.id;
}

void Settings::dropServer(const std::string& id) {
  for (const std::string& name : layoutNames(id)) {
    g_key_file_remove_group(keys_.get(), layoutGroup(id, name).c_str(), nullptr);
  }
  g_key_file_remove_group(keys_.get(), layoutGroup(id, kLast).c_str(), nullptr);
  g_key_file_remove_group(keys_.get(), serverGroup(id).c_str(), nullptr);
  save();
}

std::string Settings::chosenServer() const {
  return text(kProgram, "server");
}

void Settings::chooseServer(const std::string& id) {
  g_key_file_set_string(keys_.get(), kProgram, "server", id.c_str());
  save();
}

std::vector<std::string> Settings::typedDevices(const std::string& server) const {
  return listOf(keys_.get(), serverGroup(server), "typed");
}

void Settings::keepTypedDevices(const std::string& server,
                                const std::vector<std::string>& devices) {
  setList(keys_.get(), serverGroup(server), "typed", devices);
  save();
}

std::vector<std::string> Settings::layoutNames(const std::string& server) const {
  return groupsBehind(keys_.get(), layoutGroup(server, kLast) + " ");
}

std::optional<Layout> Settings::layout(const std::string& server, const std::string& name) const {
  const std::string group = layoutGroup(server, name);
  if (g_key_file_has_group(keys_.get(), group.c_str()) == 0) return std::nullopt;
  Layout layout;
  layout.columns = number(group, "columns", 1, Layout::kMostColumns, 2);
  for (const std::string& tile : listOf(keys_.get(), group, "tiles")) {
    if (layout.tiles.size() < kMostTiles) layout.tiles.push_back(cameraOf(tile));
  }
  return layout;
}

void Settings::keepLayout(const std::string& server, const std::string& name,
                          const Layout& layout) {
  const std::string group = layoutGroup(server, name);
  g_key_file_set_integer(keys_.get(), group.c_str(), "columns", layout.columns);
  std::vector<std::string> tiles;
  for (const auto& tile : layout.tiles) tiles.push_back(tile ? textOf(*tile) : "");
  setList(keys_.get(), group, "tiles", tiles);
  save();
}

void Settings::dropLayout(const std::string& server, const std::string& name) {
  g_key_file_remove_group(keys_.get(), layoutGroup(server, name).c_str(), nullptr);
  save();
}

RecordingOptions Settings::recording() const {
  RecordingOptions options;
  options.folder = text(kProgram, "folder");
  if (options.folder.empty()) {
    const char* const videos = g_get_user_special_dir(G_USER_DIRECTORY_VIDEOS);
    options.folder =
        videos != nullptr ? videos : taken(g_build_filename(g_get_home_dir(), "Videos", nullptr));
  }
  options.minutes = number(kProgram, "minutes", 0, 24 * 60, options.minutes);
  return options;
}

void Settings::keepRecording(const RecordingOptions& options) {
  g_key_file_set_string(keys_.get(), kProgram, "folder", options.folder.c_str());
  g_key_file_set_integer(keys_.get(), kProgram, "minutes", options.minutes);
  save();
}

// The file is written beside and takes the old one's place whole, so that a power failure leaves
// one.
void Settings::save() {
  const std::string folder = taken(g_path_get_dirname(file_.c_str()));
  g_mkdir_with_parents(folder.c_str(), 0700);
  GError* failed = nullptr;
  trouble_.clear();
  // One that its owner made read-only would be replaced all the same.
  if (g_access(file_.c_str(), W_OK) != 0 && errno != ENOENT) {
    trouble_ = trf("{} can't be written: {}", file_, g_strerror(errno));
    return;
  }
  if (g_key_file_save_to_file(keys_.get(), file_.c_str(), &failed) != 0) return;
  const ErrorPtr error(failed);
  trouble_ = trf("{} can't be written: {}", file_, failed->message);
}

}  // namespace quorvid::desk
