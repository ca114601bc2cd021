#include "apps/desk/simulator/Simulator.h"

#include <sys/prctl.h>

#include <csignal>
#include <cstdint>
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

struct Waiting {
  std::weak_ptr<int> life;
  std::function<void()> done;
};

void ended(GObject* process, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Waiting> waiting(static_cast<Waiting*>(data));
  g_subprocess_wait_finish(reinterpret_cast<GSubprocess*>(process), result, nullptr);
  if (!waiting->life.expired()) waiting->done();
}

// 0 for what is no port.
int portIn(const nlohmann::json& ports, const char* name) {
  const auto found = ports.find(name);
  if (found == ports.end() || !found->is_number_integer()) return 0;
  const auto port = found->get<std::int64_t>();
  return port < 1 || port > 65535 ? 0 : static_cast<int>(port);
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
  if (ports_.fleet != 0) return started(ports_, "");
  waiting_.push_back(std::move(started));
  if (process_ != nullptr) return;
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
    return tell({}, trf("The simulator can't be started: {}", failed->message));
  }
  output_.reset(g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
  auto reading = std::make_unique<Reading>();
  reading->life = life_.token();
  reading->done = [this](const std::string& line) { takeLine(line); };
  g_data_input_stream_read_line_async(output_.get(), G_PRIORITY_DEFAULT, nullptr, &lineRead,
                                      reading.release());
  auto waiting = std::make_unique<Waiting>();
  waiting->life = life_.token();
  waiting->done = [this] {
    forget();
    tell({}, tr("The simulator ended at once."));
  };
  g_subprocess_wait_async(process_.get(), nullptr, &ended, waiting.release());
}

void Simulator::takeLine(const std::string& line) {
  const auto ports = nlohmann::json::parse(line, nullptr, false);
  if (ports.is_object()) ports_ = {portIn(ports, "list"), portIn(ports, "fleet")};
  if (ports_.list != 0 && ports_.fleet != 0) return tell(ports_, "");
  g_subprocess_send_signal(process_.get(), SIGTERM);
  forget();
  tell({}, tr("The simulator ended at once."));
}

// Those who ask while they are told are told by what they start.
void Simulator::tell(const Ports& ports, const std::string& trouble) {
  for (const Started& started : std::exchange(waiting_, {})) started(ports, trouble);
}

// It has gone, or will: the next start() makes another.
void Simulator::forget() {
  life_.reset();
  ports_ = {};
  output_.reset();
  process_.reset();
}

}  // namespace quorvid::desk
