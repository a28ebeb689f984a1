#include "page_argument.h"

#include <filesystem>
#include <stdexcept>

namespace skimlet::cli {
namespace {

bool hasScheme(const std::string& s) {
  return s.find("://") != std::string::npos || s.starts_with("about:") || s.starts_with("data:");
}

// "example.com", "docs.example.org:8443", "localhost:8080": labels of letters, digits and
// hyphens, ending in an alphabetic top-level label that is not a file type; or "localhost".
bool isHost(std::string_view s) {
  if (auto colon = s.find(':'); colon != std::string_view::npos) {
    std::string_view port = s.substr(colon + 1);
    if (port.empty() || port.find_first_not_of("0123456789") != std::string_view::npos) return false;
    s = s.substr(0, colon);
  }
  if (s == "localhost") return true;
  if (s.empty() ||
      s.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-") != std::string_view::npos)
    return false;
  const auto dot = s.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return false;
  std::string tld(s.substr(dot + 1));
  for (char& c : tld) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (tld.size() < 2 || tld.find_first_not_of("abcdefghijklmnopqrstuvwxyz") != std::string::npos) return false;
  // An IPv4 address has a numeric last label and is caught above as not a host; dotted file
  // names are the usual mix-up.
  static const char* const fileTypes[] = {"html", "htm", "xhtml", "json", "txt", "xml", "pdf", "md", "svg"};
  for (const char* t : fileTypes)
    if (tld == t) return false;
  return true;
}

bool isIPv4(std::string_view s) {
  if (auto colon = s.find(':'); colon != std::string_view::npos) s = s.substr(0, colon);
  int dots = 0;
  for (char c : s) {
    if (c == '.') ++dots;
    else if (c < '0' || c > '9') return false;
  }
  return dots == 3;
}

}  // namespace

PageArgument classifyPage(const std::string& argument) {
  using K = PageArgument::Kind;
  if (hasScheme(argument)) return {K::address, argument};
  std::error_code ec;
  if (std::filesystem::is_regular_file(argument, ec)) return {K::file, argument};
  const std::string_view first = std::string_view(argument).substr(0, argument.find('/'));
  if (!argument.starts_with('.') && (isHost(first) || isIPv4(first))) return {K::host, "https://" + argument};
  return {K::missing, argument};
}

PageSource::PageSource(const std::string& argument) {
  const PageArgument page = classifyPage(argument);
  switch (page.kind) {
    case PageArgument::Kind::address:
    case PageArgument::Kind::host: url_ = page.text; return;
    case PageArgument::Kind::file: {
      const auto file = std::filesystem::absolute(page.text);
      site_ = std::make_unique<LocalSite>(file.parent_path());
      url_ = site_->url(file);
      return;
    }
    case PageArgument::Kind::missing: break;
  }
  std::error_code ec;
  if (std::filesystem::is_directory(argument, ec)) throw std::runtime_error(argument + ": a folder, not a page");
  throw std::runtime_error(argument + ": no such file");
}

}  // namespace skimlet::cli
