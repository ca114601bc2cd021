#include "apps/desk/recording/Recording.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "apps/desk/toolkit/Ui.h"

namespace quorvid::desk {

namespace {

constexpr double kTurn = 1;  // seconds without a frame, after which the state is looked at

std::string troubleOf(const LiveStatus& status) {
  switch (status.state) {
    case LiveState::Live:
    case LiveState::Late:
      return "";
    case LiveState::Idle:
    case LiveState::Resolving:
    case LiveState::Connecting:
    case LiveState::Stopped:
      return tr("Connecting…");
    case LiveState::WaitingForKeyFrame:
      return tr("Waiting for a picture to begin with");
    default:
      return status.sentence.empty() ? nameOf(status.state) : status.sentence;
  }
}

// What came before a failure is finished as far as that can be.
void closeQuietly(FrameFiles& files) {
  try {
    files.close();
  } catch (const std::exception&) {
    return;  // the first failure is the one that is told
  }
}

}  // namespace

struct Recording::Shared {
  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  RecordingState state{0, 0, tr("Connecting…")};
  std::shared_ptr<PicturePlayer> player;  // while it is to go on
  bool isEnding = false;
  bool hasEnded = false;
};

std::unique_ptr<Recording> Recording::begin(const LiveTarget& target, FileOptions files,
                                            std::function<void(RecordingEnd)> ended) {
  const auto shared = std::make_shared<Shared>();
  const auto work = [shared, target, options = std::move(files), ended = std::move(ended)] {
    FrameFiles written(options);
    RecordingEnd end;
    try {
      run(*shared, target, written);
      written.close();
    } catch (const std::exception& failure) {
      end.trouble = failure.what();
      closeQuietly(written);
    }
    end.files = written.files();
    end.frames = written.frames();
    std::unique_lock lock(shared->mutex);
    const std::shared_ptr<PicturePlayer> unused = std::move(shared->player);
    if (end.files.empty() && end.trouble.empty()) end.trouble = shared->state.trouble;
    lock.unlock();
    ended(std::move(end));
    lock.lock();
    shared->hasEnded = true;
    shared->changed.notify_all();
  };
  try {
    std::thread(work).detach();
  } catch (const std::system_error&) {
    return nullptr;
  }
  return std::unique_ptr<Recording>(new Recording(shared));  // NOLINT: a private constructor
}

// Until it is asked to end. Throws when something can't be written.
void Recording::run(Shared& shared, const LiveTarget& target, FrameFiles& files) {
  const std::shared_ptr<PicturePlayer> player = PicturePlayer::createForFrames();
  if (!player) throw std::runtime_error(tr("the system gives it no thread"));
  {
    const std::lock_guard lock(shared.mutex);
    if (shared.isEnding) return;
    shared.player = player;
  }
  if (!player->connect(target)) throw std::runtime_error(player->status().sentence);
  for (;;) {
    PicturePlayer::Ended why{};
    const auto frame = player->nextFrame(kTurn, &why);
    if (frame) files.take(*frame);
    std::string trouble = frame && !files.isWaiting() ? "" : troubleOf(player->status());
    if (trouble.empty() && files.isWaiting()) trouble = tr("Waiting for a picture to begin with");
    const std::lock_guard lock(shared.mutex);
    if (shared.isEnding) return;
    if (!frame && why == PicturePlayer::Ended::NotPlaying) {
      throw std::runtime_error(player->status().sentence);
    }
    shared.state = {files.seconds(), files.bytes(), trouble};
  }
}

Recording::~Recording() {
  end();
}

void Recording::end() {
  std::shared_ptr<PicturePlayer> player;
  {
    const std::lock_guard lock(shared_->mutex);
    shared_->isEnding = true;
    player = std::move(shared_->player);
  }
  // Ends the wait for a frame; its thread may be about to connect, which it leaves then at its next
  // turn.
  if (player) player->stop();
}

RecordingState Recording::state() const {
  const std::lock_guard lock(shared_->mutex);
  return shared_->state;
}

bool Recording::awaitEnd(double seconds) const {
  std::unique_lock lock(shared_->mutex);
  return shared_->changed.wait_for(lock, std::chrono::duration<double>(seconds),
                                   [this] { return shared_->hasEnded; });
}

}  // namespace quorvid::desk
