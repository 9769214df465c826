// The TCP transport: listener, one connection per message, the tickle and
// the port file.  Messages go to and from bytes through shared/wiremessage.h.
#include "shared/tcpxport.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "bigendian.h"
#include "shared/log.h"
#include "shared/utils.h"

namespace {

int gToolManagerPort = 0;
// The connection being received, for the SIGINT handler.
volatile sig_atomic_t saveSD = -1;
volatile sig_atomic_t gDisconnectedBySignal = 0;

const char* errorText() { return std::strerror(errno); }

// Room for the preferences directory and the file's name.
typedef char PortFilePath[sizeof(fileNameType) + 16];

void portFilePath(PortFilePath path) {
  fileNameType directory;
  getValidPreferencesDirectory(directory);
  std::snprintf(path, sizeof(PortFilePath), "%sowbport", directory);
}

void waitFiveSeconds() {
  struct timeval wait = {5, 0};
  select(0, nullptr, nullptr, nullptr, &wait);
}

unsigned long tickleIntervalFromEnvironment() {
  const char* text = std::getenv("OWB_TICKLE_INTERVAL");
  if (text && *text) {
    char* end = nullptr;
    unsigned long value = std::strtoul(text, &end, 10);
    if (end && *end == '\0' && value > 0) return value;
  }
  return kDefaultTickleInterval;
}

bool connectToPort(int socketNumber, uint32_t hostAddr, int port) {
  struct sockaddr_in address;
  std::memset(&address, 0, sizeof address);
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = hostAddr;
  address.sin_port = htons(static_cast<uint16_t>(port));  // the low 16 bits
  return connect(socketNumber, reinterpret_cast<struct sockaddr*>(&address), sizeof address) == 0;
}

// The Tool Manager answers only on the loopback address unless told
// otherwise; every peer is on this host.
bool sToolManagerListensOnAnyAddress = false;

}  // namespace

int getToolManagerPort() {
  if (gToolManagerPort != 0) return gToolManagerPort;
  PortFilePath path;
  portFilePath(path);
  FILE* file = openRegularFile(path);
  if (!file) {
    OWB_LOG("Failed opening " << path);
    return 0;
  }
  int port = 0;
  if (std::fscanf(file, "%d", &port) == 1) gToolManagerPort = port;
  std::fclose(file);
  return gToolManagerPort;
}

void setToolManagerPort(int listenerPort) {
  gToolManagerPort = listenerPort;
  PortFilePath path;
  portFilePath(path);
  FILE* file = std::fopen(path, "we");
  if (!file) {
    OWB_LOG("Failed opening " << path);
    return;
  }
  std::fprintf(file, "%d\n", listenerPort);
  std::fclose(file);
}

void forgetToolManagerPort() { gToolManagerPort = 0; }

void setToolManagerListensOnAnyAddress(bool anyAddress) { sToolManagerListensOnAnyAddress = anyAddress; }

// ------------------------------------------------------------- transport

TCPTransport::TCPTransport(int listenerPort)
    : listenSocket(-1),
      hostAddr(htonl(INADDR_LOOPBACK)),
      retry(kBindAttempts),
      timeout{0, kPollWaitMicroseconds},
      listenPort(0),
      isToolManager(listenerPort > 0),
      lastTickleTime(0),
      tickleInterval(tickleIntervalFromEnvironment()) {
  int on = 1;
  if (!isToolManager) listenerPort = std::rand() % 800 + getToolManagerPort();
  std::signal(SIGPIPE, SIG_IGN);

  listenSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (listenSocket < 0) {
    OWB_LOG("tcptransport: socket create failed - " << errorText());
  } else if (setsockopt(listenSocket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) < 0) {
    OWB_LOG("tcptransport: socket REUSEADDR - " << errorText());
    close(listenSocket);
    listenSocket = -1;
  } else {
    bool bound = false;
    while (!bound) {
      struct sockaddr_in address;
      std::memset(&address, 0, sizeof address);
      address.sin_family = AF_INET;
      address.sin_addr.s_addr =
          htonl(isToolManager && !sToolManagerListensOnAnyAddress ? INADDR_LOOPBACK : INADDR_ANY);
      address.sin_port = htons(static_cast<uint16_t>(listenerPort));
      if (bind(listenSocket, reinterpret_cast<struct sockaddr*>(&address), sizeof address) == 0) {
        bound = true;
        break;
      }
      if (--retry == 0) {
        OWB_LOG("tcptransport: bind failed - " << errorText());
        break;
      }
      OWB_LOG("tcptransport: bind retry " << (kBindAttempts - retry) << " (" << errorText() << ")");
      ++listenerPort;
    }
    if (!bound) {
      close(listenSocket);
      listenSocket = -1;
    } else {
      // The port actually bound: the same as asked, unless 0 asked the
      // system to choose one.
      struct sockaddr_in boundAddress;
      socklen_t boundSize = sizeof boundAddress;
      listenPort = listenerPort;
      if (getsockname(listenSocket, reinterpret_cast<struct sockaddr*>(&boundAddress),
                      &boundSize) == 0)
        listenPort = ntohs(boundAddress.sin_port);
      if (isToolManager) setToolManagerPort(listenPort);
      OWB_LOG("tcptransport: listener socket = " << listenSocket);
      if (listen(listenSocket, kListenBacklog) < 0) {
        OWB_LOG("tcptransport: listen failed - " << errorText());
        close(listenSocket);
        listenSocket = -1;
      } else {
        OWB_LOG("opened listener - got port #" << listenPort);
        struct addrinfo hints;
        std::memset(&hints, 0, sizeof hints);
        hints.ai_family = AF_INET;
        hints.ai_socktype = SOCK_STREAM;
        struct addrinfo* found = nullptr;
        if (getaddrinfo("localhost", nullptr, &hints, &found) == 0 && found) {
          hostAddr = reinterpret_cast<struct sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
          freeaddrinfo(found);
        }
        struct in_addr shown;
        shown.s_addr = hostAddr;
        OWB_LOG("got the hostAddr = " << inet_ntoa(shown));
      }
    }
  }
  lastTickleTime = TIME_GetCurMillisecs() + static_cast<unsigned long>(std::rand() % 1000);
}

