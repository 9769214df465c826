// A test Tool Manager: a loopback listener that records every message
// sent to it, byte for byte, answers GCPP when told to and GSAT
// with no tools, and sends messages to a tool.  It runs on its own thread
// and uses only the wire codec of the message library, so it never shares
// the tool's globals (message center, log) with the code under test.
#ifndef OWB_TESTS_FLEETMGR_TEST_TOOLMAN_H
#define OWB_TESTS_FLEETMGR_TEST_TOOLMAN_H

#include <poll.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <ostream>
#include <thread>

#include "shared/messages.h"
#include "shared/tcpxport.h"
#include "testsupport.h"

namespace fmtest {

struct WireParam {
  TypeIdent type;
  std::string bytes;  // exactly the parameter's bytes on the wire
  bool operator==(const WireParam& other) const { return type == other.type && bytes == other.bytes; }
};
typedef std::vector<WireParam> WireParams;

struct WireMessage {
  MessageHeader header;
  std::vector<WireParam> params;

  TypeIdent type() const { return header.msgType; }
  // The text of a parameter up to its first NUL.
  std::string text(size_t i) const { return std::string(params.at(i).bytes.c_str()); }
  int32_t number(size_t i) const {
    uint32_t n = 0;
    if (params.at(i).bytes.size() != 4) return INT32_MIN;
    std::memcpy(&n, params.at(i).bytes.data(), 4);
    return static_cast<int32_t>(ntohl(n));
  }
};

inline std::string typeText(TypeIdent type) {
  char text[5] = {static_cast<char>(type >> 24), static_cast<char>(type >> 16), static_cast<char>(type >> 8),
                  static_cast<char>(type), 0};
  return text;
}
inline void PrintTo(const WireParam& param, std::ostream* out) {
  *out << typeText(param.type) << " (" << param.bytes.size() << " bytes) \"" << param.bytes << "\"";
}
// Text with its terminating NUL, and a number in the wire's four bytes.
inline std::string nul(const std::string& text) { return text + std::string(1, '\0'); }
inline std::string wireLong(uint32_t n) {
  return {static_cast<char>(n >> 24), static_cast<char>(n >> 16), static_cast<char>(n >> 8), static_cast<char>(n)};
}

// A CMDS message as the Tool Manager sends it: the command's text (null
// sends the parameter empty), two parameters the tool does not read, and
// the selected file.
inline Message commandSelectedMessage(const char* text, const std::string& file) {
  Message message(OWB_TYPE("CMDS"), nullptr);
  if (text) message.addStringParam(kParamStr31, text);
  else message.addParam(kParamStr31, nullptr, 0);
  message.addStringParam(kParamStr31, "");
  message.addLongParam(0);
  message.addParam(kParamStr31, file.c_str(), static_cast<long>(file.size() + 1));
  return message;
}

class TestToolManager {
 public:
  // Listens on a free loopback port and writes it to <home>/.owb/owbport.
  explicit TestToolManager(const std::string& home) {
    // Close-on-exec: a tool started by the test must not inherit the listener.
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int yes = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // A port low enough that a tool's listener (up to 800 above) fits.
    for (int attempt = 0; attempt < 200 && port_ == 0; ++attempt) {
      int candidate = 20000 + static_cast<int>((getpid() * 131 + attempt * 977) % 30000);
      address.sin_port = htons(static_cast<uint16_t>(candidate));
      if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) port_ = candidate;
    }
    listen(listener_, 20);
    mkdir((home + "/.owb").c_str(), 0777);
    owbtest::writeWholeFile(home + "/.owb/owbport", std::to_string(port_) + "\n");
    thread_ = std::thread([this] { serve(); });
  }
  ~TestToolManager() { stop(); }
  TestToolManager(const TestToolManager&) = delete;
  TestToolManager& operator=(const TestToolManager&) = delete;

  // Closes the listener: from now on tickles and messages are refused.
  void stop() {
    if (stopping_.exchange(true)) return;
    thread_.join();
    close(listener_);
  }

  int port() const { return port_; }

  // GCPP is answered with these parameters after the EROR 0 (none: one
  // EROR alone); unset, GCPP gets no answer.
  void answerProjectPath(std::optional<std::vector<std::string>> texts) {
    std::lock_guard<std::mutex> lock(mutex_);
    projectAnswer_ = std::move(texts);
  }

