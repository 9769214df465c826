// The loop's replaceable parts: the timer queue that alarms share with any
// client, the display hooks through which another loop plugs in, and the
// clipboard served while the loop runs.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/toolkit/tk_fixture.h"
#include "toolkit/xhooks.h"

#include <X11/Xatom.h>

namespace {

using tktest::ToolkitTest;

// A timer client of the test's own; firing records its id and may dequeue
// another client.
struct TestClient {
  _TimerClientRec Base;
  int Id;
  std::vector<int>* Fired;
  TimerClientPtr Victim;
};

void fireTestClient(TimerClientPtr c) {
  TestClient* t = reinterpret_cast<TestClient*>(c);
  t->Fired->push_back(t->Id);
  if (t->Victim) TIMER_Dequeue(t->Victim);
}

BoolEnum isTestClientWithId(TimerClientPtr c, ClientPtr id) {
  return c->Fire == fireTestClient && reinterpret_cast<TestClient*>(c)->Id == *static_cast<int*>(id);
}

TEST_F(ToolkitTest, TimerQueueKeepsClientsInTimeOrderAndTheLoopFiresEachOnce) {
  std::vector<int> fired;
  TestClient late{{fireTestClient, nullptr}, 1, &fired, nullptr};
  TestClient first{{fireTestClient, nullptr}, 2, &fired, nullptr};
  TestClient second{{fireTestClient, nullptr}, 3, &fired, nullptr};
  TIMER_Queue(&late.Base, 60);
  TIMER_Queue(&first.Base, 0);
  TIMER_Queue(&second.Base, 0);
  int want = 3;
  EXPECT_EQ(TIMER_GetQueuedDS(isTestClientWithId, &want), &second.Base);
  EXPECT_TRUE(TIMER_IsQueued(&late.Base));

  // Due together: handed out in the order queued; the late one is not due.
  std::vector<TimerClientPtr> elapsed;
  while (TimerClientPtr c = TIMER_DequeueElapsed())
    if (c->Fire == fireTestClient) elapsed.push_back(c);
    else TIMER_Queue(c, 0);  // someone else's: back it goes
  ASSERT_EQ(elapsed.size(), 2u);
  EXPECT_EQ(elapsed[0], &first.Base);
  EXPECT_EQ(elapsed[1], &second.Base);
  EXPECT_FALSE(TIMER_IsQueued(&first.Base));
  EXPECT_TRUE(TIMER_IsQueued(&late.Base));

  // Queuing again moves a client; a dequeued one is gone for good.
  TIMER_Queue(&first.Base, 5000);
  TIMER_Queue(&first.Base, 10000);
  EXPECT_TRUE(TIMER_Dequeue(&first.Base));
  EXPECT_FALSE(TIMER_Dequeue(&first.Base));

  // The loop fires the late one when its time comes, and only once.
  ASSERT_TRUE(tktest::runUntil([&] { return !fired.empty(); }));
  for (int i = 0; i < 5; i++) EVENT_ProcessPending();
  EXPECT_EQ(fired, std::vector<int>{1});

  // A client that fires may stop another one due in the same pass.
  fired.clear();
  TestClient victim{{fireTestClient, nullptr}, 5, &fired, nullptr};
  TestClient stopper{{fireTestClient, nullptr}, 4, &fired, &victim.Base};
  TIMER_Queue(&stopper.Base, 0);
  TIMER_Queue(&victim.Base, 0);
  usleep(2000);
  EVENT_ProcessTimeOut();
  EXPECT_EQ(fired, std::vector<int>{4});
  EXPECT_FALSE(TIMER_IsQueued(&victim.Base));
}

// The plugged-in loop of the hooks test: it counts what the toolkit's loop
// asks of it and serves a pipe of its own while the toolkit waits.
struct PluggedLoop {
  int nextCalls = 0, blockCalls = 0, processed = 0;
  int pipeFd = -1;
  std::string pipeInput;
  std::vector<unsigned long> foreignProperties;  // atoms of property events seen
  Atom watched = 0;
  bool rejectAll = false;
} gLoop;

BoolEnum pluggedNext(_DsplyEventRec* ev, int64_t limitMs) {
  gLoop.nextCalls++;
  return X_DefNextXEvent(ev, limitMs);
}

BoolEnum pluggedBlocking(int fd, int64_t timeoutMs) {
  gLoop.blockCalls++;
  if (DSPLY_Pending() > 0) return 1;
  fd_set set;
  FD_ZERO(&set);
  FD_SET(fd, &set);
  FD_SET(gLoop.pipeFd, &set);
  timeval tv{0, 20000};
  if (timeoutMs >= 0 && timeoutMs < 20) tv.tv_usec = static_cast<suseconds_t>(timeoutMs * 1000);
  int n = select((fd > gLoop.pipeFd ? fd : gLoop.pipeFd) + 1, &set, nullptr, nullptr, &tv);
  if (n > 0 && FD_ISSET(gLoop.pipeFd, &set)) {
    char buf[64];
    ssize_t got = read(gLoop.pipeFd, buf, sizeof buf);
    if (got > 0) gLoop.pipeInput.append(buf, static_cast<size_t>(got));
  }
  return n > 0 && FD_ISSET(fd, &set);
}

void pluggedProcess(_DsplyEventRec* ev) {
  gLoop.processed++;
  X_DefProcessXEvent(ev);
}

BoolEnum pluggedPredicate(NatEventPtr) { return !gLoop.rejectAll; }

void pluggedForeign(NatEventPtr event) {
  XEvent* xe = static_cast<XEvent*>(event);
  if (xe->type == PropertyNotify && xe->xproperty.atom == gLoop.watched)
    gLoop.foreignProperties.push_back(xe->xproperty.atom);
}

void setFlag(ClientPtr flag) { *static_cast<bool*>(flag) = true; }

TEST_F(ToolkitTest, DisplayHooksLetAnotherLoopPlugInAndNullRestoresTheDefaults) {
  gLoop = PluggedLoop{};
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  gLoop.pipeFd = fds[0];
  EXPECT_EQ(X_SetNextXEventProc(pluggedNext), X_DefNextXEvent);
  EXPECT_EQ(X_SetXUnxBlockingProc(pluggedBlocking), X_DefXUnxBlocking);
  EXPECT_EQ(X_SetProcessXEventProc(pluggedProcess), X_DefProcessXEvent);
  EXPECT_EQ(X_SetProcessNonOiXEventProc(pluggedForeign), nullptr);
  EXPECT_EQ(X_SetCurrentXPredicate(pluggedPredicate), nullptr);

  // While the toolkit sleeps until its alarm, the other loop's input is
  // served through the blocking procedure.
  ASSERT_EQ(write(fds[1], "ping", 4), 4);
  bool rang = false;
  EVENT_StartCBackAlarmDS(setFlag, &rang, 150);
  while (!rang) EVENT_ProcessNext();
  EXPECT_GT(gLoop.nextCalls, 0);
  EXPECT_GT(gLoop.blockCalls, 0);
  EXPECT_EQ(gLoop.pipeInput, "ping");

  // Display events go through the process procedure: a window is drawn.
  WinPtr win = keep(tktest::newWin(40, 40, 200, 100, "Hooks"));
  WIN_Init(win);
  ASSERT_TRUE(tktest::showAndWait(win));
  EXPECT_GT(gLoop.processed, 0);

  // A predicate that lets nothing through keeps events queued; the events
  // the toolkit has no use for go to the non-toolkit procedure.
  Display* other = driver_->display();
  gLoop.watched = XInternAtom(other, "OWB_HOOK_TEST", False);
  settle();
  gLoop.rejectAll = true;
  const unsigned char value[] = "x";
  XChangeProperty(other, WIN_GetNatWin(win), gLoop.watched, XA_STRING, 8, PropModeReplace, value, 1);
  XSync(other, False);
  DSPLY_Sync();
  for (int i = 0; i < 10; i++) EVENT_ProcessPending();
  EXPECT_FALSE(EVENT_IsPending());
  EXPECT_TRUE(gLoop.foreignProperties.empty());
  gLoop.rejectAll = false;
  EXPECT_TRUE(EVENT_IsPending());
  ASSERT_TRUE(tktest::runUntil([] { return !gLoop.foreignProperties.empty(); }));

  // Null puts the defaults back: the plugged procedures hear nothing more.
  EXPECT_EQ(X_SetNextXEventProc(nullptr), pluggedNext);
  EXPECT_EQ(X_SetXUnxBlockingProc(nullptr), pluggedBlocking);
  EXPECT_EQ(X_SetProcessXEventProc(nullptr), pluggedProcess);
  EXPECT_EQ(X_SetProcessNonOiXEventProc(nullptr), pluggedForeign);
  EXPECT_EQ(X_SetCurrentXPredicate(nullptr), pluggedPredicate);
  PluggedLoop before = gLoop;
  XChangeProperty(other, WIN_GetNatWin(win), gLoop.watched, XA_STRING, 8, PropModeReplace, value, 1);
  XSync(other, False);
  rang = false;
  EVENT_StartCBackAlarmDS(setFlag, &rang, 50);
  while (!rang) EVENT_ProcessNext();
  EXPECT_EQ(gLoop.nextCalls, before.nextCalls);
  EXPECT_EQ(gLoop.blockCalls, before.blockCalls);
  EXPECT_EQ(gLoop.processed, before.processed);
  EXPECT_EQ(gLoop.foreignProperties.size(), before.foreignProperties.size());
  close(fds[0]);
  close(fds[1]);
}

TEST_F(ToolkitTest, ClipboardTextGoesToOtherProgramsAndComesBackFromThem) {
  owbtest::TempDir dir;
  std::string display = "DISPLAY=" + owbtest::sharedXvfb().display() + " ";
  ASSERT_TRUE(EVENT_SetClipboardStr("fleet \xc3\xa9one"));
  // xclip waits for this program's answer: the loop runs while it asks.
  std::string fetch = display + "xclip -o -selection clipboard > " + dir.file("out") + " 2>/dev/null &";
  ASSERT_EQ(std::system(fetch.c_str()), 0);
  EXPECT_TRUE(tktest::runUntil([&] { return owbtest::readWholeFile(dir.file("out")) == "fleet \xc3\xa9one"; }, 5000));
  // Another program holds the clipboard (xclip answers one request).
  ASSERT_EQ(std::system(("printf 'from xclip' | " + display + "xclip -i -loops 1 -selection clipboard").c_str()), 0);
  std::string text;
  ASSERT_TRUE(tktest::runUntil([&] { return EVENT_GetClipboardStr(&text, 1000) && text == "from xclip"; }, 5000))
      << text;
}

}  // namespace
