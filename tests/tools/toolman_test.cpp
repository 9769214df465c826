// toolman as a real process: a tool in this test process registers with it,
// asks it questions, and is driven by it through `toolman --send`.

#include <gtest/gtest.h>

#include "fleet/ops_support.h"
#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/toolrequests.h"
#include "shared/utils.h"

namespace {

constexpr TypeIdent kToolType = OWB_TYPE("TSTT");
constexpr TypeIdent kFleetFile = OWB_TYPE("FLTF");

std::string toolmanPath() { return owbtest::buildDir() + "/tools/toolman"; }

using owbtest::startProgram;

// What the test tool's handlers saw.
struct Seen {
  std::string commandLabel, commandFile, helpViewer, helpLabel, helpDocument;
  int helpItems = 0;
  int quits = 0;
} gSeen;

std::string stringParam(const Message* message, short n) {
  char text[1024];
  message->getStringParam(n, text, sizeof text);
  return text;
}

ErrorCode identifyFile(Message* message, Message* reply) {
  bool isFleet = stringParam(message, 0).find(".flt") != std::string::npos;
  reply->addBooleanParam(isFleet);
  if (isFleet) {
    reply->addStringParam(kParamStr31, "fleet");
    reply->addIdentParam(kFleetFile);
    reply->addStringParam(kParamIdent, "Fleet definition files contain information about a fleet");
  }
  return kNoError;
}

class ToolmanTest : public ::testing::Test {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  std::string project = home.path() + "/proj";
  pid_t toolman = -1;
  int port = 0;

  void SetUp() override {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    gSeen = Seen();
    ASSERT_EQ(system(("mkdir -p " + project + "/sub && touch " + project + "/a.flt " + project + "/sub/x.txt").c_str()),
              0);
    startToolman();
    forgetToolManagerPort();
    gToolName = newStringCopy("tooltest");
    openToolLog(false);
    gMessageCenter = new MessageCenter();
    gToolManToolInfo.listenerPort = getToolManagerPort();
    MessageTemplate cmds = makeMessageTemplate({kParamStr31, kParamStr31, kParamLong, kParamStr31});
    MessageTemplate idfl = makeMessageTemplate({kParamStr255});
    MessageTemplate none = makeMessageTemplate({});
    MessageTemplate hmem = makeMessageTemplate({kParamStr255, kParamStr255});
    gMessageCenter->registerMessageHandler(OWB_TYPE("CMDS"), &cmds, [](Message* message, Message*) -> ErrorCode {
      gSeen.commandLabel = stringParam(message, 0);
      gSeen.commandFile = stringParam(message, 3);
      return kNoError;
    });
    gMessageCenter->registerMessageHandler(OWB_TYPE("IDFL"), &idfl, identifyFile);
    gMessageCenter->registerMessageHandler(OWB_TYPE("QUIT"), &none, [](Message*, Message*) -> ErrorCode {
      ++gSeen.quits;
      return kNoError;
    });
    gMessageCenter->registerMessageHandler(OWB_TYPE("HDTM"), &idfl, [](Message* message, Message*) -> ErrorCode {
      gSeen.helpViewer = stringParam(message, 0);
      return kNoError;
    });
    gMessageCenter->registerMessageHandler(OWB_TYPE("HMEM"), &hmem, [](Message* message, Message*) -> ErrorCode {
      gSeen.helpLabel = stringParam(message, 0);
      gSeen.helpDocument = stringParam(message, 1);
      gSeen.helpItems++;
      return kNoError;
    });
  }

  void startToolman() {
    port = 0;
    std::remove((home.path() + "/.owb/owbport").c_str());
    int wanted = 30000 + static_cast<int>(getpid() % 3000) * 3;
    toolman = startProgram({toolmanPath(), "--port", std::to_string(wanted), "--project", project,
                            "--help-viewer", "myviewer", "--help-item", "Guide=/doc/guide.html"},
                           home.file("toolman.out"));
    ASSERT_TRUE(opstest::eventually(
        [&] { return (port = std::atoi(owbtest::readWholeFile(home.path() + "/.owb/owbport").c_str())) > 0; }, 5))
        << owbtest::readWholeFile(home.file("toolman.out"));
  }

