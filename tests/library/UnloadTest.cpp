// The library loaded, played and let go by a program that isn't linked with it, as plug-ins are.
#include <dlfcn.h>

#include <filesystem>
#include <thread>

#include "quorvid/quorvid.h"
#include "sim/SimProcess.h"

namespace {

auto threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}
#define CALL(name) (reinterpret_cast<decltype(name)*>(dlsym(library, #name)))

TEST(Library, CanBeLoadedAndLetGoTwice) {
  const SimProcess sim({});
  std::thread([] {}).join();  // a sanitizer's own comes with the first
  const auto before = threads();
  for (int round = 0; round < 2; ++round) {
    void* const library = dlopen(QUORVID_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    quorvid_player* const player = CALL(quorvid_player_create)(nullptr);
    quorvid_target target = QUORVID_TARGET_INIT;
    target.host = "127.0.0.1";
    target.port = sim.port("fleet");
    target.device = "BUS-17";
    quorvid_picture* picture = nullptr;
    EXPECT_EQ(CALL(quorvid_player_connect)(player, &target), QUORVID_OK);
    EXPECT_EQ(CALL(quorvid_player_wait)(player, 60, &picture), QUORVID_OK);
    CALL(quorvid_picture_free)(picture);
    CALL(quorvid_player_free)(player);
    EXPECT_TRUE(eventually([&] { return threads() == before; }));
    EXPECT_EQ(dlclose(library), 0) << dlerror();
  }
}

}  // namespace
