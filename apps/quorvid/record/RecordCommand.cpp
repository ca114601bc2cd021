// `quorvid record`: a stream into a file, as it came.
#include <fmt/format.h>

#include <chrono>
#include <thread>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Reachability.h"
#include "apps/common/Terminal.h"
#include "apps/common/Values.h"
#include "apps/quorvid/record/FrameRecorder.h"
#include "live/StallWatch.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;
constexpr double kStallAfter = 5;
constexpr double kPatience = 10;  // how much longer than asked for it may take
constexpr int kLimitReached = 3;  // exit status
constexpr std::chrono::milliseconds kLookInterval(1);

struct RecordOptions : StreamOptions {
  std::string fileName;
  double seconds = 0;  // 0: until interrupted
  std::string limitText;
  std::int64_t limit = 0;  // 0: none but the disk's

  void addTo(CLI::App& command) {
    StreamOptions::addTo(command);
    const auto hasKnownEnding = [](const std::string& name) {
      if (!StreamFile::canWrite(name)) {
        throw Failure("the file name must end in .h264, .mp4 or .mkv");
      }
      return std::string();
    };
    command.add_option("-o,--output", fileName, "file: .h264, .mp4 or .mkv")
        ->required()
        ->check(hasKnownEnding)
        ->check(writableFile())
        ->type_name("FILE");
    addSeconds(command, "--seconds", seconds, 0, 1e6,
               "end after so many seconds of video, or 10 s later without it");
    const auto takeLimit = [this](const std::string& text) {
      limit = parseFileLimit(text);
      limitText = text;
    };
    command
        .add_option_function<std::string>(
            "--limit", takeLimit,
            "end before the file gets larger than this: 500M, 2G (K, M, G: powers of 1024)")
        ->type_name("SIZE");
    command.footer(
        "At its limit the file is finished in order and holds every frame that fitted. In any case "
        "the\n"
        "recording ends before it fills the disk: a twentieth is left free, at most 256 MiB.\n"
        "Exit status: 0 recorded up to --seconds or a signal, 1 less than that or nothing, 2 "
        "wrong\n"
        "arguments, 3 ended by --limit.");
  }
};

class RecordCommand {
 public:
  explicit RecordCommand(const RecordOptions& options)
      : options_(options),
        recorder_(options.fileName, options.limit),
        watch_(kStallAfter, start_),
        receiver_(std::make_unique<StreamReceiver>(options.target)) {}

  void run() {
    std::string trouble;
    try {
      while (!stopRequested() && !isLongEnough() && !isFull()) look();
      recorder_.close();
    } catch (const Failure& failure) {
      trouble = failure.what();
    }
    progress_.clear();
    if (recorder_.frames() == 0) {
      throw Failure(trouble.empty() ? "nothing was recorded: " + whyNothingCame() : trouble);
    }
    for (const std::string& sentence : recorder_.oddities()) note(sentence);
    if (!trouble.empty()) throw Failure(trouble + "; what was written whole before stays readable");
    output_.write(fmt::format("{}: {}\n", visibleText(options_.fileName), recorder_.figures()));
    requireItsTime();
  }

 private:
  bool isLongEnough() const {
    if (options_.seconds <= 0) return false;
    const double now = steadySeconds();
    const double waited = recorder_.frames() > 0 ? recorder_.elapsed(now) : now - start_;
    return isComplete() || waited >= options_.seconds + kPatience;
  }

  bool isComplete() const {
    return options_.seconds > 0 && recorder_.frames() > 0 &&
           recorder_.seconds() >= options_.seconds;
  }

  bool isFull() const { return recorder_.full() != FrameRecorder::Full::No; }

  // A recording that ended before its time says why.
  void requireItsTime() const {
    if (isComplete() || (stopRequested() && !isFull())) return;
    if (recorder_.full() == FrameRecorder::Full::Limit) {
      throw Failure(
          "the recording ends here: the file has reached its limit of " + options_.limitText,
          kLimitReached);
    }
    throw Failure(isFull() ? "the recording ends here: the disk is nearly full"
                           : "the stream broke off before its time");
  }

  // Takes a frame, or waits a little for one.
  void look() {
    const auto frame = receiver_->frame();
    const double now = steadySeconds();
    if (!frame) {
      restartWhenDue(now);
      progress_.show(fmt::format("{} frames, {:.1f} s, {:.2f} MB", recorder_.frames(),
                                 recorder_.seconds(),
                                 static_cast<double>(recorder_.bytes()) / 1e6));
      std::this_thread::sleep_for(kLookInterval);
      return;
    }
    frameSeen_ = true;
    watch_.pictureArrived(now);
    const bool wasRefused = recorder_.refused() > 0;
    recorder_.take(frame->bytes, frame->length, now);
    receiver_->release();
    if (!wasRefused && recorder_.refused() > 0) {
      progress_.clear();
      note("no file can begin with the parameter sets that came; waiting for others");
    }
  }

  void restartWhenDue(double now) {
    lookupFailed_ = lookupFailed_ || receiver_->hasFailed();
    if (!watch_.restartDue(now)) return;
    progress_.clear();
    note(fmt::format("no frame for {:.1f} s, starting the stream again", watch_.silence(now)));
    receiver_ = std::make_unique<StreamReceiver>(options_.target);
    recorder_.streamRestarted();
  }

  std::string whyNothingCame() const {
    if (frameSeen_) return recorder_.whyNothingWasWritten(options_.limitText);
    const Reachability server = tryServer(options_.target.server, kReachTimeout);
    return whyNoStream(options_.target, server, lookupFailed_);
  }

  const RecordOptions& options_;
  const double start_ = steadySeconds();
  const ReportOutput output_{false};
  ProgressLine progress_;
  FrameRecorder recorder_;
  StallWatch watch_;
  std::unique_ptr<StreamReceiver> receiver_;
  bool frameSeen_ = false;
  bool lookupFailed_ = false;
};

int runRecord(const RecordOptions& options) {
  RecordCommand(options).run();
  return 0;
}

}  // namespace

void addRecordCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "record", "write a stream into a file as it comes", runRecord);
}

}  // namespace quorvid::app