  void TearDown() override {
    endToolman();
    cleanUpGlobals();
    gToolManToolInfo = ToolInfo{};
    forgetToolManagerPort();
  }

  void endToolman() {
    if (toolman > 0) {
      if (port > 0) {
        EXPECT_EQ(send({"exit"}).first, 0);
      }
      int status = 0;
      if (opstest::eventually([&] { return waitpid(toolman, &status, WNOHANG) == toolman; }, 5)) {
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
      } else {
        ADD_FAILURE() << "toolman did not end on exit";
        kill(toolman, SIGKILL);
        waitpid(toolman, nullptr, 0);
      }
      toolman = -1;
    }
  }

  // Runs `toolman --send` for each line while this tool keeps serving its
  // messages; the exit status and the output.
  std::pair<int, std::string> send(const std::vector<std::string>& lines) {
    std::vector<std::string> args{toolmanPath()};
    for (const std::string& line : lines) {
      args.push_back("--send");
      args.push_back(line);
    }
    std::string outputFile = home.file("send.out");
    pid_t sender = startProgram(args, outputFile);
    int status = 0;
    for (int turn = 0; turn < 800; ++turn) {
      if (waitpid(sender, &status, WNOHANG) == sender)
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, owbtest::readWholeFile(outputFile)};
      gMessageCenter->poll();
    }
    kill(sender, SIGKILL);
    waitpid(sender, nullptr, 0);
    return {-1, "sender hung"};
  }

  void tell(Message* message) {
    message->header.receiverInfo = gToolManToolInfo;
    gMessageCenter->sendMessage(message);
  }
  // Tells a message of type whose parameters add() puts in.
  template <class Add>
  void tellWith(const char (&type)[5], Add add) {
    Message* message = new Message(OWB_TYPE(type), nullptr);
    add(message);
    tell(message);
  }
  // Tells a message of type whose parameters are the texts, as Str255.
  void tellTexts(const char (&type)[5], std::initializer_list<std::string> texts) {
    tellWith(type, [&](Message* m) {
      for (const std::string& text : texts) m->addStringParam(kParamStr255, text.c_str());
    });
  }

  std::unique_ptr<Message> ask(Message* message) {
    message->header.receiverInfo = gToolManToolInfo;
    message->header.needsReply = TRUE;
    return std::unique_ptr<Message>(gMessageCenter->sendMessage(message));
  }

  void serveFor(int turns) {
    for (int i = 0; i < turns; ++i) gMessageCenter->poll();
  }

  void registerTestTool() {
    ToolInfo me{};
    std::strcpy(me.name, "testtool");
    me.toolType = kToolType;
    me.canDisplaySource = TRUE;
    me.minVersion = 5;
    me.listenerPort = gMessageCenter->thisToolInfo.listenerPort;
    tellWith("REGT", [&](Message* m) { m->addToolInfoParam(me); m->addStringParam(kParamStr255, "/bin/testtool"); });
    tellWith("ADDC", [&](Message* m) {
      m->addStringParam(kParamStr31, "Run Fleet"); m->addLongParam(1); m->addIdentParam(kFleetFile);
    });
  }

  std::string toolmanOutput() const { return owbtest::readWholeFile(home.file("toolman.out")); }

  // What GWIN answers for a window type: whether a place is kept, its id
  // and its eight bytes.
  struct PlaceAnswer {
    bool found = false;
    int32_t id = 0;
    std::string rect;
  };
  PlaceAnswer askPlace(TypeIdent type) {
    Message* getPlace = new Message(OWB_TYPE("GWIN"), nullptr);
    getPlace->addIdentParam(type);
    auto reply = ask(getPlace);
    PlaceAnswer answer;
    EXPECT_NE(reply, nullptr);
    if (!reply) return answer;
    EXPECT_EQ(reply->getParamCount(), 4);
    reply->getBooleanParam(1, &answer.found);
    reply->getLongParam(3, &answer.id);
    answer.rect.assign(reply->getParam(2), static_cast<size_t>(reply->getParamLength(2)));
    return answer;
  }
};

