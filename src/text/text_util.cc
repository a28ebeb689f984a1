#include "text/text_util.h"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>

#include <array>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>

#include "text/unicode.h"

namespace skimlet::TextUtil {
namespace {

using unicode::Utf8;

bool asciiSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool isSpaceCluster(std::string_view s, std::size_t begin) {
  int c = unicode::codePointAt(s, begin);
  return c >= 0 && u_isUWhiteSpace(c);
}

// Calls piece(begin, end) for every maximal run of clusters that do not start with white space.
template <class F>
void forEachPiece(std::string_view s, bool ascii, F piece) {
  if (ascii) {
    std::size_t i = 0, n = s.size();
    while (i < n) {
      while (i < n && asciiSpace(s[i])) ++i;
      std::size_t b = i;
      while (i < n && !asciiSpace(s[i])) ++i;
      if (i > b) piece(b, i);
    }
    return;
  }
  std::size_t start = 0;
  bool inPiece = false;
  unicode::forEachGrapheme(s, [&](std::size_t b, std::size_t e) {
    bool space = isSpaceCluster(s, b);
    if (space && inPiece) piece(start, b);
    if (!space && !inPiece) start = b;
    inPiece = !space;
    return true;
  });
  if (inPiece) piece(start, s.size());
}

icu::BreakIterator* sentenceBreaks() {
  thread_local std::unique_ptr<icu::BreakIterator> it = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> b(icu::BreakIterator::createSentenceInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) b.reset();
    return b;
  }();
  return it.get();
}

icu::BreakIterator* clusterBreaks() {
  thread_local std::unique_ptr<icu::BreakIterator> it = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> b(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) b.reset();
    return b;
  }();
  return it.get();
}

bool letterOrNumber(UChar32 c) {
  return u_hasBinaryProperty(c, UCHAR_ALPHABETIC) || u_getIntPropertyValue(c, UCHAR_NUMERIC_TYPE) != U_NT_NONE;
}

std::string normAscii(std::string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char ch : s) {
    if ((ch >= 'a' && ch <= 'z') || (ch >= '0' && ch <= '9')) {
      out.push_back(ch);
    } else if (ch >= 'A' && ch <= 'Z') {
      out.push_back(static_cast<char>(ch - 'A' + 'a'));
    } else if (!out.empty() && out.back() != ' ') {
      out.push_back(' ');
    }
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

// Case folding, then decomposition without nonspacing marks, recomposed: ‘É’ and ‘e’ compare equal.
icu::UnicodeString fold(std::string_view s) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
  u.foldCase(U_FOLD_CASE_DEFAULT);
  const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return u;
  icu::UnicodeString decomposed = nfd->normalize(u, status);
  icu::UnicodeString bare;
  for (int32_t i = 0; i < decomposed.length();) {
    UChar32 c = decomposed.char32At(i);
    if (u_charType(c) != U_NON_SPACING_MARK) bare.append(c);
    i += U16_LENGTH(c);
  }
  icu::UnicodeString composed = nfc->normalize(bare, status);
  return U_FAILURE(status) ? bare : composed;
}

std::string normUnicode(std::string_view s) {
  icu::UnicodeString folded = fold(s);
  icu::UnicodeString out;
  icu::BreakIterator* bi = clusterBreaks();
  auto cluster = [&](int32_t b, int32_t e) {
    if (letterOrNumber(folded.char32At(b))) {
      out.append(folded, b, e - b);
    } else if (!out.isEmpty() && out.charAt(out.length() - 1) != u' ') {
      out.append(u' ');
    }
  };
  if (bi) {
    bi->setText(folded);
    int32_t start = bi->first();
    for (int32_t end = bi->next(); end != icu::BreakIterator::DONE; start = end, end = bi->next()) cluster(start, end);
  } else {
    for (int32_t i = 0; i < folded.length(); i += U16_LENGTH(folded.char32At(i)))
      cluster(i, i + U16_LENGTH(folded.char32At(i)));
  }
  if (!out.isEmpty() && out.charAt(out.length() - 1) == u' ') out.truncate(out.length() - 1);
  std::string result;
  out.toUTF8String(result);
  return result;
}

const std::unordered_set<std::string_view>& stopWords() {
  static const std::unordered_set<std::string_view> words{
      "the",       "a",          "an",     "of",    "to",      "in",          "on",   "at",      "for",
      "is",        "are",        "was",    "were",  "be",      "it",          "its",  "this",    "that",
      "these",     "those",      "what",   "whats", "where",   "when",        "who",  "whom",    "how",
      "which",     "why",        "does",   "do",    "did",     "me",          "my",   "i",       "you",
      "your",      "about",      "page",   "site",  "website", "webpage",     "find", "mention", "mentions",
      "mentioned", "mentioning", "please", "and",   "or",      "with",        "say",  "says",    "any",
      "there",     "here",       "tell",   "show",  "get",     "information", "info", "can",     "could",
      "would",     "should",     "have",   "has",   "had",     "from",        "by",   "as",      "all",
      "every",     "each",       "some",   "link",  "button",  "section",     "part"};
  return words;
}

