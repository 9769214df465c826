// fleetmgr as a real process on a private X server (Xvfb), under the test
// Tool Manager on loopback: registration byte for byte, file
// identification, commands, QUIT, the end when the Tool Manager vanishes,
// a start without an installation or without a display.

#include "fleet/ops_support.h"
#include "fleetmgr/fleetmgr_support.h"
#include "alert_answerer.h"
#include "xvfb_support.h"

namespace {

using fmtest::installTree;
using fmtest::nul;
using fmtest::TestToolManager;
using fmtest::WireMessage;
using fmtest::WireParams;

class FleetMgrProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(owbtest::sharedXvfb().ok()) << "the tool needs an X server (Xvfb)";
    home = root.file("home");
    mkdir(home.c_str(), 0777);
    toolman = std::make_unique<TestToolManager>(home);
  }
  void TearDown() override {
    if (tool > 0 && exitStatus(tool, 0.1) == -1) {
      kill(tool, SIGKILL);
      reaper.waitFor(tool, 10);
    }
    toolman.reset();
  }

  std::map<std::string, std::string> toolEnvironment() const {
    return {{"HOME", home},
            {"OWB", installTree()},
            {"OWB_TICKLE_INTERVAL", "200"},
            {"DISPLAY", owbtest::sharedXvfb().display()}};
  }

  // Starts fleetmgr and waits for its registration; the tool's port is
  // where the registration came from.
  void startTool() {
    auto env = toolEnvironment();
    tool = owbtest::startProgram({program()}, root.file("fleetmgr.out"), &env);
    ASSERT_TRUE(toolman->waitForCount(OWB_TYPE("ADDC"), 8)) << owbtest::readWholeFile(root.file("fleetmgr.out"));
    toolPort = toolman->messagesOf(OWB_TYPE("REGT")).at(0).header.senderInfo.listenerPort;
  }
  static std::string program() { return installTree() + "/bin/fleetmgr"; }
  // The exit status of pid, or -1 if it has not ended within seconds.
  int exitStatus(pid_t pid, double seconds) {
    int status = reaper.waitFor(pid, seconds);
    return status == -1 ? -1 : WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  std::optional<WireMessage> identify(const std::string& path) {
    Message question(OWB_TYPE("IDFL"), nullptr);
    question.addStringParam(kParamStr255, path.c_str());
    return toolman->ask(toolPort, question);
  }

  opstest::ChildReaper reaper;
  owbtest::TempDir root;
  std::string home;
  std::unique_ptr<TestToolManager> toolman;
  pid_t tool = 0;
  int toolPort = 0;
};

TEST_F(FleetMgrProcess, RegistersItselfAndItsCommandsThenEndsOnQuit) {
  startTool();
  auto messages = toolman->messages();
  ASSERT_GE(messages.size(), 9u);
  const WireMessage& registration = messages[0];
  ASSERT_EQ(fmtest::typeText(registration.type()), "REGT");
  EXPECT_FALSE(registration.header.needsReply);
  ASSERT_EQ(registration.params.size(), 2u);
  EXPECT_EQ(registration.params[0].type, kParamData);
  EXPECT_EQ(registration.params[1], (fmtest::WireParam{kParamStr255, nul(program())}));  // argv[0] in full
  // The 84-byte identity: name, publisher, versions 0 and 5 as they stand,
  // no source display, FLTT, the tool's own listening port.
  std::string info = registration.params[0].bytes;
  ASSERT_EQ(info.size(), kToolInfoWireSize);
  EXPECT_EQ(info.substr(0, 32), nul("Fleet Manager") + std::string(32 - 14, '\0'));
  EXPECT_EQ(info.substr(32, 32), nul("Tarnwell Labs, Inc.") + std::string(32 - 20, '\0'));
  EXPECT_EQ(info.substr(64, 12), std::string("\0\0\0\0\0\0\0\5\0\0\0\0", 12));
  EXPECT_EQ(info.substr(76, 4), "FLTT");
  ToolInfo decoded;
  decodeToolInfo(reinterpret_cast<const uint8_t*>(info.data()), &decoded);
  EXPECT_EQ(decoded.listenerPort, toolPort);
  EXPECT_GT(toolPort, toolman->port());
  EXPECT_LE(toolPort, toolman->port() + 800);

  const std::vector<std::pair<std::string, std::string>> commands = {
      {"New Fleet", "****"},      {"Backup Fleet", "FLTF"},           {"Fleet Settings", "FLTF"},
      {"Fleet Status", "FLTF"},   {"Delete Fleet Directory", "FLTF"}, {"Kill Fleet", "FLTF"},
      {"Restore Fleet", "FLTF"},  {"Run Fleet", "FLTF"}};
  for (size_t i = 0; i < commands.size(); ++i) {
    SCOPED_TRACE(commands[i].first);
    const WireMessage& install = messages[i + 1];
    ASSERT_EQ(fmtest::typeText(install.type()), "ADDC");
    EXPECT_EQ(install.params, (WireParams{{kParamStr31, nul(commands[i].first)},
                                          {kParamLong, fmtest::wireLong(i == 0 ? 0 : 1)},
                                          {kParamIdent, commands[i].second}}));
  }

  // The start-up steps are logged in order.
  std::string log = owbtest::readWholeFile(home + "/.owb/owblog");
  size_t at = 0;
  for (const char* line : {"Fleetmgr tool registering quit command", "Registering Fleetmgr Tool with Tool Manager",
                           "Installing New Fleet command into Tool Manager"})
    EXPECT_NE(at = log.find(std::string("): \t") + line + "\n", at), std::string::npos) << line;

  Message quit(OWB_TYPE("QUIT"), nullptr);
  ASSERT_TRUE(toolman->sendTo(toolPort, quit));
  EXPECT_EQ(exitStatus(tool, 10), 0);
  EXPECT_NE(owbtest::readWholeFile(home + "/.owb/owblog").find("Leaving Fleetmgr Tool"), std::string::npos);
}

