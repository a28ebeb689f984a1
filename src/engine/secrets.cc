#include "engine/secrets.h"

#include "text/text_util.h"

namespace skimlet::Secrets {

std::string mask(std::string text, const std::vector<std::string>& secrets) {
  static const std::string shown = masked;
  for (const std::string& secret : secrets) {
    if (secret.empty()) continue;
    // Longest first, so a cut copy is masked whole rather than around its whole-text prefix.
    for (const std::string& form : {secret, TextUtil::truncate(secret, 40), TextUtil::truncate(secret, 24)}) {
      for (size_t at = 0; (at = text.find(form, at)) != std::string::npos; at += shown.size())
        text.replace(at, form.size(), shown);
    }
  }
  return text;
}

std::string workingTitle(const Intent& intent) {
  if (const auto* t = std::get_if<intents::Type>(&intent)) {
    intents::Type shown = *t;
    shown.text = masked;
    return title(Intent(shown));
  }
  return title(intent);
}

}  // namespace skimlet::Secrets