struct SynonymEntry {
  std::string stemmedKey;
  std::vector<std::string> related;  // already tokenised
};

// The related-word table, walked in this order; for ‘pric’ the "price" entry comes first.
const std::vector<SynonymEntry>& synonymTable() {
  static const std::vector<SynonymEntry> table = [] {
    const std::vector<std::pair<std::string_view, std::vector<std::string_view>>> source{
        {"cost", {"price", "pricing", "fee", "plan", "pay", "subscription"}},
        {"price", {"cost", "pricing", "fee", "plan", "subscription"}},
        {"pricing", {"price", "cost", "plan", "fee"}},
        {"refund", {"return", "guarantee", "reimbursement"}},
        {"contact", {"email", "phone", "support", "address", "reach"}},
        {"wrote", {"author", "written", "by", "writer"}},
        {"author", {"written", "by", "writer", "wrote"}},
        {"writer", {"author", "by", "written"}},
        {"require", {"need", "must", "minimum", "system", "prerequisite"}},
        {"requirement", {"need", "must", "minimum", "system", "prerequisite"}},
        {"review", {"rating", "star", "feedback", "testimonial", "customer"}},
        {"shipping", {"delivery", "deliver"}},
        {"login", {"sign", "account"}},
        {"free", {"trial", "no cost"}},
        {"date", {"published", "posted", "updated"}},
        {"published", {"date", "posted"}},
    };
    std::vector<SynonymEntry> out;
    for (const auto& [key, words] : source) {
      SynonymEntry e{stem(key), {}};
      for (auto w : words)
        for (auto& t : tokens(w)) e.related.push_back(std::move(t));
      out.push_back(std::move(e));
    }
    return out;
  }();
  return table;
}

constexpr std::string_view kMarkdownSpecials = "\\`*_{}[]()#+!<>|~";

}  // namespace

std::string clean(std::string_view s) {
  Utf8 text(s);
  std::string_view v = text.view();
  std::string out;
  out.reserve(v.size());
  forEachPiece(v, text.ascii(), [&](std::size_t b, std::size_t e) {
    if (!out.empty()) out.push_back(' ');
    out.append(v.substr(b, e - b));
  });
  return out;
}

std::vector<std::string> split(std::string_view s) {
  Utf8 text(s);
  std::string_view v = text.view();
  std::vector<std::string> out;
  forEachPiece(v, text.ascii(), [&](std::size_t b, std::size_t e) { out.emplace_back(v.substr(b, e - b)); });
  return out;
}

int words(std::string_view s) {
  Utf8 text(s);
  int n = 0;
  forEachPiece(text.view(), text.ascii(), [&](std::size_t, std::size_t) { ++n; });
  return n;
}

std::vector<std::string> sentences(std::string_view s) {
  Utf8 text(s);
  std::string_view v = text.view();
  std::vector<std::string> pieces;
  icu::BreakIterator* bi = sentenceBreaks();
  if (!bi) {
    pieces.emplace_back(v);
  } else {
    UErrorCode status = U_ZERO_ERROR;
    UText ut = UTEXT_INITIALIZER;
    utext_openUTF8(&ut, v.data(), static_cast<int64_t>(v.size()), &status);
    bi->setText(&ut, status);
    if (U_FAILURE(status)) {
      pieces.emplace_back(v);
    } else {
      int32_t start = bi->first();
      for (int32_t end = bi->next(); end != icu::BreakIterator::DONE; start = end, end = bi->next())
        pieces.emplace_back(v.substr(start, end - start));
    }
    utext_close(&ut);
  }
  std::vector<std::string> out;
  for (const auto& p : pieces) {
    std::string c = clean(p);
    if (!c.empty()) out.push_back(std::move(c));
  }
  return out;
}

std::string norm(std::string_view s) {
  if (unicode::isAscii(s)) return normAscii(s);
  Utf8 text(s);
  return normUnicode(text.view());
}

