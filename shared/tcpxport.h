// The TCP transport of tool messages.
//
// Every peer is on this host.  A message is one connection: the 444-byte
// header, then each parameter's bytes, then the close.  A tickle is the four
// bytes "TIKL" and the close.  The byte layout is documented in docs/wire.md.
//
// The transport reads with exactly one recv per block: a header or parameter
// that does not arrive whole in one read drops the message.  Counts and
// lengths from the wire are bounded (0..32 parameters, 0..16 MiB each); a
// message outside them is dropped and logged like any failed read.
#ifndef OWB_SHARED_TCPXPORT_H
#define OWB_SHARED_TCPXPORT_H

#include <sys/time.h>

#include <cstddef>
#include <cstdint>

#include "owbtime.h"
#include "owbtypes.h"
#include "shared/errors.h"
#include "shared/transport.h"
#include "shared/wiremessage.h"

constexpr int kBindAttempts = 100;
constexpr int kListenBacklog = 20;
constexpr long kPollWaitMicroseconds = 50000;
// A tool tickles the Tool Manager this often.  The environment variable
// OWB_TICKLE_INTERVAL (milliseconds, above 0) shortens it for tests.
constexpr unsigned long kDefaultTickleInterval = 60000;

// Reply deadlines and tickles count on the toolkit's clock,
// TIME_GetCurMillisecs (owbtime.h).

// The Tool Manager's port, from $HOME/.owb/owbport; 0 when unknown (not
// cached, so the file is read again next time).
int getToolManagerPort();
// Records the port and writes the file (the Tool Manager only).
void setToolManagerPort(int listenerPort);
// Forgets the cached port, for a process that changes HOME or reads a new
// file on purpose.
void forgetToolManagerPort();
// Where the Tool Manager's listener binds: the loopback address, since every
// peer is on this host, unless anyAddress is set before the transport is
// made (for peers that reach this host by another of its addresses).  A
// tool's listener binds any address.
void setToolManagerListensOnAnyAddress(bool anyAddress);

class TCPTransport : public MessageTransport {
 public:
  // listenerPort above 0: the Tool Manager's listener, at that port or one of
  // the 99 above it, recorded in the port file.  0: a tool's listener, at a
  // random port within 800 above the Tool Manager's.
  explicit TCPTransport(int listenerPort);
  ~TCPTransport() override;
  TCPTransport(const TCPTransport&) = delete;
  TCPTransport& operator=(const TCPTransport&) = delete;

  // One wait of at most 50 ms: a new message (the caller's) or null.  A tool
  // tickles the Tool Manager here when one is due.  lastError -1401 (select)
  // or -1403 (accept) or the tickle's.
  Message* poll() override;
  // Writes message to receiverInfo.listenerPort; keeps nothing, reports
  // failures only in the log.
  void sendMessage(const Message* message) override;
  // lastError 0, or -1402 when the tickle could not be sent.
  void ticklePort(int ticklePort) override;
  int listenerPort() const override { return listenPort; }
  // Reads one message from a connected socket; null on any failure.
  Message* getMessage(int messageSocket);

  int listenSocket;
  uint32_t hostAddr;  // network order
  int retry;
  struct timeval timeout;
  int listenPort;
  Boolean isToolManager;
  unsigned long lastTickleTime;
  unsigned long tickleInterval;
};

void sigHandler(int signalNumber);
// Exactly one send / recv; true only when all length bytes went / came.
Boolean sendTCPData(int socket, const void* data, int length);
Boolean receiveTCPData(int socket, void* data, int length);

#endif  // OWB_SHARED_TCPXPORT_H
