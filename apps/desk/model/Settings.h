// Settings: what the program remembers from one start to the next, in one file of the user's: the
// servers without their passwords, the layouts of each, where recordings go. Main thread.
#pragma once

#include <glib.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/desk/model/Layout.h"
#include "apps/desk/model/Server.h"

namespace quorvid::desk {

struct RecordingOptions {
  std::string folder;  // of recordings and snapshots
  int minutes = 10;    // in one file; 0: all in one
};

class Settings {
 public:
  // The name of the layout that comes back at the next start.
  static constexpr const char* kLast = "";

  // file: empty for the user's own. What can't be understood in it is left out; the file is kept
  // under another name then.
  explicit Settings(const std::string& file = "");
  ~Settings();
  Settings(const Settings&) = delete;
  Settings& operator=(const Settings&) = delete;

  std::vector<Server> servers() const;
  std::optional<Server> server(const std::string& id) const;
  // Adds it, with an id made for it where that is empty, or changes the one of its id. Yields the
  // id.
  std::string keepServer(Server server);
  // With its layouts.
  void dropServer(const std::string& id);
  std::string chosenServer() const;  // an id; may be empty
  void chooseServer(const std::string& id);

  // Devices typed by hand.
  std::vector<std::string> typedDevices(const std::string& server) const;
  void keepTypedDevices(const std::string& server, const std::vector<std::string>& devices);

  std::vector<std::string> layoutNames(const std::string& server) const;  // without kLast
  std::optional<Layout> layout(const std::string& server, const std::string& name) const;
  void keepLayout(const std::string& server, const std::string& name, const Layout& layout);
  void dropLayout(const std::string& server, const std::string& name);

  RecordingOptions recording() const;
  void keepRecording(const RecordingOptions& options);

  // Why the last change could not be written; empty when it was.
  const std::string& trouble() const { return trouble_; }

 private:
  void save();
  std::string text(const std::string& group, const char* key) const;
  int number(const std::string& group, const char* key, int least, int most, int otherwise) const;

  std::string file_;
  std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> keys_;
  std::string trouble_;
};

}  // namespace quorvid::desk