std::string stem(std::string_view w) {
  Utf8 text(w);
  std::string_view v = text.view();
  // Cluster start offsets, so suffixes are compared and counted in characters.
  std::vector<std::size_t> starts;
  unicode::forEachGrapheme(v, [&](std::size_t b, std::size_t) {
    starts.push_back(b);
    return true;
  });
  const std::size_t count = starts.size();
  auto endsWith = [&](std::string_view suffix) {
    // Each suffix letter must be a whole cluster of its own.
    if (suffix.size() > count) return false;
    std::size_t first = count - suffix.size();
    if (v.size() - starts[first] != suffix.size()) return false;
    return v.substr(starts[first]) == suffix;
  };
  if (count >= 5 && endsWith("ies")) return std::string(v.substr(0, starts[count - 3])) + "y";
  for (std::string_view suffix : {"ings", "ing", "es", "ed", "s", "e"}) {
    if (endsWith(suffix) && count - suffix.size() >= 3) return std::string(v.substr(0, starts[count - suffix.size()]));
  }
  return std::string(v);
}

std::vector<std::string> tokens(std::string_view s) {
  std::string n = norm(s);
  std::vector<std::string> out;
  std::size_t i = 0;
  while (i < n.size()) {
    std::size_t e = n.find(' ', i);
    if (e == std::string::npos) e = n.size();
    if (e > i) out.push_back(stem(std::string_view(n).substr(i, e - i)));
    i = e + 1;
  }
  return out;
}

std::vector<std::string> contentTokens(std::string_view s) {
  std::string n = norm(s);
  const auto& stop = stopWords();
  std::vector<std::string> out;
  std::size_t i = 0;
  while (i < n.size()) {
    std::size_t e = n.find(' ', i);
    if (e == std::string::npos) e = n.size();
    std::string_view word = std::string_view(n).substr(i, e - i);
    if (!word.empty() && !stop.count(word)) out.push_back(stem(word));
    i = e + 1;
  }
  return out;
}

std::vector<std::string> synonyms(std::string_view stemmedWord) {
  for (const auto& e : synonymTable())
    if (e.stemmedKey == stemmedWord) return e.related;
  return {};
}

std::string md(std::string_view s) {
  Utf8 text(s);
  std::string_view v = text.view();
  std::string out;
  out.reserve(v.size() + 8);
  if (text.ascii()) {
    // In ASCII only CR LF spans two bytes, and neither is special.
    for (char c : v) {
      if (kMarkdownSpecials.find(c) != std::string_view::npos) out.push_back('\\');
      out.push_back(c);
    }
    return out;
  }
  // A special character carrying a combining mark is a different character and stays as it is.
  unicode::forEachGrapheme(v, [&](std::size_t b, std::size_t e) {
    if (e - b == 1 && kMarkdownSpecials.find(v[b]) != std::string_view::npos) out.push_back('\\');
    out.append(v.substr(b, e - b));
    return true;
  });
  return out;
}

std::string lower(std::string_view s) {
  if (unicode::isAscii(s)) {
    std::string out(s);
    for (char& c : out)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
  }
  Utf8 text(s);
  icu::UnicodeString u =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.view().data(), static_cast<int32_t>(text.view().size())));
  u.toLower(icu::Locale::getRoot());
  std::string out;
  u.toUTF8String(out);
  return out;
}

std::vector<std::string> graphemes(std::string_view s) {
  Utf8 text(s);
  std::string_view v = text.view();
  std::vector<std::string> out;
  unicode::forEachGrapheme(v, [&](std::size_t b, std::size_t e) {
    out.emplace_back(v.substr(b, e - b));
    return true;
  });
  return out;
}

int length(std::string_view s) {
  Utf8 text(s);
  int n = 0;
  unicode::forEachGrapheme(text.view(), [&](std::size_t, std::size_t) {
    ++n;
    return true;
  });
  return n;
}

std::string prefix(std::string_view s, int n) {
  Utf8 text(s);
  std::string_view v = text.view();
  if (n <= 0) return {};
  std::size_t cut = v.size();
  int seen = 0;
  unicode::forEachGrapheme(v, [&](std::size_t b, std::size_t) {
    if (seen++ < n) return true;
    cut = b;
    return false;
  });
  return std::string(v.substr(0, cut));
}

std::string truncate(std::string_view s, int limit) {
  Utf8 text(s);
  std::string_view v = text.view();
  if (limit <= 0) return v.empty() && limit == 0 ? std::string() : std::string("…");
  // One walk: find where character limit - 1 starts and whether a character limit + 1 exists.
  std::size_t cut = v.size();
  int seen = 0;
  bool longer = false;
  unicode::forEachGrapheme(v, [&](std::size_t b, std::size_t) {
    if (seen == limit - 1) cut = b;
    if (seen == limit) {
      longer = true;
      return false;
    }
    ++seen;
    return true;
  });
  if (!longer) return std::string(v);
  return std::string(v.substr(0, limit <= 1 ? 0 : cut)) + "…";
}

}  // namespace skimlet::TextUtil
