#include "match/safety.h"

#include <vector>

#include "text/text_util.h"

namespace skimlet::Safety {
namespace {

struct Rule {
  std::vector<std::string> phrases;  // already in the normalised form, one blank between words
  std::string message;
};

const std::vector<Rule>& rules() {
  static const std::vector<Rule> table = {
      {{"buy", "purchase", "place order", "pay", "pay now", "checkout", "check out", "complete order", "confirm order",
        "donate", "order now"},
       "This may submit a purchase."},
      {{"send", "post", "publish", "submit", "tweet", "reply", "share", "send message"},
       "This may send or publish content."},
      {{"delete", "remove", "erase", "discard", "clear all", "empty trash", "unsubscribe", "cancel subscription",
        "cancel order", "terminate"},
       "This may delete content or cancel something."},
      {{"close account", "delete account", "deactivate", "change password", "update password", "reset password",
        "two factor", "2fa", "revoke", "disable", "security", "sign out everywhere"},
       "This may change your account or security settings."},
      {{"subscribe", "confirm", "agree and continue", "i agree", "accept and pay", "authorize", "approve"},
       "This may confirm an agreement or consequential action."},
  };
  return table;
}

}  // namespace

std::optional<std::string> assess(std::string_view label) {
  std::string padded = " ";
  padded += TextUtil::norm(label);
  padded += ' ';
  for (const auto& rule : rules())
    for (const auto& phrase : rule.phrases)
      if (padded.find(" " + phrase + " ") != std::string::npos) return rule.message;
  return std::nullopt;
}

}  // namespace skimlet::Safety
