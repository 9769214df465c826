// Captures what the fleet operations say through their output functions.
#ifndef OWB_TESTS_FLEET_RECORDING_OUTPUT_H
#define OWB_TESTS_FLEET_RECORDING_OUTPUT_H

#include <string>
#include <utility>
#include <vector>

#include "fleet/output.h"

namespace owbtest {

// Installs itself for its lifetime; the console form comes back after.
class RecordingOutput {
 public:
  typedef std::pair<std::string, std::string> Entry;  // category, details

  RecordingOutput() {
    current() = this;
    FleetOutput output = {
        [](const char* c, const char* d) { current()->alerts.emplace_back(text(c), text(d)); },
        [](const char* c, const char* d, OWBboolean) { current()->notes.emplace_back(text(c), text(d)); },
        [](const char* c, const char* d) { current()->fatals.emplace_back(text(c), text(d)); }};
    setFleetOutput(&output);
  }
  ~RecordingOutput() {
    setFleetOutput(nullptr);
    current() = nullptr;
  }
  RecordingOutput(const RecordingOutput&) = delete;
  RecordingOutput& operator=(const RecordingOutput&) = delete;

  // Alerts and fatal errors together, in no particular order between them.
  std::vector<Entry> everything() const {
    std::vector<Entry> all = alerts;
    all.insert(all.end(), fatals.begin(), fatals.end());
    return all;
  }
  void clear() {
    alerts.clear();
    notes.clear();
    fatals.clear();
  }

  std::vector<Entry> alerts;
  std::vector<Entry> notes;
  std::vector<Entry> fatals;

 private:
  static RecordingOutput*& current() {
    static RecordingOutput* recorder = nullptr;
    return recorder;
  }
  static std::string text(const char* s) { return s ? s : "<null>"; }
};

}  // namespace owbtest

#endif  // OWB_TESTS_FLEET_RECORDING_OUTPUT_H
