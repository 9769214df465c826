// Feeds arbitrary bytes to the message reader as a peer on a connection
// would send them, then decodes any message that comes out.
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "shared/messages.h"
#include "shared/tcpxport.h"

namespace {

TCPTransport* sharedTransport() {
  // One transport for the whole run; its listener is never used here.
  static TCPTransport* transport = new TCPTransport(0);
  return transport;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) return 0;
  // Everything is written before reading starts: keep within the socket's
  // buffer so that the write never blocks.
  if (size > 0 && write(pair[0], data, size > 65536 ? 65536 : size) < 0) {
    close(pair[0]);
    close(pair[1]);
    return 0;
  }
  shutdown(pair[0], SHUT_WR);
  Message* message = sharedTransport()->getMessage(pair[1]);
  if (message) {
    char text[64];
    int32_t number;
    ToolInfo info;
    for (short i = 0; i < message->getParamCount(); ++i) {
      message->getStringParam(i, text, sizeof text);
      message->getLongParam(i, &number);
      message->getToolInfoParam(i, &info);
    }
    Message copy(*message);
    delete message;
  }
  close(pair[0]);
  close(pair[1]);
  return 0;
}
