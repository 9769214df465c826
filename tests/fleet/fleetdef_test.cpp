// The fleet definition file: writer and reader against each other, and
// every message of the reader.
#include <gtest/gtest.h>

#include <cstring>

#include "fleet/fileutil.h"
#include "fleet/fleetdef.h"
#include "recording_output.h"
#include "testsupport.h"

namespace {

using owbtest::readWholeFile;
using owbtest::RecordingOutput;
using owbtest::TempDir;
using owbtest::writeWholeFile;
typedef RecordingOutput::Entry Entry;

const char* const kAuthority = "04a1b2c3d4e5f60718293a4b5c6d7e8f90";

// A fleet directory "demo" in a temporary directory.
struct DemoFleet {
  DemoFleet() : dir(tmp.file("demo")) { ensureDir(dir.c_str()); }
  std::string definitionPath() const { return dir + "/demo.flt"; }
  void write(const std::string& text) const { writeWholeFile(definitionPath(), text); }
  TempDir tmp;
  std::string dir;
};

EngineConfiguration* engineAt(FleetFileContent& content, long i) {
  return static_cast<EngineConfiguration*>(content.engines.get(i));
}

std::string stringAt(List& list, long i) { return static_cast<StringItem*>(list.get(i))->string; }

TEST(FleetDefinition, WriterOutputIsExactAndReadsBack) {
  DemoFleet fleet;
  FleetFileContent content("demo");
  content.basePort = 70000;
  std::strcpy(content.authorityText, kAuthority);
  std::strcpy(content.engineOptions, "-d1 -v # not a comment");
  content.securityOn = OWB_TRUE;
  auto* first = new EngineConfiguration("Alpha");
  std::strcpy(first->enginePlaceConfig, "$OWB/lib/engplace.cfg");
  first->moduleConfigFiles.include(new StringItem("m1.cfg"));
  first->moduleConfigFiles.include(new StringItem("a=b"));
  first->projectConfigFiles.include(new StringItem("p.cfg"));
  auto* second = new EngineConfiguration("beta_2");
  std::strcpy(second->enginePlaceConfig, "/abs/place.cfg");
  second->loadDebugger = OWB_FALSE;
  content.engines.include(first);
  content.engines.include(second);
  ASSERT_TRUE(writeFleetDefinition(fleet.dir.c_str(), &content));

  std::string text = readWholeFile(fleet.definitionPath());
  const std::string stampStart = "#  Fleet definition file written ";
  ASSERT_EQ(text.compare(0, stampStart.size(), stampStart), 0);
  size_t stampEnd = text.find('\n');
  ASSERT_EQ(text.substr(stampEnd, 2), "\n\n");  // ctime's newline, then the writer's
  EXPECT_EQ(stampEnd - stampStart.size(), 24u);  // "Www Mmm dd hh:mm:ss yyyy"
  EXPECT_EQ(text.substr(stampEnd + 1),
            "\n[ Common ]\n\n"
            "BasePort = 70000\n"
            "Authority = 04a1b2c3d4e5f60718293a4b5c6d7e8f90\n"
            "EngineOptions = -d1 -v # not a comment\n"
            "SecurityOn = True\n"
            "\n[ Engine ]\n\n"
            "EngineName = Alpha\n"
            "EnginePlaceConfig = $OWB/lib/engplace.cfg\n"
            "LoadDebugger = True\n"
            "Module = m1.cfg\n"
            "Module = a=b\n"
            "Project = p.cfg\n"
            "\n[ Engine ]\n\n"
            "EngineName = beta_2\n"
            "EnginePlaceConfig = /abs/place.cfg\n"
            "LoadDebugger = False\n");

  RecordingOutput out;
  FleetFileContent back;
  ASSERT_TRUE(readFleetDefinition(fleet.dir.c_str(), &back));
  EXPECT_TRUE(out.everything().empty());
  EXPECT_STREQ(back.fleetName, "demo");
  // What was read writes the same text again: nothing is lost on the way.
  ASSERT_TRUE(writeFleetDefinition(fleet.dir.c_str(), &back));
  EXPECT_EQ(readWholeFile(fleet.definitionPath()).substr(stampEnd), text.substr(stampEnd));

  // Empty options and no authority: the line is written empty, and not at all.
  back.engineOptions[0] = '\0';
  back.authorityText[0] = '\0';
  back.securityOn = OWB_FALSE;
  ASSERT_TRUE(writeFleetDefinition(fleet.dir.c_str(), &back));
  text = readWholeFile(fleet.definitionPath());
  EXPECT_NE(text.find("BasePort = 70000\nEngineOptions = \nSecurityOn = False\n"), std::string::npos);
  FleetFileContent again;
  ASSERT_TRUE(readFleetDefinition(fleet.dir.c_str(), &again));
  EXPECT_STREQ(again.engineOptions, "");
  EXPECT_FALSE(again.securityOn);
}

TEST(FleetDefinition, ReaderAcceptsAnyCaseSpacingAndPlusEqualsDefaultsTheRestAndFailsQuietlyWithoutAFile) {
  DemoFleet fleet;
  RecordingOutput out;
  fleet.write(
      "   # indented comment\r\n"
      "\n"
      "[common]\r\n"
      "  basePORT = 2000x  \n"
      "engineoptions = -a=b  \n"
      "SecurityOn = tRuE\n"
      "[   ENGINE   ]\n"
      "EngineName = a1_\n"
      "EnginePlaceConfig=place # with hash\n"
      "Module = a=b\n"
      "Module += x\n"
      "Project += odd\n"
      "LoadDebugger = FALSE\n"
      "[ Common ]\n"
      "BasePort = 1025\n"
      "[ Engine ]\n");
  FleetFileContent content;
  ASSERT_TRUE(readFleetDefinition(fleet.dir.c_str(), &content));
  EXPECT_TRUE(out.everything().empty());
  EXPECT_EQ(content.basePort, 1025);  // the last value wins
  EXPECT_STREQ(content.engineOptions, "-a=b");
  EXPECT_TRUE(content.securityOn);
  ASSERT_EQ(content.engines.totalElements, 2);  // the last engine is never tested
  EngineConfiguration* engine = engineAt(content, 0);
  EXPECT_STREQ(engine->engineLabel, "a1_");
  EXPECT_STREQ(engine->enginePlaceConfig, "place # with hash");
  EXPECT_FALSE(engine->loadDebugger);
  ASSERT_EQ(engine->moduleConfigFiles.totalElements, 2);
  EXPECT_EQ(stringAt(engine->moduleConfigFiles, 0), "a=b");
  EXPECT_EQ(stringAt(engine->moduleConfigFiles, 1), "x");
  EXPECT_EQ(stringAt(engine->projectConfigFiles, 0), "odd");
  EXPECT_STREQ(engineAt(content, 1)->engineLabel, "");

  // What the file leaves unsaid reads as options "-d1" with security on, not
  // as a new FleetFileContent holds; engines read replace those held.
  fleet.write(
      "[ Common ]\nBasePort = 2000\n"
      "[ Engine ]\nEngineName = one\nEnginePlaceConfig = p\n"
      "[ Engine ]\nEngineName = two\nEnginePlaceConfig = p\n");
  FleetFileContent defaulted;
  defaulted.engines.include(new EngineConfiguration("stale"));
  ASSERT_TRUE(validFleetDefFile(fleet.dir.c_str(), &defaulted));
  EXPECT_STREQ(defaulted.engineOptions, "-d1");
  EXPECT_TRUE(defaulted.securityOn);
  ASSERT_EQ(defaulted.engines.totalElements, 2);
  EXPECT_TRUE(engineAt(defaulted, 0)->loadDebugger);
  List labels(kStandardChunkSize, TRUE, EqualCompare);
  labels.include(new StringItem("old"));
  ASSERT_TRUE(readEngineList(fleet.dir.c_str(), &labels));
  ASSERT_EQ(labels.totalElements, 2);
  EXPECT_EQ(stringAt(labels, 0), "one");
  EXPECT_EQ(stringAt(labels, 1), "two");
  fleet.write("[ Common ]\nBasePort = 5\n");  // a port too low fails the read
  EXPECT_FALSE(readEngineList(fleet.dir.c_str(), &labels));
  EXPECT_EQ(labels.totalElements, 0);

  // A directory without a readable definition fails silently with only the
  // name set; a definition that cannot be written alerts.
  out.clear();
  FleetFileContent unread;
  unread.basePort = 42;
  std::string dir = fleet.tmp.file("nofleet");
  ensureDir(dir.c_str());
  EXPECT_FALSE(readFleetDefinition(dir.c_str(), &unread));
  EXPECT_STREQ(unread.fleetName, "nofleet");
  EXPECT_EQ(unread.basePort, 42);
  EXPECT_FALSE(validFleetDefFile(dir.c_str(), &unread));
  EXPECT_FALSE(validFleetDefFile(fleet.tmp.file("absent").c_str(), &unread));

  // A trailing slash leaves an empty name: the file looked for is ".flt".
  writeWholeFile(dir + "/.flt", "[ Common ]\nBasePort = 3000\n");
  EXPECT_TRUE(readFleetDefinition((dir + "/").c_str(), &unread));
  EXPECT_STREQ(unread.fleetName, "");
  EXPECT_EQ(unread.basePort, 3000);
  EXPECT_TRUE(out.everything().empty());

  // A directory where the file should be is not a definition either.
  ensureDir((dir + "/nofleet.flt").c_str());
  EXPECT_FALSE(readFleetDefinition(dir.c_str(), &unread));
  EXPECT_TRUE(out.everything().empty());

  // The writer says which file it could not create.
  std::string missing = fleet.tmp.file("missing");
  EXPECT_FALSE(writeFleetDefinition(missing.c_str(), &unread));
  EXPECT_EQ(out.alerts, (std::vector<Entry>{{"Unable to Write Fleet Definition File", missing + "/nofleet.flt"}}));
}

struct ReaderFault {
  const char* text;
  std::string message;  // with "%F" for the definition's path
};

TEST(FleetDefinition, EveryReaderFaultAlertsWithItsLineAndStopsTheRead) {
  const std::vector<ReaderFault> faults = {
      {"[ Common ]\nBasePort 2000\n", "Illegal line format on line number 2 of %F"},
      {"[ Common ]\n= 2000\n", "Illegal line format on line number 2 of %F"},
      {"[ Commons ]\n", "Illegal block introduction on line 1 of %F"},
      {"[ Common ] x\n", "Illegal block introduction on line 1 of %F"},
      {"[ Common ]\nEngineOptions = x\n\n[ Engine ]\n", "Missing BasePort before line 4 of %F"},
      {"[ Common ]\nBasePort = 1024\n",
       "Illegal line format on line number 2 of %F: expected a port number greater than 1025"},
      {"[ Engine ]\nbaseport = 2000\n",
       "Illegal line format on line number 2 of %F: baseport is only legal in a [ Common ] block"},
      {"[ Common ]\nModule = m\n", "Illegal line format on line number 2 of %F: Module is only legal in a [ Engine ] block"},
      {"[ Common ]\nAuthority = 04ab\n",
       "Illegal line format on line number 2 of %F: engine authorityi is either not 34 characters long or contains a "
       "non-hex digit"},
      {"[ Common ]\nAuthority = 04a1b2c3d4e5f60718293a4b5c6d7e8f9g\n",
       "Illegal line format on line number 2 of %F: engine authorityi is either not 34 characters long or contains a "
       "non-hex digit"},
      {"[ Common ]\nSecurityOn = yes\n",
       "Illegal line format on line number 2 of %F: The value for SecurityOn must be TRUE or FALSE"},
      {"[ Engine ]\nEngineName = e\nLoadDebugger = 1\n",
       "Illegal line format on line number 3 of %F: The value for LoadDebugger must be TRUE or FALSE"},
      {"[ Engine ]\nEngineName = 1st\n",
       "Illegal line format on line number 2 of %F: engine name is either not unique or contains illegal characters"},
      {"[ Engine ]\nEngineName = a-b\n",
       "Illegal line format on line number 2 of %F: engine name is either not unique or contains illegal characters"},
      {"[ Engine ]\nEngineName = alpha\nEnginePlaceConfig = p\n[ Engine ]\nEngineName = Alpha\n",
       "Illegal line format on line number 5 of %F: engine name is either not unique or contains illegal characters"},
      {"[ Engine ]\nEngineName = alpha\n[ Engine ]\n",
       "Missing EngineName and/or EnginePlaceConfig lines before line 3 of %F"},
      {"[ Engine ]\nEnginePlaceConfig = p\n[ Common ]\n",
       "Missing EngineName and/or EnginePlaceConfig lines before line 3 of %F"},
      {"[ Common ]\nColour = blue\n", "Illegal line format on line number 2 of %F: Colour is not a known keyword"},
  };
  for (const ReaderFault& fault : faults) {
    DemoFleet fleet;
    fleet.write(fault.text);
    RecordingOutput out;
    FleetFileContent content;
    EXPECT_FALSE(readFleetDefinition(fleet.dir.c_str(), &content)) << fault.text;
    std::string expected = fault.message;
    expected.replace(expected.find("%F"), 2, fleet.definitionPath());
    EXPECT_EQ(out.alerts, (std::vector<Entry>{{"Unable to Read Fleet Definition", expected}})) << fault.text;
  }

  // A line longer than 1023 characters reads as two.
  DemoFleet fleet;
  std::string longLine = "EngineOptions = " + std::string(1500 - 16, 'o');
  fleet.write("[ Common ]\nBasePort = 2000\n" + longLine + "\n");
  RecordingOutput out;
  FleetFileContent content;
  EXPECT_FALSE(readFleetDefinition(fleet.dir.c_str(), &content));
  // Line 3 is the first 1023 characters; the remainder is line 4, without `=`.
  EXPECT_EQ(out.alerts, (std::vector<Entry>{{"Unable to Read Fleet Definition",
                                             "Illegal line format on line number 4 of " + fleet.definitionPath()}}));
  EXPECT_EQ(std::strlen(content.engineOptions), sizeof(processLabelType) - 1);  // truncated at its field
}

// Equality is by type, then by label ignoring case: another kind of item
// is never taken for an engine.
TEST(FleetDefinition, EngineConfigurationEqualsByTypeThenLabelIgnoringCase) {
  EngineConfiguration a("Alpha"), b("alpha"), c("beta");
  StringItem other("Alpha");
  EXPECT_TRUE(a.isEqual(&b));
  EXPECT_FALSE(a.isEqual(&c));
  EXPECT_FALSE(a.isEqual(&other));
  EXPECT_FALSE(a.isEqual(nullptr));
}

TEST(FleetDefinition, RandomPortsAndAuthorities) {
  std::srand(7);
  for (int i = 0; i < 2000; ++i) {
    long port = randomPort();
    ASSERT_GE(port, 1025);
    ASSERT_LE(port, 0xFFFF);
  }
  // An authority is "04" and 32 hex digits; the path stirs it.
  char plain[kAuthorityLength + 1];
  char stirred[kAuthorityLength + 1];
  std::srand(11);
  randomAuthority("", plain);
  std::srand(11);
  randomAuthority(std::string(17, 'a').c_str(), stirred);
  for (const std::string authority : {plain, stirred}) {
    ASSERT_EQ(authority.size(), kAuthorityLength);
    EXPECT_EQ(authority.substr(0, 2), "04");
    EXPECT_EQ(authority.find_first_not_of("0123456789abcdef"), std::string::npos);
  }
  EXPECT_STRNE(plain, stirred);
}

}  // namespace
