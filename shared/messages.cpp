// Handlers, the incoming queue and the message center.
#include "shared/messages.h"

#include <algorithm>
#include <cstring>

#include "bigendian.h"
#include "shared/log.h"
#include "shared/tcpxport.h"
#include "shared/utils.h"

MessageCenter* gMessageCenter = nullptr;
ToolInfo gToolManToolInfo = {};

namespace {

constexpr long kModalPollInterval = 100;  // milliseconds between modal polls
constexpr long kWinNotifyInit = 0;        // WIN_NFYINIT
constexpr long kWinNotifyTimeout = 119;   // WIN_NFYTIMEOUT

ModalAlarmProc gModalAlarmProc = nullptr;

}  // namespace

ModalAlarmProc setModalAlarmProc(ModalAlarmProc proc) {
  ModalAlarmProc previous = gModalAlarmProc;
  gModalAlarmProc = proc;
  return previous;
}

// --------------------------------------------------------- MessageHandler

MessageHandler::MessageHandler(TypeIdent messageType, const MessageTemplate* messageTemplate,
                               CallbackProcPtr callbackProc)
    : msgType(messageType), callback(callbackProc) {
  itemType = kHandlerItemType;
  if (messageTemplate) msgTemplate = *messageTemplate;
  else std::memset(&msgTemplate, 0, sizeof msgTemplate);
}

Boolean MessageHandler::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != itemType) return FALSE;
  return static_cast<MessageHandler*>(other)->msgType == msgType;
}

MessageTemplate makeMessageTemplate(std::initializer_list<TypeIdent> paramTypes) {
  MessageTemplate result;
  std::memset(&result, 0, sizeof result);
  for (TypeIdent type : paramTypes) {
    if (result.numberOfParams >= kMaxMessageParams) break;
    result.paramType[result.numberOfParams++] = type;
  }
  return result;
}

// ----------------------------------------------------------- MessageQueue

MessageQueue::MessageQueue() : queue(new List(kStandardChunkSize, TRUE, EqualCompare)) {}

MessageQueue::~MessageQueue() { delete queue; }

void MessageQueue::enqueueMessage(Message* message) {
  lastError = kNoError;
  if (message) queue->include(message);
}

Message* MessageQueue::dequeueMessage(TypeIdent desiredMsgType) {
  lastError = kNoError;
  Message key(desiredMsgType, nullptr);
  long position = queue->findi(&key);
  if (position < 0) {
    lastError = kNoMatchingMessage;
    return nullptr;
  }
  return static_cast<Message*>(queue->removei(position));
}

long MessageQueue::messagesAvailable(TypeIdent desiredMsgType) {
  lastError = kNoError;
  if (desiredMsgType == kWildTypeIdent) return queue->totalElements;
  Message key(desiredMsgType, nullptr);
  long count = 0;
  for (long i = 0; i < queue->totalElements; ++i)
    if (key.isEqual(queue->get(i))) ++count;
  return count;
}

Message* MessageQueue::removeMessage(long messageNumber) {
  lastError = kNoError;
  if (messageNumber < 0 || messageNumber >= queue->totalElements) {
    lastError = kNoBlockOfType;
    return nullptr;
  }
  return static_cast<Message*>(queue->removei(messageNumber));
}

void MessageQueue::flushMessages(TypeIdent desiredMsgType) {
  lastError = kNoError;
  if (desiredMsgType == kWildTypeIdent) {
    delete queue;
    queue = new List(kStandardChunkSize, TRUE, EqualCompare);
    return;
  }
  Message key(desiredMsgType, nullptr);
  for (long i = queue->totalElements - 1; i >= 0; --i)
    if (key.isEqual(queue->get(i))) delete queue->removei(i);
}

// ---------------------------------------------------------- MessageCenter

MessageCenter::MessageCenter() { init(new TCPTransport(0)); }

MessageCenter::MessageCenter(int listenerPort) { init(new TCPTransport(listenerPort)); }

MessageCenter::MessageCenter(MessageTransport* centerTransport) { init(centerTransport); }

void MessageCenter::init(MessageTransport* centerTransport) {
  std::memset(&thisToolInfo, 0, sizeof thisToolInfo);
  messageHandlers = new List(kStandardChunkSize, TRUE, EqualCompare);
  modal = FALSE;
  messageCenterError = kNoError;
  queue = new MessageQueue();
  transport = centerTransport;
  thisToolInfo.listenerPort = transport->listenerPort();
}

MessageCenter::~MessageCenter() {
  delete messageHandlers;
  delete queue;
  delete transport;
}

