// QuorvidVersion: which library the process has loaded; C11 and C++, any thread, constant data.
#pragma once

#include <stdint.h>

#include "quorvid/base/Export.h"

#ifdef __cplusplus
extern "C" {
#endif

// 1.0
extern QUORVID_API const double QuorvidVersionNumber;
// "@(#)PROGRAM:Quorvid  PROJECT:Quorvid-1\n", for `what` and `strings`.
extern QUORVID_API const char QuorvidVersionString[];

// Picture size of a host's own codec context, 352 and 288 at first. For the host to use: the
// library neither reads nor writes them.
extern QUORVID_API int32_t pCodecCtxWidth;
extern QUORVID_API int32_t pCodecCtxHeight;

#ifdef __cplusplus
}
#endif
