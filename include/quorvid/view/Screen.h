// UIScreen: the main screen's pixel density. Main thread.
#pragma once

#include "quorvid/base/Export.h"

namespace quorvid {

class QUORVID_API UIScreen {
 public:
  static UIScreen& mainScreen();
  // Pixels per point, 1.0 until a window or the host says otherwise. A layer takes it when it is
  // made.
  double scale() const { return scale_; }
  // Values that are not finite or not above 0 are ignored.
  void setScale(double scale);

 private:
  double scale_ = 1.0;
};

}  // namespace quorvid
