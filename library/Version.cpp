#include "quorvid/session/QuorvidVersion.h"

const double QuorvidVersionNumber = 1.0;
const char QuorvidVersionString[] = "@(#)PROGRAM:Quorvid  PROJECT:Quorvid-1\n";

int32_t pCodecCtxWidth = 352;
int32_t pCodecCtxHeight = 288;
