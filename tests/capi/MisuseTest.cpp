// Random calls, as a careless host makes them: in handlers, on two threads, in a child of fork().
// QUORVID_MISUSE_SEED=N plays other ones than those of seed 1.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include "base/Clock.h"
#include "capi/Handles.h"
#include "quorvid/live/LiveView.h"
#include "support/ExpectLog.h"
#include "view/HostScreen.h"

namespace quorvid::test {
namespace {

constexpr int kCalls = 1500, kTurns = 300, kMostDeeds = 200, kMostForks = 4, kTargets = 6;

// For one thread at a time.
struct Dice : std::mt19937_64 {
  using std::mt19937_64::mt19937_64;
  int below(int end) { return static_cast<int>((*this)() % static_cast<unsigned>(end)); }
};

class Misuse : public testing::Test {
 protected:
  Misuse() {
    std::cout << "QUORVID_MISUSE_SEED=" << seed_ << std::endl;
    targets_.fill(targetOf(server_));
    targets_[2].path = QUORVID_CAR;
    targets_[3].port = 1;          // nobody listens
    targets_[4].host = "";         // no such name
    targets_[5].device = nullptr;  // impossible
  }
  const quorvid_target& any() { return targets_[static_cast<std::size_t>(dice_.below(kTargets))]; }

  const std::vector<std::string> frames_ = oneColouredFrames(kRust);
  std::atomic<int> clients_{0};
  // Every fourth client gets no answer, every fourth one frame, the others a stream without end.
  const FleetServer server_{[this](FleetClient& client) {
    const int number = clients_++ % 4;
    client.readRequest();
    if (number == 3) return client.waitForClose();
    client.sendAnswer();
    for (std::size_t i = 0; client.sendVideo(frames_[i % 4]) && number != 2; ++i) {
      sleepForTimeInterval(0.005);
    }
  }};
  const ExpectLog anything_{"", LogCount::Any};
  const char* const given_ = std::getenv("QUORVID_MISUSE_SEED");
  const std::uint64_t seed_ = given_ != nullptr ? std::strtoull(given_, nullptr, 10) : 1;
  Dice dice_{seed_};
  std::array<quorvid_target, kTargets> targets_;
};

void act(quorvid_player* player, const quorvid_target& target, int choice) {
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  const std::int32_t result = choice == 0   ? quorvid_player_stop(player)
                              : choice == 1 ? quorvid_player_connect(player, &target)
                              : choice == 2 ? quorvid_player_restart(player)
                              : choice == 3 ? quorvid_player_play(player)
                                            : quorvid_player_figures(player, &figures);
  EXPECT_TRUE(result == QUORVID_OK || result == QUORVID_TARGET_REFUSED) << choice;
}

// A player, and what its handlers do with it.
struct Slot {
  Slot(std::uint64_t seed, const quorvid_target* among) : targets(among), dice(seed) {}
  ~Slot() { free(); }

  void make(int everyPicture) {
    free();
    quorvid_player_options options = QUORVID_PLAYER_OPTIONS_INIT;
    options.every_picture = everyPicture;
    options.stall_after = 0.1;
    player = quorvid_player_create(&options);
  }
  void free() {
    quorvid_player_free(player);  // its handlers still have it
    player = nullptr;
  }
  template <class What>
  static void handle(const What* /*what*/, void* slot) {
    auto& it = *static_cast<Slot*>(slot);
    if (it.isDoomed) return it.free();
    if (++it.deeds < kMostDeeds) {
      act(it.player, it.targets[it.dice.below(kTargets)], it.dice.below(9));
    }
  }
  static void pictureCame(quorvid_picture* picture, void* slot) { handle(picture, slot); }

  std::atomic<quorvid_player*> player{nullptr};
  std::atomic<bool> isDoomed{false};  // its handler frees it: nobody else has it any more
  const quorvid_target* targets;
  Dice dice;  // the handlers'
  int deeds = 0;
};
using Slots = std::vector<std::unique_ptr<Slot>>;

// A child has the handles and none of the threads behind them: it may free them, and end.
void forkAndLetGo(const Slots& slots) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(20);
    for (const auto& slot : slots) slot->free();
    _exit(0);
  }
  int status = -1;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0) << "of a child of fork()";
}

