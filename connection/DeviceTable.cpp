// The table and the count that a host and its GPS poller share.
#include "quorvid/connection/VehicleConnection.h"

DevInfoItem myDevInfoItemsForGPS[200];
int32_t carCount;
