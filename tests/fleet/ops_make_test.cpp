// Making fleets: the generated files, the port numbers, re-making, and
// the expansion of external commands.
#include <gtest/gtest.h>

#include <algorithm>

#include "fleet/configlang.h"
#include "fleet/eng_util.h"
#include "fleet/launch.h"
#include "fleet/ops_support.h"

namespace {

using opstest::fileExistsNow;
using owbtest::readWholeFile;
using owbtest::writeWholeFile;

std::vector<long> numbers(List& list) {
  std::vector<long> values;
  for (long i = 0; i < list.totalElements; ++i) values.push_back(static_cast<NumberItem*>(list.get(i))->number);
  return values;
}

TEST(MakeFleet, WritesRegionEnginesAndPortsOfTwoEnginesPlacePortsAndEmptyFleets) {
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("twin");
  const std::string place = sandbox.root() + "/place.cfg";
  writeWholeFile(place, "PlaceName = \"p\"\n");
  MakeFleetArgs args;
  opstest::defineFleet(&args, fleet, {"A", "B"}, place, 6000);
  std::snprintf(args.fleetDefn.authorityText, sizeof args.fleetDefn.authorityText, "04abc");
  args.fleetDefn.securityOn = OWB_TRUE;
  static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(1))->loadDebugger = OWB_FALSE;
  static_cast<EngineConfiguration*>(args.fleetDefn.engines.get(1))->moduleConfigFiles.include(new StringItem("m.cfg"));
  writeWholeFile(sandbox.root() + "/m.cfg", "ModuleThing = 1\n");
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);

  ASSERT_TRUE(makeFleet(&args, &debuggerPorts)) << testing::PrintToString(sandbox.output.everything());
  EXPECT_EQ(numbers(debuggerPorts), (std::vector<long>{6006, 6014}));
  EXPECT_TRUE(fileExistsNow(fleet + "/twin.flt"));
  EXPECT_EQ(readWholeFile(fleet + "/region/ports.cfg"),
            "RegionPort = 6000\nA_EngineTCPPort = 6002\nA_MNI_PORT = 6004\nA_MOCK_PORT = 6006\n"
            "B_EnginePort = 6008\nB_EngineTCPPort = 6010\nB_MNI_PORT = 6012\nB_MOCK_PORT = 6014\n");
  EXPECT_EQ(readWholeFile(fleet + "/region/region.cfg"),
            "include = " + fleet + "/region/ports.cfg\n"
            "RegionIPAddress(LocalHostIP) = \"$LocalHostIP\"\n"
            "RegionPort = $NEW_FLEET_PORT$\n"
            "RegionAuthority = #O\"04abc\"\n"
            "@SECURE = 1\n@SECDB_DIR = ../region\n@FINDER = 1\n@FINDER_DIR = ../region\n@PROF_MASK = 0\n");
  const std::string owb = sandbox.installTree();
  const std::string root = sandbox.root();
  std::string common =
      "LocalHostIP = \"127.0.0.1\"\nLocalHostName = \"localhost\"\n\n"
      "include = " + fleet + "/region/region.cfg\n"
      "\n# Macros pointing to directories of special interest\n\n"
      "OWBDirectory = \"" + owb + "\"\nOWBBinDirectory = \"" + owb + "/bin\"\n"
      "OWBLibraryDirectory = \"" + owb + "/lib\"\nOWBModulesDirectory = \"" + owb + "/modules\"\n"
      "CreationDirectory = \"" + root + "\"\n";
  std::string portLines =
      "@UDP_PORT(EnginePort) = $EnginePort\nEngineTCPPort = $NEW_ENG_PORT$\n"
      "@TCP_PORT(EngineTCPPort) = $EngineTCPPort\n@MNI_PORT = $NEW_ENG_PORT$\n@MOCK_PORT = $NEW_ENG_PORT$\n"
      "@PPP = 0\n@MODEMS = \"(answer,,)\"\n"
      "\n# Pull in the configuration file describing the engine place:\n\n"
      "include = " + place + "\n";
  // The first engine takes the region's port and loads the debugger; the
  // second gets a port of its own and loads a module.
  for (const std::string engine : {"A", "B"}) {
    const bool first = engine == "A";
    EXPECT_EQ(readWholeFile(fleet + "/" + engine + "/startup.cfg"),
              common + "AutoLoadPath += \" " + root + "/ " + fleet + "/" + engine + "/ " + owb + "/lib/ " + owb +
                  "/modules/ \"\n\n# Engine port numbers and modem configuration:\n\nEngineLocation = \"" + engine +
                  "\"\nEngineIPAddress = \"127.0.0.1\"\n" +
                  (first ? "EnginePort(RegionPort) = $RegionPort\n" : "EnginePort = $NEW_ENG_PORT$\n") + portLines +
                  (first ? "include = debug.cfg\n" : "") + "\n# Loading installed OWB module configuration files:\n\n" +
                  (first ? "" : "include = m.cfg\n") + "\n# Loading project configuration files:\n\n");
  }
  const auto& notes = sandbox.output.notes;
  EXPECT_NE(std::find(notes.begin(), notes.end(), owbtest::RecordingOutput::Entry{"Allocated port", "RegionPort -> 6000"}),
            notes.end());

  // Read in use, each engine's port settings take their numbers from
  // ports.cfg: "@" marks an environment setting.
  auto portSettings = [&](const char* engine) {
    configItem* records = nullptr;
    EXPECT_TRUE(readConfigFile(fleet.c_str(), engine, &records, nullptr, nullptr));
    std::string found;
    for (configItem* item = records; item; item = item->next) {
      std::string label = item->label ? item->label : "";
      if (label == "RegionPort" || label == "EnginePort" || label == "EngineTCPPort" || label.find("_PORT") != std::string::npos)
        found += item->kind == configEnviron ? "@" + label + "=" + item->value.asEnviron + " "
                                             : label + "=" + std::to_string(item->value.asInteger) + " ";
    }
    freeConfigList(&records);
    return found;
  };
  const std::string shared = "RegionPort=6000 A_MNI_PORT=6004 A_MOCK_PORT=6006 B_MNI_PORT=6012 B_MOCK_PORT=6014 ";
  EXPECT_EQ(portSettings("A"), shared + "EnginePort=6000 @UDP_PORT=6000 EngineTCPPort=6002 @TCP_PORT=6002 "
                                        "@MNI_PORT=6004 @MOCK_PORT=6006 ");
  EXPECT_EQ(portSettings("B"), shared + "EnginePort=6008 @UDP_PORT=6008 EngineTCPPort=6010 @TCP_PORT=6010 "
                                        "@MNI_PORT=6012 @MOCK_PORT=6014 ");

  // A place port comes after the engine's four; a standard name reuses its number.
  writeWholeFile(place, "PlacePort = $NEW_ENG_PORT$\nEngineTCPPort = $NEW_ENG_PORT$\n");
  MakeFleetArgs placed;
  opstest::defineFleet(&placed, sandbox.fleetDir("placed"), {"A", "B"}, place, 7000);
  ASSERT_TRUE(makeFleet(&placed, &debuggerPorts));
  EXPECT_EQ(readWholeFile(sandbox.fleetDir("placed") + "/region/ports.cfg"),
            "RegionPort = 7000\nA_EngineTCPPort = 7002\nA_MNI_PORT = 7004\nA_MOCK_PORT = 7006\nA_PlacePort = 7008\n"
            "B_EnginePort = 7010\nB_EngineTCPPort = 7012\nB_MNI_PORT = 7014\nB_MOCK_PORT = 7016\n"
            "B_PlacePort = 7018\n");

  MakeFleetArgs empty;
  opstest::defineFleet(&empty, sandbox.fleetDir("hollow"), {}, place, 7100);
  debuggerPorts.include(new NumberItem(1));
  ASSERT_TRUE(makeFleet(&empty, &debuggerPorts));
  EXPECT_EQ(debuggerPorts.totalElements, 0);
  EXPECT_TRUE(fileExistsNow(sandbox.fleetDir("hollow") + "/hollow.flt"));
  EXPECT_TRUE(fileExistsNow(sandbox.fleetDir("hollow") + "/region/region.cfg"));
  EXPECT_EQ(readWholeFile(sandbox.fleetDir("hollow") + "/region/ports.cfg"), "");
}

