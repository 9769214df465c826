// Start delay and stop patience, and an uninterruptible sleep.
#include "fleet/timing.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <ctime>

namespace {

// Longest accepted override: a day, so that a typo cannot freeze a run.
constexpr double kLongestOverride = 86400.0;

// The value of a numeric environment variable, or fallback when it is
// unset, empty, not wholly a number, negative or absurdly large.
double numberFromEnvironment(const char* name, double fallback) {
  const char* text = std::getenv(name);
  if (!text || !*text) return fallback;
  char* end = nullptr;
  errno = 0;
  double value = std::strtod(text, &end);
  if (errno != 0 || *end != '\0' || !std::isfinite(value) || value < 0.0 || value > kLongestOverride)
    return fallback;
  return value;
}

}  // namespace

double startDelaySeconds() { return numberFromEnvironment("OWB_START_DELAY", kDefaultStartDelaySeconds); }

int stopPatienceRounds() {
  return static_cast<int>(numberFromEnvironment("OWB_STOP_PATIENCE", kDefaultStopPatienceRounds));
}

void sleepSeconds(double seconds) {
  if (seconds <= 0.0) return;
  struct timespec remaining;
  remaining.tv_sec = static_cast<time_t>(seconds);
  remaining.tv_nsec = static_cast<long>((seconds - static_cast<double>(remaining.tv_sec)) * 1e9);
  while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
  }
}
