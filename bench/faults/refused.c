// fault_refused view|pictures|frames HOST PORT: plays twice on the C interface, for
// scripts/refusals.sh. In the first time one call may be refused (faults/refuse/), in the second
// none. Each time it plays until pictures came, or until it was told why they don't; lines say
// which. At the end: what is left of threads, descriptors and memory.
#include <dirent.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "faults/HostScreen.h"
#include "quorvid/quorvid.h"

enum { kEnough = 4, kMostSeconds = 14 };

static void (*arm)(int armed);
static const char* (*refused)(void);
static void (*report)(void);

// Of the time that it plays.
static int received, receivedBefore;  // pictures; when the call was refused
static int isTold;
static char told[64];  // last
static const char* mode;

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

static void turn(void) {
  const struct timespec time = {0, 4000000};
  nanosleep(&time, NULL);
}

static void tellOnce(const char* what, const char* sentence) {
  isTold = 1;
  if (strcmp(told, what) != 0) printf("told %s (%s)\n", what, sentence);
  snprintf(told, sizeof told, "%s", what);
}

// A result below 0 that isn't about what comes in its time.
static int check(int result, const char* call) {
  if (result < 0 && result != QUORVID_TIMED_OUT && result != QUORVID_NO_PICTURE) {
    tellOnce(quorvid_result_name(result), call);
  }
  return result;
}

static void look(const quorvid_status* status, void* context) {
  (void)context;
  if (status->reason != QUORVID_REASON_NONE) {
    tellOnce(quorvid_reason_name(status->reason), status->sentence);
  }
}

// The call was refused, and some pictures came since; or it was told that none come.
static int isEnough(double begin) {
  const int isRefused = refused != NULL && refused() != NULL;
  if (!isRefused) receivedBefore = received;
  const int wanted = isRefused ? receivedBefore + kEnough : 3 * kEnough;
  return received >= wanted || isTold || now() - begin > kMostSeconds;
}

static void takePicture(quorvid_player* player) {
  quorvid_picture* picture = NULL;
  if (check(quorvid_player_wait(player, 0.01, &picture), "wait") != QUORVID_OK) return;
  for (int format = QUORVID_I420; format <= QUORVID_RGB; ++format) {
    quorvid_image image = QUORVID_IMAGE_INIT;
    if (check(quorvid_picture_read(picture, format, &image), "read") == QUORVID_OK) {
      received += format == QUORVID_I420;
    }
  }
  quorvid_picture* again = quorvid_picture_keep(picture);
  if (again == NULL) tellOnce("null", "keep");
  quorvid_picture_free(again);
  quorvid_picture_free(picture);
}

static void takeFrame(quorvid_player* player) {
  quorvid_frame* frame = NULL;
  if (check(quorvid_player_wait_frame(player, 0.01, &frame), "wait") != QUORVID_OK) return;
  ++received;
  quorvid_frame_free(frame);
}

static void playPlayer(const quorvid_target* target) {
  const int isFrames = strcmp(mode, "frames") == 0;
  quorvid_player* player =
      isFrames ? quorvid_player_create_for_frames(5) : quorvid_player_create(NULL);
  if (player == NULL) tellOnce("null", "create");
  if (player == NULL) return;
  check(quorvid_player_set_status_handler(player, look, NULL), "set_status_handler");
  check(quorvid_player_connect(player, target), "connect");
  int restarts = 0;
  for (const double begin = now(); !isEnough(begin);) {
    if (isFrames) {
      takeFrame(player);
    } else {
      takePicture(player);
    }
    if (received >= kEnough && restarts++ == 0) check(quorvid_player_restart(player), "restart");
    quorvid_status status = QUORVID_STATUS_INIT;
    if (check(quorvid_player_status(player, &status), "status") == QUORVID_OK) look(&status, NULL);
  }
  quorvid_player_free(player);
}

