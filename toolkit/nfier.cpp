// Notifiers.
#include "toolkit/nfier.h"

#include <vector>

struct _NfierRec {
  struct Entry {
    NfierCBack proc;
    ClientPtr clientData;
  };
  std::vector<Entry> entries;
};

NfierPtr NFIER_New() { return new _NfierRec; }

void NFIER_Dispose(NfierPtr nfier) { delete nfier; }

void NFIER_AddDS(NfierPtr nfier, NfierCBack proc, ClientPtr clientData) {
  nfier->entries.push_back({proc, clientData});
}

void NFIER_RemoveDS(NfierPtr nfier, NfierCBack proc, ClientPtr clientData) {
  for (size_t i = 0; i < nfier->entries.size(); ++i) {
    if (nfier->entries[i].proc == proc && nfier->entries[i].clientData == clientData) {
      nfier->entries.erase(nfier->entries.begin() + static_cast<long>(i));
      return;
    }
  }
}

void NFIER_Broadcast(NfierPtr nfier, Int code, ClientPtr data) {
  if (!nfier) return;
  // A copy, so that procedures can change the list while it is walked.
  std::vector<_NfierRec::Entry> entries = nfier->entries;
  for (const auto& e : entries) e.proc(code, data, e.clientData);
}