TEST_F(FleetMgrProcess, IdentifiesFleetFilesAndRegistersValidFleets) {
  // Engine B of the test fleet has no startup.cfg, which the tool reports
  // in an alert.
  owbtest::AlertAnswerer answerer(owbtest::sharedXvfb().display(), {"Cannot Read Configuration File"});
  startTool();
  // A fleet with engines A (port 7002) and B (no port).
  std::string dir = root.file("harbour"), path = dir + "/harbour.flt";
  mkdir(dir.c_str(), 0777);
  mkdir((dir + "/A").c_str(), 0777);
  owbtest::writeWholeFile(dir + "/A/startup.cfg", "A_MOCK_PORT = 7002\n");
  owbtest::writeWholeFile(path, "[ Common ]\nBasePort = 6000\nEngineOptions = -d1\n"
                                "[ Engine ]\nEngineName = A\nEnginePlaceConfig = p.cfg\n"
                                "[ Engine ]\nEngineName = B\nEnginePlaceConfig = p.cfg\n");

  auto reply = identify(path);
  ASSERT_TRUE(reply);
  EXPECT_EQ(reply->params, (WireParams{{kParamError, fmtest::wireLong(0)},
                                       {kParamBoolean, std::string(1, '\1')},
                                       {kParamStr31, nul("fleet")},
                                       {kParamIdent, "FLTF"},
                                       {kParamIdent, nul("Fleet definition files contain information about a fleet")}}));
  // Registering the fleet announced the engine with a port.
  ASSERT_TRUE(toolman->waitForCount(OWB_TYPE("ADDE"), 1));
  EXPECT_EQ(toolman->messagesOf(OWB_TYPE("ADDE"))[0].number(1), 7002);

  // Asked again: no second fleet, but every engine once more, last first,
  // port 0 included.
  toolman->clear();
  ASSERT_TRUE(identify(path));
  ASSERT_TRUE(toolman->waitForCount(OWB_TYPE("ADDE"), 2));
  auto again = toolman->messagesOf(OWB_TYPE("ADDE"));
  EXPECT_EQ(again[0].number(1), 0);
  EXPECT_EQ(again[1].number(1), 7002);
  EXPECT_EQ(again[0].params[0].bytes.size(), 256u);

  // Not fleets: no definition in the directory, the suffix in capitals, a
  // path too short for the suffix.
  mkdir(root.file("plain").c_str(), 0777);
  for (const std::string& notFleet : {root.file("plain/plain.flt"), dir + "/harbour.FLT", std::string("flt")}) {
    SCOPED_TRACE(notFleet);
    auto no = identify(notFleet);
    ASSERT_TRUE(no);
    ASSERT_EQ(no->params.size(), 2u);
    EXPECT_EQ(no->params[1].bytes, std::string(1, '\0'));
  }

  // Unknown and missing command texts are passed over (the handlers'
  // own test covers the known ones).
  for (const char* text : {"Launch Fleet", static_cast<const char*>(nullptr)}) {
    Message selected = fmtest::commandSelectedMessage(text, path);
    auto ignored = toolman->ask(toolPort, selected);
    ASSERT_TRUE(ignored);
    EXPECT_EQ(ignored->params.size(), 1u);
    EXPECT_EQ(ignored->number(0), 0);
  }
  EXPECT_EQ(exitStatus(tool, 0.2), -1);  // still serving

  // Once the Tool Manager vanishes, the tool ends.
  toolman->stop();
  // The keep-alive runs every 200 ms here (60 s by default).
  EXPECT_EQ(exitStatus(tool, 10), 0) << owbtest::readWholeFile(home + "/.owb/owblog");
}

TEST_F(FleetMgrProcess, StartsOnlyWithAnInstallationAndADisplay) {
  // No installation: status 1 before the toolkit or the Tool Manager hear
  // of it.
  auto env = toolEnvironment();
  env.erase("OWB");
  tool = owbtest::startProgram({program()}, root.file("noowb.out"), &env);
  EXPECT_EQ(exitStatus(tool, 10), 1);

  // No display (unset: no name to open, nor to report): the toolkit reports
  // its failure and the process ends with the toolkit's status, unregistered.
  env = toolEnvironment();
  env.erase("DISPLAY");
  tool = owbtest::startProgram({program()}, root.file("nodisplay.out"), &env);
  EXPECT_EQ(exitStatus(tool, 10), 2);
  const std::string said = owbtest::readWholeFile(root.file("nodisplay.out"));
  EXPECT_NE(said.find("The Fleet Manager needs a display: "), std::string::npos) << said;
  // An installation without the toolkit's libraries: the toolkit's search
  // path is the installation's resources, so its start-up fails.
  env = toolEnvironment();
  env["OWB"] = root.path();
  tool = owbtest::startProgram({program()}, root.file("nolibraries.out"), &env);
  EXPECT_EQ(exitStatus(tool, 10), 2);
  EXPECT_NE(owbtest::readWholeFile(root.file("nolibraries.out")).find("Cannot load \"Core\" resource file"),
            std::string::npos)
      << owbtest::readWholeFile(root.file("nolibraries.out"));

  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_TRUE(toolman->messages().empty());
}

}  // namespace
