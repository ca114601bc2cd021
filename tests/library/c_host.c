// A host in C11: the C interface alone, linked to the shared library.
#include <stdio.h>
#include <string.h>

#include "quorvid/connection/VehicleConnection.h"
#include "quorvid/session/QuorvidVersion.h"

static int check(int holds, const char* what) {
  if (!holds) fprintf(stderr, "wrong: %s\n", what);
  return holds ? 0 : 1;
}

int main(void) {
  char byte = 'x';
  int wrong = check(QuorvidVersionNumber == 1.0, "version number");
  wrong += check(strcmp(QuorvidVersionString, "@(#)PROGRAM:Quorvid  PROJECT:Quorvid-1\n") == 0,
                 "version text");
  wrong += check(pCodecCtxWidth == 352 && pCodecCtxHeight == 288, "codec context size");
  wrong += check(carCount == 0 && myDevInfoItemsForGPS[199].itemLen == 0, "empty device table");
  wrong += check(writen(-1, &byte, 1) == -1 && readn(-1, &byte, 1) == -1, "bad descriptor");
  return wrong;
}
