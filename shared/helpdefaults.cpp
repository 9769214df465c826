// The help defaults of the Tool Manager.
#include "shared/helpdefaults.h"

// The second label is spelled so.
const HelpDocument kDefaultHelpDocuments[4] = {{"&Developer Library", "classes.html"},
                                               {"&Programmng Guide", "developer.html"},
                                               {"&Language Reference", "wandercode.html"},
                                               {"&User Guide", "userGuide.html"}};
