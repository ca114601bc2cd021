#include "apps/desk/simulator/Simulator.h"

#include <sys/prctl.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace quorvid::desk {

namespace {

namespace fs = std::filesystem;

// A call under way: what comes back after its owner has gone is dropped.
struct Reading {
  std::weak_ptr<int> life;
  std::function<void(const std::string&)> done;
};

void lineRead(GObject* stream, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Reading> reading(static_cast<Reading*>(data));
  const std::string line = taken(g_data_input_stream_read_line_finish_utf8(
      reinterpret_cast<GDataInputStream*>(stream), result, nullptr, nullptr));
  if (!reading->life.expired()) reading->done(line);
}

}  // namespace

std::string programBeside(const std::string& name) {
  std::error_code error;
  const fs::path beside = fs::read_symlink("/proc/self/exe", error).parent_path() / name;
  return !error && fs::exists(beside, error) ? beside.string() : name;
}

ObjectPtr<GSubprocessLauncher> launcherOfCompanions(GSubprocessFlags flags) {
  ObjectPtr<GSubprocessLauncher> launcher(g_subprocess_launcher_new(flags));
  const auto setUp = [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGTERM); };
  g_subprocess_launcher_set_child_setup(launcher.get(), setUp, nullptr, nullptr);
  return launcher;
}

Simulator::~Simulator() {
  if (process_ != nullptr) g_subprocess_send_signal(process_.get(), SIGTERM);
}

void Simulator::start(Started started) {
  if (process_ != nullptr && ports_.fleet != 0) return started(ports_, "");
  if (process_ != nullptr) return;  // it is being started, and whoever asked is told
  const std::string program = programBeside("quorvid-sim");
  const std::string cache =
      taken(g_build_filename(g_get_user_cache_dir(), "quorvid", "simulator", nullptr));
  g_mkdir_with_parents(cache.c_str(), 0700);
  std::vector<const char*> arguments{program.c_str(), "--json", "--live", "--cache", cache.c_str()};
  for (const std::string& one : extra_) arguments.push_back(one.c_str());
  arguments.push_back(nullptr);
  GError* failed = nullptr;
  process_.reset(g_subprocess_launcher_spawnv(
      launcherOfCompanions(G_SUBPROCESS_FLAGS_STDOUT_PIPE).get(), arguments.data(), &failed));
  if (process_ == nullptr) {
    const ErrorPtr error(failed);
    return started({}, trf("The simulator can't be started: {}", failed->message));
  }
  output_.reset(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
  auto reading = std::make_unique<Reading>();
  reading->life = life_.token();
  reading->done = [this, started](const std::string& line) { takeLine(line, started); };
  g_data_input_stream_read_line_async(output_.get(), G_PRIORITY_DEFAULT, nullptr, &lineRead,
                                      reading.release());
}

void Simulator::takeLine(const std::string& line, const Started& started) {
  const auto ports = nlohmann::json::parse(line, nullptr, false);
  if (ports.is_object() && ports.contains("list") && ports.contains("fleet")) {
    ports_ = {ports["list"].get<int>(), ports["fleet"].get<int>()};
    return started(ports_, "");
  }
  process_.reset();
  started({}, tr("The simulator ended at once."));
}

}  // namespace quorvid::desk
