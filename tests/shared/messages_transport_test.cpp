// The transport between real processes on loopback: request and reply,
// the tickle, bind retries, and senders that break the rules.
#include <cstring>
#include <memory>

#include "messages_support.h"

namespace {

using msgtest::MessagingTest;
using msgtest::tcpOf;

constexpr TypeIdent kEcho = OWB_TYPE("ECHO");

int basePort() { return 20000 + static_cast<int>(getpid() % 4000) * 5; }

// A listening socket on the port (any address), or -1 when it is taken.
int occupyPort(int port) {
  int s = socket(AF_INET, SOCK_STREAM, 0);
  int on = 1;
  setsockopt(s, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(s, 5) != 0) {
    close(s);
    return -1;
  }
  return s;
}

// count consecutive listening sockets from some port on; their ports.
// The ports stay below the range the system hands out to connecting
// sockets, so that a connection made meanwhile by another test cannot take
// the port after them; that port is checked free as well.
std::vector<int> occupyConsecutivePorts(int count, int* firstPort) {
  constexpr int kFirstEphemeralPort = 32768;
  for (int start = 10000 + static_cast<int>(getpid() % 4000) * 5; start + count < kFirstEphemeralPort;
       start += 137) {
    std::vector<int> sockets;
    for (int i = 0; i < count; ++i) {
      int s = occupyPort(start + i);
      if (s < 0) break;
      sockets.push_back(s);
    }
    int after = static_cast<int>(sockets.size()) == count ? occupyPort(start + count) : -1;
    if (after >= 0) {
      close(after);
      *firstPort = start;
      return sockets;
    }
    for (int s : sockets) close(s);
  }
  return {};
}

void sendRaw(int port, const std::vector<std::string>& pieces) {
  int s = owbtest::connectLoopback(port);
  ASSERT_GE(s, 0);
  for (const std::string& piece : pieces)
    ASSERT_EQ(send(s, piece.data(), piece.size(), 0), static_cast<ssize_t>(piece.size()));
  close(s);
}

std::string headerBytes(short count, int32_t firstLength) {
  MessageHeader header;
  std::memset(&header, 0, sizeof header);
  header.msgType = kEcho;
  header.msgTemplate.numberOfParams = count;
  for (int i = 0; i < kMaxMessageParams; ++i) {
    header.msgTemplate.paramType[i] = kParamData;
    header.msgTemplate.paramLength[i] = firstLength;
  }
  uint8_t wire[kMessageHeaderWireSize];
  encodeMessageHeader(header, wire);
  return std::string(reinterpret_cast<char*>(wire), sizeof wire);
}

size_t occurrences(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

long gZeroLengthSeen = -1;
bool gZeroLengthBlock = false;

ErrorCode echoAll(Message* message, Message* reply) {
  for (short i = 0; i < message->getParamCount(); ++i)
    reply->addParam(message->getParamType(i), message->getParam(i), message->getParamLength(i));
  gZeroLengthSeen = message->getParamLength(2);
  gZeroLengthBlock = message->getParam(2) != nullptr;
  return kNoError;
}

using TransportTest = MessagingTest;

TEST_F(TransportTest, RequestAndReplyBetweenTwoProcesses) {
  gLogLevel = kLogSome;
  auto toolManager = std::make_unique<MessageCenter>(basePort());
  MessageTemplate shape = makeMessageTemplate({kParamStr255, kParamLong, kParamData});
  toolManager->registerMessageHandler(kEcho, &shape, echoAll);
  ASSERT_TRUE(msgtest::waitForFile(portFile()));

  pid_t child = msgtest::runInChild([] {
    MessageCenter* tool = new MessageCenter();
    ToolInfo manager{};
    manager.listenerPort = getToolManagerPort();
    Message* request = new Message(kEcho, &manager);
    request->header.needsReply = TRUE;
    request->addStringParam(kParamStr255, "hello");
    request->addLongParam(42);
    request->addParam(kParamData, nullptr, 0);
    Message* reply = tool->sendMessage(request);
    if (!reply) return 10;
    ErrorCode code = -1;
    int32_t number = 0;
    char text[16];
    if (!reply->getErrorParam(0, &code) || code != kNoError) return 11;
    if (!reply->getStringParam(1, text, sizeof text) || std::strcmp(text, "hello") != 0) return 12;
    if (!reply->getLongParam(2, &number) || number != 42) return 13;
    if (reply->getParamCount() != 4 || reply->getParamLength(3) != 0) return 14;
    return 0;
  });
  EXPECT_EQ(msgtest::serveUntilExit(child, [&] { toolManager->poll(); }), 0);
  EXPECT_EQ(gZeroLengthSeen, 0);
  EXPECT_TRUE(gZeroLengthBlock);
  EXPECT_TRUE(logHas("read message type ECHO"));
  EXPECT_TRUE(logHas("read param #2, length 0"));
  EXPECT_TRUE(logHas("sendMessage: sent message of type RPLY"));
}

TEST_F(TransportTest, TickleIsAnsweredUntilTheToolManagerGoes) {
  int port = basePort() + 1;
  pid_t manager = msgtest::runInChild([port] {
    delete[] gToolName;
    gToolName = newStringCopy("tmchild");
    gLogLevel = kLogSome;
    MessageCenter center(port);
    for (;;) center.poll();
    return 0;
  });
  ASSERT_TRUE(msgtest::waitForFile(portFile()));
  owbtest::ScopedEnv fast("OWB_TICKLE_INTERVAL", std::string("100"));
  forgetToolManagerPort();
  MessageCenter tool;
  gMessageCenter = &tool;

  bool tickled = false;
  for (int turn = 0; turn < 60 && !tickled; ++turn) {
    tool.poll();
    EXPECT_EQ(tool.lastError, kNoError);
    tickled = logHas("tmchild tcpxport.cpp");  // the manager logged a reception
    tickled = tickled && logHas("poll: starting to receive a message");
  }
  EXPECT_TRUE(tickled);
  EXPECT_FALSE(logHas("failed reading header"));
  EXPECT_FALSE(logHas("read message type"));

  kill(manager, SIGKILL);
  waitpid(manager, nullptr, 0);
  ErrorCode seen = kNoError;
  for (int turn = 0; turn < 60 && seen != kTickleFailed; ++turn) {
    tool.poll();
    seen = tool.lastError;
  }
  EXPECT_EQ(seen, kTickleFailed);
  EXPECT_TRUE(logHas("sendMessage: socket connect failed: Connection refused while tickling"));
  EXPECT_TRUE(logHas("failed to send tickle"));
  gMessageCenter = nullptr;
}

TEST_F(TransportTest, BindTriesTheNextPortsAndGivesUpAfterAHundred) {
  int first = 0;
  std::vector<int> taken = occupyConsecutivePorts(3, &first);
  ASSERT_EQ(taken.size(), 3u);
  {
    MessageCenter manager(first);
    EXPECT_EQ(manager.thisToolInfo.listenerPort, first + 3);
    EXPECT_EQ(owbtest::readWholeFile(portFile()), std::to_string(first + 3) + "\n");
    EXPECT_TRUE(logHas("tcptransport: bind retry 1 (Address already in use)"));
    EXPECT_TRUE(logHas("tcptransport: bind retry 3 (Address already in use)"));
    EXPECT_FALSE(logHas("tcptransport: bind retry 4 "));
    EXPECT_TRUE(logHas("opened listener - got port #" + std::to_string(first + 3)));
  }
  for (int s : taken) close(s);

  std::vector<int> all = occupyConsecutivePorts(100, &first);
  ASSERT_EQ(all.size(), 100u);
  MessageCenter stranded(first);
  EXPECT_EQ(tcpOf(stranded)->listenSocket, -1);
  EXPECT_TRUE(logHas("tcptransport: bind retry 99 ("));
  EXPECT_TRUE(logHas("tcptransport: bind failed - Address already in use"));
  stranded.poll();
  EXPECT_EQ(stranded.lastError, kSelectFailed);
  EXPECT_TRUE(logHas("tcptransport: failed select - "));
  for (int s : all) close(s);
}

TEST_F(TransportTest, BrokenSendersAreDroppedWithALogLine) {
  MessageCenter manager(basePort() + 2);
  int port = manager.thisToolInfo.listenerPort;
  TCPTransport* transport = tcpOf(manager);

  sendRaw(port, {});  // closes before any byte
  EXPECT_EQ(transport->poll(), nullptr);
  EXPECT_TRUE(logHas(
      "receiveTCPData, failed to receive all packets, only received 0 instead of 444 last error = "));
  EXPECT_EQ(occurrences(log(), "failed reading header"), 1u);

  sendRaw(port, {headerBytes(0, 0).substr(0, 100)});  // closes inside the header
  EXPECT_EQ(transport->poll(), nullptr);
  EXPECT_TRUE(logHas("only received 100 instead of 444"));
  EXPECT_EQ(occurrences(log(), "failed reading header"), 2u);

  sendRaw(port, {"TIKL"});  // a tickle: dropped without a word
  EXPECT_EQ(transport->poll(), nullptr);
  EXPECT_EQ(occurrences(log(), "failed reading header"), 2u);
  EXPECT_FALSE(logHas("only received 4 "));

  sendRaw(port, {headerBytes(40, 4)});
  EXPECT_EQ(transport->poll(), nullptr);
  sendRaw(port, {headerBytes(1, kMaxWireParamLength + 1)});
  EXPECT_EQ(transport->poll(), nullptr);
  sendRaw(port, {headerBytes(1, -5)});
  EXPECT_EQ(transport->poll(), nullptr);
  EXPECT_EQ(occurrences(log(), "failed reading header: parameter count"), 3u);
  EXPECT_FALSE(logHas("read message type"));

  sendRaw(port, {headerBytes(1, 10), "12345"});  // a parameter cut short
  EXPECT_EQ(transport->poll(), nullptr);
  EXPECT_TRUE(logHas("only received 5 instead of 10"));
  EXPECT_TRUE(logHas("failed reading param #0"));

  sendRaw(port, {headerBytes(1, 3), "abc"});  // and one that is whole
  std::unique_ptr<Message> whole(transport->poll());
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(std::string(whole->getParam(0), 3), "abc");
}

// Programs the tool starts (engines, external processes) must not inherit
// its listening socket, or they would hold the port after the tool ends.
TEST_F(TransportTest, ListenerIsNotInheritedByStartedPrograms) {
  MessageCenter manager(basePort() + 3);
  ASSERT_GE(tcpOf(manager)->listenSocket, 0);
  std::string answer;
  owbtest::runShell("test -e /proc/self/fd/" + std::to_string(tcpOf(manager)->listenSocket) +
                        " && echo inherited || echo closed",
                    &answer);
  EXPECT_EQ(answer, "closed\n");
}

}  // namespace
