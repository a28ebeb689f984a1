#include "page/page_element.h"

#include <array>

#include "page/roles.h"
#include "text/text_util.h"

namespace skimlet {
namespace {

// The texts that may name an element, best first. A text input's value is what the user typed,
// so fields are named by their title, description, placeholder or help only.
std::array<const std::string*, 5> candidates(const PageElement& e) {
  if (Roles::textInput(e.role) || e.subrole == "AXSearchField")
    return {&e.title, &e.desc, &e.placeholder, &e.help, nullptr};
  return {&e.title, &e.desc, &e.value, &e.help, &e.placeholder};
}

}  // namespace

std::string PageElement::label() const {
  for (const std::string* text : candidates(*this)) {
    if (!text || text->empty()) continue;
    std::string cleaned = TextUtil::clean(*text);
    if (!cleaned.empty()) return cleaned;
  }
  return {};
}

std::vector<std::string> PageElement::labels() const {
  std::vector<std::string> out;
  for (const std::string* text : candidates(*this)) {
    if (!text || text->empty()) continue;
    std::string cleaned = TextUtil::clean(*text);
    if (!cleaned.empty()) out.push_back(std::move(cleaned));
  }
  return out;
}

}  // namespace skimlet
