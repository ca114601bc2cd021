// The table and the count that a host and its GPS poller share: one of each in a process, whichever
// of the libraries that define them it has loaded, and however.
#include <cstdint>

#include "quorvid/connection/VehicleConnection.h"

#if defined(__linux__) && defined(__ELF__)
// Unique symbols: the loader takes the first definition for all, even across libraries that were
// loaded with RTLD_LOCAL and so don't see each other. No attribute says this, and clang binds what
// it defines itself: so the public names are the assembler's, for storage with names of its own.
#pragma GCC visibility push(hidden)
extern "C" {
__attribute__((used)) DevInfoItem quorvidDeviceTable[200];
__attribute__((used)) std::int32_t quorvidCarCount;
}
#pragma GCC visibility pop
__asm__(
    ".globl myDevInfoItemsForGPS, carCount\n"
    ".type myDevInfoItemsForGPS, %gnu_unique_object\n"
    ".type carCount, %gnu_unique_object\n"
    ".set myDevInfoItemsForGPS, quorvidDeviceTable\n"
    ".set carCount, quorvidCarCount\n");
#else
DevInfoItem myDevInfoItemsForGPS[200];
std::int32_t carCount;
#endif
