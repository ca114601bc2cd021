#include "apps/desk/recording/Recordings.h"

#include <algorithm>
#include <chrono>

#include "apps/desk/recording/FileNames.h"
#include "apps/desk/recording/Snapshot.h"

namespace quorvid::desk {

namespace {

using Clock = std::chrono::steady_clock;

std::string serverOf(const Desk& desk) {
  return desk.server() ? desk.server()->id : "";
}

std::string sentenceOf(const std::string& title, const RecordingEnd& end) {
  if (end.files.empty()) return trf("Nothing was recorded of {}: {}", title, end.trouble);
  const std::string last = taken(g_path_get_basename(end.files.back().c_str()));
  const std::string why = end.trouble.empty()
                              ? trf("Recorded {}:", title)
                              : trf("The recording of {} ended: {}.", title, end.trouble);
  if (end.files.size() == 1) return trf("{} {}", why, last);
  return why + " " + trn("{} file", "{} files", end.files.size());
}

}  // namespace

Recordings::~Recordings() {
  constexpr std::chrono::seconds kPatience(3);
  const auto until = Clock::now() + kPatience;
  for (One& one : all_) end(one);  // those who would be told may have gone
  for (const One& one : all_) {
    one.recording->awaitEnd(std::chrono::duration<double>(until - Clock::now()).count());
  }
}

void Recordings::begin(const Camera& camera) {
  if (!desk_.server() || find(camera) != nullptr) return;
  One one;
  one.number = ++lastNumber_;
  one.server = serverOf(desk_);
  one.camera = camera;
  one.title = desk_.titleOf(camera);
  const RecordingOptions options = desk_.settings().recording();
  const auto ended = [this, token = life_.token(), number = one.number](RecordingEnd end) {
    onMainThread([this, token, number, end = std::move(end)] {
      if (!token.expired()) this->ended(number, end);
    });
  };
  one.recording = Recording::begin(
      desk_.target(camera), {options.folder, fileStem(camera), 60.0 * options.minutes, one.title},
      ended);
  if (!one.recording) return desk_.said.tell(tr("The system has no thread left for a recording."));
  all_.push_back(std::move(one));
  if (!clock_) clock_ = Source::every(1000, [this] { changed.tell(); });
  changed.tell();
}

const Recordings::One* Recordings::find(const Camera& camera) const {
  const auto found = std::find_if(all_.begin(), all_.end(), [&](const One& one) {
    return one.camera == camera && one.server == serverOf(desk_) && !one.isEnding;
  });
  return found == all_.end() ? nullptr : &*found;
}

void Recordings::end(const Camera& camera) {
  if (const One* const one = find(camera)) end(one->number);
}

void Recordings::end(int number) {
  for (One& one : all_) {
    if (one.number == number) end(one);
  }
  changed.tell();
}

void Recordings::end(One& one) {
  one.isEnding = true;
  one.recording->end();
}

void Recordings::endAll() {
  for (One& one : all_) end(one);
  if (!all_.empty()) changed.tell();
}

void Recordings::ended(int number, const RecordingEnd& end) {
  const auto found = std::find_if(all_.begin(), all_.end(),
                                  [number](const One& one) { return one.number == number; });
  if (found == all_.end()) return;
  const std::string sentence = sentenceOf(found->title, end);
  all_.erase(found);
  if (all_.empty()) clock_.stop();
  desk_.said.tell(sentence);
  changed.tell();
}

std::optional<RecordingState> Recordings::stateOf(const Camera& camera) const {
  const One* const one = find(camera);
  if (one == nullptr) return std::nullopt;
  return one->recording->state();
}

std::vector<Camera> Recordings::underWay() const {
  std::vector<Camera> cameras;
  for (const One& one : all_) {
    if (one.server == serverOf(desk_) && !one.isEnding) cameras.push_back(one.camera);
  }
  return cameras;
}

std::vector<Recordings::Entry> Recordings::all() const {
  std::vector<Entry> entries;
  for (const One& one : all_) {
    if (!one.isEnding) entries.push_back({one.number, one.title, one.recording->state()});
  }
  return entries;
}

void Recordings::keepOptions(const RecordingOptions& options) {
  desk_.settings().keepRecording(options);
  if (!desk_.settings().trouble().empty()) desk_.said.tell(desk_.settings().trouble());
  optionsChanged.tell();
}

void Recordings::saveSnapshot(const Camera& camera, LivePicture picture) {
  const std::string folder = desk_.settings().recording().folder;
  const auto work = [folder, stem = fileStem(camera),
                     shared = std::make_shared<LivePicture>(std::move(picture))] {
    return writeSnapshot(folder, stem, *shared);
  };
  const auto done = [this](const SnapshotOutcome& outcome) {
    desk_.said.tell(outcome.trouble.empty()
                        ? trf("Snapshot: {}", outcome.name)
                        : trf("No snapshot could be written: {}", outcome.trouble));
  };
  if (!runTask(life_, work, done)) {
    desk_.said.tell(tr("The system has no thread left for a snapshot."));
  }
}

}  // namespace quorvid::desk
