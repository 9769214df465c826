// The configuration language reader on real files.
#include <gtest/gtest.h>

#include "fleet/configlang.h"
#include "fleet/fileutil.h"
#include "recording_output.h"
#include "testsupport.h"

namespace {

using owbtest::RecordingOutput;
using owbtest::TempDir;
using owbtest::writeWholeFile;
typedef RecordingOutput::Entry Entry;
typedef std::vector<std::string> Lines;

// One record as "<kind> <label> <value>".
std::string describe(const configItem* item) {
  static const char* const kNames[] = {"boolean", "integer", "string", "environ", "external", "nil", "file", "port"};
  std::string text = std::string(kNames[item->kind]) + " " + (item->label ? item->label : "(null)");
  switch (item->kind) {
    case configBoolean: return text + (item->value.asBoolean == OWB_TRUE ? " -1" : item->value.asBoolean ? " ?" : " 0");
    case configInteger: return text + " " + std::to_string(item->value.asInteger);
    case configString: return text + " " + item->value.asString;
    case configEnviron: return text + " " + item->value.asEnviron;
    case configExternal:
      return text + " " + std::to_string(item->value.asExternal.inBackground) + " " + item->value.asExternal.cmdLine;
    default: return text;
  }
}

Lines describeAll(const configItem* list, bool withFiles = false) {
  Lines lines;
  for (; list; list = list->next)
    if (withFiles || list->kind != configFile) lines.push_back(describe(list));
  return lines;
}

// A fleet directory with an engine "eng" whose startup.cfg the test writes.
class ConfigFiles : public testing::Test {
 protected:
  void SetUp() override {
    fleetDir_ = tmp_.file("fleet");
    ensureDir((fleetDir_ + "/eng").c_str());
  }
  void TearDown() override { freeConfigList(&list_); }

  std::string file(const std::string& name) const { return fleetDir_ + "/" + name; }
  void write(const std::string& name, const std::string& text) { writeWholeFile(file(name), text); }
  void writeStartup(const std::string& text) { write("eng/startup.cfg", text); }

  // Reads eng's startup.cfg in use mode; the records without file records.
  Lines readStartup(bool expectGood = true) {
    freeConfigList(&list_);
    EXPECT_EQ(readConfigFile(fleetDir_.c_str(), "eng", &list_, nullptr, nullptr) != 0, expectGood);
    return describeAll(list_);
  }

  TempDir tmp_;
  std::string fleetDir_;
  configItem* list_ = nullptr;
  RecordingOutput out_;
};

TEST_F(ConfigFiles, OptionValuesAreClassifiedTheRestIgnoredAndCommentsRemoved) {
  writeStartup(
      "# a comment\n"
      "\n"
      "   \t \n"
      "T = #TRUE\n"
      "F = #false\n"
      "N = #Nil\n"
      "I = -42\n"
      "P = +7\n"
      "S = \"text with = and # \"\n"
      "E = \"\"\n"
      "Q = \"esc\\\"aped\"\n"
      "Open = \"a\\\"\n"
      "Plus = +\n"
      "Octets = #O\"0abc\"\n"
      "Num = 12x\n"
      "Tail = \"a\" b\n"
      "Key += 3\n");
  EXPECT_EQ(readStartup(), (Lines{"boolean T -1", "boolean F 0", "nil N", "integer I -42", "integer P 7",
                                  "string S text with = and # ", "string E ", "string Q esc\\\"aped",
                                  "integer Key 3"}));
  EXPECT_TRUE(out_.everything().empty());

  // Comment removal keeps quotes, doubles stars and leaves a slash.
  writeStartup(
      "Num = 5 // note\n"
      "Path = \"a/b//c\"\n"
      "Star = \"a*b\"\n"
      "Inline = /* c */ 6\n"
      "Closed = \"x\" /* c */\n"
      "Esc = \"a\\/\\/b\"\n"
      "Str/*c*/ing = \"s\"\n"
      "/* whole line */\n"
      "// whole line\n");
  EXPECT_EQ(readStartup(), (Lines{"string Path a/b//c", "string Star a**b", "string Esc a\\/\\/b", "string Str/ing s"}));
  std::string path = file("eng/startup.cfg");
  // A line of a comment alone is shown as comment removal left it.
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Illegal configuration line", "Illegal line in " + path + ":  /"},
                                             {"Illegal configuration line", "Illegal line in " + path + ":  /"}}));
}

