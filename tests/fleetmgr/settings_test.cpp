// The settings window's make and Cancel without the window: the authority
// checks, the options and security that the make takes, the rollback of a
// failed make and the revert of Cancel.

#include "fleetmgr/fleetmgr_support.h"
#include "fleetmgr/settings.h"

namespace {

using fmtest::seenAlerts;
using fmtest::ToolTest;
using fmtest::engineLabels;

TEST(Authority, OnlyEmptyOr34HexadecimalDigitsPass) {
  const std::string good = "04" + std::string(16, 'a') + std::string(16, 'F');
  EXPECT_EQ(authorityRefusal(good.c_str()), nullptr);
  EXPECT_EQ(authorityRefusal(""), nullptr);
  const std::string length = "Illegal authority string: authority must be 34 characters long.";
  const std::string nonHex = "Illegal authority string: authority contained non-hexadecimal character.";
  EXPECT_EQ(authorityRefusal(good.substr(1).c_str()), length);
  EXPECT_EQ(authorityRefusal((good.substr(0, 33) + " ").c_str()), nonHex);
}

TEST_F(ToolTest, SettingsMakeRefusesABadAuthorityAndWritesAGoodOneOptionsAndSecurity) {
  toolman->answerProjectPath(std::vector<std::string>{});
  std::string place = root.file("place.cfg");
  owbtest::writeWholeFile(place, "PlaceName = \"p\"\n");
  std::string dir = root.file("yard");
  FleetObject* fleet = gFleetMgr->addFleet(dir.c_str(), nullptr);
  std::snprintf(fleet->currentEng->engConfig->enginePlaceConfig, sizeof(fileNameType), "%s", place.c_str());

  // A bad authority: refused, and nothing changes.
  std::string before = fleet->fleetFile->authorityText;
  FleetObject* held = fleet;
  EXPECT_EQ(makeFleetFromSettings(&held, {"0123", "-x", true}), -1);
  EXPECT_EQ(held, fleet);
  ASSERT_EQ(seenAlerts().size(), 1u);
  EXPECT_EQ(seenAlerts()[0].title, "Invalid authority string");
  EXPECT_EQ(seenAlerts()[0].type, kAlertWarning);
  EXPECT_EQ(fleet->fleetFile->authorityText, before);
  EXPECT_STREQ(fleet->fleetFile->engineOptions, "-d1");
  EXPECT_FALSE(fleet->fleetExists);
  EXPECT_NE(access(fleet->fleetFileName, F_OK), 0);

  // An empty authority clears the stored one; empty options are made "-d1".
  ASSERT_EQ(makeFleetFromSettings(&held, {"", "", true}), kNoError) << testing::PrintToString(output.everything());
  EXPECT_EQ(held, fleet);
  EXPECT_TRUE(fleet->fleetExists);
  EXPECT_STREQ(fleet->fleetFile->authorityText, "");
  FleetFileContent onDisk;
  ASSERT_TRUE(readFleetDefinition(dir.c_str(), &onDisk));
  EXPECT_STREQ(onDisk.authorityText, "");
  EXPECT_STREQ(onDisk.engineOptions, "-d1");
  EXPECT_NE(onDisk.securityOn, 0);

  const std::string authority = "04" + std::string(32, 'C');
  ASSERT_EQ(makeFleetFromSettings(&held, {authority.c_str(), "-d2 -v", false}), kNoError);
  FleetFileContent again;
  ASSERT_TRUE(readFleetDefinition(dir.c_str(), &again));
  EXPECT_EQ(std::string(again.authorityText), authority);
  EXPECT_STREQ(again.engineOptions, "-d2 -v");
  EXPECT_EQ(again.securityOn, 0);
  EXPECT_STREQ(fleet->fleetFile->engineOptions, "-d2 -v");
}

TEST_F(ToolTest, FailedMakeOfASavedFleetRereadsItAndAnUnsavedOneKeepsItsEdits) {
  toolman->answerProjectPath(std::vector<std::string>{});
  std::string dir = writeFleet("harbour", {{"A", ""}, {"B", ""}});
  FleetObject* saved = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));
  saved->removeEngine("A");
  saved->addEngine(std::string(kMaxEngineNameLength + 1, 'n').c_str());  // a name the make refuses

  FleetObject* held = saved;
  EXPECT_EQ(makeFleetFromSettings(&held, {"", "-d1", false}), -2000);
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(gFleetMgr->fleetList.totalElements, 1);
  EXPECT_EQ(gFleetMgr->fleetList.get(0), held);
  EXPECT_EQ(gFleetMgr->currentFleet, held);
  EXPECT_TRUE(held->fleetExists);
  EXPECT_EQ(engineLabels(held), (std::vector<std::string>{"A", "B"}));

  FleetObject* unsaved = gFleetMgr->addFleet(root.file("fresh").c_str(), nullptr);
  unsaved->addEngine(std::string(kMaxEngineNameLength + 1, 'n').c_str());
  held = unsaved;
  EXPECT_EQ(makeFleetFromSettings(&held, {"", "", false}), -2000);
  EXPECT_EQ(held, unsaved);
  EXPECT_EQ(engineLabels(unsaved).size(), 2u);
  EXPECT_EQ(gFleetMgr->fleetList.totalElements, 2);
}

TEST_F(ToolTest, CancelRereadsASavedFleetAndForgetsAnUnsavedOne) {
  std::string dir = writeFleet("harbour", {{"A", ""}}, 7000);
  FleetObject* saved = gFleetMgr->addFleet(dir.c_str(), readDefinition(dir));
  saved->addEngine("extra");
  saved->fleetFile->basePort = 9999;
  FleetObject* reread = revertFleetSettings(saved);
  ASSERT_NE(reread, nullptr);
  EXPECT_EQ(engineLabels(reread), std::vector<std::string>{"A"});
  EXPECT_EQ(reread->fleetFile->basePort, 7000);
  EXPECT_EQ(gFleetMgr->findFleet((dir + "/harbour.flt").c_str()), reread);

  FleetObject* unsaved = gFleetMgr->addFleet(root.file("fresh").c_str(), nullptr);
  std::string name = unsaved->fleetFileName;
  EXPECT_EQ(revertFleetSettings(unsaved), nullptr);
  EXPECT_EQ(gFleetMgr->findFleet(name.c_str()), nullptr);
  EXPECT_EQ(gFleetMgr->currentFleet, nullptr);

  // A definition deleted behind the tool's back is not made up again.
  FleetObject* gone = gFleetMgr->findFleet((dir + "/harbour.flt").c_str());
  ASSERT_EQ(unlink((dir + "/harbour.flt").c_str()), 0);
  EXPECT_EQ(revertFleetSettings(gone), nullptr);
  EXPECT_EQ(gFleetMgr->fleetList.totalElements, 0);
}

}  // namespace