TEST(MakeFleet, RemakeDropsObsoleteEnginesAndDiscardsState) {
  opstest::ChildReaper reaper;
  opstest::FleetSandbox sandbox;
  const std::string fleet = sandbox.fleetDir("changing");
  const std::string place = sandbox.root() + "/place.cfg";
  writeWholeFile(place, "\n");
  List debuggerPorts(kStandardChunkSize, TRUE, EqualCompare);
  auto make = [&](std::initializer_list<const char*> labels) {
    MakeFleetArgs args;
    opstest::defineFleet(&args, fleet, labels, place, 8000);
    return makeFleet(&args, &debuggerPorts) != 0;
  };
  ASSERT_TRUE(make({"keep", "drop", "Case"}));
  mkdir((fleet + "/drop/db").c_str(), 0777);
  mkdir((fleet + "/keep/db").c_str(), 0777);
  writeWholeFile(fleet + "/keep/db/state", "boots 3\n");
  writeWholeFile(fleet + "/Case/notes", "kept\n");
  ASSERT_TRUE(make({"keep", "CASE"}));
  EXPECT_FALSE(fileExistsNow(fleet + "/drop"));
  EXPECT_FALSE(fileExistsNow(fleet + "/keep/db"));       // a db costs the engine its directory
  EXPECT_TRUE(fileExistsNow(fleet + "/keep/startup.cfg"));
  EXPECT_TRUE(fileExistsNow(fleet + "/Case/notes"));     // the label changed only in case

  // A running process of the fleet forbids re-making it.
  ASSERT_TRUE(runCommandWithPid(fleet.c_str(), "busy", "sleep 60", "", nullptr, nullptr, OWB_FALSE));
  ASSERT_TRUE(opstest::eventually([&] { return fileExistsNow(fleet + "/busy.pid"); }));
  sandbox.output.clear();
  EXPECT_FALSE(make({"keep"}));
  ASSERT_EQ(sandbox.output.fatals.size(), 1u);
  EXPECT_EQ(sandbox.output.fatals[0].first, "Cannot (Re-)Configure the Fleet");
  EXPECT_TRUE(fileExistsNow(fleet + "/Case"));
}

