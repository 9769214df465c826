// A tool message: its parameters, and its header to and from wire bytes.
#include "shared/wiremessage.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "bigendian.h"
#include "shared/log.h"
#include "shared/utils.h"

namespace {

// The longest text an S255 or ST31 parameter carries, without its NUL.
size_t maxTextLength(TypeIdent paramType) {
  if (paramType == kParamStr255) return 255;
  if (paramType == kParamStr31) return 31;
  return SIZE_MAX;
}

// A text field in its fixed space: the text up to its NUL, then zeros, the
// last byte always a NUL.
void encodeTextField(owbcoding::ByteWriter& out, const char* text, size_t fieldSize) {
  size_t length = strnlen(text, fieldSize - 1);
  out.bytes(text, length);
  out.zeros(fieldSize - length);
}

void encodeToolInfoTo(owbcoding::ByteWriter& out, const ToolInfo& info) {
  encodeTextField(out, info.name, sizeof info.name);
  encodeTextField(out, info.publisherInfo, sizeof info.publisherInfo);
  out.i32(info.maxVersion);
  out.i32(info.minVersion);
  out.u8(info.canDisplaySource ? 1 : 0);
  out.zeros(3);
  out.u32(info.toolType);
  out.i32(info.listenerPort);
}

void decodeToolInfoFrom(owbcoding::ByteReader& in, ToolInfo* info) {
  uint8_t flag = 0;
  in.bytes(info->name, sizeof info->name);
  info->name[sizeof info->name - 1] = '\0';
  in.bytes(info->publisherInfo, sizeof info->publisherInfo);
  info->publisherInfo[sizeof info->publisherInfo - 1] = '\0';
  in.i32(&info->maxVersion);
  in.i32(&info->minVersion);
  in.u8(&flag);
  info->canDisplaySource = flag;
  in.skip(3);
  in.u32(&info->toolType);
  in.i32(&info->listenerPort);
}

}  // namespace

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

// ------------------------------------------------------------- wire codec

void encodeToolInfo(const ToolInfo& info, uint8_t* out) {
  std::vector<uint8_t> bytes;
  bytes.reserve(kToolInfoWireSize);
  owbcoding::ByteWriter writer(&bytes);
  encodeToolInfoTo(writer, info);
  std::memcpy(out, bytes.data(), kToolInfoWireSize);
}

void decodeToolInfo(const uint8_t* in, ToolInfo* info) {
  owbcoding::ByteReader reader(in, kToolInfoWireSize);
  decodeToolInfoFrom(reader, info);
}

void encodeMessageHeader(const MessageHeader& header, uint8_t* out) {
  std::vector<uint8_t> bytes;
  bytes.reserve(kMessageHeaderWireSize);
  owbcoding::ByteWriter writer(&bytes);
  const MessageTemplate& shape = header.msgTemplate;
  int used = shape.numberOfParams < 0 ? 0 : std::min<int>(shape.numberOfParams, kMaxMessageParams);
  writer.u32(header.msgType);
  writer.i16(shape.numberOfParams);
  writer.zeros(2);
  for (int i = 0; i < kMaxMessageParams; ++i) writer.u32(i < used ? shape.paramType[i] : 0);
  for (int i = 0; i < kMaxMessageParams; ++i) writer.i32(i < used ? shape.paramLength[i] : 0);
  encodeToolInfoTo(writer, header.senderInfo);
  encodeToolInfoTo(writer, header.receiverInfo);
  writer.u8(header.needsReply ? 1 : 0);
  writer.zeros(3);
  writer.u32(header.replyTimeout);
  writer.u32(header.msgFlags);
  std::memcpy(out, bytes.data(), kMessageHeaderWireSize);
}

void decodeMessageHeader(const uint8_t* in, MessageHeader* header) {
  owbcoding::ByteReader reader(in, kMessageHeaderWireSize);
  uint8_t flag = 0;
  reader.u32(&header->msgType);
  reader.i16(&header->msgTemplate.numberOfParams);
  reader.skip(2);
  for (int i = 0; i < kMaxMessageParams; ++i) reader.u32(&header->msgTemplate.paramType[i]);
  for (int i = 0; i < kMaxMessageParams; ++i) reader.i32(&header->msgTemplate.paramLength[i]);
  decodeToolInfoFrom(reader, &header->senderInfo);
  decodeToolInfoFrom(reader, &header->receiverInfo);
  reader.u8(&flag);
  header->needsReply = flag;
  reader.skip(3);
  reader.u32(&header->replyTimeout);
  reader.u32(&header->msgFlags);
}

bool messageHeaderIsSane(const MessageHeader& header) {
  const MessageTemplate& shape = header.msgTemplate;
  if (shape.numberOfParams < 0 || shape.numberOfParams > kMaxMessageParams) return false;
  for (int i = 0; i < shape.numberOfParams; ++i)
    if (shape.paramLength[i] < 0 || shape.paramLength[i] > kMaxWireParamLength) return false;
  return true;
}

// -------------------------------------------------------------- port file

