// Text areas: fixed labels.  The text is drawn in the widget's font and
// colour, on one line per "\n", justified left, centred or right.
#ifndef OWB_TOOLKIT_TAREA_H
#define OWB_TOOLKIT_TAREA_H

#include "toolkit/wgtpub.h"

enum { TAREA_JUSTLEFT = 0, TAREA_JUSTCENTER = 1, TAREA_JUSTRIGHT = 2 };

struct _TAreaObj {
  _WgtObj Wgt;
  VStrPtr Text;
  UInt16 Justif;
};
typedef _TAreaObj* TAreaPtr;

RClasPtr TAREA_Class();
void TAREA_InstallClass();
void TAREA_InitClass();
TAreaPtr TAREA_Create();
long TAREA_DefNfy(ResPtr res, Int message, ClientPtr data);
void TAREA_SetText(TAreaPtr area, const char* text);
const char* TAREA_GetText(TAreaPtr area);
// The automation surface: the text.
void TAREA_Describe(WgtPtr wgt, struct AutomDesc* desc);
void TAREA_SetJustif(TAreaPtr area, UInt16 justif);

#endif  // OWB_TOOLKIT_TAREA_H