// Substitution expands the first named macro only; faulty lines alert and
// the read goes on.
TEST_F(ConfigFiles, SubstitutionAndFaultyLines) {
  setHostIP();
  std::snprintf(OWKInstallDir, sizeof OWKInstallDir, "/opt/owb");
  writeStartup(
      "a = \"A\"\n"
      "Two(a,b) = \"$a $b\"\n"
      "@x = 9\n"
      "x = 5\n"
      "@x = 10\n"
      "FromInt(x) = $x\n"
      "@only = \"env\"\n"
      "FromEnv(only) = $only\n"
      "RegionPort = 4000\n"
      "Prefix(RegionPort) = \"$RegionPort2 $Region $$RegionPort\"\n"
      "Flag = #true\n"
      "FromFlag(Flag) = $Flag\n"
      "Nil = #nil\n"
      "FromNil(Nil) = \"$Nil\"\n"
      "Dir(owbinstalldirectory) = \"$owbinstalldirectory/lib\"\n"
      "Ip(LocalHostIP) = \"$LocalHostIP\"\n"
      "@Env(a) = $a-$a\n"
      "NoMacros() = 3\n");
  EXPECT_EQ(readStartup(),
            (Lines{"string a A", "string Two A $b", "environ x 9", "integer x 5", "environ x 10", "integer FromInt 5",
                   "environ only \"env\"", "string FromEnv env", "integer RegionPort 4000",
                   "string Prefix 40002 $Region $4000", "boolean Flag -1", "boolean FromFlag -1", "nil Nil",
                   "string FromNil #nil", "string Dir /opt/owb/lib", std::string("string Ip ") + ThisHostIP,
                   "environ Env A-A", "integer NoMacros 3"}));
  EXPECT_TRUE(out_.everything().empty());

  writeStartup(
      "  # indented, so not a comment\n"
      "Empty =\n"
      "include\n"
      "@PPP =\n"
      "@ = x\n"
      "!ext = cmd $HOME\n"
      "&bg = daemon -x\n"
      "!nothing\n"
      "Undef(x) = 1\n"
      "After = 1\n");
  std::string prefix = "Illegal line in " + file("eng/startup.cfg") + ":  ";
  EXPECT_EQ(readStartup(), (Lines{"environ PPP ", "external ext 0 cmd $HOME", "external bg 1 daemon -x", "integer After 1"}));
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Illegal configuration line", prefix + "  # indented, so not a comment"},
                                             {"Illegal configuration line", prefix + "Empty value for keyword"},
                                             {"Illegal configuration line", prefix + "include"},
                                             {"Illegal configuration line", prefix + "@ = x"},
                                             {"Illegal configuration line", prefix + "!nothing"},
                                             {"Macro Not Defined", "x"}}));
}

