#include <cstdint>

#include "quorvid/session/QuorvidVersion.h"

const double QuorvidVersionNumber = 1.0;
const char QuorvidVersionString[] = "@(#)PROGRAM:Quorvid  PROJECT:Quorvid-1\n";

std::int32_t pCodecCtxWidth = 352;
std::int32_t pCodecCtxHeight = 288;
