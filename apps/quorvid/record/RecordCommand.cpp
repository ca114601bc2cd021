// `quorvid record`: a stream into files, as it came.
#include <fmt/format.h>

#include <utility>

#include "apps/common/Commands.h"
#include "apps/common/Deadline.h"
#include "apps/common/Failure.h"
#include "apps/common/Output.h"
#include "apps/common/Terminal.h"
#include "apps/quorvid/record/AvFormatLibrary.h"
#include "apps/quorvid/record/DiskRoom.h"
#include "apps/quorvid/record/RecordOptions.h"
#include "apps/quorvid/record/RecordReport.h"
#include "live/StallWatch.h"

namespace quorvid::app {

namespace {

constexpr double kStallAfter = 5;
constexpr double kSilenceToTell = 3;
constexpr double kPatience = 10;  // how much longer than asked for it may take
constexpr double kLookInterval = 0.05;
constexpr int kLimitReached = 3;  // exit status

class RecordCommand {
 public:
  explicit RecordCommand(const RecordOptions& options)
      : options_(options),
        recorder_(options.recorder()),
        watch_(kStallAfter, start_),
        receiver_(std::make_unique<StreamReceiver>(options.target)) {}

  // What writes the file is loaded while the stream is asked for.
  int run() {
    if (const std::string why = avFormatLibrary.load(); !why.empty()) throw Failure(why);
    std::string error;
    int status = 1;
    bool isFinished = false;
    try {
      while (!stopRequested() && !isLongEnough() && !isFull()) look();
      takeTheRest();
      recorder_.close();
      isFinished = true;
      status = judge(error);
    } catch (const Failure& failure) {
      error = failure.what();
      if (recorder_.frames() > 0) error += "; what was written whole before stays readable";
    }
    progress_.clear();
    for (const std::string& sentence : recorder_.oddities()) note(sentence);
    if (options_.report.json) {
      output_.write(recordJson(options_.target, recorder_, error, options_.report.stats));
    } else if (options_.report.inWords() && isFinished && recorder_.frames() > 0) {
      output_.write(recordText(recorder_));
    }
    if (!error.empty()) throw Failure(error, status);
    return status;
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

  // Yields the exit status. A recording that ended before its time says why in `error`.
  int judge(std::string& error) const {
    if (recorder_.frames() == 0) {
      error = "nothing was recorded: " + whyNothingCame();
    } else if (recorder_.full() == FrameRecorder::Full::Limit) {
      error = "the recording ends here: the file has reached its limit of " + options_.limitText;
      return kLimitReached;
    } else if (isFull()) {
      error = std::string("the recording ends here: ") + kDiskFull;
    } else if (!isComplete() && !stopRequested()) {
      error = "the stream broke off before its time" + (trouble_.empty() ? "" : ": " + trouble_);
    }
    return error.empty() ? 0 : 1;
  }

  // Takes what comes next, or waits a little for it.
  void look() {
    const auto item = receiver_->next(kLookInterval);
    const double now = steadySeconds();
    if (!item) {
      noteSilence(now);
      restartWhenDue(now);
      progress_.show(recorder_.frames() > 0 ? recorder_.figures() : "no frame yet");
    } else if (item->frame.empty()) {
      takeTrouble(item->trouble);
    } else {
      takeFrame(*item);
    }
    if (options_.report.stats && now >= nextStats_) {
      output_.write(recordStatsLine(now - start_, recorder_, trouble_));
      nextStats_ = std::max(nextStats_ + 1, now);
    }
  }

  void takeFrame(const StreamItem& item) {
    hasFrames_ = true;
    trouble_.clear();
    watch_.pictureArrived(item.time);
    const bool wasRefused = recorder_.refused() > 0;
    recorder_.take(item.frame.data(), item.frame.size(), item.time);
    if (!wasRefused && recorder_.refused() > 0) {
      tell("no file can begin with the parameter sets that came; waiting for others");
    }
  }

  // What came before the signal.
  void takeTheRest() {
    while (!isComplete() && !isFull()) {
      const auto item = receiver_->next(0);
      if (!item) return;
      if (!item->frame.empty()) takeFrame(*item);
      if (item->frame.empty()) recorder_.streamRestarted();
    }
  }

  // The same one is told once, however often it comes.
  void takeTrouble(const std::string& trouble) {
    if (!hasFrames_ && !options_.wait) {
      trouble_ = trouble;
      throw Failure("nothing was recorded: " + trouble);
    }
    recorder_.streamRestarted();
    if (std::exchange(trouble_, trouble) != trouble) tell(trouble + "; trying again");
  }

  void noteSilence(double now) {
    if (hasFrames_ || isSilenceTold_ || !trouble_.empty() || now - start_ < kSilenceToTell) return;
    isSilenceTold_ = true;
    tell(whyNothingCame());
  }

  void restartWhenDue(double now) {
    if (!watch_.restartDue(now)) return;
    if (trouble_.empty()) {
      tell(fmt::format("no frame for {:.1f} s, starting the stream again", watch_.silence(now)));
    }
    receiver_ = std::make_unique<StreamReceiver>(options_.target);
    recorder_.streamRestarted();
  }

  void tell(const std::string& sentence) {
    progress_.clear();
    note(sentence);
  }

  std::string whyNothingCame() const {
    if (hasFrames_) return recorder_.whyNothingWasWritten(options_.limitText);
    if (!trouble_.empty()) return trouble_;
    const StreamTarget& target = options_.target;
    if (!receiver_->isConnected()) return "no answer from " + target.server.text() + " yet";
    return fmt::format(
        "{} accepts connections but sent no frame for device {}, channel {} (unknown or off "
        "line?); "
        "`quorvid probe` shows the exchange",
        target.server.text(), target.device, target.channel);
  }

  const RecordOptions& options_;
  const double start_ = steadySeconds();
  double nextStats_ = start_ + 1;
  const ReportOutput output_{false};
  ProgressLine progress_;
  FrameRecorder recorder_;
  StallWatch watch_;
  std::unique_ptr<StreamReceiver> receiver_;
  std::string trouble_;  // why no frame comes, as far as it is known; empty while frames come
  bool hasFrames_ = false;
  bool isSilenceTold_ = false;
};

int runRecord(const RecordOptions& options) {
  if (roomOnDisk(options.fileName, 1) == 0) {
    throw Failure(fmt::format("can't record into '{}': {}", options.fileName, kDiskFull));
  }
  return RecordCommand(options).run();
}

}  // namespace

void addRecordCommand(CLI::App& program, ChosenCommand& chosen) {
  addCommand(program, chosen, "record", "write a stream into a file as it comes", runRecord);
}

}  // namespace quorvid::app
