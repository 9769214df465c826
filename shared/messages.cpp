// Messages, handlers, the incoming queue and the message center.
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

// The longest text an S255 or ST31 parameter carries, without its NUL.
size_t maxTextLength(TypeIdent paramType) {
  if (paramType == kParamStr255) return 255;
  if (paramType == kParamStr31) return 31;
  return SIZE_MAX;
}

}  // namespace

ModalAlarmProc setModalAlarmProc(ModalAlarmProc proc) {
  ModalAlarmProc previous = gModalAlarmProc;
  gModalAlarmProc = proc;
  return previous;
}

// ---------------------------------------------------------------- Message

Message::Message() {
  std::memset(&header, 0, sizeof header);
  std::memset(data, 0, sizeof data);
  init(kUnsetMessageType);
}

Message::Message(TypeIdent initMsgType, const ToolInfo* destTool) {
  std::memset(&header, 0, sizeof header);
  std::memset(data, 0, sizeof data);
  init(initMsgType);
  if (destTool) header.receiverInfo = *destTool;
}

Message::Message(const Message& other) : Item() {
  std::memset(&header, 0, sizeof header);
  std::memset(data, 0, sizeof data);
  init(other.header.msgType);
  itemType = other.itemType;
  header.senderInfo = other.header.senderInfo;
  header.receiverInfo = other.header.receiverInfo;
  header.needsReply = other.header.needsReply;
  header.replyTimeout = other.header.replyTimeout;
  for (short i = 0; i < other.getParamCount(); ++i)
    addParam(other.getParamType(i), other.getParam(i), other.getParamLength(i));
}

Message::~Message() {
  for (char* block : data) delete[] block;
}

void Message::init(TypeIdent initMsgType) {
  header.msgFlags = 0;
  header.msgType = initMsgType;
  header.msgTemplate.numberOfParams = 0;
  header.needsReply = FALSE;
  header.replyTimeout = kDefaultReplyTimeout;
  itemType = kMessageItemType;
}

void Message::addParam(TypeIdent paramType, const void* paramData, long paramLength) {
  short n = header.msgTemplate.numberOfParams;
  if (n < 0 || n >= kMaxMessageParams || paramLength < 0 || paramLength > kMaxWireParamLength) {
    OWB_LOG("addParam: refused parameter #" << n << " of length " << paramLength
                                            << " for message " << TypeIdentToCStr(header.msgType));
    return;
  }
  // A block of at least one byte, so that an empty parameter still has one.
  char* block = new char[std::max<long>(paramLength, 1)]();
  if (paramData && paramLength > 0) std::memcpy(block, paramData, paramLength);
  delete[] data[n];
  data[n] = block;
  header.msgTemplate.paramType[n] = paramType;
  header.msgTemplate.paramLength[n] = static_cast<int32_t>(paramLength);
  header.msgTemplate.numberOfParams = n + 1;
}

void Message::changeParam(short paramNumber, TypeIdent paramType, const void* paramData,
                          long paramLength) {
  if (paramNumber < 0 || paramNumber >= getParamCount()) return;
  if (paramLength < 0 || paramLength > kMaxWireParamLength) return;
  char* block = new char[std::max<long>(paramLength, 1)]();
  if (paramData && paramLength > 0) std::memcpy(block, paramData, paramLength);
  delete[] data[paramNumber];
  data[paramNumber] = block;
  header.msgTemplate.paramType[paramNumber] = paramType;
  header.msgTemplate.paramLength[paramNumber] = static_cast<int32_t>(paramLength);
}

char* Message::getParam(short paramNumber) const {
  if (paramNumber < 0 || paramNumber >= getParamCount()) return nullptr;
  return data[paramNumber];
}

long Message::getParamLength(short paramNumber) const {
  if (paramNumber < 0 || paramNumber >= getParamCount()) return 0;
  return header.msgTemplate.paramLength[paramNumber];
}

TypeIdent Message::getParamType(short paramNumber) const {
  if (paramNumber < 0 || paramNumber >= getParamCount()) return kWildTypeIdent;
  return header.msgTemplate.paramType[paramNumber];
}

void Message::addStringParam(TypeIdent paramType, const char* text) {
  if (!text) text = "";
  size_t length = std::min(std::strlen(text), maxTextLength(paramType));
  char* block = new char[length + 1];
  std::memcpy(block, text, length);
  block[length] = '\0';
  addParam(paramType, block, static_cast<long>(length + 1));
  delete[] block;
}

