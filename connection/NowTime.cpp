#include "connection/NowTime.h"

#include <ctime>

namespace quorvid {

extern "C" char* getNowTime(void) {
  // "Www Mmm dd hh:mm:ss yyyy\n" and NUL; empty for a year that has no such form.
  thread_local char text[26];
  const time_t now = time(nullptr);
  tm local{};
  tzset();
  if (localtime_r(&now, &local) == nullptr || asctime_r(&local, text) == nullptr) text[0] = '\0';
  return text;
}

}  // namespace quorvid
