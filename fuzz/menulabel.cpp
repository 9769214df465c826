// Menu labels and help anchors from any bytes: the label as shown with its
// mnemonic, the accelerator text, and the anchor of a menu item's help.
// Input: a window name, a NUL byte, then the label.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "shared/ui/help.h"
#include "toolkit/menuitem.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t split = input.find('\0');
  const std::string window = input.substr(0, split);
  const std::string label = split == std::string::npos ? "" : input.substr(split + 1);

  MItemShownLabel shown = MITEM_ParseLabel(label.c_str());
  const size_t cLength = std::strlen(label.c_str());
  if (shown.Text.size() > cLength) std::abort();
  if (shown.MnemonicPos >= 0 && static_cast<size_t>(shown.MnemonicPos) >= shown.Text.size()) std::abort();
  if ((shown.MnemonicPos >= 0) != (shown.Mnemonic != 0)) std::abort();

  char anchor[256];
  helpMenuAnchor(anchor, sizeof anchor, window.c_str(), label.c_str());
  const size_t length = std::strlen(anchor);
  if (length >= sizeof anchor) std::abort();
  // The label's part, after "OWBMenu:<window>:", has no blank and no "&".
  for (size_t i = std::strlen("OWBMenu:") + std::strlen(window.c_str()) + 1; i < length; i++)
    if (anchor[i] == ' ' || anchor[i] == '&') std::abort();
  return 0;
}
