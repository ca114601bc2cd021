// `quorvid record`: a stream into a file, as it came.
#include <unistd.h>

#include <cstdio>

#include "apps/quorvid/Commands.h"
#include "apps/quorvid/FrameRecorder.h"
#include "apps/quorvid/NoStream.h"
#include "apps/quorvid/ProgressLine.h"
#include "apps/quorvid/ReportOutput.h"
#include "apps/quorvid/StallWatch.h"
#include "apps/quorvid/Steady.h"
#include "apps/quorvid/StopSignal.h"
#include "apps/quorvid/StreamReceiver.h"

namespace quorvid::app {

namespace {

constexpr double kReachTimeout = 2;
constexpr double kStallAfter = 5;
constexpr double kPatience = 10;  // how much longer than asked for it may take
constexpr unsigned kLookMicroseconds = 1000;

struct RecordOptions {
  TargetOptions text;
  StreamTarget target;
  std::string fileName;
  double seconds = 0;  // 0: until interrupted
};

class RecordCommand {
 public:
  explicit RecordCommand(const RecordOptions& options)
      : options_(options),
        recorder_(options.fileName),
        watch_(kStallAfter, start_),
        receiver_(std::make_unique<StreamReceiver>(options.target)) {}

  int run() {
    std::string error;
    bool ok = true;
    while (ok && !stopRequested() && !isLongEnough()) {
      ok = look(error);
    }
    progress_.clear();
    ok = recorder_.close(error) && ok;
    if (recorder_.frames() == 0) {
      return failed(ok ? "nothing was recorded: " + whyNothingCame() : error);
    }
    noteOddities();
    if (!ok) {
      return failed(error + "; what was written whole before stays readable");
    }
    if (!output_.write(report())) {
      return 1;
    }
    return isComplete() || stopRequested() ? 0 : failed("the stream broke off before its time");
  }

 private:
  bool isLongEnough() const {
    if (options_.seconds <= 0) {
      return false;
    }
    const double now = steadySeconds();
    const double waited = recorder_.frames() > 0 ? recorder_.elapsed(now) : now - start_;
    return isComplete() || waited >= options_.seconds + kPatience;
  }

  bool isComplete() const {
    return recorder_.frames() > 0 && recorder_.seconds() >= options_.seconds;
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
    const bool taken = recorder_.take(frame->bytes, frame->length, now, error);
    receiver_->release();
    return taken;
  }

  void restartWhenDue(double now) {
    lookupFailed_ = lookupFailed_ || receiver_->hasFailed();
    if (!watch_.restartDue(now)) {
      return;
    }
    progress_.clear();
    std::fprintf(stderr, "quorvid: no frame for %.1f s, starting the stream again\n",
                 watch_.silence(now));
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

  std::string report() const {
    char text[200];
    std::snprintf(text, sizeof text, ": %llu frames, %.2f s, %.2f MB, %dx%d\n",
                  static_cast<unsigned long long>(recorder_.frames()), recorder_.seconds(),
                  static_cast<double>(recorder_.bytes()) / 1e6, recorder_.size().width,
                  recorder_.size().height);
    return options_.fileName + text;
  }

  std::string whyNothingCame() const {
    if (frameSeen_) {
      return "frames came, but no key frame with its parameter sets";
    }
    return whyNoStream(options_.target, tryServer(options_.target.server, kReachTimeout),
                       lookupFailed_);
  }

  void noteOddities() const {
    if (recorder_.unusable() > 0) {
      std::fprintf(stderr, "quorvid: %llu frames were no H.264 and were left out\n",
                   static_cast<unsigned long long>(recorder_.unusable()));
    }
    if (recorder_.changes() > 0) {
      std::fprintf(stderr,
                   "quorvid: the stream changed its parameter sets; some players stop there\n");
    }
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
  command->callback([options, &chosen] {
    options->target = options->text.target();
    requireOneChannel(options->text);
    requireWithin("--seconds", options->seconds, 0, 1e6);
    if (!StreamFile::canWrite(options->fileName)) {
      throw UsageError("the file name must end in .h264, .mp4 or .mkv");
    }
    requireWritable(options->fileName);
    chosen = [options] { return runRecord(*options); };
  });
}

}  // namespace quorvid::app
