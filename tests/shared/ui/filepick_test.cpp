// The file picker: its rules on real directories, its requests to a real
// Tool Manager, and its window driven through the X server.
#include "shared/ui/filepick.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "shared/ui/alertwin.h"
#include "shared/ui/pickrules.h"
#include "tests/shared/ui/ui_fixture.h"
#include "toolkit/cbox.h"
#include "toolkit/fmgr.h"
#include "toolkit/lbox.h"
#include "toolkit/ted.h"

namespace {

using Names = std::vector<std::string>;

class FilePickerTest : public uitest::ToolmanFixture {
 protected:
  void SetUp() override {
    uitest::ToolmanFixture::SetUp();
    installAlertWindow();
  }
  void TearDown() override {
    uninstallAlertWindow();
    uitest::ToolmanFixture::TearDown();
  }

  WgtPtr child(Int n) { return WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(FPICK_GetWin())), n)); }
  LBoxPtr list(Int n = FPICK_DISKLIST) { return LBOX_FromWgt(child(n)); }
  std::string field(Int n) { return TED_GetStr(TED_FromWgt(child(n))); }

  Names rows(Int n = FPICK_DISKLIST) {
    Names names;
    LBoxPtr box = list(n);
    for (Int row = 1; row <= LBOX_GetUsedRows(box); row++) {
      LBOX_GoColRow(box, 1, row);
      const char* text = static_cast<const char*>(LBOX_CurGetClientData(box));
      names.push_back(text ? text : "(none)");
    }
    return names;
  }
  // Clicks (twice for a double click) in a row of a list box.
  void clickCell(LBoxPtr box, Int row, int clicks = 1) {
    LBOX_GoColRow(box, 1, row);
    _Rect16Rec rect, clip;
    LBOX_CurQueryRects(box, &rect, &clip);
    _Point16Rec p = tktest::absOf(LBOX_Wgt(box), clip.Origin.X + 10, clip.Origin.Y + clip.Extent.Y / 2);
    for (int c = 0; c < clicks; c++) driver_->click(p.X, p.Y);
  }
  void clickRow(const std::string& name, int clicks = 1, Int n = FPICK_DISKLIST) {
    Names all = rows(n);
    auto at = std::find(all.begin(), all.end(), name);
    if (at == all.end()) ADD_FAILURE() << "no row " << name;
    else clickCell(list(n), static_cast<Int>(at - all.begin() + 1), clicks);
  }
  void press(Int n) {
    _Point16Rec p = tktest::absOf(child(n), 10, 10);
    driver_->click(p.X, p.Y);
  }
  // Runs the steps one after the other from the picker's loop, each a
  // moment after the one before.
  void script(std::vector<std::function<void()>> steps) {
    steps_ = std::move(steps);
    next_ = 0;
    step_ = [this] {
      if (next_ < steps_.size()) steps_[next_++]();
      if (next_ < steps_.size()) uitest::after(200, &step_);
    };
    uitest::after(400, &step_);
  }

  std::vector<std::function<void()>> steps_;
  size_t next_ = 0;
  std::function<void()> step_;
};

void touch(const std::string& path) { owbtest::writeWholeFile(path, "x"); }

Names namesOf(const std::vector<PickerRow>& rows) {
  Names names;
  for (const PickerRow& row : rows) names.push_back(row.name);
  return names;
}


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
  EXPECT_EQ("/etc", pickerSelectionForRow("/", "etc", FMGR_NODEFILE));
  EXPECT_EQ("/a/sub/", pickerSelectionForRow("/a", "sub", FMGR_NODEDIR));
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