TEST_F(ToolmanTest, RegistryAndListsComeFromWhatToolsSent) {
  registerTestTool();
  char host[256] = "myhost";  // all 256 bytes sent, as a tool of old sends them
  tellWith("ADDE", [&](Message* m) { m->addParam(kParamStr255, host, 256); m->addLongParam(7001); });
  for (int32_t enginePort : {7002, 7001})
    tellWith(enginePort == 7002 ? "ADDE" : "REME",
             [&](Message* m) { m->addStringParam(kParamStr255, "myhost"); m->addLongParam(enginePort); });
  tellTexts("ADDF", {project + "/made.flt"});

  ToolInfo found{};
  lookupTool(kToolType, &found);
  EXPECT_STREQ(found.name, "testtool");
  EXPECT_EQ(found.listenerPort, gMessageCenter->thisToolInfo.listenerPort);
  ToolInfo untouched{};
  untouched.listenerPort = 99;
  lookupTool(OWB_TYPE("NONE"), &untouched);
  EXPECT_EQ(untouched.listenerPort, 99);

  auto tools = send({"tools"});
  EXPECT_EQ(tools.first, 0);
  EXPECT_NE(tools.second.find("testtool  type TSTT  shows source yes"), std::string::npos) << tools.second;
  EXPECT_NE(tools.second.find("program /bin/testtool"), std::string::npos);
  auto lists = send({"commands testtool", "engines", "files"});
  EXPECT_EQ(lists.first, 0);
  EXPECT_NE(lists.second.find("testtool: \"Run Fleet\"  acts on a file  file type FLTF"), std::string::npos)
      << lists.second;
  EXPECT_NE(lists.second.find("myhost:7002\n"), std::string::npos);
  EXPECT_EQ(lists.second.find("myhost:7001"), std::string::npos);
  EXPECT_NE(lists.second.find(project + "/a.flt\n"), std::string::npos);
  EXPECT_NE(lists.second.find(project + "/made.flt\n"), std::string::npos);

  std::string printed = toolmanOutput();
  EXPECT_NE(printed.find("REGT from "), std::string::npos) << printed;
  EXPECT_NE(printed.find("#1 S255 \"/bin/testtool\""), std::string::npos) << printed;
  EXPECT_NE(printed.find("ADDC from testtool@"), std::string::npos) << printed;
  EXPECT_NE(printed.find("#1 LONG 1; #2 IDNT FLTF"), std::string::npos) << printed;

  auto unknown = send({"bogus"});
  EXPECT_EQ(unknown.first, 1);
  EXPECT_NE(unknown.second.find("unknown command bogus"), std::string::npos);
}

bool gChooserAsked = false;
bool chooseElsewhere(const char*, char* result) {
  gChooserAsked = true;
  std::strcpy(result, "/elsewhere/z.txt");
  return true;
}

