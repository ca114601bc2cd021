// A host in C11: the C interface alone, linked to the shared library.
#include <stdio.h>
#include <string.h>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/quorvid.h"
#include "quorvid/session/QuorvidVersion.h"

static int check(int holds, const char* what) {
  if (!holds) fprintf(stderr, "wrong: %s\n", what);
  return holds ? 0 : 1;
}

static const char* const misused = "null where a handle or a place is needed";

// Each call as a program makes it that forgot something; none may do anything.
static int misuse(void) {
  quorvid_target target = QUORVID_TARGET_INIT;
  quorvid_status status = QUORVID_STATUS_INIT;
  quorvid_player* player = quorvid_player_create(NULL);
  int wrong = check(player != NULL, "a player");
  const int32_t results[] = {quorvid_player_connect(NULL, &target),
                             quorvid_player_connect(player, NULL),
                             quorvid_player_play(NULL),
                             quorvid_player_stop(NULL),
                             quorvid_player_restart(NULL),
                             quorvid_player_status(player, NULL),
                             quorvid_player_status(NULL, &status),
                             quorvid_player_figures(player, NULL),
                             quorvid_player_wait(player, 0, NULL),
                             quorvid_player_set_picture_handler(NULL, NULL, NULL),
                             quorvid_player_set_status_handler(NULL, NULL, NULL),
                             quorvid_picture_read(NULL, 0, NULL),
                             quorvid_host_resize(NULL, 1, 1, 1),
                             quorvid_host_set_visible(NULL, 1),
                             quorvid_host_refresh(NULL),
                             quorvid_host_release(NULL),
                             quorvid_host_composite(NULL, 0, 0, 1, 1),
                             quorvid_view_set_frame(NULL, 0, 0, 1, 1),
                             quorvid_view_connect(NULL, &target),
                             quorvid_view_play(NULL),
                             quorvid_view_stop(NULL),
                             quorvid_view_restart(NULL),
                             quorvid_view_set_visible(NULL, 1),
                             quorvid_view_set_options(NULL, NULL),
                             quorvid_view_status(NULL, &status),
                             quorvid_view_figures(NULL, NULL),
                             quorvid_view_set_status_handler(NULL, NULL, NULL),
                             quorvid_view_set_wake_handler(NULL, NULL, NULL),
                             quorvid_view_snapshot(NULL, NULL)};
  for (size_t i = 0; i < sizeof results / sizeof *results; ++i) {
    wrong += check(results[i] == QUORVID_BAD_ARGUMENT, misused);
  }
  target.path = 3;
  wrong += check(quorvid_player_connect(player, &target) == QUORVID_BAD_ARGUMENT, "path 3");
  status.size = 7;
  wrong += check(quorvid_player_status(player, &status) == QUORVID_BAD_ARGUMENT, "size 7");
  target.size = 0;
  wrong += check(quorvid_player_connect(player, &target) == QUORVID_BAD_ARGUMENT, "size 0");
  wrong += check(quorvid_picture_keep(NULL) == NULL &&
                     quorvid_view_create(NULL, 0, 0, 1, 1, NULL) == NULL &&
                     quorvid_view_descriptor(NULL) == -1 && *quorvid_host_why(NULL) == '\0' &&
                     quorvid_host_needs_composite(NULL) == 0,
                 misused);
  quorvid_player_free(player);
  quorvid_player_free(NULL);
  quorvid_picture_free(NULL);
  quorvid_host_free(NULL);
  quorvid_view_free(NULL);
  return wrong + check(strcmp(quorvid_state_name(99), "unknown") == 0 &&
                           strcmp(quorvid_reason_name(16), "unknown") == 0 &&
                           strcmp(quorvid_result_name(1), "unknown") == 0,
                       "names of unknown numbers");
}

int main(void) {
  char byte = 'x';
  int wrong = check(QuorvidVersionNumber == 1.0, "version number");
  wrong += check(strcmp(QuorvidVersionString, "@(#)PROGRAM:Quorvid  PROJECT:Quorvid-1\n") == 0,
                 "version text");
  wrong += check(pCodecCtxWidth == 352 && pCodecCtxHeight == 288, "codec context size");
  wrong += check(carCount == 0 && myDevInfoItemsForGPS[199].itemLen == 0, "empty device table");
  wrong += check(writen(-1, &byte, 1) == -1 && readn(-1, &byte, 1) == -1, "bad descriptor");
  wrong += check(quorvid_version() == QUORVID_VERSION, "version of the C interface");
  return wrong + misuse();
}