// An external's command line takes its names from the records read before
// its line, then from the environment.
TEST(ExternalCommands, ExpandFromRecordsBeforeTheLineThenTheEnvironment) {
  owbtest::ScopedEnv fromEnvironment("OWBTEST_FROM_ENV", std::string("env-value"));
  owbtest::ScopedEnv shadowed("Dir", std::string("from-environment"));
  owbtest::TempDir fleet;
  ASSERT_TRUE(ensureDir(fleet.file("eng").c_str()));
  writeWholeFile(fleet.file("eng/startup.cfg"),
                 "Dir = \"/first\"\nDir = \"/opt/tools\"\nPort = 4711\nFlag = #true\nNothing = #nil\n@MODE = fast\n"
                 "!Port = ignored\n!tool = x\nLater = \"too late\"\n");
  configItem* records = nullptr;
  ASSERT_TRUE(readConfigFile(fleet.path().c_str(), "eng", &records, nullptr, nullptr));
  configItem* line = records;
  while (line && !(line->kind == configExternal && std::strcmp(line->label, "tool") == 0)) line = line->next;
  ASSERT_NE(line, nullptr);

  std::string expanded, missing;
  EXPECT_FALSE(expandExternalCommand("run $OWBTEST_FROM_ENV", records, line, &expanded, &missing));
  EXPECT_EQ(missing, "$OWBTEST");  // `_` ends a name

  ASSERT_TRUE(expandExternalCommand("$Dir/run -p $Port -f $Flag [$Nothing] $MODE $HOME", records, line,
                                    &expanded, &missing));
  EXPECT_EQ(expanded, "/opt/tools/run -p 4711 -f true [] fast " + std::string(std::getenv("HOME")));
  EXPECT_EQ(commandDirectory(expanded), "/opt/tools");
  EXPECT_EQ(commandDirectory("tool -x /a/b"), "");

  // A name defined only after the line is not seen.
  EXPECT_FALSE(expandExternalCommand("$Later", records, line, &expanded, &missing));
  EXPECT_EQ(missing, "$Later");
  freeConfigList(&records);
}

}  // namespace
