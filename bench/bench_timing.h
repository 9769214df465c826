// Timing helpers shared by the benchmarks that time single events: a
// monotonic clock in microseconds and the median of a set of samples.
#ifndef OWB_BENCH_TIMING_H
#define OWB_BENCH_TIMING_H

#include <time.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace benchtiming {

// Microseconds on the monotonic clock; only differences mean anything.
inline int64_t nowUs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000000 + ts.tv_nsec / 1000;
}

// The upper median of the samples (0 for none); takes a copy to sort.
inline double median(std::vector<double> samples) {
  if (samples.empty()) return 0;
  std::sort(samples.begin(), samples.end());
  return samples[samples.size() / 2];
}

}  // namespace benchtiming

#endif  // OWB_BENCH_TIMING_H