TEST_F(ConfigFiles, IncludesAreFoundAsGivenOrThroughAutoLoadPathWithoutCyclesOrEndlessDepth) {
  ensureDir(file("lib").c_str());
  ensureDir(file("mods").c_str());
  write("lib/place.cfg", "Place = 1\ninclude = nested.cfg\n");
  write("mods/nested.cfg", "Nested = 2\n");
  write("mods/place.cfg", "Shadowed = 1\n");
  write("direct.cfg", "Direct = 0\n");
  writeStartup("include " + file("direct.cfg") + "\n" +
               "AutoLoadPath += \" " + file("none") + "/ " + file("lib") + "/ " + file("mods") + "/ \"\n" +
               "INCLUDE=place.cfg\n");
  EXPECT_EQ(readStartup(), (Lines{"integer Direct 0", "string AutoLoadPath  " + file("none") + "/ " + file("lib") +
                                                           "/ " + file("mods") + "/ ",
                                  "integer Place 1", "integer Nested 2"}));
  Lines files;
  for (configItem* item = list_; item; item = item->next)
    if (item->kind == configFile) files.push_back(item->label);
  EXPECT_EQ(files, (Lines{file("eng/startup.cfg"), file("direct.cfg"), "place.cfg", "nested.cfg"}));
  EXPECT_TRUE(out_.everything().empty());

  // Before the AutoLoadPath line, the relative include can't be found.
  writeStartup("First = 1\ninclude = place.cfg\nAutoLoadPath = \"" + file("lib") + "/\"\n");
  EXPECT_EQ(readStartup(false), Lines{});
  EXPECT_EQ(list_, nullptr);
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Cannot Read Configuration File", "place.cfg"}}));

  // A file that includes itself stops the read, as does the depth limit.
  out_.clear();
  write("loop.cfg", "Loop = 1\ninclude = " + file("loop.cfg") + "\nNever = 1\n");
  writeStartup("include = " + file("loop.cfg") + "\n");
  EXPECT_EQ(readStartup(false), Lines{});
  EXPECT_EQ(out_.alerts,
            (std::vector<Entry>{{"Cannot Read Configuration File",
                                 "The include of " + file("loop.cfg") + " in " + file("loop.cfg") +
                                     " closes a cycle: that file is already being read"}}));
  // A cycle through two files names the include that closed it.
  write("ping.cfg", "include = pong.cfg\n");
  write("pong.cfg", "include = ping.cfg\n");
  writeStartup("AutoLoadPath = \"" + fleetDir_ + "/\"\ninclude = ping.cfg\n");
  out_.clear();
  EXPECT_EQ(readStartup(false), Lines{});
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Cannot Read Configuration File",
                                              "The include of ping.cfg in pong.cfg closes a cycle: that file is "
                                              "already being read"}}));

  // Exactly the limit is still read.
  for (int i = 1; i < kMaxIncludeDepth; ++i)
    write("d" + std::to_string(i) + ".cfg", "include = d" + std::to_string(i + 1) + ".cfg\n");
  write("d" + std::to_string(kMaxIncludeDepth) + ".cfg", "Deep = 1\n");
  writeStartup("AutoLoadPath = \"" + fleetDir_ + "/\"\ninclude = d2.cfg\n");
  out_.clear();
  EXPECT_EQ(readStartup(), (Lines{"string AutoLoadPath " + fleetDir_ + "/", "integer Deep 1"}));
  EXPECT_TRUE(out_.everything().empty());
  // One more is past the limit, and the alert says which include passed it.
  write("d" + std::to_string(kMaxIncludeDepth) + ".cfg", "include = d" + std::to_string(kMaxIncludeDepth + 1) + ".cfg\n");
  write("d" + std::to_string(kMaxIncludeDepth + 1) + ".cfg", "Deep = 1\n");
  EXPECT_EQ(readStartup(false), Lines{});
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Cannot Read Configuration File",
                                              "The include of d65.cfg in d64.cfg passes the limit of 64 nested "
                                              "configuration files"}}));
}

TEST_F(ConfigFiles, HostileInputNeitherCrashesNorHangs) {
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 7919) & 0xFF);
  std::string nuls = std::string("A = 1\0B = 2\n", 12) + "C(A) = $A\0\n";
  std::string crOnly = "A = 1\rB = 2\rC = 3\r";
  std::string hugeLine = "Long = \"" + std::string(100000, 'x') + "\"\nAfter = 4\n";
  std::string stars = "S = \"" + std::string(1020, '*') + "\"\n";
  for (const std::string& text : {garbage, nuls, stars}) {
    writeStartup(text);
    readStartup();
  }
  // The last CR cuts a CR-only file's single line.
  writeStartup(crOnly);
  EXPECT_EQ(readStartup(), (Lines{}));
  writeStartup(hugeLine);
  Lines lines = readStartup();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "integer After 4");
  // A device is no configuration file.
  writeStartup("include = /dev/zero\n");
  readStartup(false);
}

TEST_F(ConfigFiles, ExternalListKeepsTheFirstOfEachLabelAndMissingFilesFail) {
  ensureDir(file("two").c_str());
  writeStartup("!Viewer = view -a\n&logger = log1\nX = 1\n");
  write("two/startup.cfg", "&LOGGER = log2\n!editor = ed\n");
  List engines(kStandardChunkSize, TRUE, EqualCompare);
  configItem* externals = nullptr;
  EXPECT_FALSE(readExternalList(fleetDir_.c_str(), &engines, &externals));
  engines.include(new StringItem("eng"));
  engines.include(new StringItem("two"));
  ASSERT_TRUE(readExternalList(fleetDir_.c_str(), &engines, &externals));
  EXPECT_EQ(describeAll(externals, true),
            (Lines{"external Viewer 0 view -a", "external logger 1 log1", "external editor 0 ed"}));
  freeConfigList(&externals);

  engines.include(new StringItem("absent"));
  EXPECT_FALSE(readExternalList(fleetDir_.c_str(), &engines, &externals));
  EXPECT_EQ(externals, nullptr);
  // A missing startup.cfg fails its read with an alert, and no records.
  configItem* list = reinterpret_cast<configItem*>(0x1);
  out_.clear();
  EXPECT_FALSE(readConfigFile(fleetDir_.c_str(), "nobody", &list, nullptr, nullptr));
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(out_.alerts, (std::vector<Entry>{{"Cannot Read Configuration File", file("nobody/startup.cfg")}}));
}

}  // namespace