TCPTransport::~TCPTransport() {
  if (listenSocket >= 0) {
    shutdown(listenSocket, SHUT_RDWR);
    close(listenSocket);
  }
}

Message* TCPTransport::poll() {
  fd_set readSet;
  fd_set writeSet;
  lastError = kNoError;
  int result;
  for (;;) {
    FD_ZERO(&readSet);
    FD_ZERO(&writeSet);
    timeout.tv_sec = 0;
    timeout.tv_usec = kPollWaitMicroseconds;
    if (listenSocket < 0 || listenSocket >= FD_SETSIZE) {
      // No listener: still wait the 50 ms, so that a caller's loop keeps its
      // pace, and report the failed select as a live socket would.
      select(0, nullptr, nullptr, nullptr, &timeout);
      errno = EBADF;
      result = -1;
    } else {
      FD_SET(listenSocket, &readSet);
      result = select(listenSocket + 1, &readSet, &writeSet, nullptr, &timeout);
    }
    if (result >= 0) break;
    int selectError = errno;
    OWB_LOG("tcptransport: select result = " << result);
    if (selectError == EINTR) continue;
    OWB_LOG("tcptransport: failed select - " << std::strerror(selectError));
    lastError = kSelectFailed;
    break;
  }

  if (lastError == kNoError && FD_ISSET(listenSocket, &readSet)) {
    int connection = accept4(listenSocket, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) {
      OWB_LOG("tcptransport: failed accept - " << errorText());
      lastError = kAcceptFailed;
    } else {
      saveSD = connection;
      gDisconnectedBySignal = 0;
      struct sigaction action;
      std::memset(&action, 0, sizeof action);
      action.sa_handler = sigHandler;
      sigemptyset(&action.sa_mask);
      sigaction(SIGINT, &action, nullptr);
      OWB_LOG_AT(kLogSome, "poll: starting to receive a message");
      Message* message = getMessage(connection);
      if (gDisconnectedBySignal) OWB_LOG("disconnect by signal handler");
      saveSD = -1;
      close(connection);
      return message;
    }
  }

  if (isToolManager) return nullptr;
  if (TIME_GetCurMillisecs() > lastTickleTime + tickleInterval) ticklePort(gToolManagerPort);
  return nullptr;
}

Message* TCPTransport::getMessage(int messageSocket) {
  Message* message = new Message();
  uint8_t headerBytes[kMessageHeaderWireSize];
  std::memset(headerBytes, 0, sizeof headerBytes);
  if (!receiveTCPData(messageSocket, headerBytes, kMessageHeaderWireSize)) {
    if (owbcoding::getU32(headerBytes) != kTickleBytes) OWB_LOG("failed reading header");
    delete message;
    return nullptr;
  }
  decodeMessageHeader(headerBytes, &message->header);
  if (!messageHeaderIsSane(message->header)) {
    OWB_LOG("failed reading header: parameter count "
            << message->header.msgTemplate.numberOfParams << " or a length out of range");
    message->header.msgTemplate.numberOfParams = 0;
    delete message;
    return nullptr;
  }
  OWB_LOG("read message type " << TypeIdentToCStr(message->header.msgType));
  short count = message->header.msgTemplate.numberOfParams;
  for (short i = 0; i < count; ++i) {
    int32_t length = message->header.msgTemplate.paramLength[i];
    char* block = new char[length > 0 ? length : 1];
    if (!receiveTCPData(messageSocket, block, length)) {
      delete[] block;
      OWB_LOG("failed reading param #" << i);
      delete message;
      return nullptr;
    }
    message->data[i] = block;
    OWB_LOG_AT(kLogSome, "read param #" << i << ", length " << length);
  }
  return message;
}

