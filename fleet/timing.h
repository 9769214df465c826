// How long the fleet operations wait for the processes they start and stop.
//
// Each started process is given a start delay (3 seconds) before the next
// step, and a stopped process is given up to 120 rounds of one second to
// go after SIGINT before it is killed.  Tests shorten both through the
// environment:
//   OWB_START_DELAY    seconds after each start, a decimal such as 0.2
//   OWB_STOP_PATIENCE  the number of one-second rounds of a stop
// A value that does not read as a non-negative number leaves the default.
#ifndef OWB_FLEET_TIMING_H
#define OWB_FLEET_TIMING_H

constexpr double kDefaultStartDelaySeconds = 3.0;
constexpr int kDefaultStopPatienceRounds = 120;

// The start delay in seconds, read from the environment on each call.
double startDelaySeconds();
// The stop patience in one-second rounds, read on each call.
int stopPatienceRounds();

// Sleeps the whole time even when signals interrupt it.
void sleepSeconds(double seconds);

#endif  // OWB_FLEET_TIMING_H
