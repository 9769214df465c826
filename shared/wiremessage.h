// A tool message and its wire codec: the header with the sender's and the
// receiver's identity, up to 32 typed parameters, and the bytes they travel
// as (docs/wire.md).  Knows nothing of sockets or of the message center.
//
// Ownership: a Message owns its parameter blocks; a copy owns its own.
// Parameter blocks hold their values in wire order (big-endian); use the
// typed add/get helpers below rather than raw bytes where a type is known.
#ifndef OWB_SHARED_WIREMESSAGE_H
#define OWB_SHARED_WIREMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "owbtypes.h"
#include "shared/errors.h"
#include "shared/list.h"

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

// Wire codec.
constexpr size_t kMessageHeaderWireSize = 444;
constexpr int32_t kMaxWireParamLength = 16 * 1024 * 1024;
// encode writes every byte of out (undefined bytes and unused
// template entries as 0); decode reads every field and NUL-terminates the
// text fields at their last byte.
void encodeToolInfo(const ToolInfo& info, uint8_t* out /* kToolInfoWireSize */);
void decodeToolInfo(const uint8_t* in /* kToolInfoWireSize */, ToolInfo* info);
void encodeMessageHeader(const MessageHeader& header, uint8_t* out /* kMessageHeaderWireSize */);
void decodeMessageHeader(const uint8_t* in /* kMessageHeaderWireSize */, MessageHeader* header);
// True when a count and lengths read from the wire are within bounds.
bool messageHeaderIsSane(const MessageHeader& header);

#endif  // OWB_SHARED_WIREMESSAGE_H
