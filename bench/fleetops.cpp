// Speed of the fleet operations: making a fleet of 100 engines, the status
// of a fleet with 1000 pid files, and `fleetctl status` as a whole process.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fleet/fileutil.h"
#include "fleet/mkfleet.h"
#include "fleet/output.h"
#include "fleet/psfleet.h"
#include "tests/testsupport.h"

namespace {

void quietOperations() {
  static const FleetOutput quiet = {[](const char*, const char*) {}, [](const char*, const char*, OWBboolean) {},
                                    [](const char*, const char*) {}};
  setFleetOutput(&quiet);
}

// Fills args with a fleet of engineCount engines in fleetDir.
void defineFleet(MakeFleetArgs* args, const std::string& fleetDir, const std::string& place, int engineCount) {
  std::snprintf(args->fleetDir, sizeof args->fleetDir, "%s", fleetDir.c_str());
  std::snprintf(args->fleetDefn.fleetName, sizeof args->fleetDefn.fleetName, "%s",
                fleetDir.substr(fleetDir.rfind('/') + 1).c_str());
  args->fleetDefn.basePort = 30000;
  std::snprintf(args->fleetDefn.engineOptions, sizeof args->fleetDefn.engineOptions, "-d1");
  for (int i = 0; i < engineCount; ++i) {
    auto* engine = new EngineConfiguration(("eng" + std::to_string(i)).c_str());
    std::snprintf(engine->enginePlaceConfig, sizeof engine->enginePlaceConfig, "%s", place.c_str());
    args->fleetDefn.engines.include(engine);
  }
}

// A made fleet of two engines with pidFiles pid files of dead processes.
std::string fleetWithPidFiles(const owbtest::TempDir& root, int pidFiles) {
  std::string place = root.file("place.cfg");
  owbtest::writeWholeFile(place, "&watcher = /bin/sleep 600\n");
  std::string fleetDir = root.file("crowd");
  MakeFleetArgs args;
  defineFleet(&args, fleetDir, place, 2);
  List ports(kStandardChunkSize, TRUE, EqualCompare);
  if (!makeFleet(&args, &ports)) return "";
  for (int i = 0; i < pidFiles; ++i)
    owbtest::writeWholeFile(fleetDir + "/proc" + std::to_string(i) + ".pid",
                            "4000000\n/bin/something --index " + std::to_string(i) + "\n");
  return fleetDir;
}

// The installation the build laid out: its lib/debug.cfg is included.
using owbtest::installTree;

void setUpGlobals(const owbtest::TempDir& root) {
  quietOperations();
  char* resolved = realpath(installTree().c_str(), nullptr);
  std::snprintf(OWKInstallDir, sizeof OWKInstallDir, "%s", resolved ? resolved : installTree().c_str());
  std::free(resolved);
  std::snprintf(ThisCurrentDir, sizeof ThisCurrentDir, "%s", root.path().c_str());
  std::snprintf(ThisHostIP, sizeof ThisHostIP, "127.0.0.1");
  std::snprintf(ThisHostName, sizeof ThisHostName, "localhost");
}

void BM_MakeFleetOf100Engines(benchmark::State& state) {
  owbtest::TempDir root;
  setUpGlobals(root);
  std::string place = root.file("place.cfg");
  owbtest::writeWholeFile(place, "PlaceName = \"bench\"\nPlacePort = $NEW_ENG_PORT$\n");
  MakeFleetArgs args;
  defineFleet(&args, root.file("hundred"), place, 100);
  List ports(kStandardChunkSize, TRUE, EqualCompare);
  for (auto _ : state) {
    if (!makeFleet(&args, &ports)) state.SkipWithError("makeFleet failed");
    benchmark::DoNotOptimize(ports.totalElements);
  }
  state.counters["engines"] = 100;
}
BENCHMARK(BM_MakeFleetOf100Engines)->Unit(benchmark::kMillisecond);

void BM_PsFleetWith1000PidFiles(benchmark::State& state) {
  owbtest::TempDir root;
  setUpGlobals(root);
  std::string fleetDir = fleetWithPidFiles(root, 1000);
  PsFleetArgs args;
  std::snprintf(args.fleetDir, sizeof args.fleetDir, "%s", fleetDir.c_str());
  long records = 0;
  for (auto _ : state) {
    fleetProcessInfo* list = nullptr;
    if (!psFleet(&args, &list)) state.SkipWithError("psFleet failed");
    records = 0;
    for (fleetProcessInfo* record = list; record; record = record->next) ++records;
    freeFleetProcessInfo(&list);
  }
  state.counters["records"] = static_cast<double>(records);
}
BENCHMARK(BM_PsFleetWith1000PidFiles)->Unit(benchmark::kMillisecond);

// The whole `fleetctl status` process on the same fleet, output discarded.
void BM_FleetctlStatusProcess(benchmark::State& state) {
  owbtest::TempDir root;
  setUpGlobals(root);
  std::string fleetDir = fleetWithPidFiles(root, static_cast<int>(state.range(0)));
  std::string program = installTree() + "/bin/fleetctl";
  for (auto _ : state) {
    pid_t child = fork();
    if (child == 0) {
      int devNull = open("/dev/null", O_WRONLY);
      dup2(devNull, 1);
      dup2(devNull, 2);
      execl(program.c_str(), "fleetctl", "status", fleetDir.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("fleetctl status failed");
  }
  state.counters["pidFiles"] = static_cast<double>(state.range(0));
}
BENCHMARK(BM_FleetctlStatusProcess)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
