// The world of the in-process Fleet Manager tests: a HOME of their own, a
// test Tool Manager that records what the tool sends, the tool's globals
// (message center, registry, host and directories) set up as start-up
// would, alerts answered and recorded, and the operations' notes recorded.
#ifndef OWB_TESTS_FLEETMGR_FLEETMGR_SUPPORT_H
#define OWB_TESTS_FLEETMGR_FLEETMGR_SUPPORT_H

#include <gtest/gtest.h>

#include <memory>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "fleet/recording_output.h"
#include "fleetmgr/registry.h"
#include "fleetmgr/test_toolman.h"
#include "shared/alert.h"
#include "shared/globals.h"
#include "shared/log.h"
#include "shared/utils.h"

namespace fmtest {

constexpr const char* kTestHost = "testhost";

using owbtest::installTree;

struct SeenAlert {
  std::string text, title, button1, button2;
  long type;
};

// The alerts shown while a test runs, and the button every alert answers.
inline std::vector<SeenAlert>& seenAlerts() {
  static std::vector<SeenAlert> alerts;
  return alerts;
}
inline long& alertAnswer() {
  static long answer = 1;
  return answer;
}
inline long recordAlert(const char* text, long type, const char* title, const char* b1, const char* b2,
                        const char*, Boolean, const char*) {
  auto str = [](const char* s) { return std::string(s ? s : "<null>"); };
  seenAlerts().push_back({str(text), str(title), str(b1), str(b2), type});
  return alertAnswer();
}

// The alerts seen so far, each as "title: text".
inline std::vector<std::string> alertTexts() {
  std::vector<std::string> texts;
  for (const SeenAlert& alert : seenAlerts()) texts.push_back(alert.title + ": " + alert.text);
  return texts;
}

// The labels of a fleet's engines in list order.
inline std::vector<std::string> engineLabels(FleetObject* fleet) {
  std::vector<std::string> labels;
  for (long i = 0; i < fleet->engineList.totalElements; ++i)
    labels.push_back(static_cast<EngineObject*>(fleet->engineList.get(i))->label());
  return labels;
}

class ToolTest : public ::testing::Test {
 protected:
  void SetUp() override {
    home_ = root.file("home");
    mkdir(home_.c_str(), 0777);
    homeEnv_ = std::make_unique<owbtest::ScopedEnv>("HOME", home_);
    owbEnv_ = std::make_unique<owbtest::ScopedEnv>("OWB", installTree());
    toolman = std::make_unique<TestToolManager>(home_);

    forgetToolManagerPort();
    gToolName = newStringCopy("fleetmgr");
    openToolLog(false);
    gMessageCenter = new MessageCenter();
    gToolManToolInfo.listenerPort = toolman->port();
    std::snprintf(ThisHostName, sizeof ThisHostName, "%s", kTestHost);
    std::snprintf(ThisCurrentDir, sizeof ThisCurrentDir, "%s", root.path().c_str());
    std::snprintf(OWKInstallDir, sizeof OWKInstallDir, "%s", installTree().c_str());
    gFleetMgr = new FleetMgr();
    seenAlerts().clear();
    alertAnswer() = 1;
    setAlertHandler(recordAlert);
  }
  void TearDown() override {
    setAlertHandler(nullptr);
    delete gFleetMgr;
    gFleetMgr = nullptr;
    cleanUpGlobals();
    gToolManToolInfo = ToolInfo{};
    forgetToolManagerPort();
    toolman.reset();
  }

  // Writes <root>/<name>/<name>.flt with the engines given and returns the
  // fleet directory.  Each engine may get a startup.cfg text.
  std::string writeFleet(const std::string& name,
                         const std::vector<std::pair<std::string, std::string>>& enginesAndStartup,
                         long basePort = 6000) {
    std::string dir = root.file(name);
    mkdir(dir.c_str(), 0777);
    FleetFileContent content(name.c_str());
    content.basePort = basePort;
    std::snprintf(content.engineOptions, sizeof content.engineOptions, "-d1");
    for (const auto& engine : enginesAndStartup) {
      auto* config = new EngineConfiguration(engine.first.c_str());
      std::snprintf(config->enginePlaceConfig, sizeof config->enginePlaceConfig, "%s",
                    (root.path() + "/place.cfg").c_str());
      content.engines.include(config);
      if (!engine.second.empty()) {
        mkdir((dir + "/" + engine.first).c_str(), 0777);
        owbtest::writeWholeFile(dir + "/" + engine.first + "/startup.cfg", engine.second);
      }
    }
    EXPECT_TRUE(writeFleetDefinition(dir.c_str(), &content));
    return dir;
  }

  // Reads a fleet directory's definition into a new record (the caller's).
  static FleetFileContent* readDefinition(const std::string& dir) {
    auto* content = new FleetFileContent();
    EXPECT_TRUE(validFleetDefFile(dir.c_str(), content));
    return content;
  }

  // A message that has gone out has arrived once the Tool Manager has it;
  // a message that must not go out is checked after a marker that did.
  void markAndWait() {
    size_t before = toolman->messagesOf(OWB_TYPE("MARK")).size();
    Message* marker = new Message(OWB_TYPE("MARK"), &gToolManToolInfo);
    gMessageCenter->sendMessage(marker);
    ASSERT_TRUE(toolman->waitForCount(OWB_TYPE("MARK"), before + 1));
  }

  owbtest::TempDir root;
  std::unique_ptr<TestToolManager> toolman;
  owbtest::RecordingOutput output;

 private:
  std::string home_;
  std::unique_ptr<owbtest::ScopedEnv> homeEnv_, owbEnv_;
};

}  // namespace fmtest

#endif  // OWB_TESTS_FLEETMGR_FLEETMGR_SUPPORT_H
