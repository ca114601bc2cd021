// DrawLimit: the least that a picture costs on its way from memory into a tile.
#pragma once

namespace quorvid::bench {

// Uploading and drawing of a picture of 1280x960 into a tile of that size, in the GL context that
// is current: processor time of the process, with the threads that GL has in software. Milliseconds
// a picture. Nothing else may run in the process.
double measureDrawing(int width, int height);

}  // namespace quorvid::bench
