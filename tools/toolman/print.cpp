// Readable lines for messages.
#include "print.h"

#include <cstdio>
#include <sstream>

#include "bigendian.h"
#include "shared/tcpxport.h"
#include "state.h"

namespace {

constexpr size_t kShownTextLength = 200;
constexpr size_t kShownDataBytes = 16;
constexpr long kRectangleSize = 8;

std::string quotedText(const char* data, long length) {
  std::string text = "\"";
  size_t shown = 0;
  for (long i = 0; i < length && data[i] != '\0'; ++i) {
    if (++shown > kShownTextLength) {
      text += "...";
      break;
    }
    unsigned char c = static_cast<unsigned char>(data[i]);
    if (c == '"' || c == '\\') {
      text += '\\';
      text += static_cast<char>(c);
    } else if (c < 32 || c == 127) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      text += escaped;
    } else {
      text += static_cast<char>(c);
    }
  }
  return text + "\"";
}

std::string describeToolInfo(const ToolInfo& info) {
  std::ostringstream out;
  out << "tool{name " << quotedText(info.name, sizeof info.name) << ", type "
      << typeText(info.toolType) << ", port " << info.listenerPort << ", source "
      << (info.canDisplaySource ? 1 : 0) << ", versions " << info.maxVersion << "/"
      << info.minVersion << "}";
  return out.str();
}

std::string describeData(const uint8_t* bytes, long length) {
  if (length == static_cast<long>(kToolInfoWireSize)) {
    ToolInfo info;
    decodeToolInfo(bytes, &info);
    return describeToolInfo(info);
  }
  // Text first: a window rectangle's small coordinates hold zero bytes,
  // while an eight-letter command line would otherwise read as one.
  bool printable = length > 0;
  for (long i = 0; i < length && printable; ++i) printable = bytes[i] >= 32 && bytes[i] < 127;
  if (printable) return "text " + quotedText(reinterpret_cast<const char*>(bytes), length);
  if (length == kRectangleSize) return "rect " + describeRectangle(bytes);
  std::ostringstream out;
  out << length << " bytes";
  char hex[4];
  for (long i = 0; i < length && i < static_cast<long>(kShownDataBytes); ++i) {
    std::snprintf(hex, sizeof hex, " %02x", bytes[i]);
    out << hex;
  }
  if (length > static_cast<long>(kShownDataBytes)) out << " ...";
  return out.str();
}

std::string describeParam(const Message& message, short n) {
  TypeIdent type = message.getParamType(n);
  long length = message.getParamLength(n);
  const char* data = message.getParam(n);
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(data);
  std::ostringstream out;
  out << "#" << n << " " << typeText(type) << " ";
  if (type == kParamStr255 || type == kParamStr31) {
    out << quotedText(data, length);
  } else if ((type == kParamLong || type == kParamError) && length == 4) {
    out << owbcoding::getI32(bytes);
  } else if (type == kParamShort && length == 2) {
    out << owbcoding::getI16(bytes);
  } else if (type == kParamBoolean && length == 1) {
    out << (bytes[0] ? "true" : "false");
  } else if (type == kParamIdent && length == 4) {
    out << typeText(owbcoding::getU32(bytes));
  } else if (type == kParamIdent) {
    out << quotedText(data, length);  // a description sent under this type
  } else {
    out << describeData(bytes, length);
  }
  return out.str();
}

}  // namespace

std::string describeRectangle(const uint8_t* rect) {
  std::ostringstream out;
  for (int i = 0; i < 4; ++i) out << (i ? "," : "") << owbcoding::getI16(rect + 2 * i);
  return out.str();
}

std::string describeMessage(const Message& message) {
  const ToolInfo& sender = message.header.senderInfo;
  std::string name = sender.name;
  auto known = gToolManState.tools.find(sender.listenerPort);
  if (name.empty() && known != gToolManState.tools.end()) name = known->second.info.name;
  std::ostringstream out;
  out << typeText(message.header.msgType) << " from " << (name.empty() ? "?" : name) << "@"
      << sender.listenerPort << (message.header.needsReply ? " needs-reply" : "") << ":";
  if (message.getParamCount() == 0) out << " no parameters";
  for (short i = 0; i < message.getParamCount(); ++i)
    out << (i ? "; " : " ") << describeParam(message, i);
  return out.str();
}
