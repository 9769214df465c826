// The file picker's rules on real directories, and its requests to a real
// Tool Manager.
#include "shared/ui/pickrules.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/shared/ui/ui_fixture.h"
#include "toolkit/fmgr.h"

namespace {

using Names = std::vector<std::string>;

Names namesOf(const std::vector<PickerRow>& rows) {
  Names names;
  for (const PickerRow& row : rows) names.push_back(row.name);
  return names;
}

void touch(const std::string& path) { owbtest::writeWholeFile(path, "x"); }

TEST(PickerRulesTest, DiskListFollowsTheFilterAndTheKindOfChooser) {
  owbtest::TempDir dir;
  touch(dir.file("a.flt"));
  touch(dir.file("b.txt"));
  mkdir(dir.file("sub").c_str(), 0755);
  mkdir(dir.file("other").c_str(), 0755);
  WildCardList flt("*.flt", TRUE);
  long files = 0;
  EXPECT_EQ((Names{".", "..", "a.flt", "other", "sub"}), namesOf(pickerListDirectory(dir.path(), &flt, false, &files)));
  EXPECT_EQ(5, files);
  WildCardList any("*", TRUE);
  EXPECT_EQ((Names{".", "..", "other", "sub"}), namesOf(pickerListDirectory(dir.path(), &any, true, &files)));
  WildCardList s("s*", TRUE);
  EXPECT_EQ((Names{".", "..", "sub"}), namesOf(pickerListDirectory(dir.path(), &s, true, &files)));
  EXPECT_EQ(3, files);
  // The top has no "..", and the count still adds 2; an unreadable
  // directory gives no entries.
  std::vector<PickerRow> top = pickerListDirectory("/", &s, true, &files);
  EXPECT_EQ(".", top[0].name);
  EXPECT_NE("..", top.size() > 1 ? top[1].name : "");
  EXPECT_EQ(static_cast<long>(top.size()) + 1, files);
  EXPECT_EQ((Names{".", ".."}), namesOf(pickerListDirectory(dir.file("a.flt"), &any, false, &files)));
  EXPECT_EQ(2, files);
}

TEST(PickerRulesTest, SelectionAndDisplayTextOfEachKindOfRow) {
  EXPECT_EQ("/", pickerSelectionForRow("/", ".", FMGR_NODEDIR));
  EXPECT_EQ("/a/b/", pickerSelectionForRow("/a/b", ".", FMGR_NODEDIR));
  EXPECT_EQ("/a/", pickerSelectionForRow("/a/b", "..", FMGR_NODEDIR));
  EXPECT_EQ("/", pickerSelectionForRow("/a", "..", FMGR_NODEDIR));
  EXPECT_EQ("/etc", pickerSelectionForRow("/", "etc", FMGR_NODEFILE));
  EXPECT_EQ("/a/sub/", pickerSelectionForRow("/a", "sub", FMGR_NODEDIR));
  EXPECT_EQ("/a/f.flt", pickerSelectionForRow("/a", "f.flt", FMGR_NODEFILE));
  for (auto [in, out] : std::vector<std::pair<std::string, std::string>>{
           {"/", "/"}, {"//", "/"}, {"/a//", "/a"}, {"a", "a"}, {"", ""}})
    EXPECT_EQ(out, pickerStripTrailingSlashes(in)) << in;
  // Names are shown on one readable line.
  EXPECT_EQ("plain.flt", pickerDisplayName("plain.flt"));
  EXPECT_EQ("a\\nb\\tc", pickerDisplayName("a\nb\tc"));
  EXPECT_EQ("back\\\\slash", pickerDisplayName("back\\slash"));
  EXPECT_EQ("\xc3\xa9t\xc3\xa9", pickerDisplayName("\xc3\xa9t\xc3\xa9"));
  EXPECT_EQ("bad\\xFF\\xC3", pickerDisplayName("bad\xff\xc3"));
  EXPECT_EQ("\\xC0\\xAF\\xED\\xA0\\x80\\x01", pickerDisplayName("\xc0\xaf\xed\xa0\x80\x01"));
}

struct Recorded {
  int beeps = 0;
  std::vector<std::string> asked;
  long answer = 1;
};

PickerChoice recordingChoice(Recorded* r) {
  PickerChoice choice;
  choice.beep = [r] { r->beeps++; };
  choice.ask = [r](const char* text, long, const char* title, const char*, const char*, const char*) {
    r->asked.push_back(std::string(title) + ": " + text);
    return r->answer;
  };
  return choice;
}

TEST(PickerRulesTest, AcceptingNamesInAFileAndADirectoryChooser) {
  owbtest::TempDir dir;
  touch(dir.file("old.flt"));
  mkdir(dir.file("sub").c_str(), 0755);
  Recorded r;
  PickerChoice choice = recordingChoice(&r);
  choice.currentDirectory = dir.path();
  choice.confirmOverwrite = true;

  // A new name with mustExist only beeps.
  choice.mustExist = true;
  EXPECT_EQ(kPickerStay, pickerAcceptSelection(&choice, dir.file("new.flt")));
  EXPECT_EQ(1, r.beeps);
  EXPECT_TRUE(choice.result.empty());

  // A directory is entered, its trailing slashes gone; "/" keeps its own.
  EXPECT_EQ(kPickerEntered, pickerAcceptSelection(&choice, dir.file("sub") + "//"));
  EXPECT_EQ(dir.file("sub"), choice.currentDirectory);
  EXPECT_EQ(kPickerEntered, pickerAcceptSelection(&choice, "/"));
  EXPECT_EQ("/", choice.currentDirectory);

  // An existing file is replaced only when the user says so.
  choice.mustExist = false;
  r.answer = 2;
  EXPECT_EQ(kPickerStay, pickerAcceptSelection(&choice, dir.file("old.flt")));
  ASSERT_EQ(1u, r.asked.size());
  EXPECT_EQ("Replace existing file?: Are you sure you want to replace old.flt?", r.asked[0]);
  r.answer = 1;
  EXPECT_EQ(kPickerClose, pickerAcceptSelection(&choice, dir.file("old.flt")));
  EXPECT_EQ(dir.file("old.flt"), choice.result);
  choice.confirmOverwrite = false;
  EXPECT_EQ(kPickerClose, pickerAcceptSelection(&choice, dir.file("old.flt")));
  EXPECT_EQ(2u, r.asked.size());

  // A directory chooser warns of a missing directory with a beep, then an
  // alert, then a beep again.
  r = Recorded{};
  choice.mustExist = true;
  const std::string missing = dir.file("missing");
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(1, r.beeps);
  EXPECT_TRUE(r.asked.empty());
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(1, r.beeps);
  ASSERT_EQ(1u, r.asked.size());
  EXPECT_EQ("Replace existing file?: " + missing + " does not exist, please select and accept an existing directory.",
            r.asked[0]);
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(2, r.beeps);
  EXPECT_EQ(kPickerClose, pickerAcceptDirectory(&choice, dir.path() + "/"));
  EXPECT_EQ(dir.path(), choice.result);
  EXPECT_EQ(kPickerClose, pickerAcceptDirectory(&choice, "/"));
  EXPECT_EQ("/", choice.result);
}

TEST(PickerRulesTest, FindWalksEachDirectoryOnceAndEndsOnLoopsDepthAndCancel) {
  owbtest::TempDir dir;
  // a/ holds a loop back to the top; deep/ is a chain 300 directories deep
  // with the only match at its bottom.
  mkdir(dir.file("a").c_str(), 0755);
  symlink(dir.path().c_str(), dir.file("a/loop").c_str());
  touch(dir.file("a/first.flt"));
  std::string deep = dir.file("deep");
  for (int i = 0; i < 300; i++) {
    mkdir(deep.c_str(), 0755);
    deep += "/d";
  }
  mkdir(deep.c_str(), 0755);
  touch(deep + "/last.flt");

  WildCardList flt("*.flt", TRUE);
  PickerSearch search;
  search.filter = &flt;
  std::vector<std::string> offered;
  size_t selectAt = 0;  // the match to select; 0 continues on every one
  search.offer = [&](const std::string& path) {
    offered.push_back(path);
    return offered.size() == selectAt ? kPickerSelect : kPickerContinue;
  };
  long frames = 0;
  search.progress = [&](long frame) {
    frames = frame;
    return false;
  };
  // Continue on every match, the last included: nothing is selected.
  EXPECT_EQ("", pickerSearch(dir.path(), search));
  EXPECT_EQ((Names{dir.file("a/first.flt"), deep + "/last.flt"}), offered);
  EXPECT_GT(frames, 300);

  offered.clear();
  selectAt = 2;
  EXPECT_EQ(deep + "/last.flt", pickerSearch(dir.path(), search));
  selectAt = 0;

  // Too deep, or cancelled through the progress, finds nothing.
  offered.clear();
  search.maxDepth = 50;
  EXPECT_EQ("", pickerSearch(dir.path(), search));
  EXPECT_EQ(1u, offered.size());
  search.maxDepth = 1000;
  search.progress = [](long frame) { return frame >= 1; };  // at the entry after "a"
  offered.clear();
  EXPECT_EQ("", pickerSearch(dir.path(), search));
  EXPECT_TRUE(offered.empty());

  // A directory chooser is offered directories, and does not enter them.
  WildCardList d("d", TRUE);
  search.filter = &d;
  search.directoryChooser = true;
  search.progress = nullptr;
  offered.clear();
  EXPECT_EQ("", pickerSearch(dir.path(), search));
  EXPECT_EQ((Names{dir.file("deep/d")}), offered);
}

TEST(PickerRulesTest, ProjectRepliesOfTheWrongFormAreIgnored) {
  Message types(OWB_TYPE("RPLY"), nullptr);
  types.addErrorParam(0);
  for (auto [label, type] : std::vector<std::pair<const char*, TypeIdent>>{{"Fleets", OWB_TYPE("FLTF")},
                                                                           {"Engines", OWB_TYPE("ENGN")},
                                                                           {"Sources", OWB_TYPE("SRCF")},
                                                                           {"Missing", OWB_TYPE("MISS")}}) {
    types.addStringParam(kParamStr255, label);
    types.addIdentParam(type);
  }
  std::vector<std::pair<std::string, TypeIdent>> found;
  ASSERT_TRUE(pickerComponentTypes(&types, &found));
  ASSERT_EQ(2u, found.size());
  EXPECT_EQ("Fleets", found[0].first);
  EXPECT_EQ(OWB_TYPE("SRCF"), found[1].second);
  types.addStringParam(kParamStr255, "odd");
  EXPECT_FALSE(pickerComponentTypes(&types, &found));
  EXPECT_TRUE(found.empty());
  Message swapped(OWB_TYPE("RPLY"), nullptr);
  swapped.addErrorParam(0);
  swapped.addIdentParam(OWB_TYPE("FLTF"));
  swapped.addStringParam(kParamStr255, "Fleets");
  EXPECT_FALSE(pickerComponentTypes(&swapped, &found));
  EXPECT_FALSE(pickerComponentTypes(nullptr, &found));

  Message files(OWB_TYPE("RPLY"), nullptr);
  files.addErrorParam(0);
  files.addStringParam(kParamStr255, "/p/a.flt");
  files.addStringParam(kParamStr255, "/p/b.flt");
  std::vector<std::string> rows;
  ASSERT_TRUE(pickerProjectFiles(&files, &rows));
  EXPECT_EQ((Names{"/p/a.flt", "/p/b.flt", ""}), rows);
  files.addLongParam(3);
  EXPECT_FALSE(pickerProjectFiles(&files, &rows));
  Message refused(OWB_TYPE("RPLY"), nullptr);
  refused.addErrorParam(-3);
  EXPECT_FALSE(pickerProjectFiles(&refused, &rows));
}

class PickerToolManagerTest : public uitest::ToolmanFixture {};

TEST_F(PickerToolManagerTest, TheLastDirectoryGoesToTheToolManagerAndComesBack) {
  // At first the Tool Manager offers its project's directory.
  EXPECT_EQ(project, pickerAskDirectory());
  owbtest::TempDir elsewhere;
  pickerTellDirectory(elsewhere.path());
  ASSERT_TRUE(waitForReceived("SCFP", 1));
  EXPECT_EQ(elsewhere.path(), pickerAskDirectory());
  // A directory that is gone is not offered.
  pickerTellDirectory(elsewhere.file("gone"));
  ASSERT_TRUE(waitForReceived("SCFP", 2));
  EXPECT_EQ("", pickerAskDirectory());
  // Nothing is told for an empty directory.
  pickerTellDirectory("");
  serve(3);
  EXPECT_EQ(2u, received("SCFP").size());
}

}  // namespace
