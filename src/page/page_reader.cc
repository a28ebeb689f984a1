#include "page/page_reader.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <unordered_map>
#include <unordered_set>

#include "page/ax_helpers.h"
#include "page/roles.h"
#include "text/text_util.h"

namespace skimlet::PageReader {
namespace {

// A whole decimal integer with an optional sign, nothing else. Any 64-bit number is a level
// (a huge one still prints as the deepest heading); only what does not fit falls back.
std::optional<int> integer(std::string_view s) {
  const bool plus = !s.empty() && s.front() == '+';
  if (plus) s.remove_prefix(1);
  if (s.empty() || s.front() == '+' || (plus && s.front() == '-')) return std::nullopt;
  long long v = 0;
  auto [ptr, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || ptr != s.data() + s.size()) return std::nullopt;
  return static_cast<int>(std::clamp<long long>(v, INT_MIN, INT_MAX));
}

// Foundation's "contains": an empty needle is never contained.
bool contains(const std::string& haystack, const std::string& needle) {
  return !needle.empty() && haystack.find(needle) != std::string::npos;
}

std::string lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

bool endsWith(std::string_view s, std::string_view suffix) {
  return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

std::string firstCleaned(std::initializer_list<const std::string*> texts) {
  for (const std::string* t : texts) {
    if (t->empty()) continue;
    std::string c = TextUtil::clean(*t);
    if (!c.empty()) return c;
  }
  return {};
}

// Characters (grapheme clusters) in a line. Plain ASCII without carriage returns has one
// cluster per byte, which spares the common case the break iterator.
int chars(std::string_view s) {
  for (char c : s)
    if (static_cast<unsigned char>(c) >= 0x80 || c == '\r') return TextUtil::length(s);
  return static_cast<int>(s.size());
}

// Whether TextUtil::clean would leave anything. Any ASCII character other than white space
// settles it at once (it starts a cluster of its own, or sits in one that starts with something
// that is not white space); only text made wholly of other characters needs the full test,
// which runs a break iterator over the whole chunk.
bool hasText(std::string_view s) {
  for (char c : s) {
    const auto u = static_cast<unsigned char>(c);
    if (u < 0x80 && c != ' ' && !(c >= '\t' && c <= '\r')) return true;
  }
  return !TextUtil::clean(s).empty();
}

// Finds elements by id. Crawls give dense ids equal to positions; other lists are looked up.
class ById {
 public:
  explicit ById(const std::vector<PageElement>& elements) : elements_(elements) {
    for (std::size_t i = 0; i < elements.size(); ++i) {
      if (elements[i].id != static_cast<int>(i)) {
        for (std::size_t j = 0; j < elements.size(); ++j) index_.emplace(elements[j].id, j);
        break;
      }
    }
  }
  const PageElement* operator()(std::optional<int> id) const {
    if (!id) return nullptr;
    if (index_.empty()) {
      return *id >= 0 && *id < static_cast<int>(elements_.size()) ? &elements_[*id] : nullptr;
    }
    auto it = index_.find(*id);
    return it == index_.end() ? nullptr : &elements_[it->second];
  }

 private:
  const std::vector<PageElement>& elements_;
  std::unordered_map<int, std::size_t> index_;
};

}  // namespace

bool isInlineParent(std::string_view role) {
  static const Roles::RoleSet set = {"AXLink",     "AXButton",      "AXHeading", "AXMenuItem",
                                     "AXCheckBox", "AXRadioButton", "AXTab",     "AXPopUpButton"};
  return set.contains(role);
}

std::vector<PageLine> lines(const std::vector<PageElement>& elements, ax::Api* live) {
  std::vector<PageLine> out;
  std::unordered_set<std::string> seen;
  const ById byId(elements);
  // The line that following text of the same paragraph (same parent) may still extend.
  struct MergePoint {
    bool valid = false;
    std::size_t line = 0;
    std::optional<int> parent;
    void reset() { valid = false; }
  } merge;

  auto add = [&](std::string text, const PageElement& e, PageLine::Kind kind, int level = 0) {
    out.push_back(PageLine{std::move(text), e.id, kind, level});
  };
  // Whether the element sits inside an element that already says `text` in its own label.
  auto saidByParent = [&](const PageElement& e, const std::string& text) {
    const PageElement* p = byId(e.parent);
    if (!p || !isInlineParent(p->role)) return false;
    return contains(TextUtil::norm(p->label()), TextUtil::norm(text));
  };

  for (const PageElement& e : elements) {
    if (e.frame && !e.frame->hasArea()) continue;
    const std::string& role = e.role;

    if (role == "AXStaticText") {
      std::string text = firstCleaned({&e.value, &e.title, &e.desc});
      if (text.empty() || saidByParent(e, text)) continue;
      if (merge.valid && out[merge.line].kind == PageLine::Kind::text && merge.parent == e.parent) {
        out[merge.line].text += " " + text;
        continue;
      }
      const PageElement* p = byId(e.parent);
      add(std::move(text), e, p && p->role == "AXListItem" ? PageLine::Kind::item : PageLine::Kind::text);
      merge = MergePoint{true, out.size() - 1, e.parent};
    } else if (role == "AXHeading") {
      std::string label = e.label();
      if (label.empty()) continue;
      std::optional<int> level = integer(e.value);
      if (!level && live) level = integer(AX::str(AX::attribute(*live, e.element, "AXValue")));
      add(std::move(label), e, PageLine::Kind::heading, level.value_or(2));
      merge.reset();
    } else if (role == "AXLink") {
      std::string label = e.label();
      if (label.empty()) continue;
      if (merge.valid && merge.parent == e.parent && out[merge.line].kind == PageLine::Kind::text) {
        // A link inside a paragraph reads as part of the paragraph.
        out[merge.line].text += " " + label;
        continue;
      }
      const bool isNew = seen.insert("l:" + TextUtil::norm(label)).second;
      if (!isNew && chars(label) <= 39) continue;  // long link texts (headlines) may repeat
      add(std::move(label), e, PageLine::Kind::link);
      // A link on a line of its own ends the paragraph, so later text never jumps above it.
      merge.reset();
    } else if (role == "AXButton" || role == "AXPopUpButton" || role == "AXMenuButton") {
      std::string label = e.label();
      if (label.empty() || !seen.insert("b:" + TextUtil::norm(label)).second) continue;
      add(std::move(label), e, PageLine::Kind::button);
      merge.reset();
    } else if (role == "AXCheckBox" || role == "AXRadioButton") {
      std::string label = e.label();
      if (label.empty()) continue;
      const bool on = e.value == "1" || lower(e.value) == "true";
      add((on ? "☑ " : "☐ ") + label, e, PageLine::Kind::field);
      merge.reset();
    } else if (Roles::textInput(role)) {
      std::string name = e.label();
      if (name.empty()) name = "text field";
      if (e.subrole != "AXSecureTextField") {
        std::string value = TextUtil::clean(e.value);
        if (!value.empty()) name += ": " + value;
      }
      add(std::move(name), e, PageLine::Kind::field);
      merge.reset();
    } else if (role == "AXImage") {
      std::string text = TextUtil::clean(e.desc);
      if (text.empty()) text = TextUtil::clean(e.title);
      if (chars(text) < 4) continue;
      const std::string folded = lower(text);
      if (endsWith(folded, ".png") || endsWith(folded, ".jpg")) continue;  // a file name, not a description
      if (saidByParent(e, text)) continue;
      add(std::move(text), e, PageLine::Kind::image);
      merge.reset();
    }
  }
  return out;
}

std::vector<PageChunk> chunks(const std::vector<PageLine>& lines, int maxChars) {
  std::vector<PageChunk> out;
  std::string heading;
  std::vector<const std::string*> buffer;
  int count = 0;
  int elementID = 0;

  auto flush = [&] {
    std::string joined;
    for (std::size_t i = 0; i < buffer.size(); ++i) {
      if (i) joined += '\n';
      joined += *buffer[i];
    }
    if (hasText(joined)) out.push_back(PageChunk{heading, std::move(joined), elementID});
  };

  for (const PageLine& line : lines) {
    const int length = chars(line.text);
    if (line.kind == PageLine::Kind::heading) {
      flush();
      heading = line.text;
      buffer.assign(1, &line.text);
      count = length;
      elementID = line.elementID;
      continue;
    }
    if (!buffer.empty() && count + length > maxChars) {
      flush();  // the heading stays: a long section gives several chunks under it
      buffer.clear();
      count = 0;
    }
    if (buffer.empty()) elementID = line.elementID;
    buffer.push_back(&line.text);
    count += length;
  }
  flush();
  return out;
}

}  // namespace skimlet::PageReader