void MessageCenter::registerMessageHandler(TypeIdent messageType,
                                           const MessageTemplate* msgTemplate,
                                           CallbackProcPtr callback) {
  MessageHandler* handler = new MessageHandler(messageType, msgTemplate, callback);
  if (messageHandlers->findItem(handler)) {
    OWB_LOG("registering duplicate handler type " << TypeIdentToCStr(messageType));
    lastError = kDuplicateHandler;
    delete handler;
    return;
  }
  lastError = kNoError;
  messageHandlers->include(handler);
}

void MessageCenter::removeMessageHandler(TypeIdent messageType) {
  MessageHandler key(messageType, nullptr, nullptr);
  long position = messageHandlers->findi(&key);
  if (position < 0) {
    lastError = kNoHandler;
    return;
  }
  delete messageHandlers->removei(position);
  lastError = kNoError;
}

Message* MessageCenter::dispatchMessage(Message* message) {
  if (!message) return nullptr;
  Message* reply = new Message(kReplyMessageType, &message->header.senderInfo);
  lastError = kNoError;
  reply->addErrorParam(kNoError);
  bool wantsReply = message->header.needsReply != 0;

  ErrorCode result = kNoError;
  MessageHandler key(message->header.msgType, nullptr, nullptr);
  MessageHandler* handler = static_cast<MessageHandler*>(messageHandlers->findItem(&key));
  if (!handler) {
    OWB_LOG("handler not found for incoming message " << TypeIdentToCStr(message->header.msgType));
    result = lastError = kNoHandler;
  } else if (message->getParamCount() != handler->msgTemplate.numberOfParams) {
    OWB_LOG("invalid number of params for incoming message, expected "
            << handler->msgTemplate.numberOfParams << " and got " << message->getParamCount()
            << " for message " << TypeIdentToCStr(message->header.msgType));
    result = lastError = kWrongParamCount;
  } else {
    for (short i = 0; i < message->getParamCount(); ++i) {
      if (message->getParamType(i) != handler->msgTemplate.paramType[i]) {
        OWB_LOG("invalid param for incoming message");
        result = lastError = kWrongParamType;
        break;
      }
    }
    if (result == kNoError && handler->callback) result = handler->callback(message, reply);
  }
  // A handler's own failure travels in the reply, not in lastError.
  delete message;

  if (result != kNoError) {
    uint8_t bytes[4];
    owbcoding::putI32(bytes, result);
    reply->changeParam(0, kParamError, bytes, 4);
  }
  reply->header.needsReply = FALSE;
  if (wantsReply) return reply;
  delete reply;
  return nullptr;
}

Message* MessageCenter::receive() {
  Message* message = transport->poll();
  if (message && observer_) observer_(*message, observerData_);
  return message;
}

void MessageCenter::poll() {
  lastError = kNoError;
  if (queue->messagesAvailable(kWildTypeIdent) > 0) {
    Message* next = queue->dequeueMessage(kWildTypeIdent);
    sendMessage(dispatchMessage(next));
  }
  if (Message* arrived = receive()) queue->enqueueMessage(arrived);
  lastError = transport->lastError;
}

Message* MessageCenter::sendMessage(Message* message) {
  if (!message) return nullptr;
  bool wantsReply = message->header.needsReply != 0;
  unsigned long waitMilliseconds = message->header.replyTimeout;
  message->header.senderInfo = thisToolInfo;

  Message* reply = nullptr;
  if (thisToolInfo.listenerPort != message->header.receiverInfo.listenerPort) {
    transport->sendMessage(message);
    delete message;
  } else {
    reply = dispatchMessage(message);
  }
  if (!wantsReply) return reply;

  unsigned long deadline = TIME_GetCurMillisecs() + waitMilliseconds;
  if (reply || TIME_GetCurMillisecs() >= deadline) return reply;
  while (TIME_GetCurMillisecs() < deadline) {
    Message* arrived = receive();
    if (!arrived) continue;
    if (arrived->header.msgType == kReplyMessageType) return arrived;
    queue->enqueueMessage(arrived);
  }
  return nullptr;
}

void MessageCenter::modalPoll(void* win, long code) {
  if (code != kWinNotifyInit && code != kWinNotifyTimeout) return;
  modal = TRUE;
  poll();
  modal = FALSE;
  if (gModalAlarmProc) gModalAlarmProc(win, kModalPollInterval);
}

void MessageCenter::tickleTool(const ToolInfo* destTool) {
  if (!destTool) return;
  transport->ticklePort(destTool->listenerPort);
  lastError = transport->lastError;
}

void MessageCenter::setMessageObserver(MessageObserverProc proc, void* clientData) {
  observer_ = proc;
  observerData_ = clientData;
}
