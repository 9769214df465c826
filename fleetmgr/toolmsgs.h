// The messages by which the Fleet Manager keeps the Tool Manager's picture
// of fleets and engines current.  Every one is built by newMsgToToolMan and
// handed to gMessageCenter, which owns it from then on; none asks for a
// reply.
#ifndef OWB_FLEETMGR_TOOLMSGS_H
#define OWB_FLEETMGR_TOOLMSGS_H

#include "owbtypes.h"
#include "shared/messages.h"

// The tool's own type and the work type of a fleet definition file.
constexpr TypeIdent kFleetToolType = OWB_TYPE("FLTT");
constexpr TypeIdent kFleetFileType = OWB_TYPE("FLTF");

// Message types the tool sends or serves.
constexpr TypeIdent kRegisterToolMessage = OWB_TYPE("REGT");
constexpr TypeIdent kAddCommandMessage = OWB_TYPE("ADDC");
constexpr TypeIdent kAddEngineMessage = OWB_TYPE("ADDE");
constexpr TypeIdent kRemoveEngineMessage = OWB_TYPE("REME");
constexpr TypeIdent kAddFileMessage = OWB_TYPE("ADDF");
constexpr TypeIdent kRemoveFileMessage = OWB_TYPE("REMF");
constexpr TypeIdent kProjectPathMessage = OWB_TYPE("GCPP");
constexpr TypeIdent kQuitMessage = OWB_TYPE("QUIT");
constexpr TypeIdent kCommandSelectedMessage = OWB_TYPE("CMDS");
constexpr TypeIdent kIdentifyFileMessage = OWB_TYPE("IDFL");

// A new message of msgType addressed to a copy of gToolManToolInfo.
Message* newMsgToToolMan(TypeIdent msgType);

// Hands message to gMessageCenter; with no center (the tool is not
// started) the message is dropped and logged.  Returns the reply when the
// message asked for one, else null.
Message* sendToToolMan(Message* message);

// ADDE: this host's name as a full 256-byte S255, then the port.
void announceEngine(long port);
// REME: this host's name (strlen + 1 bytes), then the port.
void withdrawEngine(long port);
// ADDF: the definition file joins the project.
void announceFleetFile(const char* fleetFileName);
// REMF: FLTF, then the definition file, which has left the project.
void withdrawFleetFile(const char* fleetFileName);

#endif  // OWB_FLEETMGR_TOOLMSGS_H
