// The console form of the output functions, and installing another form.
#include <gtest/gtest.h>

#include "fleet/output.h"
#include "recording_output.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

TEST(ConsoleOutput, AlertsOnStandardErrorNotesOnStandardOutputWhenVerboseOrAnInstalledForm) {
  useConsoleOutput(false);
  CaptureStderr();
  CaptureStdout();
  alertUser("Cannot Copy File", "Unable to open x to make a copy");
  alertUser(nullptr, "details alone");
  alertUser("Killing process ...", "eng1");
  alertUser("Killing process", "shown: not the exact category");
  reportFatalError("ERROR", "Please set OWB");
  fyiUser("Allocated port", "RegionPort -> 5000", OWB_TRUE);
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_EQ(GetCapturedStderr(),
            "Cannot Copy File: Unable to open x to make a copy\n"
            "details alone\n"
            "Killing process: shown: not the exact category\n"
            "ERROR: Please set OWB\n");

  // An installed form gets the calls, but no alert of the killing category.
  {
    owbtest::RecordingOutput out;
    alertUser("Killing process ...", "eng1");
    alertUser("Title", "text");
    EXPECT_EQ(out.alerts, (std::vector<owbtest::RecordingOutput::Entry>{{"Title", "text"}}));
  }

  // Progress notes go to standard output only when verbose.  "category:
  // details" is what fleetctl --verbose shows; either alone stands alone.
  useConsoleOutput(true);
  CaptureStdout();
  fyiUser("Running processes will be killed if needed", nullptr, OWB_FALSE);
  fyiUser(nullptr, "If there are any running processes, don't try to cold-boot the fleet", OWB_FALSE);
  EXPECT_EQ(GetCapturedStdout(),
            "Running processes will be killed if needed\n"
            "If there are any running processes, don't try to cold-boot the fleet\n");
  setFleetOutput(nullptr);  // back to the quiet console
  CaptureStdout();
  fyiUser("Fleet directory", "/tmp/f", OWB_TRUE);
  EXPECT_EQ(GetCapturedStdout(), "");
}

}  // namespace
