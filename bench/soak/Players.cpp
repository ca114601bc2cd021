// soak_players: players of the C interface, without a window: by turns one whose newest picture is
// waited for, one that hands out each picture to a handler, and one of frames. Arguments and log:
// soak/Course.h.
#include <atomic>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "base/Clock.h"
#include "quorvid/quorvid.h"
#include "soak/Members.h"

namespace {

constexpr double kTurn = 0.004;  // seconds
constexpr double kOfNow = 2;     // the lag of an older picture is past

class Member {
 public:
  Member(soak::Course& course, int kind) : course_(course), kind_(kind) {}
  ~Member() { rest(); }
  Member(const Member&) = delete;
  Member& operator=(const Member&) = delete;

  void play(const soak::Draw& draw) {
    if (player_ == nullptr) create();
    ended_ = counts();
    quorvid_target target = QUORVID_TARGET_INIT;
    target.path = draw.path;
    target.host = "127.0.0.1";
    target.port = draw.port;
    target.channel = draw.channel;
    target.device = "TRUCK-7";
    isPlayed_ = quorvid_player_connect(player_, &target) == QUORVID_OK;
    moveAt_ = quorvid::steadySeconds() + draw.stay;
  }
  void look() {
    if (player_ == nullptr) return;
    if (quorvid::steadySeconds() >= moveAt_) play(course_.draw(false));
    while (kind_ == 0 ? takePicture() : kind_ == 2 && takeFrame()) ++taken_;
  }
  void rest() {
    ended_ = counts();
    isPlayed_ = false;
    quorvid_player_free(player_);
    player_ = nullptr;
  }
  soak::Counts counts() const {
    soak::Counts counts = ended_;
    counts.pictures = taken_;
    counts.lag = -1;
    if (!isPlayed_) return counts;
    quorvid_figures figures = QUORVID_FIGURES_INIT;
    quorvid_player_figures(player_, &figures);
    counts.starts += 1 + figures.restarts;
    counts.restarts += figures.restarts;
    const double since = figures.since_last_picture;
    if (since >= 0 && since < kOfNow) counts.lag = figures.lag;
    return counts;
  }

 private:
  void create() {
    quorvid_player_options options = QUORVID_PLAYER_OPTIONS_INIT;
    options.every_picture = kind_ == 1 ? 1 : 0;
    player_ = kind_ == 2 ? quorvid_player_create_for_frames(5) : quorvid_player_create(&options);
    if (kind_ == 1) quorvid_player_set_picture_handler(player_, handed, this);
  }
  static bool read(quorvid_picture* picture) {
    quorvid_image image = QUORVID_IMAGE_INIT;
    return quorvid_picture_read(picture, QUORVID_RGB, &image) == QUORVID_OK;
  }
  static void handed(quorvid_picture* picture, void* context) {
    if (read(picture)) ++static_cast<Member*>(context)->taken_;
  }
  bool takePicture() {
    quorvid_picture* picture = nullptr;
    if (quorvid_player_wait(player_, 0, &picture) != QUORVID_OK) return false;
    const bool isRead = read(picture);
    quorvid_picture_free(picture);
    return isRead;
  }
  bool takeFrame() {
    quorvid_frame* frame = nullptr;
    if (quorvid_player_wait_frame(player_, 0, &frame) != QUORVID_OK) return false;
    quorvid_access_unit unit = QUORVID_ACCESS_UNIT_INIT;
    const bool isRead = quorvid_frame_read(frame, &unit) == QUORVID_OK;
    quorvid_frame_free(frame);
    return isRead;
  }

  soak::Course& course_;
  int kind_;
  quorvid_player* player_ = nullptr;
  soak::Counts ended_;  // of the plays before
  std::atomic<unsigned long> taken_ = 0;
  bool isPlayed_ = false;
  double moveAt_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  soak::Course course(argc, argv);
  std::vector<std::unique_ptr<Member>> members;
  members.reserve(static_cast<std::size_t>(course.members()));
  for (int i = 0; i < course.members(); ++i) {
    members.push_back(std::make_unique<Member>(course, i % 3));
  }
  soak::Members<Member> players(course, kTurn, std::move(members));
  course.run(players);
}
