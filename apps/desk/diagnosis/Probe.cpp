#include "apps/desk/diagnosis/Probe.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include "apps/desk/simulator/Simulator.h"

namespace quorvid::desk {

namespace {

constexpr int kPasswordDescriptor = 3;  // in the process
constexpr unsigned kPatience = 75'000;  // milliseconds; each of its steps has ten seconds
constexpr std::size_t kMostOutput = 1 << 20;

struct Call {
  std::weak_ptr<int> life;
  std::function<void(const std::string& output, const std::string& errors)> done;
};

std::string textOf(GBytes* bytes) {
  if (bytes == nullptr) return {};
  gsize size = 0;
  const auto* const data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  std::string text(data, std::min<std::size_t>(size, kMostOutput));
  g_bytes_unref(bytes);
  return text;
}

void communicated(GObject* process, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Call> call(static_cast<Call*>(data));
  GBytes* output = nullptr;
  GBytes* errors = nullptr;
  g_subprocess_communicate_finish(reinterpret_cast<GSubprocess*>(process), result, &output, &errors,
                                  nullptr);
  const std::string outputText = textOf(output);
  const std::string errorsText = textOf(errors);
  if (!call->life.expired()) call->done(outputText, errorsText);
}

// The reading end of a pipe that holds the line; -1 with errno.
int pipeWith(const std::string& line) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  const ssize_t written = write(ends[1], line.data(), line.size());
  close(ends[1]);
  if (written == static_cast<ssize_t>(line.size())) return ends[0];
  close(ends[0]);
  return -1;
}

std::vector<std::string> argumentsFor(const LiveTarget& target) {
  static constexpr const char* kPaths[] = {"fleet", "car", "relay"};
  std::vector<std::string> words{programBeside("quorvid"),
                                 "probe",
                                 "--json",
                                 "--seconds=5",
                                 std::string("--path=") + kPaths[static_cast<int>(target.path) % 3],
                                 "--channel=" + std::to_string(target.channel),
                                 "--device=" + target.device};
  if (!target.account.empty()) words.push_back("--account=" + target.account);
  if (!target.password.empty()) {
    words.push_back("--password-file=/dev/fd/" + std::to_string(kPasswordDescriptor));
  }
  words.emplace_back("--");
  words.push_back(target.host + ":" + std::to_string(target.port));
  return words;
}

}  // namespace

Probe::~Probe() {
  if (process_) g_subprocess_force_exit(process_.get());
}

bool Probe::start(const LiveTarget& target, Done done) {
  constexpr std::size_t kMostPassword = 31;
  if (isRunning()) return false;
  if (target.password.size() > kMostPassword ||
      target.password.find_first_of("\r\n") != std::string::npos) {
    done({std::nullopt, tr("The password can't be a server's: it is too long, or has line ends.")});
    return true;
  }
  const ObjectPtr<GSubprocessLauncher> launcher = launcherOfCompanions(
      GSubprocessFlags(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_PIPE));
  if (!target.password.empty()) {
    const int password = pipeWith(target.password + "\n");
    if (password < 0) {
      done({std::nullopt, trf("The examination can't be started: {}", g_strerror(errno))});
      return true;
    }
    g_subprocess_launcher_take_fd(launcher.get(), password, kPasswordDescriptor);
  }
  const std::vector<std::string> words = argumentsFor(target);
  std::vector<const char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  GError* failed = nullptr;
  process_.reset(g_subprocess_launcher_spawnv(launcher.get(), arguments.data(), &failed));
  if (!process_) {
    const ErrorPtr error(failed);
    done({std::nullopt, trf("The examination can't be started: {}", error->message)});
    return true;
  }
  done_ = std::move(done);
  whyEnded_ = nullptr;
  auto call = std::make_unique<Call>(Call{
      life_.token(), [this](const auto& output, const auto& errors) { finish(output, errors); }});
  g_subprocess_communicate_async(process_.get(), nullptr, nullptr, &communicated, call.release());
  patience_ = Source::every(kPatience, [this] {
    patience_.stop();
    endBecause(N_("The examination took too long and was ended."));
  });
  return true;
}

void Probe::cancel() {
  endBecause(N_("The examination was stopped."));
}

void Probe::endBecause(const char* why) {
  if (!isRunning()) return;
  whyEnded_ = why;
  g_subprocess_force_exit(process_.get());
}

void Probe::finish(const std::string& output, const std::string& errors) {
  patience_.stop();
  Outcome outcome;
  if (whyEnded_ == nullptr) outcome.report = parseProbeReport(output);
  if (!outcome.report) outcome.trouble = troubleOf(errors);
  process_.reset();
  std::exchange(done_, nullptr)(outcome);
}

std::string Probe::troubleOf(const std::string& errors) const {
  if (whyEnded_ != nullptr) return tr(whyEnded_);
  if (g_subprocess_get_if_signaled(process_.get()) != 0) {
    return trf("The examination broke off: the program crashed (signal {}).",
               g_subprocess_get_term_sig(process_.get()));
  }
  const std::string said = visible(errors.substr(0, errors.find('\n')));
  return said.empty() ? tr("The examination broke off without a word.")
                      : trf("The examination broke off: {}", said);
}

}  // namespace quorvid::desk
