#include "intent/intent_parser.h"

#include <array>
#include <charconv>
#include <deque>
#include <functional>
#include <unordered_map>
#include <unordered_set>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "text/regex.h"
#include "text/text_util.h"
#include "text/unicode.h"

namespace skimlet::IntentParser {

namespace {

using Groups = std::vector<std::string>;

// --- Small text helpers -----------------------------------------------------------------------

bool isWhite(UChar32 c) { return u_isUWhiteSpace(c); }

// Trims Unicode white space (newlines included) from both ends of valid UTF-8.
std::string_view trimWhite(std::string_view s) {
  int32_t begin = 0, end = static_cast<int32_t>(s.size());
  const auto* p = reinterpret_cast<const uint8_t*>(s.data());
  while (begin < end) {
    int32_t i = begin;
    UChar32 c;
    U8_NEXT(p, i, end, c);
    if (c < 0 || !isWhite(c)) break;
    begin = i;
  }
  while (end > begin) {
    int32_t i = end;
    UChar32 c;
    U8_PREV(p, begin, i, c);
    if (c < 0 || !isWhite(c)) break;
    end = i;
  }
  return s.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

std::string_view trimEdges(std::string_view s) {
  constexpr std::string_view edge = " .!?,";
  auto b = s.find_first_not_of(edge);
  if (b == std::string_view::npos) return {};
  auto e = s.find_last_not_of(edge);
  return s.substr(b, e - b + 1);
}

// Removes one pair of enclosing quotes, the first pair in this order that fits.
std::string strip(std::string_view text) {
  std::string_view s = trimWhite(text);
  static constexpr std::array<std::pair<std::string_view, std::string_view>, 5> pairs = {
      {{"\"", "\""}, {"“", "”"}, {"'", "'"}, {"‘", "’"}, {"`", "`"}}};
  // Only the first and last characters matter, so avoid a full grapheme walk unless the ends
  // look like quotes at all.
  for (const auto& [open, close] : pairs) {
    if (s.size() < open.size() + close.size() || !s.starts_with(open) || !s.ends_with(close)) continue;
    auto chars = TextUtil::graphemes(s);
    if (chars.size() >= 2 && chars.front() == open && chars.back() == close)
      return std::string(trimWhite(s.substr(open.size(), s.size() - open.size() - close.size())));
    break;  // the ends belong to longer characters; no other pair can fit either
  }
  return std::string(s);
}

std::string clean(std::string_view x) { return strip(trimEdges(x)); }

icu::UnicodeString utf16(std::string_view s) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
}

std::string utf8(const icu::UnicodeString& s) {
  std::string out;
  s.toUTF8String(out);
  return out;
}

// --- Tables -----------------------------------------------------------------------------------

const std::unordered_map<std::string_view, int>& ordinals() {
  static const std::unordered_map<std::string_view, int> table = {
      {"first", 1},  {"1st", 1},   {"second", 2}, {"2nd", 2},   {"third", 3},  {"3rd", 3},     {"fourth", 4},
      {"4th", 4},    {"fifth", 5}, {"5th", 5},    {"sixth", 6}, {"6th", 6},    {"seventh", 7}, {"7th", 7},
      {"eighth", 8}, {"8th", 8},   {"ninth", 9},  {"9th", 9},   {"tenth", 10}, {"10th", 10},   {"last", -1}};
  return table;
}

const std::unordered_map<std::string_view, RoleHint>& roleWords() {
  static const std::unordered_map<std::string_view, RoleHint> table = {
      {"button", RoleHint::button}, {"buttons", RoleHint::button}, {"link", RoleHint::link},
      {"links", RoleHint::link},    {"field", RoleHint::field},    {"textbox", RoleHint::field},
      {"input", RoleHint::field},   {"box", RoleHint::field},      {"checkbox", RoleHint::checkbox},
      {"tab", RoleHint::tab},       {"image", RoleHint::image},    {"icon", RoleHint::image},
      {"result", RoleHint::result}, {"results", RoleHint::result}, {"heading", RoleHint::heading}};
  return table;
}

const std::unordered_set<std::string_view>& connectors() {
  static const std::unordered_set<std::string_view> table = {
      "about",  "mentioning", "mentions", "mention",  "containing", "contains", "that", "says",
      "saying", "named",      "labeled",  "labelled", "called",     "with",     "for",  "the",
      "of",     "on",         "a",        "an",       "this",       "to",       "says:"};
  return table;
}

bool isFiller(std::string_view lowered) {
  return lowered == "the" || lowered == "a" || lowered == "an" || lowered == "on" || lowered == "this" ||
         lowered == "that";
}

// Role words are looked up lower-cased, as every word of a command is matched: "SAVE BUTTON" is
// a button.
std::optional<RoleHint> roleWord(std::string_view w) {
  auto it = roleWords().find(TextUtil::lower(w));
  if (it == roleWords().end()) return std::nullopt;
  return it->second;
}

// --- Rules ------------------------------------------------------------------------------------

// A rule matches the whole command: surrounding spaces and trailing . ! ? are allowed.
struct Rule {
  Rule(std::string_view pattern, std::function<std::optional<Intent>(const Groups&, const std::string&)> make)
      : regex("^\\s*(?:" + std::string(pattern) + ")\\s*[.!?]*\\s*$", true), make(std::move(make)) {}
  Regex regex;
  std::function<std::optional<Intent>(const Groups&, const std::string&)> make;
};

// Lists controls by kind ("what buttons are there", "show all links"), but not searches like
// "which links mention pricing". Works on the lower-cased command.
std::optional<Intent> listRule(const icu::UnicodeString& lowered) {
  static const Regex opener("^(what|which|show|list|get)\\b");
  static const Regex search("mention|about|containing|saying");
  static const Regex kind("\\b(buttons?|links?|fields?|inputs?|headings?|images?|checkboxes?|controls?|elements?)\\b");
  if (!opener.find(lowered) || search.find(lowered)) return std::nullopt;
  auto g = kind.search(lowered);
  if (!g) return std::nullopt;
  const std::string& w = (*g)[0];
  RoleHint role = RoleHint::any;
  if (w.starts_with("button")) role = RoleHint::button;
  else if (w.starts_with("link")) role = RoleHint::link;
  else if (w.starts_with("field") || w.starts_with("input")) role = RoleHint::field;
  else if (w.starts_with("heading")) role = RoleHint::heading;
  else if (w.starts_with("image")) role = RoleHint::image;
  else if (w.starts_with("checkbox")) role = RoleHint::checkbox;
  return intents::List{role};
}

Intent nav(NavAction::Kind k) { return intents::Navigate{NavAction{k, 0, {}}}; }
Intent key(KeyAction k) { return intents::Key{k}; }
Intent scroll(ScrollSpec::Kind k, std::string section = {}) {
  return intents::Scroll{ScrollSpec{k, std::move(section)}};
}

std::optional<Intent> tabNumber(const Groups& g) {
  const std::string& digits = g[0].empty() ? g[1] : g[0];
  int n = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
  // Digits of other scripts match \d but are not a decimal number to us; neither is overflow.
  if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return intents::Navigate{NavAction{NavAction::Kind::tabIndex, n, {}}};
}

std::optional<Intent> typeInto(const Groups& g) {
  std::string x = clean(g[0]);
  if (TextUtil::lower(x).starts_with("my ")) {
    if (auto f = profileField(x.substr(3))) return intents::FillProfile{*f, parseTarget(g[1], RoleHint::field)};
  }
  return intents::Type{x, parseTarget(g[1], RoleHint::field), false};
}

const std::deque<Rule>& rules() {
  using K = NavAction::Kind;
  using S = ScrollSpec::Kind;
  auto always = [](Intent i) { return [i](const Groups&, const std::string&) -> std::optional<Intent> { return i; }; };
  static const std::deque<Rule> all = [&] {
    std::deque<Rule> r;
    // Navigation before anything that could read "back" or "next page" as a target.
    r.emplace_back("(?:go\\s+)?back(?:\\s+a\\s+page)?|navigate\\s+back|previous\\s+page", always(nav(K::back)));
    r.emplace_back("(?:go\\s+)?forward|navigate\\s+forward|next\\s+page", always(nav(K::forward)));
    r.emplace_back("(?:reload|refresh)(?:\\s+(?:the|this)\\s+page)?", always(nav(K::reload)));
    r.emplace_back("(?:open\\s+)?(?:a\\s+)?new\\s+tab|open\\s+a\\s+tab", always(nav(K::newTab)));
    r.emplace_back("close(?:\\s+(?:this|the|current))?\\s+tab", always(nav(K::closeTab)));
    r.emplace_back("(?:switch\\s+to\\s+)?(?:the\\s+)?(?:next|right)\\s+tab|switch\\s+tab", always(nav(K::nextTab)));
    r.emplace_back("(?:switch\\s+to\\s+)?(?:the\\s+)?(?:previous|prev|left)\\s+tab", always(nav(K::previousTab)));
    r.emplace_back("(?:switch|go)\\s+to\\s+tab\\s+(\\d+)|tab\\s+(\\d+)",
                   [](const Groups& g, const std::string&) { return tabNumber(g); });
    r.emplace_back("(?:switch|go)\\s+to\\s+(?:the\\s+)?(.+?)\\s+tab",
                   [](const Groups& g, const std::string&) -> std::optional<Intent> {
                     return intents::Navigate{NavAction{K::tabNamed, 0, clean(g[0])}};
                   });
    // Copying the article before the copy key, so "copy this article" is not "copy this".
    r.emplace_back(
        "copy\\s+(?:all\\s+)?(?:of\\s+)?(?:the\\s+|this\\s+)?(?:article|page|post|story)(?:\\s+(?:text|content))?"
        "|copy\\s+(?:the\\s+)?(?:text|content)\\s+of\\s+(?:the|this)\\s+(?:article|page)",
        always(intents::CopyArticle{}));
    r.emplace_back("copy(?:\\s+(?:that|it|selection|this))?", always(key(KeyAction::copy)));
    r.emplace_back("paste(?:\\s+it)?", always(key(KeyAction::paste)));
    r.emplace_back(
        "select\\s+all(?:\\s+(?:the\\s+)?text)?(?:\\s+in\\s+(?:this|the)\\s+(?:field|box|input|page|textbox))?",
        always(key(KeyAction::selectAll)));
    r.emplace_back("(?:press\\s+)?(?:the\\s+)?(?:enter|return)(?:\\s+key)?", always(key(KeyAction::enter)));
    r.emplace_back("(?:press\\s+)?(?:the\\s+)?(?:escape|esc)(?:\\s+key)?", always(key(KeyAction::escape)));
    r.emplace_back("(?:press\\s+)?(?:the\\s+)?tab(?:\\s+key)?", always(key(KeyAction::tab)));
    r.emplace_back("(?:press\\s+)?(?:the\\s+)?(?:delete|backspace)(?:\\s+key)?", always(key(KeyAction::del)));
    r.emplace_back(
        "(?:press\\s+)?(?:the\\s+)?(up|down|left|right)\\s+arrow(?:\\s+key)?"
        "|(?:press\\s+)?arrow\\s+(up|down|left|right)(?:\\s+key)?",
        [](const Groups& g, const std::string&) -> std::optional<Intent> {
          auto k = keyActionFromRaw(TextUtil::lower(g[0].empty() ? g[1] : g[0]));
          if (!k) return std::nullopt;
          return key(*k);
        });
    r.emplace_back("scroll\\s+(?:down|dn)(?:\\s+a\\s+(?:bit|little|page))?|page\\s+down", always(scroll(S::down)));
    r.emplace_back("scroll\\s+up(?:\\s+a\\s+(?:bit|little|page))?|page\\s+up", always(scroll(S::up)));
    r.emplace_back(
        "scroll\\s+(?:all\\s+the\\s+way\\s+)?(?:down\\s+)?(?:to\\s+)?(?:the\\s+)?(?:bottom|end)"
        "(?:\\s+of\\s+(?:the|this)\\s+page)?|go\\s+to\\s+(?:the\\s+)?bottom",
        always(scroll(S::bottom)));
    r.emplace_back(
        "scroll\\s+(?:all\\s+the\\s+way\\s+)?(?:up\\s+)?(?:to\\s+)?(?:the\\s+)?(?:top|start)"
        "(?:\\s+of\\s+(?:the|this)\\s+page)?|go\\s+to\\s+(?:the\\s+)?top",
        always(scroll(S::top)));
    r.emplace_back(
        "scroll\\s+(?:down\\s+|up\\s+)?(?:to|until\\s+(?:i\\s+see)?)\\s+(?:the\\s+)?(.+)",
        [](const Groups& g, const std::string&) -> std::optional<Intent> { return scroll(S::section, clean(g[0])); });
    r.emplace_back(
        "read(?:\\s+(?:this|the|current))?(?:\\s+(?:page|site|website|article|tab))?(?:\\s+(?:to\\s+me|aloud))?"
        "|what(?:'s|\\s+is)\\s+on\\s+(?:this|the)\\s+page|show\\s+(?:me\\s+)?(?:the\\s+)?page\\s+text",
        always(intents::Read{}));
    r.emplace_back(
        "(?:summarize|summarise|sum\\s+up|tl;?dr|summary)(?:\\s+(?:of\\s+)?(?:this|the|current))?"
        "(?:\\s+(?:page|site|website|article|tab))?"
        "|(?:give\\s+me|get|show\\s+me)\\s+a\\s+summary(?:\\s+of\\s+(?:this|the)\\s+(?:page|article|site))?",
        always(intents::Summarize{}));
    r.emplace_back("(?:summarize|summarise)\\s+(.+)", [](const Groups& g, const std::string&) -> std::optional<Intent> {
      return intents::Ask{"Summarize " + clean(g[0])};
    });
    r.emplace_back("read\\s+(?:out\\s+)?(?:me\\s+)?(.+)",
                   [](const Groups& g, const std::string&) -> std::optional<Intent> {
                     return intents::Ask{"What does the page say about " + clean(g[0]) + "?"};
                   });
    auto findAll = [](const Groups& g, const std::string&) -> std::optional<Intent> {
      return intents::FindAll{clean(g[0])};
    };
    auto find = [](const Groups& g, const std::string&) -> std::optional<Intent> { return intents::Find{clean(g[0])}; };
    r.emplace_back(
        "(?:find|highlight|locate)\\s+(?:every|all|each)\\s+(?:the\\s+)?"
        "(?:occurrences?|instances?|mentions?|matches|appearances?)\\s+of\\s+(.+)",
        findAll);
    r.emplace_back("(?:find|highlight)\\s+(?:every|all|each)\\s+(.+)", findAll);
    r.emplace_back(
        "where\\s+(?:does|do|is|are)\\s+(?:it|this|the\\s+page|this\\s+page|the\\s+site)\\s+"
        "(?:mention|mentions|say|says|talk\\s+about|talks\\s+about|discuss|discusses)\\s+(.+)",
        find);
    r.emplace_back("where(?:'s|\\s+is|\\s+are|\\s+can\\s+i\\s+find)\\s+(?:the\\s+)?(.+)", find);
    r.emplace_back("(?:find|locate|look\\s+for|highlight)\\s+(.+)", find);
    return r;
  }();
  return all;
}

// The rules after the list rule.
const std::deque<Rule>& laterRules() {
  static const std::deque<Rule> all = [] {
    std::deque<Rule> r;
    r.emplace_back(
        "open\\s+(?:every|all|each)\\s+(?:the\\s+)?links?\\s+"
        "(?:mentioning|about|containing|with|that\\s+mention|that\\s+mentions|to|for)\\s+(.+)",
        [](const Groups& g, const std::string&) -> std::optional<Intent> { return intents::OpenLinks{clean(g[0])}; });
    r.emplace_back("open\\s+(?:this|the)\\s+article",
                   [](const Groups&, const std::string&) -> std::optional<Intent> { return intents::OpenArticle{}; });
    r.emplace_back("open\\s+(?:up\\s+)?(.+)", [](const Groups& g, const std::string&) -> std::optional<Intent> {
      TargetSpec t = parseTarget(g[0], RoleHint::any);
      if (t.role == RoleHint::any && TextUtil::lower(g[0]).find("link") != std::string::npos) t.role = RoleHint::link;
      return intents::OpenLink{t};
    });
    r.emplace_back(
        "(?:type|enter|input|write|put)\\s+my\\s+(name|e-?mail(?:\\s+address)?|phone(?:\\s+number)?)\\s+"
        "(?:in|into|in\\s+to|inside)\\s+(?:the\\s+|this\\s+)?(.+)",
        [](const Groups& g, const std::string&) -> std::optional<Intent> {
          auto f = profileField(g[0]);
          if (!f) return std::nullopt;
          return intents::FillProfile{*f, parseTarget(g[1], RoleHint::field)};
        });
    r.emplace_back(
        "(?:fill|type|enter|input|write)(?:\\s+in)?\\s+(?:my\\s+)(name|e-?mail(?:\\s+address)?|phone(?:\\s+number)?)",
        [](const Groups& g, const std::string&) -> std::optional<Intent> {
          auto f = profileField(g[0]);
          if (!f) return std::nullopt;
          return intents::FillProfile{*f, std::nullopt};
        });
    r.emplace_back("(?:fill|set)(?:\\s+in)?\\s+(?:the\\s+|this\\s+)?(.+?)\\s+(?:with|to|as)\\s+(.+)",
                   [](const Groups& g, const std::string&) -> std::optional<Intent> {
                     return intents::Type{clean(g[1]), parseTarget(g[0], RoleHint::field), true};
                   });
    r.emplace_back(
        "replace\\s+(?:this|the|that|the\\s+selected|my)?\\s*(?:text|selection|field|content|it)?\\s*with\\s+(.+)",
        [](const Groups& g, const std::string&) -> std::optional<Intent> {
          return intents::Type{clean(g[0]), std::nullopt, true};
        });
    r.emplace_back(
        "(?:type|enter|input|write|put)\\s+(.+?)\\s+(?:into|in\\s+to|inside|in\\s+the|in)\\s+(?:the\\s+|this\\s+)?(.+)",
        [](const Groups& g, const std::string&) { return typeInto(g); });
    r.emplace_back("(?:type|enter|input|write)\\s+(.+)",
                   [](const Groups& g, const std::string&) -> std::optional<Intent> {
                     return intents::Type{clean(g[0]), std::nullopt, false};
                   });
    r.emplace_back("(?:click|tap|press|hit|select|choose|push)(?:\\s+on)?\\s+(.+)",
                   [](const Groups& g, const std::string&) -> std::optional<Intent> {
                     return intents::Click{parseTarget(g[0], RoleHint::any)};
                   });
    return r;
  }();
  return all;
}

// "tick remember me", "uncheck the newsletter box": after every other rule and the questions, so
// it only takes commands that the rules above leave without an intent; "check if …", "check
// what …" are left to the model and the fallback, as before.
std::optional<Intent> tickRule(const icu::UnicodeString& u) {
  static const Rule rule(
      "(check|tick|uncheck|untick)\\s+(?!(?:if|whether|what|which|how|that|for|out|on)\\b)(?:the\\s+)?"
      "(.+?)(?:\\s+(?:check\\s*box|checkbox|box|option))?",
      nullptr);
  auto g = rule.regex.search(u);
  if (!g) return std::nullopt;
  const std::string verb = TextUtil::lower((*g)[0]);
  TargetSpec target = parseTarget((*g)[1], RoleHint::checkbox);
  target.role = RoleHint::checkbox;
  if (target.query.empty() && !target.ordinal) return std::nullopt;
  return intents::SetChecked{target, !verb.starts_with("un")};
}

std::string withoutPoliteness(std::string_view trimmed) {
  static const Regex lead("^(please|pls|can you|could you|would you|hey|just)\\s+", true);
  static const Regex trail("\\s+please[.!?]*$", true);
  icu::UnicodeString s = utf16(trimmed);
  while (auto m = lead.find(s)) {
    if (m->second == m->first) break;
    s.remove(m->first, m->second - m->first);
  }
  if (auto m = trail.find(s)) s.remove(m->first, m->second - m->first);
  return utf8(s);
}

std::optional<Intent> firstMatch(const std::deque<Rule>& rules, const icu::UnicodeString& u, const std::string& text) {
  for (const Rule& rule : rules) {
    auto groups = rule.regex.search(u);
    if (!groups) continue;
    if (auto intent = rule.make(*groups, text)) return intent;
  }
  return std::nullopt;
}

}  // namespace

std::string cleanPhrase(std::string_view text) {
  unicode::Utf8 valid(text);
  return clean(valid.view());
}

std::optional<ProfileField> profileField(std::string_view text) {
  std::string s = TextUtil::lower(text);
  if (s.find("mail") != std::string::npos) return ProfileField::email;
  if (s.find("phone") != std::string::npos) return ProfileField::phone;
  if (s.find("name") != std::string::npos) return ProfileField::name;
  return std::nullopt;
}

TargetSpec parseTarget(std::string_view text, RoleHint defaultRole) {
  static const Regex anchor("\\s+(?:next\\s+to|beside|near|adjacent\\s+to|right\\s+of|left\\s+of)\\s+(?:the\\s+)?",
                            true);
  unicode::Utf8 valid(text);
  std::string s = clean(valid.view());

  TargetSpec t;
  icu::UnicodeString u = utf16(s);
  if (auto m = anchor.find(u)) {
    t.nextTo = clean(utf8(u.tempSubString(m->second)));
    s = utf8(u.tempSubString(0, m->first));
  }

  std::vector<std::string> words = TextUtil::split(s);
  std::size_t first = 0, last = words.size();  // the words still in play: [first, last)
  auto remaining = [&] { return last - first; };

  while (remaining() >= 2 && isFiller(TextUtil::lower(words[first]))) ++first;

  bool hasOrdinal = false;
  if (remaining() > 0) {
    auto it = ordinals().find(TextUtil::lower(words[first]));
    if (it != ordinals().end()) {
      t.ordinal = it->second;
      hasOrdinal = true;
      ++first;
    }
  }

  std::optional<RoleHint> found;
  std::optional<RoleHint> lead = remaining() > 0 ? roleWord(words[first]) : std::nullopt;
  if (lead && remaining() == 1) {
    found = lead;
    first = last;
  } else if (lead && (hasOrdinal || (remaining() >= 2 && connectors().contains(TextUtil::lower(words[first + 1]))))) {
    // "second button", "button labeled Save", "link to pricing"
    found = lead;
    ++first;
  } else if (remaining() > 1) {
    if (auto trail = roleWord(words[last - 1])) {  // "save button"
      found = trail;
      --last;
    }
  }

  while (remaining() > 0 && connectors().contains(TextUtil::lower(words[first]))) {
    // A lone connector is the name itself when nothing else named the element ("click about").
    if (remaining() == 1 && !found) break;
    ++first;
  }

  std::string query;
  for (std::size_t i = first; i < last; ++i) {
    if (i > first) query += ' ';
    query += words[i];
  }
  t.query = clean(query);
  t.role = found ? *found : defaultRole;
  return t;
}

std::optional<Intent> parse(std::string_view input) {
  unicode::Utf8 valid(input);
  std::string_view trimmed = trimWhite(valid.view());
  if (trimmed.empty()) return std::nullopt;
  const std::string text = withoutPoliteness(trimmed);
  const icu::UnicodeString u = utf16(text);

  if (auto intent = firstMatch(rules(), u, text)) return intent;
  const icu::UnicodeString lowered = utf16(TextUtil::lower(text));
  if (auto intent = listRule(lowered)) return intent;
  if (auto intent = firstMatch(laterRules(), u, text)) return intent;

  if (text.ends_with("?")) return intents::Ask{text};
  static const Regex question(
      "^(what|who|how|why|when|where|which|is|are|does|do|did|can|tell me|explain|describe)\\b");
  if (question.find(lowered)) return intents::Ask{text};
  return tickRule(u);
}

}  // namespace skimlet::IntentParser
