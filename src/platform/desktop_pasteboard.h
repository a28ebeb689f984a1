// The desktop's clipboard. Owning an X selection means answering other programs' requests for
// as long as the text stays on the clipboard, which a command-line run cannot do after it ends;
// the desktop's own clipboard tools (xclip, or wl-copy on Wayland) keep it for us.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "platform/pasteboard.h"

namespace skimlet {

class DesktopPasteboard : public Pasteboard {
 public:
  // Without useDesktop the text is kept in this process only, whatever is installed.
  explicit DesktopPasteboard(bool useDesktop = true);
  void clear() override;
  bool setString(const std::string& text) override;
  std::optional<std::string> string() override;
  // Whether a clipboard tool was found; without one the text is kept in this process only.
  bool desktop() const { return !copyCommand_.empty(); }

 private:
  std::mutex mutex_;
  std::string copyCommand_, pasteCommand_;
  std::optional<std::string> text_;
};

}  // namespace skimlet
