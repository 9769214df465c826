// Error texts and their alerts.
#include "shared/errors.h"

#include <cstring>
#include <string>

#include "shared/alert.h"
#include "shared/log.h"

namespace {

const char* errorText(ErrorCode error) {
  switch (error) {
    case -501:
    case -502:
    case -503:
    case -504:
    case -505:
    case -602:
      return "the symbol file is missing or invalid";
    case -801:
      return "the Browser preferences file is invalid";
    case -802:
      return "the Browser preferences file is an incompatible version";
    case -803:
      return "an error occurred reading the preferences file";
    case -804:
      return "an error occurred writing the preferences file";
    case -1701:
      return "there is insufficient memory to complete that operation";
    case -1702:
      return "there is insufficient memory";
    default:
      return "an unknown error occurred";
  }
}

}  // namespace

void convertErrorToText(ErrorCode error, char* errorStr, Boolean capitalize) {
  std::strcpy(errorStr, errorText(error));
  // Adds 32 to the first byte, which for these lower-case texts gives a
  // byte above the letters; no caller asks for it.
  if (capitalize) errorStr[0] = static_cast<char>(errorStr[0] + 32);
}

void HasErrorReporting::convertErrorToText(ErrorCode error, char* errorStr, Boolean capitalize) {
  ::convertErrorToText(error, errorStr, capitalize);
}

void HasErrorReporting::alertLastError() { alertThisError(lastError); }

void HasErrorReporting::alertThisError(ErrorCode error) {
  char text[64];
  convertErrorToText(error, text, FALSE);
  const std::string message = std::string("Unable to complete that operation because ") + text + ".";
  OWB_LOG(message);
  displayAlertWindow(message.c_str(), kAlertCritical, nullptr, nullptr, nullptr, nullptr, TRUE,
                     nullptr);
}
