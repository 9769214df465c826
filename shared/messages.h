// Typed messages between the tools and the Tool Manager, and the per-process
// MessageCenter that registers handlers, queues what arrives, dispatches,
// sends and waits for replies.
//
// Ownership: a Message handed to sendMessage or dispatchMessage belongs to the
// center from then on; a reply they return belongs to the caller.  A handler
// must not keep pointers into its message's parameters: the message is
// deleted as soon as the handler returns.
//
// Parameter blocks hold their values in wire order (big-endian); use the
// typed add/get helpers below rather than raw bytes where a type is known.
#ifndef OWB_SHARED_MESSAGES_H
#define OWB_SHARED_MESSAGES_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "owbtypes.h"
#include "shared/errors.h"
#include "shared/list.h"

class TCPTransport;

constexpr int kMaxMessageParams = 32;
constexpr unsigned long kDefaultReplyTimeout = 5000;  // milliseconds

// Item types of messages and handlers.
constexpr TypeIdent kMessageItemType = OWB_TYPE("MSGI");
constexpr TypeIdent kHandlerItemType = OWB_TYPE("HNDL");

// Message types with a meaning of their own.
constexpr TypeIdent kUnsetMessageType = OWB_TYPE("----");  // default-constructed
constexpr TypeIdent kReplyMessageType = OWB_TYPE("RPLY");
constexpr TypeIdent kTickleBytes = OWB_TYPE("TIKL");  // a tickle, never a message

// Parameter type codes.
constexpr TypeIdent kParamStr255 = OWB_TYPE("S255");
constexpr TypeIdent kParamStr31 = OWB_TYPE("ST31");
constexpr TypeIdent kParamLong = OWB_TYPE("LONG");
constexpr TypeIdent kParamShort = OWB_TYPE("SHRT");
constexpr TypeIdent kParamBoolean = OWB_TYPE("BOOL");
constexpr TypeIdent kParamIdent = OWB_TYPE("IDNT");
constexpr TypeIdent kParamData = OWB_TYPE("DATA");
constexpr TypeIdent kParamError = OWB_TYPE("EROR");

// The value sent for "no type" in an IDNT parameter.
constexpr TypeIdent gNilMessageParam = 0;

// A tool's identity on the bus: 84 bytes on the wire.  Equal listenerPorts
// mean one and the same tool.
struct ToolInfo {
  Str31 name;
  Str31 publisherInfo;
  int32_t maxVersion;
  int32_t minVersion;
  Boolean canDisplaySource;
  TypeIdent toolType;
  int32_t listenerPort;
};
constexpr size_t kToolInfoWireSize = 84;

// An engine's host and port.
struct EngineStruct {
  Str31 machine;
  int32_t port;
};

// The language's primitive kinds, for the tools; messaging uses none.
enum ObjectType {
  kNonPrimitiveObject = 0,
  kBoolean = 3,
  kCharacter = 4,
  kIdentifier = 5,
  kInteger = 6,
  kNil = 9,
  kOctet = 10,
  kOctetString = 11,
  kQualifiedIdentifier = 13,
  kReal = 14,
  kString = 16,
  kObject = 58
};

struct MessageTemplate {
  int16_t numberOfParams;
  TypeIdent paramType[kMaxMessageParams];
  int32_t paramLength[kMaxMessageParams];
};

struct MessageHeader {
  TypeIdent msgType;
  MessageTemplate msgTemplate;
  ToolInfo senderInfo;
  ToolInfo receiverInfo;
  Boolean needsReply;
  uint32_t replyTimeout;  // milliseconds
  uint32_t msgFlags;      // always 0
};

class Message : public Item {
 public:
  // Type "----", no destination.
  Message();
  // destTool may be null; then receiverInfo must be filled before sending.
  Message(TypeIdent initMsgType, const ToolInfo* destTool);
  // Deep copy: the copy owns its own parameter blocks; msgFlags is 0.
  Message(const Message& other);
  Message& operator=(const Message&) = delete;
  ~Message() override;

  // Resets type, count, needsReply (false), replyTimeout (5000), msgFlags;
  // the rest of the header is left as it is.
  void init(TypeIdent initMsgType);

  // Copies paramLength bytes of paramData (null means zeros) as the next
  // parameter.  A 33rd parameter, or a negative length, is refused and
  // logged: the arrays hold 32.
  void addParam(TypeIdent paramType, const void* paramData, long paramLength);
  // Replaces parameter paramNumber; out of range it does nothing.
  void changeParam(short paramNumber, TypeIdent paramType, const void* paramData,
                   long paramLength);
  // Null, 0 and "****" out of range.
  char* getParam(short paramNumber) const;
  long getParamLength(short paramNumber) const;
  TypeIdent getParamType(short paramNumber) const;
  short getParamCount() const { return header.msgTemplate.numberOfParams; }
  TypeIdent getType() const { return header.msgType; }

  // Typed parameters, in wire order.  Text is sent with its NUL (strlen + 1)
  // and cut at 255 characters for S255, 31 for ST31; other types keep it.
  void addStringParam(TypeIdent paramType, const char* text);
  void addLongParam(int32_t value);
  void addShortParam(int16_t value);
  void addBooleanParam(bool value);
  void addIdentParam(TypeIdent value);
  void addErrorParam(ErrorCode value);
  void addToolInfoParam(const ToolInfo& info);  // DATA, 84 bytes

