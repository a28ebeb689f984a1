// Text functions shared by the whole system. Every comparison between command text and page
// text goes through norm/tokens, so two calls with the same input always agree. Characters
// mean user-perceived characters (grapheme clusters) throughout. Input that is not valid UTF-8
// is read with U+FFFD in place of each bad sequence; every result is valid UTF-8.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace skimlet::TextUtil {

// Whitespace runs (Unicode sense) become one space; ends trimmed.
std::string clean(std::string_view s);
// The whitespace-separated pieces of s, empty ones dropped (what clean joins with spaces).
std::vector<std::string> split(std::string_view s);
// Number of whitespace-separated pieces.
int words(std::string_view s);
// Sentences by the linguistic sentence break rules, each cleaned; empty ones dropped.
std::vector<std::string> sentences(std::string_view s);
// The comparison form: case and diacritics folded, letters and digits kept, every other run
// one space, trimmed.
std::string norm(std::string_view s);
// A light suffix stemmer for one normalised word.
std::string stem(std::string_view w);
std::vector<std::string> tokens(std::string_view s);
// tokens without stop words (tested before stemming).
std::vector<std::string> contentTokens(std::string_view s);
// The related words of a stemmed token, as stemmed tokens.
std::vector<std::string> synonyms(std::string_view stemmedWord);
// Backslash before each light-Markdown special character.
std::string md(std::string_view s);
// Full Unicode lower-casing, independent of the user's locale.
std::string lower(std::string_view s);

// Grapheme-cluster helpers used wherever a length or cut is counted in characters.
std::vector<std::string> graphemes(std::string_view s);
int length(std::string_view s);
// The first n characters (all of s when it is shorter).
std::string prefix(std::string_view s, int n);
// s when it has at most `limit` characters, else its first limit - 1 characters and "…".
std::string truncate(std::string_view s, int limit);

}  // namespace skimlet::TextUtil
