// `quorvid record`: a stream into a file, as it came.
#include <unistd.h>

#include <cstdio>

#include "apps/common/Commands.h"
#include "apps/common/NoStream.h"
#include "apps/common/ProgressLine.h"
#include "apps/common/ReportOutput.h"
#include "apps/common/StallWatch.h"
#include "apps/common/Steady.h"
#include "apps/common/StopSignal.h"
#include "apps/common/StreamReceiver.h"
#include "apps/common/TerminalText.h"
#include "apps/quorvid/record/RecordReport.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;
constexpr double kStallAfter = 5;
constexpr double kPatience = 10;  // how much longer than asked for it may take
constexpr int kLimitReached = 3;  // exit status
constexpr unsigned kLookMicroseconds = 1000;

struct RecordOptions {
  TargetOptions text;
  StreamTarget target;
  std::string fileName;
  double seconds = 0;  // 0: until interrupted
  std::string limitText;
  std::int64_t limit = 0;  // 0: none but the disk's
};

class RecordCommand {
 public:
  explicit RecordCommand(const RecordOptions& options)
      : options_(options),
        recorder_(options.fileName, options.limit),
        watch_(kStallAfter, start_),
        receiver_(std::make_unique<StreamReceiver>(options.target)) {}

  int run() {
    std::string error;
    bool ok = true;
    while (ok && !stopRequested() && !isLongEnough() && !isFull()) {
      ok = look(error);
    }
    progress_.clear();
    ok = recorder_.close(error) && ok;
    if (recorder_.frames() == 0) {
      return failed(ok ? "nothing was recorded: " + whyNothingCame() : error);
    }
    for (const std::string& sentence : odditiesOf(recorder_)) {
      note(sentence);
    }
    if (!ok) return failed(error + "; what was written whole before stays readable");
    if (!output_.write(visibleText(options_.fileName) + ": " + figuresOf(recorder_) + "\n")) {
      return 1;
    }
    return ending();
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

  // Says why the recording ended before its time, and yields the exit status.
  int ending() const {
    if (isComplete() || (stopRequested() && !isFull())) return 0;
    if (recorder_.full() == FrameRecorder::Full::Limit) {
      note("the recording ends here: the file has reached its limit of " + options_.limitText);
      return kLimitReached;
    }
    return failed(isFull() ? "the recording ends here: the disk is nearly full"
                           : "the stream broke off before its time");
  }

  // Takes a frame, or waits a little for one.
  bool look(std::string& error) {
    if (!receiver_->startError().empty()) {
      error = receiver_->startError();
      return false;
    }
    const auto frame = receiver_->frame();
    const double now = steadySeconds();
    if (!frame) {
      restartWhenDue(now);
      showProgress();
      usleep(kLookMicroseconds);
      return true;
    }
    frameSeen_ = true;
    watch_.pictureArrived(now);
    const bool wasRefused = recorder_.refused() > 0;
    const bool taken = recorder_.take(frame->bytes, frame->length, now, error);
    receiver_->release();
    if (!wasRefused && recorder_.refused() > 0) {
      progress_.clear();
      note("no file can begin with the parameter sets that came; waiting for others");
    }
    return taken;
  }

  void restartWhenDue(double now) {
    lookupFailed_ = lookupFailed_ || receiver_->hasFailed();
    if (!watch_.restartDue(now)) return;
    progress_.clear();
    char text[80];
    std::snprintf(text, sizeof text, "no frame for %.1f s, starting the stream again",
                  watch_.silence(now));
    note(text);
    receiver_ = std::make_unique<StreamReceiver>(options_.target);
    recorder_.streamRestarted();
  }

  void showProgress() {
    char text[120];
    std::snprintf(text, sizeof text, "%llu frames, %.1f s, %.2f MB",
                  static_cast<unsigned long long>(recorder_.frames()), recorder_.seconds(),
                  static_cast<double>(recorder_.bytes()) / 1e6);
    progress_.show(text);
  }

  std::string whyNothingCame() const {
    return frameSeen_
               ? whyNothingWasWritten(recorder_, options_.limitText)
               : whyNoStream(options_.target, tryServer(options_.target.server, kReachTimeout),
                             lookupFailed_);
  }

  const RecordOptions& options_;
  const double start_ = steadySeconds();
  ReportOutput output_{false};
  ProgressLine progress_;
  FrameRecorder recorder_;
  StallWatch watch_;
  std::unique_ptr<StreamReceiver> receiver_;
  bool frameSeen_ = false;
  bool lookupFailed_ = false;
};

int runRecord(const RecordOptions& options) {
  catchStopSignals();
  return RecordCommand(options).run();
}

}  // namespace

void addRecordCommand(CLI::App& program, ChosenCommand& chosen) {
  CLI::App* command = program.add_subcommand("record", "write a stream into a file as it comes");
  const auto options = std::make_shared<RecordOptions>();
  options->text.addTo(*command);
  command->add_option("--channel", options->text.channels, "camera, 0 to 7")->type_name("N");
  command->add_option("-o,--output", options->fileName, "file: .h264, .mp4 or .mkv")
      ->required()
      ->type_name("FILE");
  command
      ->add_option("--seconds", options->seconds,
                   "end after so many seconds of video, or 10 s later without it")
      ->type_name("S");
  command
      ->add_option("--limit", options->limitText,
                   "end before the file gets larger than this: 500M, 2G (K, M, G: powers of 1024)")
      ->type_name("SIZE");
  command->footer(
      "At its limit the file is finished in order and holds every frame that fitted. In any case "
      "the\n"
      "recording ends before it fills the disk: a twentieth is left free, at most 256 MiB.\n"
      "Exit status: 0 recorded up to --seconds or a signal, 1 less than that or nothing, 2 wrong\n"
      "arguments, 3 ended by --limit.");
  command->callback([options, &chosen] {
    options->target = options->text.target();
    requireOneChannel(options->text);
    requireWithin("--seconds", options->seconds, 0, 1e6);
    options->limit = options->limitText.empty() ? 0 : parseFileLimit(options->limitText);
    if (!StreamFile::canWrite(options->fileName)) {
      throw UsageError("the file name must end in .h264, .mp4 or .mkv");
    }
    requireWritable(options->fileName);
    chosen = [options] { return runRecord(*options); };
  });
}

}  // namespace quorvid::app
