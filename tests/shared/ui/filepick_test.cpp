// The file picker driven through the X server beside a real Tool Manager.
#include "shared/ui/filepick.h"

#include <sys/stat.h>

#include <algorithm>
#include <functional>

#include "shared/ui/alertwin.h"
#include "shared/ui/pickrules.h"
#include "tests/shared/ui/ui_fixture.h"
#include "toolkit/cbox.h"
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

// A file chooser: accepting a directory enters it, a double click chooses a
// file.  The next picker, a directory chooser, starts where the first ended,
// lists no files, and the top keeps its slash.
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

  pickerTellDirectory("/");
  ASSERT_TRUE(waitForReceived("SCFP", 3));
  script({[&] { clickRow("."); }, [&] { press(FPICK_CHOOSEDIRECTORY); }});
  EXPECT_TRUE(chooseDirectory(result, "Directory", nullptr, "*", TRUE));
  EXPECT_STREQ("/", result);
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
  std::string name = path;
  bool one = name.size() > 4 && name.compare(name.size() - 4, 4, ".one") == 0;
  bool two = name.size() > 4 && name.compare(name.size() - 4, 4, ".two") == 0;
  reply->addBooleanParam(one || two);
  if (one || two) {
    reply->addStringParam(kParamStr31, one ? "Ones" : "Twos");
    reply->addIdentParam(one ? OWB_TYPE("ONEF") : OWB_TYPE("TWOF"));
    reply->addStringParam(kParamStr255, "test files");
  }
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
