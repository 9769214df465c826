// What the message center needs of a transport.  The TCP transport
// (shared/tcpxport.h) is the real one; a test may give the center one
// without sockets.
//
// Contracts: poll returns a message the caller owns, or null; sendMessage
// keeps nothing of the message it is given; lastError tells the last
// operation's failure (0 for none).
#ifndef OWB_SHARED_TRANSPORT_H
#define OWB_SHARED_TRANSPORT_H

#include "shared/errors.h"

class Message;

class MessageTransport : public HasErrorReporting {
 public:
  // The port this process is reached at; the center's own listenerPort.
  virtual int listenerPort() const = 0;
  // One short wait for a message that arrived, or null.
  virtual Message* poll() = 0;
  // Delivers a message to its receiverInfo.listenerPort.
  virtual void sendMessage(const Message* message) = 0;
  // Probes a listener; lastError tells whether it answered.
  virtual void ticklePort(int port) = 0;
};

#endif  // OWB_SHARED_TRANSPORT_H