// A window type without a place gets an id; the place given back with it
// is kept in a file, from which a restarted Tool Manager hands it out
// again, skipping lines that do not read as places.
TEST_F(ToolmanTest, WindowPlacesAreKeptAndOutliveARestart) {
  PlaceAnswer none = askPlace(OWB_TYPE("WIN1"));
  EXPECT_FALSE(none.found);
  ASSERT_GT(none.id, 0);
  const char rect[8] = {0, 10, 0, 20, 1, 0, 2, 0};
  tellWith("UWIN", [&](Message* m) {
    m->addIdentParam(OWB_TYPE("WIN1"));
    m->addParam(kParamData, rect, 8);
    m->addLongParam(none.id);
  });
  std::string placesFile = home.path() + "/.owb/owbplaces";
  const std::string line = "57494e31 " + std::to_string(none.id) + " 10,20,256,512\n";
  EXPECT_TRUE(opstest::eventually([&] { return owbtest::readWholeFile(placesFile) == line; }, 3))
      << owbtest::readWholeFile(placesFile);

  endToolman();
  std::ofstream(placesFile, std::ios::app) << "zzzz\n57494e32 0 1,2,3,4\n57494e32 5 1,2,3,70000\n"
                                           << "57494e32 9 1,2,3,4 more\n57494e32 " << std::string(300, '9')
                                           << " 1,2,3,4\n\n57494e33 12 0,1,0,2";
  startToolman();
  forgetToolManagerPort();
  gToolManToolInfo.listenerPort = getToolManagerPort();
  PlaceAnswer kept = askPlace(OWB_TYPE("WIN1"));
  EXPECT_TRUE(kept.found);
  EXPECT_EQ(kept.id, none.id);
  EXPECT_EQ(kept.rect, std::string(rect, 8));
  EXPECT_FALSE(askPlace(OWB_TYPE("WIN2")).found);
  PlaceAnswer last = askPlace(OWB_TYPE("WIN3"));  // the last line, without its newline
  EXPECT_TRUE(last.found);
  EXPECT_EQ(last.id, 12);
  PlaceAnswer fresh = askPlace(OWB_TYPE("WIN4"));
  EXPECT_FALSE(fresh.found);
  EXPECT_GT(fresh.id, 12);
}

TEST_F(ToolmanTest, PathsPickerAndProjectPlace) {
  std::unique_ptr<char[]> resolved(makeFullPath("sub/x.txt", &gToolManToolInfo, FALSE));
  ASSERT_NE(resolved, nullptr);
  EXPECT_EQ(std::string(resolved.get()), project + "/sub/x.txt");
  EXPECT_EQ(makeFullPath("x.txt", &gToolManToolInfo, FALSE), nullptr);

  tellTexts("ADGP", {project + "/sub", project + "/sub"});
  resolved.reset(makeFullPath("x.txt", &gToolManToolInfo, FALSE));
  ASSERT_NE(resolved, nullptr);
  EXPECT_EQ(std::string(resolved.get()), project + "/sub/x.txt");

  FullPathChooserProc previous = setFullPathChooser(chooseElsewhere);
  resolved.reset(makeFullPath("z.txt", &gToolManToolInfo, TRUE));
  setFullPathChooser(previous);
  EXPECT_TRUE(gChooserAsked);
  ASSERT_NE(resolved, nullptr);
  EXPECT_STREQ(resolved.get(), "/elsewhere/z.txt");
  auto status = send({"status"});
  EXPECT_NE(status.second.find("search path " + project + "/sub /elsewhere\n"), std::string::npos) << status.second;

  auto picker = ask(new Message(OWB_TYPE("GCFP"), nullptr));
  ASSERT_NE(picker, nullptr);
  ASSERT_EQ(picker->getParamCount(), 2);
  EXPECT_EQ(stringParam(picker.get(), 1), project);
  tellTexts("SCFP", {"/tmp/picked"});
  picker = ask(new Message(OWB_TYPE("GCFP"), nullptr));
  EXPECT_EQ(stringParam(picker.get(), 1), "/tmp/picked");

  auto place = ask(new Message(OWB_TYPE("GCPP"), nullptr));
  ASSERT_NE(place, nullptr);
  ASSERT_EQ(place->getParamCount(), 2);
  fileNameType directory;
  extractPathname(stringParam(place.get(), 1).c_str(), directory);
  EXPECT_EQ(std::string(directory), project);

  // `project DIR` moves the Tool Manager to another directory: the old
  // project's files go, files added by ADDF elsewhere stay; a directory
  // that is not there is refused and changes nothing.
  ASSERT_EQ(system(("mkdir -p " + home.path() + "/other && touch " + home.path() + "/other/o.txt").c_str()), 0);
  tellTexts("ADDF", {"/elsewhere/kept.txt"});
  auto moved = send({"project " + home.path() + "/other", "files"});
  EXPECT_EQ(moved.first, 0) << moved.second;
  EXPECT_NE(moved.second.find(home.path() + "/other/o.txt"), std::string::npos) << moved.second;
  EXPECT_NE(moved.second.find("/elsewhere/kept.txt"), std::string::npos) << moved.second;
  EXPECT_EQ(moved.second.find("a.flt"), std::string::npos) << moved.second;
  EXPECT_EQ(send({"project " + home.path() + "/missing"}).first, 1);
  EXPECT_NE(send({"status"}).second.find("project " + home.path() + "/other\n"), std::string::npos);
}

