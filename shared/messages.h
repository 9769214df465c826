// The per-process MessageCenter between the tools and the Tool Manager: it
// registers handlers, queues what arrives, dispatches, sends through its
// transport and waits for replies.  The message itself and its bytes are in
// shared/wiremessage.h, the transport's interface in shared/transport.h.
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
#include "shared/transport.h"
#include "shared/wiremessage.h"

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
  // A center over a TCP transport (shared/tcpxport.h): a tool's listener.
  MessageCenter();
  // listenerPort above 0 makes this center the Tool Manager's.
  explicit MessageCenter(int listenerPort);
  // A center over the given transport, which it owns from then on (for a
  // transport without sockets, as in tests).  transport must not be null.
  explicit MessageCenter(MessageTransport* transport);
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
  MessageTransport* transport;  // owned
  Boolean modal;
  ErrorCode messageCenterError;

 private:
  void init(MessageTransport* transport);
  Message* receive();

  MessageObserverProc observer_ = nullptr;
  void* observerData_ = nullptr;
};

extern MessageCenter* gMessageCenter;
// The Tool Manager's record: only listenerPort is ever set.
extern ToolInfo gToolManToolInfo;

#endif  // OWB_SHARED_MESSAGES_H
