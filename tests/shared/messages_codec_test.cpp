// The wire codec: the 444-byte header, the 84-byte tool record and the
// byte forms of each parameter type.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "shared/messages.h"
#include "shared/tcpxport.h"

namespace {

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

  MessageHeader decoded;
  decodeMessageHeader(wire, &decoded);
  MessageHeader expected = sampleHeader();
  EXPECT_EQ(decoded.msgType, expected.msgType);
  EXPECT_EQ(decoded.msgTemplate.numberOfParams, 2);
  EXPECT_EQ(decoded.msgTemplate.paramType[1], kParamLong);
  EXPECT_EQ(decoded.msgTemplate.paramLength[0], 6);
  EXPECT_STREQ(decoded.senderInfo.name, "fleetmgr");
  EXPECT_EQ(decoded.senderInfo.minVersion, 5);
  EXPECT_EQ(decoded.senderInfo.canDisplaySource, 1);
  EXPECT_EQ(decoded.senderInfo.toolType, OWB_TYPE("FLTT"));
  EXPECT_EQ(decoded.senderInfo.listenerPort, 4512);
  EXPECT_EQ(decoded.receiverInfo.listenerPort, 4400);
  EXPECT_EQ(decoded.needsReply, 1);
  EXPECT_EQ(decoded.replyTimeout, 5000u);
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

TEST(MessageCodec, ToolInfoIsTheSame84ByteRecord) {
  MessageHeader header = sampleHeader();
  uint8_t wire[kMessageHeaderWireSize];
  encodeMessageHeader(header, wire);
  uint8_t record[kToolInfoWireSize];
  encodeToolInfo(header.senderInfo, record);
  EXPECT_EQ(std::vector<uint8_t>(record, record + 84), bytesAt(wire, 264, 84));

  Message message(OWB_TYPE("REGT"), nullptr);
  message.addToolInfoParam(header.senderInfo);
  ASSERT_EQ(message.getParamLength(0), 84);
  EXPECT_EQ(message.getParamType(0), kParamData);
  ToolInfo back;
  ASSERT_TRUE(message.getToolInfoParam(0, &back));
  EXPECT_STREQ(back.name, "fleetmgr");
  EXPECT_EQ(back.listenerPort, 4512);
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
  EXPECT_EQ(message.getParamType(4), kParamError);

  int32_t longValue = 0;
  int16_t shortValue = 0;
  bool flag = false;
  TypeIdent ident = 0;
  EXPECT_TRUE(message.getLongParam(0, &longValue));
  EXPECT_EQ(longValue, -2);
  EXPECT_TRUE(message.getShortParam(1, &shortValue));
  EXPECT_EQ(shortValue, 0x1234);
  EXPECT_TRUE(message.getBooleanParam(2, &flag));
  EXPECT_TRUE(flag);
  EXPECT_TRUE(message.getIdentParam(3, &ident));
  EXPECT_EQ(ident, OWB_TYPE("FLTF"));
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
}

TEST(MessageCodec, TextWithoutNulIsReadOnlyToItsLength) {
  Message message(OWB_TYPE("TEST"), nullptr);
  message.addParam(kParamStr255, "abcdef", 3);
  char buffer[32];
  ASSERT_TRUE(message.getStringParam(0, buffer, sizeof buffer));
  EXPECT_STREQ(buffer, "abc");
}

TEST(MessageCodec, SanityBoundsOnCountsAndLengths) {
  MessageHeader header = sampleHeader();
  EXPECT_TRUE(messageHeaderIsSane(header));
  header.msgTemplate.numberOfParams = 0;
  EXPECT_TRUE(messageHeaderIsSane(header));
  header.msgTemplate.numberOfParams = -1;
  EXPECT_FALSE(messageHeaderIsSane(header));
  header.msgTemplate.numberOfParams = 33;
  EXPECT_FALSE(messageHeaderIsSane(header));
  header.msgTemplate.numberOfParams = 32;
  for (int i = 0; i < 32; ++i) header.msgTemplate.paramLength[i] = 0;
  header.msgTemplate.paramLength[31] = kMaxWireParamLength;
  EXPECT_TRUE(messageHeaderIsSane(header));
  header.msgTemplate.paramLength[31] = kMaxWireParamLength + 1;
  EXPECT_FALSE(messageHeaderIsSane(header));
  header.msgTemplate.paramLength[31] = -1;
  EXPECT_FALSE(messageHeaderIsSane(header));
}

}  // namespace