  std::vector<WireMessage> messages() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return messages_;
  }
  std::vector<WireMessage> messagesOf(TypeIdent type) const {
    std::vector<WireMessage> found;
    for (const WireMessage& message : messages())
      if (message.type() == type) found.push_back(message);
    return found;
  }
  void clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    messages_.clear();
  }

  // Waits until count messages of type have come.
  bool waitForCount(TypeIdent type, size_t count, double seconds = 10) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (messagesOf(type).size() < count) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }

  // Sends message to a tool's listener, as coming from this Tool Manager.
  bool sendTo(int toolPort, Message& message) {
    message.header.senderInfo = ToolInfo{};
    message.header.senderInfo.listenerPort = port_;
    message.header.receiverInfo.listenerPort = toolPort;
    return writeMessage(toolPort, message);
  }

  // Sends message with needsReply and waits for the tool's RPLY.
  std::optional<WireMessage> ask(int toolPort, Message& message, double seconds = 10) {
    size_t before = messagesOf(kReplyMessageType).size();
    message.header.needsReply = TRUE;
    if (!sendTo(toolPort, message)) return std::nullopt;
    if (!waitForCount(kReplyMessageType, before + 1, seconds)) return std::nullopt;
    return messagesOf(kReplyMessageType).at(before);
  }

 private:
  static bool writeMessage(int toolPort, const Message& message) {
    int out = owbtest::connectLoopback(toolPort);
    if (out < 0) return false;
    std::string bytes(kMessageHeaderWireSize, '\0');
    encodeMessageHeader(message.header, reinterpret_cast<uint8_t*>(&bytes[0]));
    for (int i = 0; i < message.getParamCount(); ++i)
      bytes.append(message.getParam(static_cast<short>(i)), message.getParamLength(static_cast<short>(i)));
    bool sent = ::send(out, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
    close(out);
    return sent;
  }

  void serve() {
    while (!stopping_) {
      pollfd waiting = {listener_, POLLIN, 0};
      if (::poll(&waiting, 1, 20) <= 0) continue;
      int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (connection < 0) continue;
      std::string bytes = readAll(connection);
      close(connection);
      record(bytes);
    }
  }

  // Everything up to the sender's close (at most 5 s).
  static std::string readAll(int connection) {
    std::string bytes;
    char buffer[65536];
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (std::chrono::steady_clock::now() < deadline) {
      pollfd readable = {connection, POLLIN, 0};
      if (::poll(&readable, 1, 50) <= 0) continue;
      ssize_t got = recv(connection, buffer, sizeof buffer, 0);
      if (got <= 0) break;
      bytes.append(buffer, static_cast<size_t>(got));
    }
    return bytes;
  }

  void record(const std::string& bytes) {
    if (bytes.size() < kMessageHeaderWireSize) return;  // a tickle
    WireMessage message;
    decodeMessageHeader(reinterpret_cast<const uint8_t*>(bytes.data()), &message.header);
    size_t offset = kMessageHeaderWireSize;
    for (int i = 0; i < message.header.msgTemplate.numberOfParams; ++i) {
      size_t length = static_cast<size_t>(message.header.msgTemplate.paramLength[i]);
      if (offset + length > bytes.size()) return;
      message.params.push_back({message.header.msgTemplate.paramType[i], bytes.substr(offset, length)});
      offset += length;
    }
    std::optional<std::vector<std::string>> answer;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      messages_.push_back(message);
      answer = projectAnswer_;
    }
    // A source view asking for the tools that show source hears of none,
    // at once, instead of waiting out the reply time.
    if (message.type() == OWB_TYPE("GSAT") && message.header.needsReply) {
      Message reply(kReplyMessageType, nullptr);
      reply.addErrorParam(kNoError);
      sendTo(message.header.senderInfo.listenerPort, reply);
    }
    if (message.type() == OWB_TYPE("GCPP") && message.header.needsReply && answer) {
      Message reply(kReplyMessageType, nullptr);
      reply.addErrorParam(kNoError);
      for (const std::string& text : *answer) reply.addStringParam(kParamStr255, text.c_str());
      sendTo(message.header.senderInfo.listenerPort, reply);
    }
  }

  int listener_ = -1;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::vector<WireMessage> messages_;
  std::optional<std::vector<std::string>> projectAnswer_;
  std::thread thread_;
};

}  // namespace fmtest

#endif  // OWB_TESTS_FLEETMGR_TEST_TOOLMAN_H
