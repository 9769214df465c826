// The fleet registry: fleets from definitions and new fleets, their
// engines and ports, look-up and removal, and the settings records.

#include "fleetmgr/engconfig.h"
#include "fleetmgr/fleetmgr_support.h"
#include "fleetmgr/toolmsgs.h"

namespace {

using fmtest::ToolTest;

using fmtest::engineLabels;

TEST_F(ToolTest, FleetsFromDefinitionsTakePortsFromStartupAndAnnounceThem) {
  std::string dir = writeFleet("harbour", {
      // A string value is passed over; of two integers the first counts.
      {"A", "A_MOCK_PORT = \"7000\"\nA_MOCK_PORT = 7002\nA_MOCK_PORT = 7004\n"},
      {"B", "B_MOCK_PORT = 0\nA_MOCK_PORT = 9000\n"},  // port 0: known but not announced
      {"C", ""},                                       // no startup.cfg at all
  });

  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));

  EXPECT_EQ(engineLabels(fleet), (std::vector<std::string>{"A", "B", "C"}));
  auto port = [&](int i) { return static_cast<EngineObject*>(fleet->engineList.get(i))->port; };
  EXPECT_EQ(port(0), 7002);
  EXPECT_EQ(port(1), 0);
  EXPECT_EQ(port(2), 0);
  EXPECT_EQ(fleet->currentEng, fleet->engineList.get(2));
  EXPECT_TRUE(fleet->fleetExists);
  EXPECT_EQ(std::string(fleet->fleetFileName), dir + "/harbour.flt");
  EXPECT_EQ(gFleetMgr->currentFleet, fleet);

  // A definition without engines registers an empty fleet.
  std::string emptyDir = writeFleet("empty", {});
  FleetObject* empty = gFleetMgr->addFleet(emptyDir.c_str(), readDefinition(emptyDir));
  EXPECT_EQ(empty->engineList.totalElements, 0);
  EXPECT_EQ(empty->currentEng, nullptr);
  ASSERT_NE(empty->fleetFile, nullptr);

  markAndWait();
  auto announced = toolman->messagesOf(kAddEngineMessage);
  ASSERT_EQ(announced.size(), 1u);
  std::string host = fmtest::kTestHost + std::string(256 - std::strlen(fmtest::kTestHost), '\0');  // all 256 bytes
  EXPECT_EQ(announced[0].params, (fmtest::WireParams{{kParamStr255, host}, {kParamLong, fmtest::wireLong(7002)}}));
}

TEST_F(ToolTest, NewFleetHasOneDefaultEngineAndStaysOffDisk) {
  std::string dir = root.file("fresh");
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), nullptr);

  EXPECT_FALSE(fleet->fleetExists);
  EXPECT_EQ(std::string(fleet->fleetFileName), dir + "/fresh.flt");
  ASSERT_EQ(engineLabels(fleet), std::vector<std::string>{"eng1"});
  auto* engine = static_cast<EngineObject*>(fleet->engineList.get(0));
  EXPECT_EQ(fleet->currentEng, engine);
  EXPECT_STREQ(engine->engConfig->enginePlaceConfig, "$OWB/lib/engplace.cfg");
  FleetFileContent* definition = fleet->fleetFile;
  EXPECT_STREQ(definition->fleetName, "fresh");
  EXPECT_STREQ(definition->engineOptions, "-d1");
  // A random port and authority (their forms are the definition's own test's).
  EXPECT_GE(definition->basePort, kLowestBasePort);
  EXPECT_EQ(std::strlen(definition->authorityText), kAuthorityLength);
  // The engine's configuration is the definition's own.
  ASSERT_EQ(definition->engines.totalElements, 1);
  EXPECT_EQ(definition->engines.get(0), engine->engConfig);
  EXPECT_NE(access(dir.c_str(), F_OK), 0);
}

