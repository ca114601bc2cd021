// DrawLimit: the least that a picture costs on its way from memory into a tile.
#pragma once

#include "bench/limits/BareScaler.h"

namespace quorvid::bench {

// Uploading and drawing of a picture into a tile of width x height, in the GL context that is
// current: processor time of the process, with the threads that GL has in software. Milliseconds a
// picture. Nothing else may run in the process.
double measureDrawing(BareSize picture, int width, int height);

}  // namespace quorvid::bench
