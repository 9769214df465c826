// Composing an engine place configuration: the checks and normalisation of
// an added option, and the generated file, byte for byte.

#include "fleetmgr/fleetdlg_add.h"
#include "fleetmgr/fleetmgr_support.h"
#include "fleetmgr/settingsfile.h"

namespace {

using fmtest::alertAnswer;
using fmtest::recordAlert;
using fmtest::seenAlerts;

class EngPlaceFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gFleetMgr = new FleetMgr();
    gFleetMgr->configFile = new EngConfigFile(root.file("place.cfg").c_str());
    seenAlerts().clear();
    alertAnswer() = 1;
    setAlertHandler(recordAlert);
  }
  void TearDown() override {
    setAlertHandler(nullptr);
    delete gFleetMgr;
    gFleetMgr = nullptr;
  }

  // Adds an option as the dialog would, from buffers of its own; returns
  // the stored value, or "<refused>" with the alert text and the line on
  // standard output in refusal.
  std::string option(const char* type, const char* value, const char* keyword = "key") {
    char typeBuf[32], keyBuf[256], valueBuf[256];
    std::snprintf(typeBuf, sizeof typeBuf, "%s", type);
    std::snprintf(keyBuf, sizeof keyBuf, "%s", keyword);
    std::snprintf(valueBuf, sizeof valueBuf, "%s", value);
    char* triple[] = {typeBuf, keyBuf, valueBuf, nullptr};
    size_t alertsBefore = seenAlerts().size();
    testing::internal::CaptureStdout();
    StringTupleItem* item = addConfigOption(triple);
    std::string printed = testing::internal::GetCapturedStdout();
    if (!item) {
      refusal = seenAlerts().size() > alertsBefore ? seenAlerts().back().text : "<no alert>";
      printedLine = printed;
      return "<refused>";
    }
    EXPECT_EQ(seenAlerts().size(), alertsBefore);
    EXPECT_EQ(printed, "");
    EXPECT_STREQ(item->strings[2], valueBuf);  // normalised in the caller's own buffer
    return item->strings[2];
  }

  // The written file without its first two lines (heading with the time,
  // and the blank line that ctime's line end makes).
  std::string writtenBody() {
    writeConfigFile();
    std::string text = owbtest::readWholeFile(gFleetMgr->configFile->filename);
    const std::string heading = "#  Configuration file written by Fleetmgr ";
    EXPECT_EQ(text.compare(0, heading.size(), heading), 0) << text;
    size_t firstEnd = text.find('\n');
    EXPECT_EQ(text.compare(firstEnd, 2, "\n\n"), 0) << text;
    return text.substr(firstEnd + 2);
  }

  void addPair(StringTupleItem* (*add)(const char* const*), const char* a, const char* b) {
    const char* pair[] = {a, b, nullptr};
    ASSERT_NE(add(pair), nullptr);
  }

  owbtest::TempDir root;
  std::string refusal, printedLine;
};

// Integers and octet strings are normalised where they stand; the other
// types stay as typed.
TEST_F(EngPlaceFileTest, AcceptedValuesAreNormalisedOrKeptAsTyped) {
  const char* cases[][3] = {
      {"Integer", "+12", "12"},      {"Integer", " - 7", "-7"},     {"Integer", "  42", "42"},
      {"Integer", "+", ""},  // a lone sign passes with nothing left
      {"Integer", "-", "-"},         {"OctetString", "0xAB", "AB"}, {"OctetString", "0x", ""},
      {"OctetString", "c0fE", "c0fE"}, {"Boolean", "TrUe", "TrUe"}, {"Boolean", "FALSE", "FALSE"},
      {"Character", "'", "'"},       {"Identifier", "'abc", "'abc"}, {"Identifier", "'", "'"},
      {"Nil", "", ""},               {"Nil", "nIL", "nIL"},         {"String", "", ""},
      {"String", " \"a\\b' ", " \"a\\b' "},
      {"String", "two\nlines\r", "two lines "},  // a pasted line break cannot start a new line of the file
  };
  for (const auto& c : cases) EXPECT_EQ(option(c[0], c[1]), c[2]) << c[0] << " '" << c[1] << "'";
  EXPECT_EQ(gFleetMgr->configFile->configOptions.totalElements, 18);
}

