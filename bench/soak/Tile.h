// Tile: a place in the window where streams are played one after the other. Main thread.
#pragma once

#include "soak/Course.h"

namespace soak {

class Tile {
 public:
  virtual ~Tile() = default;
  virtual void play(const Draw& draw) = 0;
  // Starts, restarts and moves on when that is due.
  virtual void look(double now) = 0;
  // Ends the stream and lets the picture go.
  virtual void rest() = 0;
  virtual Counts counts() const = 0;
};

}  // namespace soak
