// A random model of the shipped model's shapes (Qwen2.5 1.5B Instruct: 28 layers, width 1536,
// feed-forward 8960, 12 query and 2 key/value heads of 128, 151,936 tokens, tied output) in the
// Q4_K_M mix: Q4_K matrices, Q6_K for the embedding and for the value and down projections of
// the layers that get more bits, F32 norms and biases; about 983 MB. Written once to the
// temporary folder and reused by later runs and by every benchmark that needs it.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "llm/ggml_type.h"
#include "support/gguf_writer.h"

namespace skimlet::bench {

inline testing::RandomModel qwenShapes() {
  testing::RandomModel m;
  m.arch = "qwen2";
  m.layers = 28;
  m.embd = 1536;
  m.ff = 8960;
  m.heads = 12;
  m.kvHeads = 2;
  m.headDim = 128;
  m.vocab = 151936;
  m.biases = true;
  m.tiedOutput = true;
  m.contextLength = 32768;
  m.weightScale = 0.02f;
  m.words = {
      // Commands and what they name on a page.
      "click", "tap", "press", "hit", "select", "choose", "open", "close", "go", "back", "forward", "reload", "refresh",
      "scroll", "down", "up", "top", "bottom", "find", "search", "show", "list", "read", "summarize", "type", "enter",
      "write", "fill", "put", "copy", "paste", "switch", "tab", "tabs", "new", "next", "previous", "link", "links",
      "button", "buttons", "field", "box", "form", "page", "site", "article", "section", "menu", "image", "picture",
      "gallery", "sign", "log", "account", "password", "email", "mail", "address", "name", "phone", "number",
      "newsletter", "comments", "comment", "cart", "checkout", "order", "price", "pricing", "cost", "costs", "shipping",
      "delivery", "refunds", "refund", "returns", "help", "settings", "profile", "blue", "red", "green", "first",
      "second", "third", "last", "main", "times", "tides", "part", "where", "people", "leave", "thing", "signs",
      "starts", "bring", "whatever", "talks", "jump", "get", "want", "give", "tell", "explain", "does", "say", "said",
      // Common words.
      "the", "a", "an", "and", "or", "of", "to", "in", "into", "on", "at", "for", "with", "about", "from", "by", "this",
      "that", "these", "those", "it", "its", "is", "are", "was", "be", "can", "could", "would", "should", "you", "your",
      "me", "my", "i", "we", "our", "they", "what", "which", "who", "how", "why", "when", "there", "here", "please",
      "just", "all", "every", "each", "one", "two", "three", "some", "any", "more", "most", "only", "not", "no", "yes",
      "do", "make", "use", "see", "look", "like", "than", "then", "out", "as", "if", "so", "but", "also", "very",
      "much", "many", "other", "same", "time", "day", "way", "web", "command", "action", "line", "target", "role",
      "text", "answer", "question", "user", "model", "words"};
  m.typeOf = [n = m.layers](const std::string& role, int layer) {
    using namespace GGMLType;
    // The layers that the Q4_K_M recipe gives more bits: the first and last eighth, and every
    // third one between (14 of 28).
    const bool moreBits = layer < n / 8 || layer >= 7 * n / 8 || (layer - n / 8) % 3 == 2;
    if (role == "token_embd" || role == "output") return q6K;
    if (role == "attn_v" || role == "ffn_down") return moreBits ? q6K : q4K;
    return q4K;
  };
  return m;
}

inline const std::string& qwenShapesModelPath() {
  static const std::string path = [] {
    namespace fs = std::filesystem;
    const fs::path p = fs::temp_directory_path() / "skimlet-bench-qwen2.5-1.5b-shapes-q4km-words2.gguf";
    if (!fs::exists(p)) {
      std::fprintf(stderr, "Writing a random model of Qwen2.5 1.5B shapes to %s ...\n", p.c_str());
      // Written aside and renamed, so an interrupted run never leaves half a model to reuse.
      const fs::path part = p.string() + ".part";
      testing::writeRandomModel(part.string(), qwenShapes(), 42);
      fs::rename(part, p);
      // Out of the page cache, so that runs read it back through the model's own mapping, as
      // an installed model is read after a restart: pages that writing left in the cache can be
      // smaller than the ones reading it in gives.
#if defined(__linux__)
      if (int fd = ::open(p.c_str(), O_RDONLY); fd >= 0) {
        ::fdatasync(fd);
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
        ::close(fd);
      }
#endif
    }
    return p.string();
  }();
  return path;
}

}  // namespace skimlet::bench