TEST_F(EngPlaceFileTest, EachTypeRefusesWhatItCannotHoldWithItsOwnAlert) {
  struct Case {
    const char *type, *value, *alert, *shown;
  };
  const std::vector<Case> cases = {
      {"Boolean", "yes", "Boolean values must be true or false.", "yes"},
      {"Character", "ab", "Character values must contain a single character.", "ab"},
      {"Identifier", "ab1", "Identifier contained a non-alphabetic character.", "1"},
      {"Identifier", "1ab", "Identifier contained a non-alphabetic character.", "1ab"},
      {"Integer", "", "Invalid integer value.", ""},
      {"Integer", " -1 2", "Invalid integer value.", "1 2"},  // shown as far as it was stepped through
      {"Nil", "nothing", "Type Nil contained a value other than Nil.", "nothing"},
      {"OctetString", "", "OctetString values consist of pairs of hexadecimal digits.", ""},
      {"OctetString", "0xABC", "OctetString value had uneven number of characters.", "ABC"},
      {"OctetString", "GGG", "OctetString value had uneven number of characters.", "GGG"},  // length first
      {"OctetString", "0xAG", "OctetString value had non-hexadecimal character.", "AG"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " '" + c.value + "'");
    EXPECT_EQ(option(c.type, c.value, "kw"), "<refused>");
    EXPECT_EQ(refusal, c.alert);
    EXPECT_EQ(printedLine, std::string("Config error: Type = ") + c.type + ", keyword = 'kw', value = '" +
                               c.shown + "'\n");
    EXPECT_EQ(seenAlerts().back().title, "Add Configuration Option");
    EXPECT_EQ(seenAlerts().back().type, kAlertWarning);
  }
  EXPECT_EQ(gFleetMgr->configFile->configOptions.totalElements, 0);
}

TEST_F(EngPlaceFileTest, NothingIsAddedWithoutAConfigurationBeingComposed) {
  delete gFleetMgr->configFile;
  gFleetMgr->configFile = nullptr;
  EXPECT_EQ(option("Integer", "1"), "<refused>");
  const char* pair[] = {"A", "1", nullptr};
  EXPECT_EQ(addEnvVar(pair), nullptr);
  EXPECT_EQ(addExtProc(pair), nullptr);
  EXPECT_EQ(addBootScriptFile("x.s"), nullptr);
  writeConfigFile();  // nothing to write, nothing happens
  EXPECT_TRUE(seenAlerts().empty());
}

