// Makes a program that starts the toolkit link every module the layers'
// chains reach through weak entries.
#ifndef OWB_TOOLKIT_LINKEDMODULES_H
#define OWB_TOOLKIT_LINKEDMODULES_H

// The number of those entries present (all of them, once linked).
int TK_LinkedModuleCount();

#endif  // OWB_TOOLKIT_LINKEDMODULES_H
