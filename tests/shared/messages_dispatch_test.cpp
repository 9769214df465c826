// Messages, the queue and the center's dispatch, in one process.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "messages_support.h"

namespace {

using msgtest::MessagingTest;
using msgtest::MemoryTransport;

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
  EXPECT_EQ(unset.itemType, kMessageItemType);
  EXPECT_EQ(unset.header.replyTimeout, 5000u);
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

  Message copy(original);
  EXPECT_EQ(copy.getType(), kTest);
  EXPECT_EQ(copy.header.receiverInfo.listenerPort, 4400);
  EXPECT_EQ(copy.header.needsReply, TRUE);
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

// A center over a transport without sockets: no port is bound.
class DispatchTest : public MessagingTest {
 protected:
  void SetUp() override {
    MessagingTest::SetUp();
    gCalls.clear();
    center = makeCenter();
    gMessageCenter = center;
  }
  virtual MessageCenter* makeCenter() { return new MessageCenter(new MemoryTransport(4321)); }
  MessageCenter* center = nullptr;
};

// A center over the real TCP transport, for what only sockets show.
class SocketDispatchTest : public DispatchTest {
 protected:
  MessageCenter* makeCenter() override { return new MessageCenter(); }
};

TEST_F(DispatchTest, RegistrationKeepsTheFirstHandler) {
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kTest, &oneText, echoHandler);
  EXPECT_EQ(center->lastError, kNoError);
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

TEST_F(DispatchTest, RefusalsAnswerOnlyWhenAskedAndLogTheirReason) {
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kTest, &oneText, echoHandler);

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
}

TEST_F(DispatchTest, HandlerFailureTravelsInParameterZero) {
  center->registerMessageHandler(kOther, nullptr, failingHandler);
  Message* request = new Message(kOther, nullptr);
  request->header.needsReply = TRUE;
  Message* reply = center->dispatchMessage(request);
  ASSERT_NE(reply, nullptr);
  ASSERT_EQ(reply->getParamCount(), 2);
  EXPECT_EQ(replyErrorOf(reply), kOperationFailed);
  int32_t extra = 0;
  EXPECT_TRUE(reply->getLongParam(1, &extra));
  EXPECT_EQ(extra, 99);
  EXPECT_EQ(center->lastError, kNoError);
  delete reply;
}

TEST_F(DispatchTest, MessageToOwnPortIsDispatchedAtOnce) {
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kTest, &oneText, echoHandler);
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

TEST_F(SocketDispatchTest, ZeroTimeoutReturnsAtOnceAfterSending) {
  ToolInfo nobody{};
  nobody.listenerPort = center->thisToolInfo.listenerPort + 1000;
  Message* request = new Message(kTest, &nobody);
  request->header.needsReply = TRUE;
  request->header.replyTimeout = 0;
  EXPECT_EQ(center->sendMessage(request), nullptr);
  EXPECT_TRUE(logHas("sendMessage: socket connect failed - for port " +
                     std::to_string(nobody.listenerPort) + " error "));
}

TEST_F(SocketDispatchTest, ArrivalIsQueuedAndDispatchedOnTheNextTurn) {
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kTest, &oneText, echoHandler);
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
  MessageTemplate oneText = makeMessageTemplate({kParamStr255});
  center->registerMessageHandler(kTest, &oneText, echoHandler);
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

}  // namespace
