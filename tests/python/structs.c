// The structs that the Python package declares for itself: name, size, offset of the last field.
#include <stddef.h>
#include <stdio.h>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/quorvid.h"

#define TELL(name, type, last) \
  printf("%s %d %d\n", name, (int)sizeof(type), (int)offsetof(type, last))

int main(void) {
  TELL("Target", quorvid_target, password);
  TELL("Status", quorvid_status, sentence);
  TELL("Figures", quorvid_figures, restarts);
  TELL("Image", quorvid_image, reserved);
  TELL("PlayerOptions", quorvid_player_options, stall_after);
  TELL("DevInfoItem", DevInfoItem, blk128);
  return 0;
}
