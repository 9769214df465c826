// The messaging: the wire codec (the 444-byte header, the 84-byte tool
// record and the byte forms of each parameter type), the queue and the
// center's dispatch in one process, and the transport between real
// processes on loopback: request and reply, the tickle, bind retries, and
// senders that break the rules.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "shared/globals.h"
#include "shared/log.h"
#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"
#include "testsupport.h"

namespace {

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

// Waits until a file exists and is not empty.
inline bool waitForFile(const std::string& path, int milliseconds = 5000) {
  for (int waited = 0; waited < milliseconds; waited += 10) {
    if (!owbtest::readWholeFile(path).empty()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

std::vector<uint8_t> bytesAt(const uint8_t* data, size_t offset, size_t length) {
  return std::vector<uint8_t>(data + offset, data + offset + length);
}

std::vector<uint8_t> text(const char* chars) {
  return std::vector<uint8_t>(chars, chars + std::strlen(chars));
}

MessageHeader sampleHeader() {
  MessageHeader header;
  std::memset(&header, 0, sizeof header);
  header.msgType = OWB_TYPE("CMDS");
  header.msgTemplate.numberOfParams = 2;
  header.msgTemplate.paramType[0] = kParamStr31;
  header.msgTemplate.paramLength[0] = 6;
  header.msgTemplate.paramType[1] = kParamLong;
  header.msgTemplate.paramLength[1] = 4;
  // Entries past the count are not sent.
  header.msgTemplate.paramType[2] = OWB_TYPE("JUNK");
  header.msgTemplate.paramLength[2] = 77;
  std::strcpy(header.senderInfo.name, "fleetmgr");
  std::strcpy(header.senderInfo.publisherInfo, "pub");
  header.senderInfo.maxVersion = 0;
  header.senderInfo.minVersion = 5;
  header.senderInfo.canDisplaySource = 1;
  header.senderInfo.toolType = OWB_TYPE("FLTT");
  header.senderInfo.listenerPort = 4512;
  header.receiverInfo.listenerPort = 4400;
  header.needsReply = 1;
  header.replyTimeout = 5000;
  return header;
}

TEST(MessageCodec, HeaderFieldsSitAtTheirOffsetsBigEndian) {
  uint8_t wire[kMessageHeaderWireSize];
  std::memset(wire, 0xAA, sizeof wire);
  encodeMessageHeader(sampleHeader(), wire);

  EXPECT_EQ(bytesAt(wire, 0, 4), text("CMDS"));
  EXPECT_EQ(bytesAt(wire, 4, 4), (std::vector<uint8_t>{0, 2, 0, 0}));
  EXPECT_EQ(bytesAt(wire, 8, 8), text("ST31LONG"));
  EXPECT_EQ(bytesAt(wire, 16, 4), (std::vector<uint8_t>{0, 0, 0, 0}));
  EXPECT_EQ(bytesAt(wire, 136, 8), (std::vector<uint8_t>{0, 0, 0, 6, 0, 0, 0, 4}));
  EXPECT_EQ(bytesAt(wire, 144, 4), (std::vector<uint8_t>{0, 0, 0, 0}));
  EXPECT_EQ(bytesAt(wire, 264, 9), (std::vector<uint8_t>{'f', 'l', 'e', 'e', 't', 'm', 'g', 'r', 0}));
  EXPECT_EQ(bytesAt(wire, 296, 4), (std::vector<uint8_t>{'p', 'u', 'b', 0}));
  EXPECT_EQ(bytesAt(wire, 328, 8), (std::vector<uint8_t>{0, 0, 0, 0, 0, 0, 0, 5}));
  EXPECT_EQ(bytesAt(wire, 336, 4), (std::vector<uint8_t>{1, 0, 0, 0}));
  EXPECT_EQ(bytesAt(wire, 340, 4), text("FLTT"));
  EXPECT_EQ(bytesAt(wire, 344, 4), (std::vector<uint8_t>{0, 0, 0x11, 0xA0}));
  EXPECT_EQ(bytesAt(wire, 348, 64), std::vector<uint8_t>(64, 0));
  EXPECT_EQ(bytesAt(wire, 428, 4), (std::vector<uint8_t>{0, 0, 0x11, 0x30}));
  EXPECT_EQ(bytesAt(wire, 432, 4), (std::vector<uint8_t>{1, 0, 0, 0}));
  EXPECT_EQ(bytesAt(wire, 436, 4), (std::vector<uint8_t>{0, 0, 0x13, 0x88}));
  EXPECT_EQ(bytesAt(wire, 440, 4), (std::vector<uint8_t>{0, 0, 0, 0}));

  // A tool record on its own is the same 84 bytes.
  uint8_t record[kToolInfoWireSize];
  encodeToolInfo(sampleHeader().senderInfo, record);
  EXPECT_EQ(std::vector<uint8_t>(record, record + 84), bytesAt(wire, 264, 84));

  // Decoded into a header full of junk and encoded again, every byte
  // comes back: each field was read from its place.
  MessageHeader decoded;
  std::memset(&decoded, 0x55, sizeof decoded);
  decodeMessageHeader(wire, &decoded);
  uint8_t again[kMessageHeaderWireSize];
  encodeMessageHeader(decoded, again);
  EXPECT_EQ(bytesAt(again, 0, sizeof again), bytesAt(wire, 0, sizeof wire));
}

TEST(MessageCodec, NegativeAndHighValuesAndUnterminatedTextDecodeSafely) {
  uint8_t wire[kMessageHeaderWireSize];
  MessageHeader header = sampleHeader();
  header.msgTemplate.numberOfParams = -3;
  header.senderInfo.listenerPort = -2;
  header.replyTimeout = 0xFFFFFFF0u;
  encodeMessageHeader(header, wire);
  EXPECT_EQ(bytesAt(wire, 4, 2), (std::vector<uint8_t>{0xFF, 0xFD}));
  std::memset(wire + 264, 'A', 32);  // a name with no NUL in its field

  MessageHeader decoded;
  decodeMessageHeader(wire, &decoded);
  EXPECT_EQ(decoded.msgTemplate.numberOfParams, -3);
  EXPECT_EQ(decoded.senderInfo.listenerPort, -2);
  EXPECT_EQ(decoded.replyTimeout, 0xFFFFFFF0u);
  EXPECT_EQ(std::string(decoded.senderInfo.name), std::string(31, 'A'));
  EXPECT_STREQ(decoded.senderInfo.publisherInfo, "pub");
}

TEST(MessageCodec, EachParameterTypeHasItsByteForm) {
  Message message(OWB_TYPE("TEST"), nullptr);
  message.addLongParam(-2);
  message.addShortParam(0x1234);
  message.addBooleanParam(true);
  message.addIdentParam(OWB_TYPE("FLTF"));
  message.addErrorParam(-1402);
  message.addStringParam(kParamStr255, "abc");
  message.addStringParam(kParamStr255, std::string(300, 'x').c_str());
  message.addStringParam(kParamStr31, std::string(40, 'y').c_str());
  message.addParam(kParamData, nullptr, 0);
  message.addParam(kParamStr255, "abcdef", 3);  // text without its NUL

  auto param = [&](short n) {
    const uint8_t* p = reinterpret_cast<const uint8_t*>(message.getParam(n));
    return std::vector<uint8_t>(p, p + message.getParamLength(n));
  };
  EXPECT_EQ(param(0), (std::vector<uint8_t>{0xFF, 0xFF, 0xFF, 0xFE}));
  EXPECT_EQ(param(1), (std::vector<uint8_t>{0x12, 0x34}));
  EXPECT_EQ(param(2), (std::vector<uint8_t>{1}));
  EXPECT_EQ(param(3), text("FLTF"));
  EXPECT_EQ(param(4), (std::vector<uint8_t>{0xFF, 0xFF, 0xFA, 0x86}));
  EXPECT_EQ(param(5), (std::vector<uint8_t>{'a', 'b', 'c', 0}));
  EXPECT_EQ(message.getParamLength(6), 256);
  EXPECT_EQ(message.getParam(6)[255], '\0');
  EXPECT_EQ(message.getParamLength(7), 32);
  EXPECT_EQ(message.getParamLength(8), 0);
  EXPECT_NE(message.getParam(8), nullptr);

  int32_t longValue = 0;
  int16_t shortValue = 0;
  bool flag = false;
  TypeIdent ident = 0;
  EXPECT_TRUE(message.getLongParam(0, &longValue) && longValue == -2);
  EXPECT_TRUE(message.getShortParam(1, &shortValue) && shortValue == 0x1234);
  EXPECT_TRUE(message.getBooleanParam(2, &flag) && flag);
  EXPECT_TRUE(message.getIdentParam(3, &ident) && ident == OWB_TYPE("FLTF"));
  // Too short or missing parameters leave the value alone.
  longValue = 7;
  EXPECT_FALSE(message.getLongParam(1, &longValue));
  EXPECT_FALSE(message.getLongParam(8, &longValue));
  EXPECT_FALSE(message.getLongParam(40, &longValue));
  EXPECT_EQ(longValue, 7);

  char small[3];
  EXPECT_TRUE(message.getStringParam(5, small, sizeof small));
  EXPECT_STREQ(small, "ab");
  char none[8] = "junk";
  EXPECT_FALSE(message.getStringParam(20, none, sizeof none));
  EXPECT_STREQ(none, "");
  ASSERT_TRUE(message.getStringParam(9, none, sizeof none));  // read only to its length
  EXPECT_STREQ(none, "abc");
}

TEST(MessageCodec, SanityBoundsOnCountsAndLengths) {
  EXPECT_TRUE(messageHeaderIsSane(sampleHeader()));
  struct Case {
    short count;
    int32_t lastLength;  // of parameter 32, the others being empty
    bool sane;
  };
  for (const Case& c : {Case{0, 0, true}, Case{-1, 0, false}, Case{33, 0, false}, Case{32, kMaxWireParamLength, true},
                        Case{32, kMaxWireParamLength + 1, false}, Case{32, -1, false}}) {
    MessageHeader header = sampleHeader();
    header.msgTemplate.numberOfParams = c.count;
    for (int i = 0; i < 32; ++i) header.msgTemplate.paramLength[i] = i == 31 ? c.lastLength : 0;
    EXPECT_EQ(messageHeaderIsSane(header), c.sane) << c.count << " " << c.lastLength;
  }
}

constexpr TypeIdent kTest = OWB_TYPE("TEST");
constexpr TypeIdent kOther = OWB_TYPE("OTHR");

std::vector<std::string> gCalls;

ErrorCode echoHandler(Message* message, Message* reply) {
  char text[64];
  message->getStringParam(0, text, sizeof text);
  gCalls.push_back(text);
  reply->addStringParam(kParamStr255, text);
  return kNoError;
}

ErrorCode failingHandler(Message*, Message* reply) {
  reply->addLongParam(99);
  return kOperationFailed;
}

ErrorCode replyErrorOf(const Message* reply) {
  ErrorCode code = 12345;
  reply->getErrorParam(0, &code);
  return code;
}

Message* requestWithText(TypeIdent type, const char* text, bool needsReply) {
  Message* message = new Message(type, nullptr);
  message->header.needsReply = needsReply;
  message->header.senderInfo.listenerPort = 777;
  message->addStringParam(kParamStr255, text);
  return message;
}

TEST(MessageObject, ConstructionCopyAndParameterEdges) {
  Message unset;
  EXPECT_EQ(unset.getType(), kUnsetMessageType);
  EXPECT_EQ(unset.getParamType(0), kWildTypeIdent);
  EXPECT_EQ(unset.getParam(0), nullptr);
  EXPECT_EQ(unset.getParamLength(-1), 0);

  ToolInfo destination{};
  destination.listenerPort = 4400;
  Message original(kTest, &destination);
  original.header.needsReply = TRUE;
  original.header.msgFlags = 9;
  original.addStringParam(kParamStr255, "path");
  original.addLongParam(3);

  // A copy has the header without its flags, and parameters of its own.
  Message copy(original);
  EXPECT_EQ(copy.header.receiverInfo.listenerPort, 4400);
  EXPECT_EQ(copy.header.msgFlags, 0u);
  ASSERT_EQ(copy.getParamCount(), 2);
  EXPECT_NE(copy.getParam(0), original.getParam(0));
  EXPECT_STREQ(copy.getParam(0), "path");

  original.changeParam(2, kParamLong, "abcd", 4);  // out of range: nothing
  original.changeParam(-1, kParamLong, "abcd", 4);
  EXPECT_EQ(original.getParamCount(), 2);
  original.changeParam(1, kParamBoolean, "\x01", 1);
  EXPECT_EQ(original.getParamType(1), kParamBoolean);
  EXPECT_EQ(original.getParamLength(1), 1);

  Message full(kTest, nullptr);
  for (int i = 0; i < 33; ++i) full.addLongParam(i);
  EXPECT_EQ(full.getParamCount(), 32);

  Message wild(kWildTypeIdent, nullptr);
  Message other(kOther, nullptr);
  EXPECT_TRUE(wild.isEqual(&original));
  EXPECT_TRUE(original.isEqual(&wild));
  EXPECT_FALSE(other.isEqual(&original));
  EXPECT_FALSE(original.isEqual(nullptr));
  StringItem notAMessage("TEST");
  EXPECT_FALSE(original.isEqual(&notAMessage));
}

TEST(MessageQueueTest, OrderCodesAndFlushing) {
  MessageQueue queue;
  EXPECT_EQ(queue.dequeueMessage(kWildTypeIdent), nullptr);
  EXPECT_EQ(queue.lastError, kNoMatchingMessage);
  queue.enqueueMessage(nullptr);
  EXPECT_EQ(queue.lastError, kNoError);
  EXPECT_EQ(queue.messagesAvailable(kWildTypeIdent), 0);

  Message* first = new Message(kTest, nullptr);
  Message* second = new Message(kOther, nullptr);
  Message* third = new Message(kTest, nullptr);
  Message* fourth = new Message(kOther, nullptr);
  for (Message* m : {first, second, third, fourth}) queue.enqueueMessage(m);
  EXPECT_EQ(queue.messagesAvailable(kWildTypeIdent), 4);
  EXPECT_EQ(queue.messagesAvailable(kOther), 2);

  Message* taken = queue.dequeueMessage(kOther);
  EXPECT_EQ(taken, second);
  delete taken;
  EXPECT_EQ(queue.dequeueMessage(OWB_TYPE("NONE")), nullptr);
  EXPECT_EQ(queue.lastError, kNoMatchingMessage);

  EXPECT_EQ(queue.removeMessage(3), nullptr);
  EXPECT_EQ(queue.lastError, kNoBlockOfType);
  Message* removed = queue.removeMessage(1);  // third, handed back whole
  EXPECT_EQ(removed, third);
  EXPECT_EQ(queue.lastError, kNoError);
  queue.enqueueMessage(removed);  // first, fourth, third

  queue.flushMessages(kOther);
  EXPECT_EQ(queue.messagesAvailable(kWildTypeIdent), 2);
  EXPECT_EQ(queue.dequeueMessage(kWildTypeIdent), first);
  delete first;
  queue.flushMessages(kWildTypeIdent);
  EXPECT_EQ(queue.messagesAvailable(kWildTypeIdent), 0);
}

// A center of its own on a free port, with echoHandler for TEST.
class DispatchTest : public MessagingTest {
 protected:
  void SetUp() override {
    MessagingTest::SetUp();
    gCalls.clear();
    center = new MessageCenter();
    gMessageCenter = center;
    MessageTemplate oneText = makeMessageTemplate({kParamStr255});
    center->registerMessageHandler(kTest, &oneText, echoHandler);
  }
  MessageCenter* center = nullptr;
};

TEST_F(DispatchTest, RegistrationKeepsTheFirstHandler) {
  center->registerMessageHandler(kTest, nullptr, failingHandler);
  EXPECT_EQ(center->lastError, kDuplicateHandler);
  EXPECT_TRUE(logHas("registering duplicate handler type TEST"));

  Message* reply = center->dispatchMessage(requestWithText(kTest, "kept", true));
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(replyErrorOf(reply), kNoError);
  EXPECT_EQ(gCalls, std::vector<std::string>{"kept"});
  delete reply;

  center->removeMessageHandler(kTest);
  EXPECT_EQ(center->lastError, kNoError);
  center->removeMessageHandler(kTest);
  EXPECT_EQ(center->lastError, kNoHandler);
}

// Refusals answer only when asked and log their reason; a handler's own
// failure is no refusal.
TEST_F(DispatchTest, RefusalsAnswerOnlyWhenAskedAndLogTheirReason) {

  EXPECT_EQ(center->dispatchMessage(requestWithText(kOther, "x", false)), nullptr);
  EXPECT_EQ(center->lastError, kNoHandler);
  EXPECT_TRUE(logHas("handler not found for incoming message OTHR"));

  Message* reply = center->dispatchMessage(requestWithText(kOther, "x", true));
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->getType(), kReplyMessageType);
  EXPECT_EQ(reply->getParamCount(), 1);
  EXPECT_EQ(reply->getParamType(0), kParamError);
  EXPECT_EQ(replyErrorOf(reply), kNoHandler);
  EXPECT_EQ(reply->header.needsReply, FALSE);
  EXPECT_EQ(reply->header.receiverInfo.listenerPort, 777);
  delete reply;

  Message* twoParams = requestWithText(kTest, "x", true);
  twoParams->addLongParam(1);
  reply = center->dispatchMessage(twoParams);
  EXPECT_EQ(replyErrorOf(reply), kWrongParamCount);
  EXPECT_EQ(center->lastError, kWrongParamCount);
  EXPECT_TRUE(logHas(
      "invalid number of params for incoming message, expected 1 and got 2 for message TEST"));
  delete reply;

  Message* wrongType = new Message(kTest, nullptr);
  wrongType->header.needsReply = TRUE;
  wrongType->addLongParam(5);
  reply = center->dispatchMessage(wrongType);
  EXPECT_EQ(replyErrorOf(reply), kWrongParamType);
  EXPECT_TRUE(logHas("invalid param for incoming message"));
  delete reply;
  EXPECT_TRUE(gCalls.empty());

  // A handler's failure travels in parameter 0, ahead of what it added.
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kOther, &oneText, failingHandler);
  reply = center->dispatchMessage(requestWithText(kOther, "x", true));
  ASSERT_EQ(reply->getParamCount(), 2);
  EXPECT_EQ(replyErrorOf(reply), kOperationFailed);
  int32_t extra = 0;
  EXPECT_TRUE(reply->getLongParam(1, &extra));
  EXPECT_EQ(extra, 99);
  EXPECT_EQ(center->lastError, kNoError);
  delete reply;
}

TEST_F(DispatchTest, MessageToOwnPortIsDispatchedAtOnce) {
  Message* request = new Message(kTest, &center->thisToolInfo);
  request->header.needsReply = TRUE;
  request->addStringParam(kParamStr255, "self");
  unsigned long before = TIME_GetCurMillisecs();
  Message* reply = center->sendMessage(request);
  EXPECT_LT(TIME_GetCurMillisecs() - before, 1000u);
  ASSERT_NE(reply, nullptr);
  char text[16];
  reply->getStringParam(1, text, sizeof text);
  EXPECT_STREQ(text, "self");
  EXPECT_EQ(reply->header.receiverInfo.listenerPort, center->thisToolInfo.listenerPort);
  delete reply;
  EXPECT_FALSE(logHas("sendMessage: sent message"));  // no socket was used
}

TEST_F(DispatchTest, ZeroTimeoutReturnsAtOnceAfterSending) {
  ToolInfo nobody{};
  nobody.listenerPort = center->thisToolInfo.listenerPort + 1000;
  Message* request = new Message(kTest, &nobody);
  request->header.needsReply = TRUE;
  request->header.replyTimeout = 0;
  EXPECT_EQ(center->sendMessage(request), nullptr);
  EXPECT_TRUE(logHas("sendMessage: socket connect failed - for port " +
                     std::to_string(nobody.listenerPort) + " error "));
}

TEST_F(DispatchTest, ArrivalIsQueuedAndDispatchedOnTheNextTurn) {
  Message* request = requestWithText(kTest, "later", false);
  request->header.receiverInfo = center->thisToolInfo;
  center->transport->sendMessage(request);  // through a real socket to ourselves
  delete request;
  Message* stray = new Message(kReplyMessageType, &center->thisToolInfo);
  center->transport->sendMessage(stray);
  delete stray;

  center->poll();  // takes the first connection, queues it
  EXPECT_TRUE(gCalls.empty());
  EXPECT_EQ(center->queue->messagesAvailable(kWildTypeIdent), 1);
  center->poll();  // dispatches it, takes the stray reply
  EXPECT_EQ(gCalls, std::vector<std::string>{"later"});
  EXPECT_EQ(center->queue->messagesAvailable(kReplyMessageType), 1);
  center->poll();  // the reply finds no handler
  EXPECT_TRUE(logHas("handler not found for incoming message RPLY"));
  EXPECT_EQ(center->queue->messagesAvailable(kWildTypeIdent), 0);
}

void* gAlarmWindow = nullptr;
long gAlarmDelay = 0;
int gAlarmCount = 0;
void recordAlarm(void* win, long milliseconds) {
  gAlarmWindow = win;
  gAlarmDelay = milliseconds;
  ++gAlarmCount;
}

TEST_F(DispatchTest, ModalPollActsOnInitAndTimeoutOnly) {
  center->queue->enqueueMessage(requestWithText(kTest, "modal", false));
  ModalAlarmProc previous = setModalAlarmProc(recordAlarm);
  int window = 0;
  gAlarmCount = 0;
  center->modalPoll(&window, 5);
  EXPECT_TRUE(gCalls.empty());
  EXPECT_EQ(gAlarmCount, 0);
  center->modalPoll(&window, 0);
  EXPECT_EQ(gCalls, std::vector<std::string>{"modal"});
  EXPECT_EQ(gAlarmWindow, &window);
  EXPECT_EQ(gAlarmDelay, 100);
  center->modalPoll(&window, 119);
  EXPECT_EQ(gAlarmCount, 2);
  EXPECT_EQ(center->modal, FALSE);
  setModalAlarmProc(previous);
}

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

using TransportTest = MessagingTest;

TEST_F(TransportTest, TickleIsAnsweredUntilTheToolManagerGoes) {
  int port = basePort() + 1;
  pid_t manager = fork();
  if (manager == 0) {  // the Tool Manager: serves until it is killed
    delete[] gToolName;
    gToolName = newStringCopy("tmchild");
    gLogLevel = kLogSome;
    MessageCenter center(port);
    for (;;) center.poll();
  }
  ASSERT_TRUE(waitForFile(portFile()));
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

// Senders that break the rules are dropped with a log line.  Programs the
// tool starts (engines, external processes) must not inherit its listening
// socket, or they would hold the port after the tool ends.
TEST_F(TransportTest, BrokenSendersAreDroppedAndTheListenerIsNotInherited) {
  MessageCenter manager(basePort() + 2);
  int port = manager.thisToolInfo.listenerPort;
  TCPTransport* transport = tcpOf(manager);
  std::string answer;
  owbtest::runShell("test -e /proc/self/fd/" + std::to_string(transport->listenSocket) +
                        " && echo inherited || echo closed",
                    &answer);
  EXPECT_EQ(answer, "closed\n");

  // Sends the pieces on one connection; whether the transport read nothing.
  auto dropped = [&](const std::vector<std::string>& pieces) {
    sendRaw(port, pieces);
    return std::unique_ptr<Message>(transport->poll()) == nullptr;
  };
  EXPECT_TRUE(dropped({}));  // closes before any byte
  EXPECT_TRUE(logHas(
      "receiveTCPData, failed to receive all packets, only received 0 instead of 444 last error = "));
  EXPECT_EQ(occurrences(log(), "failed reading header"), 1u);

  EXPECT_TRUE(dropped({headerBytes(0, 0).substr(0, 100)}));  // closes inside the header
  EXPECT_TRUE(logHas("only received 100 instead of 444"));
  EXPECT_EQ(occurrences(log(), "failed reading header"), 2u);

  EXPECT_TRUE(dropped({"TIKL"}));  // a tickle: dropped without a word
  EXPECT_EQ(occurrences(log(), "failed reading header"), 2u);
  EXPECT_FALSE(logHas("only received 4 "));

  EXPECT_TRUE(dropped({headerBytes(40, 4)}));
  EXPECT_TRUE(dropped({headerBytes(1, kMaxWireParamLength + 1)}));
  EXPECT_TRUE(dropped({headerBytes(1, -5)}));
  EXPECT_EQ(occurrences(log(), "failed reading header: parameter count"), 3u);
  EXPECT_FALSE(logHas("read message type"));

  EXPECT_TRUE(dropped({headerBytes(1, 10), "12345"}));  // a parameter cut short
  EXPECT_TRUE(logHas("only received 5 instead of 10"));
  EXPECT_TRUE(logHas("failed reading param #0"));

  // A whole message crosses the socket with every parameter, an empty one
  // included: it arrives empty but with a block of its own.
  gLogLevel = kLogSome;
  Message sent(kEcho, &manager.thisToolInfo);
  sent.addStringParam(kParamStr255, "hello");
  sent.addLongParam(42);
  sent.addParam(kParamData, nullptr, 0);
  transport->sendMessage(&sent);
  std::unique_ptr<Message> whole(transport->poll());
  ASSERT_NE(whole, nullptr);
  ASSERT_EQ(whole->getParamCount(), 3);
  EXPECT_STREQ(whole->getParam(0), "hello");
  int32_t number = 0;
  EXPECT_TRUE(whole->getLongParam(1, &number) && number == 42);
  EXPECT_EQ(whole->getParamLength(2), 0);
  EXPECT_NE(whole->getParam(2), nullptr);
  EXPECT_TRUE(logHas("sendMessage: sent message of type ECHO"));
  EXPECT_TRUE(logHas("read param #2, length 0"));
}

}  // namespace
