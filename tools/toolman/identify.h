// Background identification of the project's files: the window asks the
// registered tools by IDFL what the files of unknown type are, a few
// questions per turn of its loop, so that the user's events are handled
// between them.
//
// Each tool is asked once about each file (at most 4096 files per tool).
// A yes types every other file of unknown type with the same suffix at
// once, so one question usually covers a whole kind of file.  A tool that
// lets a question time out is asked nothing more until it registers again.
#ifndef OWB_TOOLMAN_IDENTIFY_H
#define OWB_TOOLMAN_IDENTIFY_H

// How long a background question waits for its answer, in ms.  The
// environment variable OWB_TOOLMAN_IDFL_MS changes it (tests shorten it).
constexpr unsigned long kDefaultIdentifyTimeoutMs = 500;
unsigned long identifyTimeoutMs();

// Asks questions until budgetMs have passed (at least one when one is
// left to ask).  True when questions remain.
bool identifySomeFiles(int budgetMs);

#endif  // OWB_TOOLMAN_IDENTIFY_H