TEST_F(EngPlaceFileTest, EverySectionIsWrittenNewestFirstInItsGrammar) {
  EngConfigFile* config = gFleetMgr->configFile;
  addBootScriptFile("first.s");
  addBootScriptFile("second.wcp");
  std::snprintf(config->engPlaceBootScript, sizeof config->engPlaceBootScript, "/lib/boot.s");
  addAutoloadScriptFile("auto.s");
  addPair(addEnvVar, "HOME_A", "/a b");
  addPair(addEnvVar, "B", "");
  const char* options[][2] = {
      {"Boolean", "true"},   {"Boolean", "F"},          {"Boolean", "maybe"},   {"Character", "x"},
      {"Character", "'"},    {"Character", "\\"},       {"Identifier", "abc"}, {"Identifier", "'abc"},
      {"Integer", "12"},     {"Integer", "- \t12"},     {"Integer", "-12"},    {"Nil", "ignored"},
      {"OctetString", "AB"}, {"String", "plain"},       {"String", "\"q\""},   {"String", "'a"},
      {"String", "\\x'"},    {"Unknown", "v"},          {"String", "a\"b"},
  };
  int n = 0;
  for (auto& option : options) {
    std::string keyword = "k" + std::to_string(++n);
    const char* triple[] = {option[0], keyword.c_str(), option[1], nullptr};
    // Stored as the dialog stores accepted values; the writer also meets
    // values that no check looked at.
    config->configOptions.include(new StringTupleItem(triple));
  }
  addPair(addExtProc, "first", "xterm -e top");
  addPair(addExtProc, "silent", "");
  addPair(addExtProc, "last", "run=1");

  testing::internal::CaptureStdout();
  std::string body = writtenBody();
  std::string printed = testing::internal::GetCapturedStdout();

  EXPECT_EQ(body,
            "Libraries += \"second.wcp first.s \"\n"
            "EngineBootScript = \"/lib/boot.s\"\n"
            "AutoLoadFiles += \"auto.s \"\n"
            "\n# Environment Variables\n"
            "@ B = \n"
            "@ HOME_A = /a b\n"
            "\n# Configuration options\n"
            "k19 = \"a\"b\"\n"
            "k17 = \"\\\\x\\'\"\n"
            "k15 = \"\\\"q\\\"\"\n"
            "k14 = \"plain\"\n"
            "k13 = #o\"AB\"\n"
            "k12 = #nil\n"
            "k11 = -12\n"
            "k10 = -12\n"
            "k9 = 12\n"
            "k8 = 'abc\n"
            "k7 = 'abc\n"
            "k6 = #c'\\\\'\n"
            "k5 = #c'\\''\n"
            "k4 = #c'x'\n"
            "k2 = #false\n"
            "k1 = #true\n"
            "\n# External processes\n"
            "!last=run=1\n"
            "!first=xterm -e top\n");
  EXPECT_EQ(printed, "Error in config file: value (maybe) of 'k3' not Boolean.\n");

  // A quoted String lost its closing character as it was written: a
  // second write gives another line, and then none.
  auto* quoted = static_cast<StringTupleItem*>(config->configOptions.get(14));
  EXPECT_STREQ(quoted->strings[2], "\"q");
  testing::internal::CaptureStdout();
  body = writtenBody();
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(body.find("k15"), std::string::npos) << body;
}

TEST_F(EngPlaceFileTest, EmptyConfigurationIsTheHeadingAloneAndAnUnwritableFileIsReported) {
  EXPECT_EQ(writtenBody(), "");
  std::snprintf(gFleetMgr->configFile->filename, sizeof(Str255), "%s", root.file("no/such/dir.cfg").c_str());
  writeConfigFile();
  EXPECT_EQ(fmtest::alertTexts(),
            std::vector<std::string>{"File error: Unable to open " + root.file("no/such/dir.cfg") + " for writing"});
}

TEST(ConfigFolders, WidthCodesAndCells) {
  // The options folder on a list 400 wide: a quarter, a quarter, the rest.
  int used = 0;
  std::vector<int> widths;
  for (int c = 1; c <= gConfigFolders[kConfigOptionsFolder].columns; c++) {
    widths.push_back(columnWidthFromCode(gCfgOptionsHeadingStrs[c].width, 400, used));
    used += widths.back();
  }
  EXPECT_EQ(widths, (std::vector<int>{100, 100, 200}));
  EXPECT_EQ(columnWidthFromCode(0, 100, 150), 0);
  EXPECT_EQ(columnWidthFromCode(30, 100, 0), 30);
  EXPECT_EQ(columnWidthFromCode(-3, 100, 0), 33);

  // The cells within the columns show in the window's own test; beyond them, nothing.
  StringItem file("a.s");
  const char* pair[] = {"N", "V", nullptr};
  StringTupleItem tuple(pair);
  EXPECT_STREQ(configFolderCell(&file, 2), "");
  EXPECT_STREQ(configFolderCell(&tuple, 21), "");
  EXPECT_STREQ(configFolderCell(nullptr, 1), "");
}

}  // namespace
