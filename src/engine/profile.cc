#include "engine/profile.h"

namespace skimlet::Profile {

std::string key(ProfileField field) { return "profile." + std::string(rawValue(field)); }

std::string value(Settings& settings, ProfileField field) {
  auto stored = settings.string(key(field));
  if (!stored) return {};
  static const char* kSpace = " \t\n\r\f\v";
  auto first = stored->find_first_not_of(kSpace);
  if (first == std::string::npos) return {};
  auto last = stored->find_last_not_of(kSpace);
  return stored->substr(first, last - first + 1);
}

}  // namespace skimlet::Profile

namespace skimlet {

std::string Profile::problemWith(ProfileField field, std::string_view value) {
  std::string quoted = "“";
  quoted.append(value).append("”");
  switch (field) {
    case ProfileField::name: return "";
    case ProfileField::email: {
      const auto at = value.find('@');
      const bool ok = at != std::string_view::npos && at > 0 && value.find('@', at + 1) == std::string_view::npos &&
                      value.find('.', at + 2) != std::string_view::npos && !value.ends_with('.') &&
                      value.find_first_of(" \t") == std::string_view::npos;
      return ok ? "" : quoted + " is not an e-mail address (like name@example.com)";
    }
    case ProfileField::phone: {
      int digits = 0;
      bool ok = true;
      for (char c : value) {
        if (c >= '0' && c <= '9') ++digits;
        else if (std::string_view(" +-().").find(c) == std::string_view::npos) ok = false;
      }
      return ok && digits >= 3 ? "" : quoted + " is not a phone number (digits, spaces, + - ( ) .)";
    }
  }
  return "";
}

}  // namespace skimlet
