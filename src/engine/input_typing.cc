#include "engine/input_typing.h"

#include "text/text_util.h"
#include "text/unicode.h"

namespace skimlet::Input {

void type(InputEvents& input, Clock& clock, std::string_view text, Pid pid) {
  std::string_view rest = text;
  bool first = true;
  while (!rest.empty()) {
    std::string ch = TextUtil::prefix(rest, 1);
    if (ch.empty()) ch = std::string(rest.substr(0, 1));  // never loop on a cut the text helpers refuse
    if (!first) clock.sleep(0.003);
    first = false;
    input.postText(pid, unicode::toUtf16(ch));
    rest.remove_prefix(ch.size());
  }
}

}  // namespace skimlet::Input
