// The help defaults that the Tool Manager hands to every tool: the viewer
// program and the documents of the help menu.  The help manager
// (shared/ui/help.h) and a Tool Manager without windows share them.
#ifndef OWB_SHARED_HELPDEFAULTS_H
#define OWB_SHARED_HELPDEFAULTS_H

// A document of the help menu: its item's label and the document's name,
// resolved by the Tool Manager on its search path.
struct HelpDocument {
  const char* label;
  const char* document;
};

// The Tool Manager's default documents, in the order of the menu.
extern const HelpDocument kDefaultHelpDocuments[4];
constexpr const char* kDefaultHelpViewer = "netscape";
// The document of a window's own help when the window names none.
constexpr const char* kDefaultHelpFile = "user.html";

#endif  // OWB_SHARED_HELPDEFAULTS_H