TEST_F(Misuse, OfPlayers) {
  Slots slots, doomed;
  for (std::uint64_t i = 0; i < 3; ++i) {
    slots.emplace_back(std::make_unique<Slot>(seed_ + i, targets_.data()))->make(i % 2);
  }
  std::thread other([this, player = slots[0]->player.load(), dice = Dice(~seed_)]() mutable {
    for (int i = 0; i < kCalls; ++i) act(player, targets_[0], dice.below(8));
  });
  for (int call = 0, forks = 0; call < kCalls; ++call) {
    Slot* slot = slots[static_cast<std::size_t>(dice_.below(3))].get();
    const int choice = dice_.below(14);
    act(slot->player, any(), choice);
    if (choice == 6 && slot != slots[0].get()) slot->make(dice_.below(2));
    if (choice == 7) quorvid_player_set_picture_handler(slot->player, Slot::pictureCame, slot);
    if (choice == 8) {
      quorvid_player_set_status_handler(slot->player, Slot::handle<quorvid_status>, slot);
    }
    if (choice == 9) quorvid_player_set_picture_handler(slot->player, nullptr, nullptr);
    if (choice == 10 && forks++ < kMostForks) forkAndLetGo(slots);
    if (choice == 11 && doomed.size() < 5) {
      slot = doomed.emplace_back(std::make_unique<Slot>(0, targets_.data())).get();
      slot->make(0);
      quorvid_player_connect(slot->player, targets_.data());
      quorvid_player_set_picture_handler(slot->player, Slot::pictureCame, slot);
      slot->isDoomed = true;
    }
    quorvid_picture* picture = nullptr;
    if (choice > 11) quorvid_player_wait(slot->player, 0.01, &picture);
    quorvid_picture_free(picture);
  }
  other.join();
  for (const auto& slot : doomed) EXPECT_TRUE(eventually([&] { return slot->player == nullptr; }));
}

// A view of the C interface and one of C++ on one channel; a handler may let its view go.
struct Pair {
  Owned<quorvid_view> view;
  std::shared_ptr<LiveView> live;
  Dice dice;
};

void make(Pair& pair, quorvid_host* host) {
  if (!pair.live) pair.live = LiveView::initWithFrame(CGRectMake(0, 0, 64, 64));
  pair.live->setStatusHandler([&pair](const LiveStatus&) {
    if (pair.dice.below(4) == 0) pair.live.reset();
  });
  if (!pair.view) pair.view.reset(quorvid_view_create(host, 0, 0, 64, 64, nullptr));
  const auto changed = [](const quorvid_status* /*status*/, void* context) {
    auto& it = *static_cast<Pair*>(context);
    const int choice = it.dice.below(6);
    if (choice == 0) it.view.reset();
    if (choice == 1) quorvid_view_stop(it.view.get());
    if (choice == 2) quorvid_view_restart(it.view.get());
  };
  quorvid_view_set_status_handler(pair.view.get(), changed, &pair);
}

void play(Pair& pair, quorvid_host* host, const quorvid_target& target, int choice) {
  quorvid_view* const view = pair.view.get();
  const std::string device = target.device == nullptr ? "" : target.device;
  if (choice == 0) quorvid_view_connect(view, &target);
  if (choice == 1) {
    pair.live->connect({LivePath::Fleet, target.host, target.port, "", "", device, 0});
  }
  if (choice == 2) quorvid_view_play(view), pair.live->play();
  if (choice == 3) quorvid_view_stop(view), pair.live->restart();
  if (choice == 4) quorvid_view_restart(view), pair.live->stop();
  if (choice == 6) quorvid_view_set_visible(view, pair.dice.below(2));
  if (choice == 7) pair.live->setVisible(pair.dice.below(2) != 0);
  if (choice == 8) quorvid_host_set_visible(host, pair.dice.below(3));
  if (choice == 9) quorvid_host_composite(host, 0, 0, 64, 64);
  if (choice == 10) pair.view.reset(), pair.live.reset();
}

TEST_F(Misuse, OfViews) {
  const HostScreen screen(HostDisplay::Surfaceless, HostApi::Gles3, 64, 64);
  const Owned<quorvid_host> host(quorvid_host_create(nullptr));
  const Owned<quorvid_view> last(quorvid_view_create(host.get(), 0, 0, 64, 64, nullptr));
  Pair pair{nullptr, nullptr, dice_};
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    for (; !isOver; sleepForTimeInterval(0.001)) {
      EXPECT_EQ(quorvid_view_set_visible(last.get(), 0), QUORVID_WRONG_THREAD);
    }
  });
  quorvid_view_connect(last.get(), targets_.data());
  for (int turn = 0; turn < kTurns; ++turn) {
    make(pair, host.get());
    play(pair, host.get(), any(), dice_.below(16));
    quorvid_host_refresh(host.get());
    sleepForTimeInterval(0.004);
  }
  isOver = true;
  other.join();
  quorvid_host_set_visible(host.get(), 1);
  EXPECT_TRUE(eventually([&] {
    quorvid_host_refresh(host.get());
    quorvid_figures figures = QUORVID_FIGURES_INIT;
    return quorvid_view_figures(last.get(), &figures) == QUORVID_OK && figures.shown > 0;
  }));
  quorvid_host_release(host.get());
}

}  // namespace
}  // namespace quorvid::test
