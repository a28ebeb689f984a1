// One way for every subcommand to read its arguments, so that they all agree on what an option
// is: an argument that starts with "--" (or is "-h"), up to a lone "--" after which everything is
// a word. A single dash followed by anything else ("-5", "-") is a word, so commands such as
// "type -5" need no quoting. An option's value follows it ("--pick 2") or is joined to it by "="
// ("--pick=2"); a value that itself looks like an option is taken as a forgotten value.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli.h"

namespace skimlet::cli {

// Whether `argument` reads as an option (see above); "--" itself is not one.
bool isOption(std::string_view argument);

// Whether the arguments ask for help ("--help" or "-h" before any "--").
bool asksForHelp(const Args& args);

class OptionReader {
 public:
  explicit OptionReader(const Args& args) : args_(args) {}

  // True while arguments remain and nothing was wrong so far.
  bool more();
  // Takes the next argument when it is the flag `name`.
  bool flag(std::string_view name);
  // Takes the next argument when it is the option `name`, and its value into `value`. A missing
  // value is recorded as the problem (and the option still counts as taken).
  bool value(std::string_view name, std::string& value);
  // The same for a whole number of at least `least`.
  bool number(std::string_view name, int& value, int least = 1);
  // Takes the next argument as a word. Call only after the option tests: an unknown option
  // becomes the problem instead.
  std::optional<std::string> word();

  // What was wrong, e.g. "--pick needs a number"; empty when nothing was.
  const std::string& problem() const { return problem_; }
  void fail(std::string problem) {
    if (problem_.empty()) problem_ = std::move(problem);
  }

 private:
  // The next argument split at a joined "=": its name part and, if present, its value.
  std::string_view name() const;
  std::optional<std::string> joinedValue() const;

  const Args& args_;
  std::size_t next_ = 0;
  bool wordsOnly_ = false;  // after "--"
  std::string problem_;
};

}  // namespace skimlet::cli
