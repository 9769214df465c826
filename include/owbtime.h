// The clock of the toolkit's event loop and of tool messaging: milliseconds
// of the system's monotonic clock, which never jumps when the wall-clock
// time is set.  Timers, alarms, event times and reply deadlines all count
// on it, so their values can be compared with each other.
#ifndef OWB_INCLUDE_OWBTIME_H
#define OWB_INCLUDE_OWBTIME_H

#include <time.h>

inline unsigned long TIME_GetCurMillisecs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<unsigned long>(ts.tv_sec) * 1000ul + static_cast<unsigned long>(ts.tv_nsec / 1000000);
}

#endif  // OWB_INCLUDE_OWBTIME_H
