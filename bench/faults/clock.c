// For LD_PRELOAD: sets the wall clock that a program sees by FAULT_CLOCK seconds (environment) when
// it has run for a second and a half. Its other clocks go on, and so does everybody else's.
#include <stdlib.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

static struct timespec begin;
static long step;

__attribute__((constructor)) static void start(void) {
  const char* text = getenv("FAULT_CLOCK");
  step = text == NULL ? 0 : atol(text);  // NOLINT(cert-err34-c)
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &begin);
}

static long offset(void) {
  struct timespec now;
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
  return (now.tv_sec - begin.tv_sec) * 10 + (now.tv_nsec - begin.tv_nsec) / 100000000 < 15 ? 0
                                                                                           : step;
}

int clock_gettime(clockid_t clock, struct timespec* time) {
  const int result = (int)syscall(SYS_clock_gettime, clock, time);
  if (result == 0 && clock == CLOCK_REALTIME) time->tv_sec += offset();
  return result;
}

int gettimeofday(struct timeval* restrict time, void* restrict zone) {
  (void)zone;
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  time->tv_sec = now.tv_sec;
  time->tv_usec = now.tv_nsec / 1000;
  return 0;
}

time_t time(time_t* place) {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  if (place != NULL) *place = now.tv_sec;
  return now.tv_sec;
}
