// fault_players WHAT HOST PORT PLAYERS: so many players of "pictures" or "frames" on the C
// interface, until SIGINT, for scripts/faults.sh. Each change of a state is a line, the last one
// tells how much was handed out, all together. Exit status 1 without any.
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "quorvid/quorvid.h"

static volatile sig_atomic_t isStopped = 0;

static void stop(int number) {
  (void)number;
  isStopped = 1;
}

static void tell(const quorvid_status* status, void* context) {
  (void)context;
  printf("%s (%s)\n", quorvid_state_name(status->state), status->sentence);
}

static int takePicture(quorvid_player* player) {
  quorvid_picture* picture = NULL;
  if (quorvid_player_wait(player, 0, &picture) != QUORVID_OK) return 0;
  quorvid_image image = QUORVID_IMAGE_INIT;
  const int result = quorvid_picture_read(picture, QUORVID_RGB, &image);
  quorvid_picture_free(picture);
  return result == QUORVID_OK;
}

static int takeFrame(quorvid_player* player) {
  quorvid_frame* frame = NULL;
  if (quorvid_player_wait_frame(player, 0, &frame) != QUORVID_OK) return 0;
  quorvid_access_unit unit = QUORVID_ACCESS_UNIT_INIT;
  const int result = quorvid_frame_read(frame, &unit);
  quorvid_frame_free(frame);
  return result == QUORVID_OK && unit.length > 0;
}

static int play(const quorvid_target* target, int wantsFrames, int count) {
  quorvid_player* players[64] = {NULL};
  for (int i = 0; i < count; ++i) {
    players[i] = wantsFrames ? quorvid_player_create_for_frames(5) : quorvid_player_create(NULL);
    quorvid_player_set_status_handler(players[i], tell, NULL);
    if (quorvid_player_connect(players[i], target) != QUORVID_OK) return 2;
  }
  long received = 0;
  while (isStopped == 0) {
    const struct timespec turn = {0, 4000000};
    nanosleep(&turn, NULL);
    for (int i = 0; i < count; ++i) {
      while (wantsFrames ? takeFrame(players[i]) : takePicture(players[i])) ++received;
    }
  }
  for (int i = 0; i < count; ++i) quorvid_player_free(players[i]);
  printf("received %ld\n", received);
  return received > 0 ? 0 : 1;
}

int main(int argc, char** argv) {
  const int count = argc == 5 ? atoi(argv[4]) : 0;
  if (count < 1 || count > 64) {
    return fprintf(stderr, "usage: fault_players pictures|frames HOST PORT PLAYERS (1 to 64)\n"), 2;
  }
  setvbuf(stdout, NULL, _IOLBF, 0);
  signal(SIGINT, stop);
  quorvid_target target = QUORVID_TARGET_INIT;
  target.host = argv[2];
  target.port = atoi(argv[3]);
  target.device = "BUS-1";
  return play(&target, strcmp(argv[1], "frames") == 0, count);
}
