// NowTime: the time text of a diagnostic.
#pragma once

namespace quorvid {

// The local time as asctime writes it, with its line end. The storage belongs to the calling thread
// and is overwritten by that thread's next call.
extern "C" char* getNowTime(void);

}  // namespace quorvid
