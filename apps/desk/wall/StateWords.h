// StateWords: how a tile's stream stands, in the user's language. Main thread.
#pragma once

#include <string>

#include "quorvid/live/LiveStatus.h"

namespace quorvid::desk {

// "Live", "Connecting", "Stalled" ...
std::string stateWord(LiveState state);
// Why it is not live, and when it is tried again; empty where there is nothing to say.
std::string reasonSentence(const LiveStatus& status);
// "25/s, 1.2 Mb/s, 40 ms": pictures, megabits, how late they are; empty before the first picture.
std::string figuresText(const LiveFigures& figures);
// The last picture stands and none follows, or there is none.
bool isStill(LiveState state);
// "1:05", "1:02:05".
std::string clockText(double seconds);

}  // namespace quorvid::desk
