// UIScreen: the main screen's pixel density. Main thread.
//
// One number for the whole process: what layers begin with. A Window sets it; a ViewHost leaves it
// alone and gives its own scale to the layers that it shows.
#pragma once

#include "quorvid/base/Export.h"

namespace quorvid {

class QUORVID_API UIScreen {
 public:
  static UIScreen& mainScreen();
  // Pixels per point, 1.0 until a Window or the host says otherwise. A layer takes it when it is
  // made.
  double scale() const { return scale_; }
  // Values that are not finite or not above 0 are ignored.
  void setScale(double scale);

 private:
  double scale_ = 1.0;
};

}  // namespace quorvid
