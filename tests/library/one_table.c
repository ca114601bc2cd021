// one_table LIBRARY...: in a process that loads the libraries apart from one another, all have the
// same carCount and the same table; with LINKED, those that the program itself is linked with.
#include <dlfcn.h>
#include <stdio.h>

#include "quorvid/connection/VehicleConnection.h"

typedef int32_t (*Poll)(DevInfoItem*, int32_t*, const char*, int32_t, int32_t, const char*,
                        const char*, const char*, int32_t*, uint8_t*);

int main(int argc, char** argv) {
  int32_t* count = NULL;
  void* table = NULL;
#ifdef LINKED
  count = &carCount;
  table = myDevInfoItemsForGPS;
#endif
  for (int i = 1; i < argc; ++i) {
    void* library = dlopen(argv[i], RTLD_NOW | RTLD_LOCAL);
    if (library == NULL) return fprintf(stderr, "%s\n", dlerror()), 1;
    int32_t* own = dlsym(library, "carCount");
    if (count == NULL) count = own;
    if (table == NULL) table = dlsym(library, "myDevInfoItemsForGPS");
    if (own != count || dlsym(library, "myDevInfoItemsForGPS") != table)
      return fprintf(stderr, "%s has a count or a table of its own\n", argv[i]), 1;

    // A poller clears the count before it looks whether to run.
    union {
      void* symbol;
      Poll call;
    } poll = {dlsym(library, "ThreadGetCarGPS")};
    int32_t records = 0, done = 0;
    uint8_t run = 0;
    *count = 77;
    poll.call(NULL, &records, "127.0.0.1", 1, 0, "a", "p", "t", &done, &run);
    if (*count != 0) return fprintf(stderr, "%s polls into another count\n", argv[i]), 1;
  }
  return argc < 2;
}