// True when a further picture is seen in the host's framebuffer.
static int drawView(quorvid_host* host, const quorvid_view* view) {
  static unsigned long long shown;
  check(quorvid_host_refresh(host), "refresh");
  if (quorvid_host_needs_composite(host) == 1) {
    check(quorvid_host_composite(host, 0, 0, SCREEN_WIDTH, SCREEN_HEIGHT), quorvid_host_why(host));
  }
  quorvid_figures figures = QUORVID_FIGURES_INIT;
  check(quorvid_view_figures(view, &figures), "figures");
  const int more = figures.shown > shown && isScreenDrawn();
  shown = figures.shown;
  return more;
}

static void playView(const quorvid_target* target) {
  quorvid_host* host = quorvid_host_create(NULL);
  if (host == NULL) tellOnce("null", "host_create");
  if (host == NULL) return;
  check(quorvid_host_resize(host, SCREEN_WIDTH, SCREEN_HEIGHT, 1), "resize");
  quorvid_view* view = quorvid_view_create(host, 8, 8, 128, 96, NULL);
  if (view == NULL) tellOnce("null", "view_create");
  check(quorvid_view_set_status_handler(view, look, NULL), "set_status_handler");
  check(quorvid_view_connect(view, target), "connect");
  int restarts = 0;
  for (const double begin = now(); view != NULL && !isEnough(begin); turn()) {
    received += drawView(host, view);
    if (received >= kEnough && restarts++ == 0) {
      check(quorvid_view_restart(view), "restart");
      quorvid_picture* picture = NULL;
      check(quorvid_view_snapshot(view, &picture), "snapshot");
      quorvid_picture_free(picture);
    }
    quorvid_status status = QUORVID_STATUS_INIT;
    if (check(quorvid_view_status(view, &status), "status") == QUORVID_OK) look(&status, NULL);
  }
  quorvid_view_free(view);
  check(quorvid_host_release(host), "release");
  quorvid_host_free(host);
}

static void play(const quorvid_target* target, const char* when) {
  received = receivedBefore = isTold = 0;
  told[0] = '\0';
  const double begin = now();
  if (strcmp(mode, "view") == 0) {
    playView(target);
  } else {
    playPlayer(target);
  }
  printf("%s %d %.1f\n", when, received, now() - begin);
}

static int entriesOf(const char* folder) {
  int count = 0;
  DIR* const open = opendir(folder);
  while (open != NULL && readdir(open) != NULL) ++count;
  if (open != NULL) closedir(open);
  return count - 2;
}

// Threads end by themselves, soon after what they belong to.
static void tellRest(int threads, int descriptors) {
  for (const double begin = now(); now() - begin < 4; turn()) {
    const int open = entriesOf("/proc/self/fd") - 1;
    if (entriesOf("/proc/self/task") <= threads && open <= descriptors) break;
  }
  printf("threads %d\ndescriptors %d\n", entriesOf("/proc/self/task"),
         entriesOf("/proc/self/fd") - 1);
}

int main(int argc, char** argv) {
  if (argc != 6) {
    return fprintf(stderr,
                   "usage: fault_refused view|pictures|frames HOST PORT THREADS DESCRIPTORS\n"),
           2;
  }
  setvbuf(stdout, NULL, _IOLBF, 0);
  *(void**)&arm = dlsym(RTLD_DEFAULT, "refuseArm");
  *(void**)&refused = dlsym(RTLD_DEFAULT, "refuseDone");
  *(void**)&report = dlsym(RTLD_DEFAULT, "refuseReport");
  mode = argv[1];
  if (strcmp(mode, "view") == 0 && !openHostScreen()) return 2;
  quorvid_target target = QUORVID_TARGET_INIT;
  target.host = argv[2];
  target.port = atoi(argv[3]);
  target.device = "BUS-1";
  if (arm != NULL) arm(1);
  play(&target, "first");
  if (arm != NULL) arm(0);
  play(&target, "second");
  tellRest(atoi(argv[4]), atoi(argv[5]));
  if (report != NULL) report();
  return 0;
}
