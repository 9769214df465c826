// Shared set-up of the messaging tests: a home of their own with the log
// open, helpers to read the log and to run a function in a child process.
#ifndef OWB_TESTS_MESSAGES_SUPPORT_H
#define OWB_TESTS_MESSAGES_SUPPORT_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "testsupport.h"

namespace msgtest {

// A fresh HOME with the log open under the tool name "msgtest"; the center
// and the log are cleaned up afterwards.
class MessagingTest : public ::testing::Test {
 protected:
  owbtest::TempDir home;
  owbtest::ScopedEnv homeEnv{"HOME", home.path()};
  owbtest::ScopedEnv tickleEnv{"OWB_TICKLE_INTERVAL", std::nullopt};

  void SetUp() override {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    forgetToolManagerPort();
    gToolName = newStringCopy("msgtest");
    gLogLevel = kLogDefault;
    openToolLog(false);
  }
  void TearDown() override {
    cleanUpGlobals();
    gToolManToolInfo = ToolInfo{};
    gLogLevel = kLogDefault;
    forgetToolManagerPort();
  }
  std::string log() const { return owbtest::readWholeFile(home.path() + "/.owb/owblog"); }
  bool logHas(const std::string& text) const { return log().find(text) != std::string::npos; }
  std::string portFile() const { return home.path() + "/.owb/owbport"; }
};

// The TCP transport of a center made without one of its own.
inline TCPTransport* tcpOf(MessageCenter& center) { return static_cast<TCPTransport*>(center.transport); }

// A transport without sockets: what is sent to its own port comes back from
// poll in the order sent; what is sent elsewhere is kept in `sent`.
class MemoryTransport : public MessageTransport {
 public:
  explicit MemoryTransport(int port) : port_(port) {}
  ~MemoryTransport() override {
    for (Message* message : inbox_) delete message;
    for (Message* message : sent) delete message;
  }
  int listenerPort() const override { return port_; }
  Message* poll() override {
    if (inbox_.empty()) return nullptr;
    Message* message = inbox_.front();
    inbox_.erase(inbox_.begin());
    return message;
  }
  void sendMessage(const Message* message) override {
    Message* copy = new Message(*message);
    if (message->header.receiverInfo.listenerPort == port_) inbox_.push_back(copy);
    else sent.push_back(copy);
  }
  void ticklePort(int) override { lastError = kNoError; }

  std::vector<Message*> sent;

 private:
  int port_;
  std::vector<Message*> inbox_;
};

// Runs body in a child process; the child's exit status is body's result.
inline pid_t runInChild(const std::function<int()>& body) {
  pid_t child = fork();
  if (child == 0) {
    int status = body();
    _exit(status);
  }
  return child;
}

// Calls turn until the child exits (or the time runs out, when it is
// killed); returns its exit status, or -1 when it did not exit by itself.
inline int serveUntilExit(pid_t child, const std::function<void()>& turn, int seconds = 20) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  int status = 0;
  while (std::chrono::steady_clock::now() < deadline) {
    if (waitpid(child, &status, WNOHANG) == child)
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    turn();
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return -1;
}

// Waits until a file exists and is not empty.
inline bool waitForFile(const std::string& path, int milliseconds = 5000) {
  for (int waited = 0; waited < milliseconds; waited += 10) {
    if (!owbtest::readWholeFile(path).empty()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace msgtest

#endif  // OWB_TESTS_MESSAGES_SUPPORT_H