TEST_F(ToolmanTest, UserCommandsReachTheTool) {
  registerTestTool();
  auto chosen = send({"cmd testtool \"Run Fleet\" a.flt"});
  EXPECT_EQ(chosen.first, 0) << chosen.second;
  serveFor(4);
  EXPECT_EQ(gSeen.commandLabel, "Run Fleet");
  EXPECT_EQ(gSeen.commandFile, project + "/a.flt");
  auto needsFile = send({"cmd testtool \"Run Fleet\""});
  EXPECT_EQ(needsFile.first, 1);

  auto asked = send({"idfl testtool a.flt", "idfl testtool sub/x.txt", "files FLTF"});
  EXPECT_EQ(asked.first, 0) << asked.second;
  EXPECT_NE(asked.second.find("a fleet file of testtool, type FLTF: Fleet definition files"), std::string::npos)
      << asked.second;
  EXPECT_NE(asked.second.find(project + "/sub/x.txt: not a file of testtool"), std::string::npos);
  EXPECT_NE(asked.second.find("FLTF  " + project + "/a.flt\n"), std::string::npos);

  auto kinds = ask(new Message(OWB_TYPE("GCCP"), nullptr));
  ASSERT_NE(kinds, nullptr);
  ASSERT_EQ(kinds->getParamCount(), 3);
  EXPECT_EQ(stringParam(kinds.get(), 1), "fleet");
  TypeIdent kind = 0;
  kinds->getIdentParam(2, &kind);
  EXPECT_EQ(kind, kFleetFile);
  Message* ofType = new Message(OWB_TYPE("GFCP"), nullptr);
  ofType->addIdentParam(kFleetFile);
  auto fleets = ask(ofType);
  ASSERT_NE(fleets, nullptr);
  ASSERT_EQ(fleets->getParamCount(), 2);
  EXPECT_EQ(stringParam(fleets.get(), 1), project + "/a.flt");

  tell(new Message(OWB_TYPE("HGDM"), nullptr));
  // The four default documents come first, then those of --help-item.
  for (int turn = 0; turn < 100 && gSeen.helpItems < 5; ++turn) serveFor(1);
  EXPECT_EQ(gSeen.helpItems, 5);
  EXPECT_EQ(gSeen.helpViewer, "myviewer");
  EXPECT_EQ(gSeen.helpLabel, "Guide");
  EXPECT_EQ(gSeen.helpDocument, "/doc/guide.html");

  EXPECT_EQ(send({"quit TSTT"}).first, 0);
  serveFor(4);
  EXPECT_EQ(gSeen.quits, 1);
  EXPECT_NE(toolmanOutput().find("RPLY from testtool@"), std::string::npos);
}

TEST_F(ToolmanTest, HelpIsCompleteAndSendFailsFastWithoutToolman) {
  std::string help;
  EXPECT_EQ(owbtest::runShell(toolmanPath() + " --help 2>&1", &help), 0);
  for (const char* word : {"--port", "--project", "--send", "--help-viewer", "--help-item", "--listen-any",
                           "--quiet", "tools", "commands", "engines", "files", "types", "places",
                           "status", "rescan", "cmd TOOL", "idfl", "quit", "show", "hide", "cwin",
                           "tickle", "exit", "REGT", "DISF", "owbport"})
    EXPECT_NE(help.find(word), std::string::npos) << word;

  owbtest::TempDir elsewhere;
  owbtest::ScopedEnv otherHome("HOME", elsewhere.path());
  ASSERT_EQ(system(("mkdir -p " + elsewhere.path() + "/.owb && echo 1 > " + elsewhere.path() + "/.owb/owbport").c_str()),
            0);
  auto start = std::chrono::steady_clock::now();
  auto lonely = send({"tools"});
  EXPECT_EQ(lonely.first, 2);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_NE(lonely.second.find("no toolman answers at port 1"), std::string::npos) << lonely.second;
}

