// Cut, copy and paste through the display's selections, against a real
// second client (xclip), both ways and with a text of a megabyte.
#include <gtest/gtest.h>

#include <X11/Xatom.h>
#include <X11/keysym.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/dsplysel.h"
#include "toolkit/ted.h"

namespace {

using tktest::ToolkitTest;

class TEdClip : public ToolkitTest {
 protected:
  void SetUp() override {
    setenv("OWB_PASTE_TIMEOUT", "400", 1);
    ToolkitTest::SetUp();
    win_ = keep(tktest::newWin(200, 200, 400, 120, "clipboard"));
    ted_ = TED_Create();
    TED_Wgt(ted_)->ResBox = RECT16_Make(10, 10, 380, 28);
    PANEL_AddWgt(WIN_Panel(win_), TED_Wgt(ted_));
    WIN_Init(win_);
    ASSERT_TRUE(tktest::showFocused(win_));
    clickOn(TED_Wgt(ted_), 100, 14);
  }
  void TearDown() override {
    for (pid_t p : children_) {
      kill(p, SIGTERM);
      waitpid(p, nullptr, 0);
    }
    ToolkitTest::TearDown();
  }
  // Starts xclip with its output (and errors) in a file.
  pid_t xclip(std::vector<std::string> args, const std::string& out) {
    args.insert(args.begin(), "/usr/bin/xclip");
    children_.push_back(owbtest::startProgram(args, out.empty() ? "/dev/null" : out));
    return children_.back();
  }
  // Runs the loop until the child ends; its exit status.
  int runUntilExit(pid_t p, int timeoutMs = 10000) {
    int status = -1;
    bool done = tktest::runUntil([&] { return waitpid(p, &status, WNOHANG) == p; }, timeoutMs);
    if (done) children_.erase(std::find(children_.begin(), children_.end(), p));
    return done && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  // An xclip that owns a selection with the file's text, serving in the
  // foreground until it is stopped; false when it did not take it.
  bool serve(const std::string& file, const char* selection, const char* target = nullptr) {
    Display* dpy = driver_->display();
    Atom sel = XInternAtom(dpy, selection[0] == 'c' ? "CLIPBOARD" : "PRIMARY", False);
    Window before = XGetSelectionOwner(dpy, sel);
    std::vector<std::string> args{"-quiet", "-i", "-selection", selection};
    if (target) args.insert(args.end(), {"-t", target});
    args.push_back(file);
    xclip(args, "");
    return tktest::runUntil(
        [&] {
          Window owner = XGetSelectionOwner(dpy, sel);
          return owner != None && owner != before && !DSPLY_OwnsSelection(selection[0] == 'c' ? 1 : 0);
        },
        5000);
  }
  std::string file(const char* name, const std::string& text) {
    owbtest::writeWholeFile(dir_.file(name), text);
    return dir_.file(name);
  }
  // Runs xclip -o on a selection; what it printed, or "<failed>".
  std::string fetch(const char* selection, const char* target = nullptr) {
    std::vector<std::string> args{"-o", "-selection", selection};
    if (target) args.insert(args.end(), {"-t", target});
    std::string out = dir_.file("out");
    return runUntilExit(xclip(args, out)) == 0 ? owbtest::readWholeFile(out) : "<failed>";
  }
  bool pasted() {
    return tktest::runUntil([&] { return !TED_IsPasting(ted_); }, 10000);
  }
  owbtest::TempDir dir_;
  WinPtr win_ = nullptr;
  TEdPtr ted_ = nullptr;
  std::vector<pid_t> children_;
};

TEST_F(TEdClip, CopyAndCutGoToOtherProgramsEvenAMegabyte) {
  TED_SetStr(ted_, "fleet \xC3\xA9t\xC3\xA9");
  driver_->key(XK_a, XK_Control_L);  // the user's select-all offers the primary selection
  key(XK_c, XK_Control_L);
  EXPECT_EQ(fetch("clipboard"), "fleet \xC3\xA9t\xC3\xA9");
  EXPECT_EQ(fetch("clipboard", "STRING"), "fleet \xE9t\xE9");  // plain strings are Latin-1
  EXPECT_EQ(fetch("primary"), "fleet \xC3\xA9t\xC3\xA9");    // selecting offered it too
  // Cut with Shift+Delete: the text leaves the field and stays on offer.
  TED_SelectRange(ted_, 0, 5);
  key(XK_Delete, XK_Shift_L);
  EXPECT_STREQ(TED_GetStr(ted_), " \xC3\xA9t\xC3\xA9");
  EXPECT_EQ(fetch("clipboard"), "fleet");
  // A megabyte goes in increments.
  std::string big(1 << 20, 'x');
  for (size_t i = 0; i < big.size(); i += 1000) big[i] = static_cast<char>('a' + i % 26);
  TED_SetStr(ted_, big.c_str());
  TED_SelectAll(ted_);
  TED_SelCopy(ted_);
  std::string got = fetch("clipboard");
  EXPECT_TRUE(got == big) << got.size() << " bytes";
}

TEST_F(TEdClip, PasteTakesTextOfOtherProgramsEvenAMegabyte) {
  ASSERT_TRUE(serve(file("in", "engine \xE2\x82\xAC\nline two"), "clipboard"));
  TED_SetStr(ted_, "[]");
  TED_SetInsertPos(ted_, 1);
  key(XK_v, XK_Control_L);
  ASSERT_TRUE(pasted());
  EXPECT_STREQ(TED_GetStr(ted_), "[engine \xE2\x82\xAC line two]");  // one line
  // An owner that only gives plain strings: Latin-1 comes in as UTF-8.
  ASSERT_TRUE(serve(file("latin1", "caf\xE9"), "clipboard", "STRING"));
  TED_SetStr(ted_, "");
  key(XK_Insert, XK_Shift_L);
  ASSERT_TRUE(pasted());
  EXPECT_STREQ(TED_GetStr(ted_), "caf\xC3\xA9");
  // A megabyte, in increments, arrives whole; bytes that are not UTF-8
  // arrive as replacement characters.
  std::string big(1 << 20, 'y');
  big[500000] = '\xFF';
  ASSERT_TRUE(serve(file("big", big), "clipboard"));
  TED_SetStr(ted_, "");
  TED_SelPaste(ted_);
  ASSERT_TRUE(pasted());
  std::string want = big.substr(0, 500000) + "\xEF\xBF\xBD" + big.substr(500001);
  EXPECT_TRUE(std::string(TED_GetStr(ted_)) == want) << TED_GetStrLen(ted_) << " bytes";
  // (A paste is cut at MaxLen by the insertion the typed text takes too.)
}

TEST_F(TEdClip, TheMiddleButtonPastesThePrimarySelection) {
  ASSERT_TRUE(serve(file("primary", "warm"), "primary"));
  TED_SetStr(ted_, "cold  boot");
  _Point16Rec loc;
  ASSERT_TRUE(TED_IndexQueryLoc(ted_, 5, &loc));
  clickOn(TED_Wgt(ted_), loc.X, 14);  // where the caret goes
  _Point16Rec p = tktest::absOf(TED_Wgt(ted_), loc.X, 14);
  clickAt(p, 2);
  ASSERT_TRUE(pasted());
  EXPECT_STREQ(TED_GetStr(ted_), "cold warm boot");
}

TEST_F(TEdClip, AnOwnerThatNeverAnswersLeavesTheFieldAsItWas) {
  // A client that takes the clipboard and then reads none of its requests.
  Display* silent = XOpenDisplay(owbtest::sharedXvfb().display().c_str());
  ASSERT_NE(silent, nullptr);
  Window w = XCreateSimpleWindow(silent, DefaultRootWindow(silent), 0, 0, 1, 1, 0, 0, 0);
  XSetSelectionOwner(silent, XInternAtom(silent, "CLIPBOARD", False), w, CurrentTime);
  XSync(silent, False);
  TED_SetStr(ted_, "kept");
  TED_SelPaste(ted_);
  EXPECT_TRUE(TED_IsPasting(ted_));
  auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(tktest::runUntil([&] { return !TED_IsPasting(ted_); }, 5000));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_STREQ(TED_GetStr(ted_), "kept");
  // The loop kept running meanwhile, and a later paste works again once
  // the owner is gone.
  XCloseDisplay(silent);
  ASSERT_TRUE(serve(file("again", "new"), "clipboard"));
  TED_SelectAll(ted_);
  TED_SelPaste(ted_);
  ASSERT_TRUE(pasted());
  EXPECT_STREQ(TED_GetStr(ted_), "new");
}

}  // namespace
