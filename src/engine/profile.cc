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
