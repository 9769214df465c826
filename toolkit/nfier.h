// Notifiers: a list of (procedure, client data) pairs that all hear one
// broadcast.  The error module's fatal/exit notifier and the resource
// manager's notifier are notifiers.
#ifndef OWB_TOOLKIT_NFIER_H
#define OWB_TOOLKIT_NFIER_H

#include "toolkit/tkbase.h"

struct _NfierRec;
typedef _NfierRec* NfierPtr;

// Called with the broadcast code and its data, and the client data given
// when the procedure was added.
typedef void (*NfierCBack)(Int code, ClientPtr data, ClientPtr clientData);

NfierPtr NFIER_New();
void NFIER_Dispose(NfierPtr nfier);
void NFIER_AddDS(NfierPtr nfier, NfierCBack proc, ClientPtr clientData);
void NFIER_RemoveDS(NfierPtr nfier, NfierCBack proc, ClientPtr clientData);
// Calls every procedure in the order they were added.  A procedure may
// remove itself or others while the broadcast runs.
void NFIER_Broadcast(NfierPtr nfier, Int code, ClientPtr data);

#endif  // OWB_TOOLKIT_NFIER_H