TEST(PickerRulesTest, AcceptingNamesInAFileAndADirectoryChooser) {
  owbtest::TempDir dir;
  touch(dir.file("old.flt"));
  mkdir(dir.file("sub").c_str(), 0755);
  int beeps = 0;
  std::vector<std::string> asked;  // "title: text"
  long answer = 1;
  PickerChoice choice;
  choice.beep = [&] { beeps++; };
  choice.ask = [&](const char* text, long, const char* title, const char*, const char*, const char*) {
    asked.push_back(std::string(title) + ": " + text);
    return answer;
  };
  choice.currentDirectory = dir.path();
  choice.confirmOverwrite = true;

  // A new name with mustExist only beeps.
  choice.mustExist = true;
  EXPECT_EQ(kPickerStay, pickerAcceptSelection(&choice, dir.file("new.flt")));
  EXPECT_EQ(1, beeps);
  EXPECT_TRUE(choice.result.empty());

  // A directory is entered, its trailing slashes gone; "/" keeps its own.
  EXPECT_EQ(kPickerEntered, pickerAcceptSelection(&choice, dir.file("sub") + "//"));
  EXPECT_EQ(dir.file("sub"), choice.currentDirectory);
  EXPECT_EQ(kPickerEntered, pickerAcceptSelection(&choice, "/"));
  EXPECT_EQ("/", choice.currentDirectory);

  // An existing file is replaced only when the user says so.
  choice.mustExist = false;
  answer = 2;
  EXPECT_EQ(kPickerStay, pickerAcceptSelection(&choice, dir.file("old.flt")));
  ASSERT_EQ(1u, asked.size());
  EXPECT_EQ("Replace existing file?: Are you sure you want to replace old.flt?", asked[0]);
  answer = 1;
  EXPECT_EQ(kPickerClose, pickerAcceptSelection(&choice, dir.file("old.flt")));
  EXPECT_EQ(dir.file("old.flt"), choice.result);
  choice.confirmOverwrite = false;
  EXPECT_EQ(kPickerClose, pickerAcceptSelection(&choice, dir.file("old.flt")));
  EXPECT_EQ(2u, asked.size());

  // A directory chooser warns of a missing directory with a beep, then an
  // alert, then a beep again.
  beeps = 0;
  asked.clear();
  choice.mustExist = true;
  const std::string missing = dir.file("missing");
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(1, beeps);
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(1, beeps);
  ASSERT_EQ(1u, asked.size());
  EXPECT_EQ("Replace existing file?: " + missing + " does not exist, please select and accept an existing directory.",
            asked[0]);
  EXPECT_EQ(kPickerStay, pickerAcceptDirectory(&choice, missing));
  EXPECT_EQ(2, beeps);
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
  const std::pair<const char*, TypeIdent> kinds[] = {{"Fleets", OWB_TYPE("FLTF")}, {"Engines", OWB_TYPE("ENGN")},
                                                      {"Sources", OWB_TYPE("SRCF")}, {"Missing", OWB_TYPE("MISS")}};
  for (auto [label, type] : kinds) {
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
  files.addLongParam(3);
  std::vector<std::string> rows;
  EXPECT_FALSE(pickerProjectFiles(&files, &rows));
  Message refused(OWB_TYPE("RPLY"), nullptr);
  refused.addErrorParam(-3);
  EXPECT_FALSE(pickerProjectFiles(&refused, &rows));
}

// The Tool Manager keeps the picker's last directory (the choosers' test
// sees it come and go); one that is gone is not offered, and nothing is told
// for an empty one.
TEST_F(FilePickerTest, AGoneOrEmptyLastDirectoryIsNotUsed) {
  pickerTellDirectory(project + "/gone");
  ASSERT_TRUE(waitForReceived("SCFP", 1));
  EXPECT_EQ("", pickerAskDirectory());
  pickerTellDirectory("");
  serve(3);
  EXPECT_EQ(1u, received("SCFP").size());
}

// A file chooser: accepting a directory enters it, a double click chooses a
// file.  The next picker, a directory chooser, starts where the first ended
// and lists no files.
TEST_F(FilePickerTest, FileAndDirectoryChoosersWalkTheDisk) {
  touch(project + "/a.flt");
  mkdir((project + "/sub").c_str(), 0755);
  mkdir((project + "/sub/deeper").c_str(), 0755);
  touch(project + "/sub/inner.flt");
  Names first, inside, listed;
  std::string filter, selected, accept;
  script({[&] {
            first = rows();
            filter = field(FPICK_FILTER);
            clickRow("sub");
          },
          [&] {
            selected = field(FPICK_SELECTION);
            press(FPICK_ACCEPT);
          },
          [&] {
            inside = rows();
            clickRow("inner.flt");
          },
          [&] { clickRow("inner.flt"); }});  // within the double-click time
  fileNameType result;
  EXPECT_TRUE(chooseFile(kDisplayFiles, result, "Pick", nullptr, "", TRUE, TRUE));
  EXPECT_EQ(project + "/sub/inner.flt", std::string(result));
  EXPECT_EQ("*", filter);  // an empty filter is "*"
  EXPECT_EQ((Names{".", "..", "a.flt", "sub"}), first);
  EXPECT_EQ(project + "/sub/", selected);
  EXPECT_EQ((Names{".", "..", "deeper", "inner.flt"}), inside);
  EXPECT_EQ(nullptr, FPICK_GetWin());
  // The Tool Manager learns where the picker stood.
  ASSERT_TRUE(waitForReceived("SCFP", 1));
  EXPECT_NE(std::string::npos, received("SCFP").back().find(project + "/sub")) << received("SCFP").back();

  script({[&] {
            listed = rows();
            accept = TBUT_GetLabel(TBUT_FromWgt(child(FPICK_ACCEPT)));
            clickRow(".");
          },
          [&] { press(FPICK_CHOOSEDIRECTORY); }});
  EXPECT_TRUE(chooseDirectory(result, "Directory", nullptr, "*", TRUE));
  EXPECT_EQ(project + "/sub", std::string(result));
  EXPECT_EQ((Names{".", "..", "deeper"}), listed);
  EXPECT_EQ("Open Directory", accept);
}

// One picker at a time; Escape chooses nothing.  With mustExist false a
// new name typed into the selection field is chosen with Return, with its
// directory as typed.
TEST_F(FilePickerTest, OnePickerAtATimeCancelANewNameTypedAndFind) {
  Boolean second = TRUE, secondDirectory = TRUE;
  script({[&] {
            fileNameType other;
            second = chooseFile(kDisplayFiles, other, nullptr, nullptr, nullptr, FALSE, FALSE);
            secondDirectory = chooseDirectory(other, nullptr, nullptr, nullptr, FALSE);
          },
          [&] { driver_->key(XK_Escape); }});
  fileNameType result = "stale";
  EXPECT_FALSE(chooseFile(kDisplayFiles, result, nullptr, nullptr, nullptr, FALSE, FALSE));
  EXPECT_STREQ("", result);
  EXPECT_FALSE(second);
  EXPECT_FALSE(secondDirectory);

  script({[&] { press(FPICK_SELECTION); },
          [&] {
            driver_->key(XK_End);
            for (KeySym k : {XK_n, XK_e, XK_w, XK_period, XK_f, XK_l, XK_t}) driver_->key(k);
          },
          [&] { driver_->key(XK_Return); }});
  EXPECT_TRUE(chooseFile(kDisplayFiles, result, nullptr, nullptr, "*.flt", FALSE, TRUE));
  EXPECT_EQ(project + "/new.flt", std::string(result));

  // Find offers each match in an alert; Select takes it into the list.
  mkdir((project + "/deep").c_str(), 0755);
  mkdir((project + "/deep/er").c_str(), 0755);
  touch(project + "/deep/er/target.flt");
  std::string alertText, selection;
  Names listed;
  script({[&] { press(FPICK_FIND); },
          [&] {
            WinPtr alert = ALRTW_GetWin();
            if (!alert) return;
            alertText = TED_GetStr(TED_FromWgt(WGT_FromRes(RES_GetNthChild(WGT_Res(WIN_Wgt(alert)), ALRTW_TEXT))));
            driver_->key(XK_Return);  // Select
          },
          [&] {
            selection = field(FPICK_SELECTION);
            listed = rows();
            press(FPICK_ACCEPT);
          }});
  EXPECT_TRUE(chooseFile(kDisplayFiles, result, nullptr, nullptr, "*.flt", TRUE, FALSE));
  EXPECT_EQ("Found " + project + "/deep/er/target.flt", alertText);
  EXPECT_EQ(project + "/deep/er/target.flt", selection);
  EXPECT_EQ((Names{".", "..", "target.flt"}), listed);
  EXPECT_EQ(project + "/deep/er/target.flt", std::string(result));
}

// This tool claims the project's files by their suffix, so that the Tool
// Manager learns two component types.
ErrorCode identifyBySuffix(Message* message, Message* reply) {
  char path[1024];
  message->getStringParam(0, path, sizeof path);
  const char* suffix = std::strrchr(path, '.');
  bool one = suffix && std::strcmp(suffix, ".one") == 0, two = suffix && std::strcmp(suffix, ".two") == 0;
  reply->addBooleanParam(one || two);
  if (!one && !two) return kNoError;
  reply->addStringParam(kParamStr31, one ? "Ones" : "Twos");
  reply->addIdentParam(one ? OWB_TYPE("ONEF") : OWB_TYPE("TWOF"));
  reply->addStringParam(kParamStr255, "test files");
  return kNoError;
}

// The component type is chosen from the combo box's list; the project list
// follows the choice, and the next picker starts on it.  The project list
// ends in an empty row; accepting it closes the picker with nothing chosen.
TEST_F(FilePickerTest, TheComponentTypeChosenInTheListChangesTheProjectFiles) {
  for (const char* name : {"a.one", "b.two", "c.two"}) touch(project + "/" + name);
  MessageTemplate idfl = makeMessageTemplate({kParamStr255});
  gMessageCenter->registerMessageHandler(OWB_TYPE("IDFL"), &idfl, identifyBySuffix);
  ASSERT_EQ(0, send({"rescan", "idfl uitest a.one", "idfl uitest b.two", "idfl uitest c.two"}));
  CBoxPtr box = nullptr;
  Names before, after;
  std::string shownBefore, shownAfter, shownNextTime;
  bool listOpened = false, diskShown = true;
  script({[&] {
            diskShown = !child(FPICK_DISKLIST)->Invisible;
            box = CBOX_FromWgt(child(FPICK_COMPONENTTYPES));
            before = rows(FPICK_PROJECTLIST);
            shownBefore = TED_GetStr(CBOX_GetTEd(box));
            press(FPICK_COMPONENTTYPES);  // a click on the field opens the list
          },
          [&] {
            listOpened = CBOX_IsListOpen(box);
            if (!listOpened || CBOX_GetNumElts(box) < 2) return;
            clickCell(CBOX_GetLBox(box), 2);
          },
          [&] {
            after = rows(FPICK_PROJECTLIST);
            shownAfter = TED_GetStr(CBOX_GetTEd(box));
            clickRow("", 1, FPICK_PROJECTLIST);
          },
          [&] { press(FPICK_ACCEPT); }});
  fileNameType result;
  EXPECT_FALSE(chooseFile(kDisplayComponents, result, nullptr, nullptr, nullptr, TRUE, FALSE));
  EXPECT_EQ("Ones", shownBefore);
  EXPECT_EQ((Names{project + "/a.one", ""}), before);
  EXPECT_TRUE(listOpened);
  EXPECT_FALSE(diskShown);
  EXPECT_EQ("Twos", shownAfter);
  EXPECT_EQ((Names{project + "/b.two", project + "/c.two", ""}), after);

  script({[&] {
    shownNextTime = TED_GetStr(CBOX_GetTEd(CBOX_FromWgt(child(FPICK_COMPONENTTYPES))));
    driver_->key(XK_Escape);
  }});
  EXPECT_FALSE(chooseFile(kDisplayComponents, result, nullptr, nullptr, nullptr, TRUE, FALSE));
  EXPECT_EQ("Twos", shownNextTime);
  gMessageCenter->removeMessageHandler(OWB_TYPE("IDFL"));
}

}  // namespace
