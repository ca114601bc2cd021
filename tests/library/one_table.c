// one_table LIBRARY...: in a process that loads the libraries apart from one another, all have the
// same carCount, the same table and the same printer; with LINKED, those that the program itself is
// linked with.
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "quorvid/connection/VehicleConnection.h"

typedef int32_t (*Poll)(DevInfoItem*, int32_t*, const char*, int32_t, int32_t, const char*,
                        const char*, const char*, int32_t*, uint8_t*);

typedef void (*SetPrinter)(void (*printer)(const char*, void*), void* context);

static void countLine(const char* line, void* context) {
  *(int*)context += strcmp(line, "ConnectToHost connect to 127.0.0.1 fail") == 0;
}

int main(int argc, char** argv) {
  int32_t* count = NULL;
  void* table = NULL;
  void (*silence)(void) = NULL;
  int lines = 0;
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

    union {
      void* symbol;
      Poll call;
      SetPrinter set;
      void (*silence)(void);
    } poll = {dlsym(library, "ThreadGetCarGPS")}, name = {dlsym(library, "SetConnectionPrinter")};
    if (i == 1) name.set(countLine, &lines);
    name.symbol = dlsym(library, "SilenceConnectionPrinter");
    if (i == 1) silence = name.silence;
    int32_t records = 0, done = 0;
    uint8_t run = 1;
    *count = 77;
    poll.call(NULL, &records, "127.0.0.1", 1, 0, "a", "p", "t", &done, &run);
    if (*count != 0) return fprintf(stderr, "%s polls into another count\n", argv[i]), 1;
    if (lines != i) return fprintf(stderr, "%s prints elsewhere\n", argv[i]), 1;
    if (i + 1 < argc) continue;
    silence();
    poll.call(NULL, &records, "127.0.0.1", 1, 0, "a", "p", "t", &done, &run);
    if (lines != i) return fprintf(stderr, "%s prints though it is silenced\n", argv[i]), 1;
  }
  return argc < 2;
}
