// skimlet profile set|show|clear: the saved name, e-mail and phone that "fill my email" types.
// The same store the palette's Settings window writes.
#include <iostream>

#include "cli.h"
#include "engine/profile.h"
#include "platform/json_settings.h"

namespace skimlet::cli {
namespace {

int profileCommand(const Args& args);

const Command kProfile{"profile", "profile set name|email|phone VALUE | show | clear [name|email|phone]",
                       "Saves, shows or clears the details Skimlet may type for you.", profileCommand};

constexpr ProfileField kFields[] = {ProfileField::name, ProfileField::email, ProfileField::phone};

int profileCommand(const Args& args) {
  if (args.empty()) return usageError(kProfile, "say set, show or clear");
  const std::string& verb = args[0];
  const std::string path = JsonSettings::defaultPath();
  if (path.empty()) {
    std::cerr << "skimlet profile: no place for settings: set HOME or XDG_CONFIG_HOME\n";
    return 1;
  }
  JsonSettings settings(path);
  // A change that was not written is a failure; a corrupt file kept aside is worth a note.
  auto finish = [&](const std::string& done) {
    if (auto error = settings.saveError()) {
      std::cerr << "skimlet profile: " << *error << "\n";
      return 1;
    }
    if (auto problem = settings.problem()) std::cerr << "skimlet profile: note: " << *problem << "\n";
    std::cout << done << "\n";
    return 0;
  };

  if (verb == "show") {
    if (args.size() != 1) return usageError(kProfile, "show takes no arguments");
    if (auto problem = settings.problem()) {
      std::cerr << "skimlet profile: " << *problem << "\n";
      return 1;
    }
    for (ProfileField f : kFields) {
      std::string value = Profile::value(settings, f);
      std::string name(rawValue(f));
      std::cout << name << ":" << std::string(7 - name.size(), ' ') << (value.empty() ? "(not saved)" : value) << "\n";
    }
    std::cout << "Stored in " << path << "\n";
    return 0;
  }
  if (verb == "set") {
    if (args.size() < 3) return usageError(kProfile, "set needs a field and a value");
    auto field = profileFieldFromRaw(args[1]);
    if (!field) return usageError(kProfile, "unknown field " + args[1] + " (name, email or phone)");
    // Several words are one value, so "profile set name Ada Lovelace" needs no quotes.
    std::string value;
    for (std::size_t i = 2; i < args.size(); ++i) value += (i > 2 ? " " : "") + args[i];
    settings.setString(Profile::key(*field), value);
    if (Profile::value(settings, *field).empty()) {
      // Only white space: the same as nothing saved, so leave nothing behind.
      settings.remove(Profile::key(*field));
      return finish("Cleared " + args[1]);
    }
    return finish("Saved " + args[1]);
  }
  if (verb == "clear") {
    if (args.size() > 2) return usageError(kProfile, "clear takes at most one field");
    if (args.size() == 2) {
      auto field = profileFieldFromRaw(args[1]);
      if (!field) return usageError(kProfile, "unknown field " + args[1] + " (name, email or phone)");
      settings.remove(Profile::key(*field));
      return finish("Cleared " + args[1]);
    }
    for (ProfileField f : kFields) settings.remove(Profile::key(f));
    return finish("Cleared name, email and phone");
  }
  return usageError(kProfile, "unknown action " + verb + " (set, show or clear)");
}

SKIMLET_COMMAND(kProfile);

}  // namespace
}  // namespace skimlet::cli
