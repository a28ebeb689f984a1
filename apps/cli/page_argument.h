// What a page named on the command line means, the same for `browse`, `run --url` and `record`:
//   - an address with a scheme ("https://…", "file:///…", "about:blank", "data:…") is opened as is;
//   - a file that exists is served from its folder on 127.0.0.1 (local_site.h), so that its links
//     are web links, as on a real site;
//   - otherwise a host, with or without a path ("example.com", "example.com/docs",
//     "localhost:8080"), is opened over https;
//   - anything else is a file that is not there ("shop.html", "pages/shop.html").
#pragma once

#include <memory>
#include <string>

#include "local_site.h"

namespace skimlet::cli {

struct PageArgument {
  enum class Kind { address, file, host, missing };
  Kind kind;
  std::string text;  // the address to open (scheme added to a host), or the file's path
};

PageArgument classifyPage(const std::string& argument);

// A page argument made ready to open: its address, and the local site serving it while needed.
class PageSource {
 public:
  // Throws std::runtime_error with a message for the user ("shop.html: no such file").
  explicit PageSource(const std::string& argument);

  const std::string& url() const { return url_; }

 private:
  std::unique_ptr<LocalSite> site_;
  std::string url_;
};

}  // namespace skimlet::cli