  // Typed reading.  Each returns false, leaving *value alone, when the
  // parameter is missing or too short for the value.
  bool getLongParam(short paramNumber, int32_t* value) const;
  bool getShortParam(short paramNumber, int16_t* value) const;
  bool getBooleanParam(short paramNumber, bool* value) const;  // any non-zero byte is true
  bool getIdentParam(short paramNumber, TypeIdent* value) const;
  bool getErrorParam(short paramNumber, ErrorCode* value) const;
  bool getToolInfoParam(short paramNumber, ToolInfo* value) const;
  // Copies the text of a parameter into buffer (size bytes, NUL-terminated),
  // stopping at its first NUL or its length, truncating to fit.  False when
  // the parameter is missing; buffer then holds "".
  bool getStringParam(short paramNumber, char* buffer, size_t size) const;

  // True when the types are equal or either is "****".
  Boolean isEqual(ItemPtr other) override;

  MessageHeader header;
  char* data[kMaxMessageParams];
};

typedef ErrorCode (*CallbackProcPtr)(Message* message, Message* reply);

class MessageHandler : public Item {
 public:
  // A null template gives an all-zero one (no parameters).
  MessageHandler(TypeIdent messageType, const MessageTemplate* messageTemplate,
                 CallbackProcPtr callbackProc);
  // Same item type and equal msgType.
  Boolean isEqual(ItemPtr other) override;

  TypeIdent msgType;
  MessageTemplate msgTemplate;
  CallbackProcPtr callback;
};

struct MessageHandlerInfo {
  TypeIdent msgType;
  MessageTemplate msgTemplate;
  CallbackProcPtr callback;
};

// Builds a template from a list of parameter types (lengths left 0, since
// the dispatcher never compares them).
MessageTemplate makeMessageTemplate(std::initializer_list<TypeIdent> paramTypes);

// The incoming queue, oldest first.  lastError: 0, -201 (nothing matching)
// or -505 (position out of range).
class MessageQueue : public HasErrorReporting {
 public:
  MessageQueue();
  ~MessageQueue() override;
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  // Takes ownership; null is ignored.
  void enqueueMessage(Message* message);
  // The first message of that type ("****": the head), owned by the caller.
  Message* dequeueMessage(TypeIdent desiredMsgType);
  long messagesAvailable(TypeIdent desiredMsgType);
  // Takes the message out without deleting it and hands it to the caller.
  Message* removeMessage(long messageNumber);
  void flushMessages(TypeIdent desiredMsgType);

  List* queue;
};

// Called with every message that the transport delivers to this center,
// before it is queued or taken as a reply.  For monitors such as the Tool
// Manager's message display; it must not keep the message.
typedef void (*MessageObserverProc)(const Message& message, void* clientData);

// Restarts a modal window's 100 ms alarm after modalPoll.  The window layer
// installs the real one (EVENT_StartWgtAlarm(win, 0, ms)); until it does,
// modalPoll polls without restarting any alarm.
typedef void (*ModalAlarmProc)(void* win, long milliseconds);
ModalAlarmProc setModalAlarmProc(ModalAlarmProc proc);

class MessageCenter : public HasErrorReporting {
 public:
  MessageCenter();
  // listenerPort above 0 makes this center the Tool Manager's.
  explicit MessageCenter(int listenerPort);
  ~MessageCenter() override;
  MessageCenter(const MessageCenter&) = delete;
  MessageCenter& operator=(const MessageCenter&) = delete;

  // The center keeps a copy of the template.  lastError -4 on a duplicate,
  // whose new handler is dropped.
  void registerMessageHandler(TypeIdent messageType, const MessageTemplate* msgTemplate,
                              CallbackProcPtr callback);
  // lastError -3 when there was none.
  void removeMessageHandler(TypeIdent messageType);

  // Takes ownership of message.  With needsReply, waits up to replyTimeout
  // for the first RPLY, queueing everything else; returns it (the caller's)
  // or null.
  Message* sendMessage(Message* message);
  // Takes ownership of message; returns the reply when it needed one.
  Message* dispatchMessage(Message* message);
  // One turn: dispatch at most one queued message, then wait up to 50 ms for
  // one new message, which is queued for a later turn.
  void poll();
  // For a modal window's notification procedure: polls on code 0 (init) and
  // 119 (timeout) and restarts the window's 100 ms alarm.
  void modalPoll(void* win, long code);
  // Probes a tool's listener; lastError -1402 when it does not answer.
  void tickleTool(const ToolInfo* destTool);

  void setMessageObserver(MessageObserverProc proc, void* clientData);

  List* messageHandlers;
  MessageQueue* queue;
  ToolInfo thisToolInfo;
  TCPTransport* transport;
  Boolean modal;
  ErrorCode messageCenterError;

 private:
  void init(int listenerPort);
  Message* receive();

  MessageObserverProc observer_ = nullptr;
  void* observerData_ = nullptr;
};

extern MessageCenter* gMessageCenter;
// The Tool Manager's record: only listenerPort is ever set.
extern ToolInfo gToolManToolInfo;

#endif  // OWB_SHARED_MESSAGES_H
