// The public header is C11 as well: a service written in C compiles and calls it.
#include "quorvid/connection/VehicleConnection.h"

_Static_assert(sizeof(long) == 8 || sizeof(DevInfoItem) == 280, "the wire image on 32-bit targets");

int32_t tableBytesSeenFromC(void);

int32_t tableBytesSeenFromC(void) {
  return readn(-1, 0, 0) == 0 && writen(-1, 0, -3) == -3 && carCount == 0
             ? (int32_t)sizeof myDevInfoItemsForGPS
             : -1;
}
