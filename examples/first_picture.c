// Waits for a camera's first picture and writes it: first_picture HOST PORT DEVICE CHANNEL FILE.ppm
#include <stdio.h>
#include <stdlib.h>

#include "quorvid/quorvid.h"

static int writePpm(const char* path, const quorvid_image* image) {
  FILE* file = fopen(path, "wb");
  if (file == NULL) return perror(path), 1;
  fprintf(file, "P6\n%d %d\n255\n", image->width, image->height);
  for (int y = 0; y < image->height; ++y) {
    fwrite(image->plane[0] + (size_t)y * image->stride[0], 3, image->width, file);
  }
  const int failed = ferror(file);
  return fclose(file) != 0 || failed ? perror(path), 1 : 0;
}

int main(int argc, char** argv) {
  if (argc != 6)
    return fprintf(stderr, "usage: first_picture HOST PORT DEVICE CHANNEL FILE.ppm\n"), 2;
  quorvid_target target = QUORVID_TARGET_INIT;
  target.host = argv[1];
  target.port = atoi(argv[2]);
  target.device = argv[3];
  target.channel = atoi(argv[4]);

  quorvid_player* player = quorvid_player_create(NULL);
  quorvid_picture* picture = NULL;
  int result = quorvid_player_connect(player, &target);
  if (result == QUORVID_OK) result = quorvid_player_wait(player, 10, &picture);
  int status = 1;
  if (result == QUORVID_OK) {
    quorvid_image image = QUORVID_IMAGE_INIT;
    result = quorvid_picture_read(picture, QUORVID_RGB, &image);
    if (result == QUORVID_OK) status = writePpm(argv[5], &image);
  }
  if (result != QUORVID_OK) {
    quorvid_status how = QUORVID_STATUS_INIT;
    quorvid_player_status(player, &how);
    fprintf(stderr, "no picture (%s): %s %s\n", quorvid_result_name(result),
            quorvid_state_name(how.state), how.sentence);
  }
  quorvid_picture_free(picture);
  quorvid_player_free(player);
  return status;
}