void TCPTransport::sendMessage(const Message* message) {
  if (!message) return;
  int port = message->header.receiverInfo.listenerPort;
  int socketNumber = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socketNumber < 0) {
    OWB_LOG("got error from socket: " << errorText());
    waitFiveSeconds();
    OWB_LOG("sendMessage: socket create failed - " << errorText());
    return;
  }
  if (!connectToPort(socketNumber, hostAddr, port)) {
    OWB_LOG("sendMessage: socket connect failed - for port " << port << " error " << errorText());
    close(socketNumber);
    return;
  }
  uint8_t headerBytes[kMessageHeaderWireSize];
  encodeMessageHeader(message->header, headerBytes);
  if (!sendTCPData(socketNumber, headerBytes, kMessageHeaderWireSize)) {
    OWB_LOG("sendMessage: sending header failed: error = " << errorText());
    close(socketNumber);
    return;
  }
  OWB_LOG("sendMessage: sent message of type " << TypeIdentToCStr(message->header.msgType));
  for (short i = 0; i < message->getParamCount(); ++i) {
    long length = message->getParamLength(i);
    if (!sendTCPData(socketNumber, message->getParam(i), static_cast<int>(length))) {
      OWB_LOG("sendMessage: sending param #" << i << " failed: error = " << errorText());
      close(socketNumber);
      return;
    }
    OWB_LOG_AT(kLogAll, "sendMessage: sent param #" << i << ", length " << length);
  }
  close(socketNumber);
}

void TCPTransport::ticklePort(int port) {
  OWB_LOG_AT(kLogAll, "sending tickle at port " << port);
  bool sent = false;
  int socketNumber = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (socketNumber < 0) {
    OWB_LOG("got error from socket: " << errorText() << " while tickling");
    waitFiveSeconds();
    OWB_LOG("sendMessage: socket create failed: " << errorText() << "while tickling");
  } else {
    if (!connectToPort(socketNumber, hostAddr, port)) {
      OWB_LOG("sendMessage: socket connect failed: " << errorText() << " while tickling");
    } else {
      uint8_t tickle[4];
      owbcoding::putU32(tickle, kTickleBytes);
      if (sendTCPData(socketNumber, tickle, 4)) sent = true;
      else OWB_LOG("sendMessage: sending msgType failed: error = " << errorText());
    }
    close(socketNumber);
  }
  if (sent) {
    lastError = kNoError;
  } else {
    OWB_LOG("failed to send tickle");
    lastError = kTickleFailed;
  }
  lastTickleTime = TIME_GetCurMillisecs();
}

// ------------------------------------------------------- file functions

// Breaks the connection being received so that a sender that hangs cannot
// block the tool for ever.  Only async-signal-safe work is done here: the
// log line is written by poll once the read has returned, and poll closes
// the descriptor.
void sigHandler(int) {
  int connection = saveSD;
  if (connection >= 0) {
    gDisconnectedBySignal = 1;
    shutdown(connection, SHUT_RDWR);
  }
}

Boolean sendTCPData(int socketNumber, const void* data, int length) {
  errno = 0;
  ssize_t sent = send(socketNumber, data, static_cast<size_t>(length), MSG_NOSIGNAL);
  if (sent == length) return TRUE;
  OWB_LOG("sendTCPData, failed to send all packets, only sent "
          << sent << " instead of " << length << " last error = " << errorText());
  return FALSE;
}

Boolean receiveTCPData(int socketNumber, void* data, int length) {
  errno = 0;
  ssize_t received = recv(socketNumber, data, static_cast<size_t>(length), 0);
  if (received == length) return TRUE;
  if (received == 4 && owbcoding::getU32(static_cast<const uint8_t*>(data)) == kTickleBytes)
    return FALSE;
  OWB_LOG("receiveTCPData, failed to receive all packets, only received "
          << received << " instead of " << length << " last error = " << errorText());
  return FALSE;
}