TEST_F(ToolTest, FindFleetIsExactAndNewestFirstAndDeleteClearsCurrent) {
  std::string dir = root.file("bay");
  FleetObject* older = gFleetMgr->addFleet(dir.c_str(), nullptr);
  FleetObject* other = gFleetMgr->addFleet(root.file("cove").c_str(), nullptr);
  FleetObject* newer = gFleetMgr->addFleet(dir.c_str(), nullptr);
  std::string name = dir + "/bay.flt";

  EXPECT_EQ(gFleetMgr->findFleet(name.c_str()), newer);
  FleetMgr elsewhere;  // look-ups always search gFleetMgr
  EXPECT_EQ(elsewhere.findFleet((root.path() + "/cove/cove.flt").c_str()), other);
  EXPECT_EQ(gFleetMgr->findFleet((root.path() + "//bay/bay.flt").c_str()), nullptr);
  EXPECT_EQ(gFleetMgr->findFleet((dir + "/BAY.flt").c_str()), nullptr);
  EXPECT_EQ(gFleetMgr->findFleet(dir.c_str()), nullptr);
  // A fleet equals its path, never another fleet.
  EXPECT_FALSE(newer->isEqual(older));
  EXPECT_FALSE(newer->isEqual(nullptr));

  EXPECT_TRUE(gFleetMgr->deleteFleet(name.c_str()));
  EXPECT_EQ(gFleetMgr->currentFleet, nullptr);
  EXPECT_EQ(gFleetMgr->findFleet(name.c_str()), older);
  gFleetMgr->currentFleet = other;
  EXPECT_TRUE(gFleetMgr->deleteFleet("/no/such/fleet.flt"));
  EXPECT_EQ(gFleetMgr->currentFleet, nullptr);
  EXPECT_EQ(gFleetMgr->fleetList.totalElements, 2);
}

TEST_F(ToolTest, EnginesAddFindAndRemoveTheEarliestOfLikeNames) {
  std::string dir = writeFleet("dock", {{"A", ""}, {"B", ""}});
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));

  EngineObject* added = fleet->addEngine("A");
  EXPECT_EQ(fleet->currentEng, added);
  EXPECT_STREQ(added->engConfig->enginePlaceConfig, "$OWB/lib/engplace.cfg");
  EXPECT_EQ(fleet->fleetFile->engines.totalElements, 2);  // not in the definition
  EngineObject* first = static_cast<EngineObject*>(fleet->engineList.get(0));
  EXPECT_EQ(fleet->findEngine("A"), first);
  EXPECT_EQ(fleet->findEngine("a"), nullptr);

  EXPECT_FALSE(fleet->removeEngine("Z"));
  EXPECT_EQ(fleet->engineList.totalElements, 3);
  EXPECT_TRUE(fleet->removeEngine("A"));
  EXPECT_EQ(engineLabels(fleet), (std::vector<std::string>{"B", "A"}));
  EXPECT_EQ(fleet->findEngine("A"), added);
  EXPECT_TRUE(fleet->removeEngine("A"));
  EXPECT_EQ(fleet->currentEng, nullptr);
  EXPECT_TRUE(fleet->removeEngine("B"));
  EXPECT_EQ(fleet->findEngine("B"), nullptr);
}

TEST(StringTupleItem, SlotsEqualityAndPrinting) {
  const char* pair[] = {"PATH", "/usr/bin", nullptr};
  StringTupleItem tuple(pair);
  EXPECT_STREQ(tuple.strings[1], "/usr/bin");
  EXPECT_STREQ(tuple.strings[19], "");
  char printed[kItemPrintBufferSize];
  tuple.printToString(printed);
  EXPECT_STREQ(printed, "PATH:/usr/bin:");

  StringTupleItem same(pair);
  EXPECT_TRUE(tuple.isEqual(&same));
  same.setStringN(19, "x");
  EXPECT_FALSE(tuple.isEqual(&same));
  same.setStringN(19, nullptr);
  EXPECT_TRUE(tuple.isEqual(&same));
  same.setStringN(20, "ignored");
  same.setStringN(-1, "ignored");
  EXPECT_TRUE(tuple.isEqual(&same));

  StringTupleItem untyped;  // no type: never equal to a typed tuple
  EXPECT_FALSE(tuple.isEqual(&untyped));
  StringItem text("PATH");
  EXPECT_FALSE(tuple.isEqual(&text));
  EXPECT_FALSE(tuple.isEqual(nullptr));

  // More than twenty strings fill the twenty slots and no more; a print
  // that would pass its buffer is cut.
  std::string longText(100, 'x');
  std::vector<const char*> many(25, longText.c_str());
  many.push_back(nullptr);
  StringTupleItem full(many.data());
  EXPECT_EQ(std::string(full.strings[19]), longText);
  full.printToString(printed);
  EXPECT_EQ(std::strlen(printed), static_cast<size_t>(kItemPrintBufferSize - 1));
}

}  // namespace