// The local address of the TCP socket listening at port, as /proc/net/tcp
// gives it (hexadecimal, "0100007F" for 127.0.0.1), or "" when none.
std::string listeningAddress(int port) {
  std::ifstream table("/proc/net/tcp");
  std::string line;
  std::getline(table, line);
  while (std::getline(table, line)) {
    char local[64] = "";
    char remote[64] = "";
    unsigned state = 0;
    if (std::sscanf(line.c_str(), " %*d: %63s %63s %x", local, remote, &state) != 3 || state != 0x0A) continue;
    std::string address = local;
    size_t colon = address.find(':');
    if (colon != std::string::npos && std::stoi(address.substr(colon + 1), nullptr, 16) == port)
      return address.substr(0, colon);
  }
  return "";
}

// toolman answers on the loopback address alone, and a flood of distinct
// registrations, engines, search directories and window places leaves its
// tables at their bounds.
TEST_F(ToolmanTest, ListensOnLoopbackAndBoundsItsTables) {
  EXPECT_EQ(listeningAddress(port), "0100007F");

  registerTestTool();
  ToolInfo stranger{};
  for (int i = 0; i < 140; ++i) {
    std::snprintf(stranger.name, sizeof stranger.name, "tool%d", i);
    stranger.listenerPort = 40000 + i;
    tellWith("REGT", [&](Message* m) {
      m->addToolInfoParam(stranger);
      m->addStringParam(kParamStr255, "/bin/stranger");
    });
  }
  for (int i = 0; i < 80; ++i)
    tellWith("ADDC", [&](Message* m) {
      m->addStringParam(kParamStr31, ("Command " + std::to_string(i)).c_str());
      m->addLongParam(0);
      m->addIdentParam(kWildTypeIdent);
    });
  for (int i = 0; i < 530; ++i)
    tellWith("ADDE", [&](Message* m) { m->addStringParam(kParamStr255, "floodhost"); m->addLongParam(10000 + i); });
  for (int i = 0; i < 70; ++i) tellTexts("ADGP", {"/flood/" + std::to_string(i), "/flood/" + std::to_string(i)});
  uint8_t rect[8] = {0, 1, 0, 2, 0, 3, 0, 4};
  for (int i = 0; i < 120; ++i)
    tellWith("UWIN", [&](Message* m) {
      m->addIdentParam(i < 40 ? OWB_TYPE("WINA") : static_cast<TypeIdent>(OWB_TYPE("T000") + i));
      m->addParam(kParamData, rect, sizeof rect); m->addLongParam(1000 + i);
    });

  auto status = send({"status", "commands testtool", "places"});
  EXPECT_EQ(status.first, 0);
  EXPECT_NE(status.second.find("tools 128, engines 512,"), std::string::npos) << status.second.substr(0, 400);
  EXPECT_NE(status.second.find(" /flood/63\n"), std::string::npos) << status.second.substr(0, 400);
  EXPECT_EQ(status.second.find(" /flood/64"), std::string::npos);
  auto count = [&](const std::string& text) {
    size_t n = 0;
    for (size_t at = status.second.find(text); at != std::string::npos; at = status.second.find(text, at + 1)) ++n;
    return n;
  };
  EXPECT_EQ(count("testtool: \""), 64u);
  EXPECT_EQ(count("WINA  id "), 32u);
  EXPECT_EQ(count("  id "), 32u + 63u);  // 64 window types in all
  EXPECT_NE(status.second.find("WINA  id 1039 "), std::string::npos);  // the latest stay
  EXPECT_EQ(status.second.find("WINA  id 1007 "), std::string::npos);
}

}  // namespace