void Message::addLongParam(int32_t value) {
  uint8_t bytes[4];
  owbcoding::putI32(bytes, value);
  addParam(kParamLong, bytes, 4);
}

void Message::addShortParam(int16_t value) {
  uint8_t bytes[2];
  owbcoding::putI16(bytes, value);
  addParam(kParamShort, bytes, 2);
}

void Message::addBooleanParam(bool value) {
  uint8_t byte = value ? 1 : 0;
  addParam(kParamBoolean, &byte, 1);
}

void Message::addIdentParam(TypeIdent value) {
  uint8_t bytes[4];
  owbcoding::putU32(bytes, value);
  addParam(kParamIdent, bytes, 4);
}

void Message::addErrorParam(ErrorCode value) {
  uint8_t bytes[4];
  owbcoding::putI32(bytes, value);
  addParam(kParamError, bytes, 4);
}

void Message::addToolInfoParam(const ToolInfo& info) {
  uint8_t bytes[kToolInfoWireSize];
  encodeToolInfo(info, bytes);
  addParam(kParamData, bytes, kToolInfoWireSize);
}

bool Message::getLongParam(short paramNumber, int32_t* value) const {
  if (getParamLength(paramNumber) < 4) return false;
  *value = owbcoding::getI32(reinterpret_cast<const uint8_t*>(getParam(paramNumber)));
  return true;
}

bool Message::getShortParam(short paramNumber, int16_t* value) const {
  if (getParamLength(paramNumber) < 2) return false;
  *value = owbcoding::getI16(reinterpret_cast<const uint8_t*>(getParam(paramNumber)));
  return true;
}

bool Message::getBooleanParam(short paramNumber, bool* value) const {
  if (getParamLength(paramNumber) < 1) return false;
  *value = getParam(paramNumber)[0] != 0;
  return true;
}

bool Message::getIdentParam(short paramNumber, TypeIdent* value) const {
  if (getParamLength(paramNumber) < 4) return false;
  *value = owbcoding::getU32(reinterpret_cast<const uint8_t*>(getParam(paramNumber)));
  return true;
}

bool Message::getErrorParam(short paramNumber, ErrorCode* value) const {
  int32_t code;
  if (!getLongParam(paramNumber, &code)) return false;
  *value = code;
  return true;
}

bool Message::getToolInfoParam(short paramNumber, ToolInfo* value) const {
  if (getParamLength(paramNumber) < static_cast<long>(kToolInfoWireSize)) return false;
  decodeToolInfo(reinterpret_cast<const uint8_t*>(getParam(paramNumber)), value);
  return true;
}

bool Message::getStringParam(short paramNumber, char* buffer, size_t size) const {
  if (!buffer || size == 0) return false;
  buffer[0] = '\0';
  const char* block = getParam(paramNumber);
  if (!block) return false;
  size_t length = static_cast<size_t>(getParamLength(paramNumber));
  const void* nul = std::memchr(block, '\0', length);
  if (nul) length = static_cast<size_t>(static_cast<const char*>(nul) - block);
  length = std::min(length, size - 1);
  std::memcpy(buffer, block, length);
  buffer[length] = '\0';
  return true;
}

Boolean Message::isEqual(ItemPtr other) {
  if (!other || other->getItemType() != itemType) return FALSE;
  TypeIdent otherType = static_cast<Message*>(other)->header.msgType;
  return header.msgType == otherType || header.msgType == kWildTypeIdent ||
         otherType == kWildTypeIdent;
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

MessageCenter::MessageCenter() { init(0); }

MessageCenter::MessageCenter(int listenerPort) { init(listenerPort); }

void MessageCenter::init(int listenerPort) {
  std::memset(&thisToolInfo, 0, sizeof thisToolInfo);
  messageHandlers = new List(kStandardChunkSize, TRUE, EqualCompare);
  modal = FALSE;
  messageCenterError = kNoError;
  queue = new MessageQueue();
  transport = new TCPTransport(listenerPort);
  thisToolInfo.listenerPort = transport->listenPort;
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

  unsigned long deadline = getCurrentMilliseconds() + waitMilliseconds;
  if (reply || getCurrentMilliseconds() >= deadline) return reply;
  while (getCurrentMilliseconds() < deadline) {
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
