// skimlet llm info|tokenize|generate|logits: Skimlet's own inference engine on any GGUF file,
// for checking a model against other engines and for measuring speed.
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "cli.h"
#include "interrupt.h"
#include "llm/bpe_tokenizer.h"
#include "llm/gguf_file.h"
#include "llm/local_model_runtime.h"
#include "llm/transformer.h"
#include "llm/utf8.h"

namespace skimlet::cli {
namespace {

int llmCommand(const Args& args);

const Command kLlm{"llm",
                   "llm info FILE | tokenize FILE TEXT | generate --model FILE [--system S] --user U "
                   "[--max-tokens N] | logits FILE TOKEN_ID...",
                   "Runs Skimlet's own model engine on a GGUF file: its metadata, token ids of a text, a greedy "
                   "chat reply with its speed, the top logits after a list of token ids.",
                   llmCommand};

// The usage of one subcommand, for its own error messages.
int subUsage(const std::string& usage, const std::string& message) {
  Command c = kLlm;
  c.usage = "llm " + usage;
  return usageError(c, message);
}

int fileError(const std::string& path, const std::string& message) {
  std::cerr << "skimlet llm: " << path << ": " << message << "\n";
  return 1;
}

std::optional<int64_t> integer(const std::string& s) {
  int64_t v = 0;
  auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
  if (ec != std::errc() || end != s.data() + s.size()) return std::nullopt;
  return v;
}

// A token's bytes in quotes, with line breaks, tabs, quotes and bytes that are not text escaped.
std::string quoted(const std::vector<uint8_t>& bytes) {
  const std::string raw(bytes.begin(), bytes.end());
  std::string out = "\"";
  size_t i = 0;
  while (i < raw.size()) {
    const unsigned char c = raw[i];
    const int len = utf8Length(c);
    const std::string piece = raw.substr(i, len);
    char hex[8];
    if (c == '\n') out += "\\n";
    else if (c == '\t') out += "\\t";
    else if (c == '"' || c == '\\') out += std::string("\\") + static_cast<char>(c);
    else if (c < 0x20 || c == 0x7F) std::snprintf(hex, sizeof hex, "\\x%02X", c), out += hex;
    else if (c >= 0x80 && (i + len > raw.size() || repairUTF8(piece) != piece)) {
      std::snprintf(hex, sizeof hex, "\\x%02X", c), out += hex;
      i += 1;
      continue;
    } else out += piece;
    i += len;
  }
  return out + "\"";
}

std::string typeName(uint32_t type) {
  switch (type) {
    case GGMLType::f32: return "F32";
    case GGMLType::f16: return "F16";
    case GGMLType::q8_0: return "Q8_0";
    case GGMLType::q4K: return "Q4_K";
    case GGMLType::q6K: return "Q6_K";
    default: return "type " + std::to_string(type);
  }
}

int info(const Args& args) {
  if (args.size() != 2) return subUsage("info FILE", args.size() < 2 ? "no model file given" : "too many arguments");
  const std::string& path = args[1];
  std::unique_ptr<GGUFFile> file;
  try {
    file = std::make_unique<GGUFFile>(path);
  } catch (const std::exception& e) {
    return fileError(path, e.what());
  }
  const GGUFFile& f = *file;
  const std::string arch = f.stringValue("general.architecture").value_or("(none)");
  std::cout << "File:          " << path << " (" << f.size << " bytes)\n";
  if (auto name = f.stringValue("general.name")) std::cout << "Name:          " << *name << "\n";
  std::cout << "Architecture:  " << arch << "\n";
  const std::pair<const char*, const char*> shape[] = {
      {"Layers:        ", "block_count"},
      {"Width:         ", "embedding_length"},
      {"Feed-forward:  ", "feed_forward_length"},
      {"Heads:         ", "attention.head_count"},
      {"KV heads:      ", "attention.head_count_kv"},
      {"Head size:     ", "attention.key_length"},
      {"Context:       ", "context_length"},
  };
  for (const auto& [label, key] : shape) {
    if (auto v = f.intValue(arch + "." + key)) std::cout << label << *v << "\n";
  }
  if (auto v = f.floatValue(arch + ".rope.freq_base")) std::cout << "Rotary base:   " << *v << "\n";
  if (auto v = f.floatValue(arch + ".attention.layer_norm_rms_epsilon")) std::cout << "RMS epsilon:   " << *v << "\n";
  const auto* tokens = f.stringList("tokenizer.ggml.tokens");
  const auto* merges = f.stringList("tokenizer.ggml.merges");
  std::cout << "Vocabulary:    " << (tokens ? tokens->size() : 0) << " tokens, " << (merges ? merges->size() : 0)
            << " merges\n";

  std::map<std::string, std::pair<int, int64_t>> byType;  // tensors and elements per type
  int64_t elements = 0;
  for (const auto& [name, t] : f.tensors) {
    const int64_t n = std::accumulate(t.dims.begin(), t.dims.end(), int64_t{1}, std::multiplies<>());
    auto& entry = byType[typeName(t.type)];
    entry.first += 1;
    entry.second += n;
    elements += n;
  }
  std::cout << "Tensors:       " << f.tensors.size() << " (" << elements << " weights)\n";
  for (const auto& [type, count] : byType)
    std::cout << "  " << type << ": " << count.first << " tensors, " << count.second << " weights\n";

  // Whether Skimlet can chat with it: the full load checks everything the engine relies on.
  try {
    file.reset();
    Transformer model(path, 2048);
    std::cout << "Chat model:    yes (markers " << model.imStart << " and " << model.imEnd << ", stop ids";
    std::vector<int> stops(model.stopIDs.begin(), model.stopIDs.end());
    std::sort(stops.begin(), stops.end());
    for (int id : stops) std::cout << " " << id;
    std::cout << ")\n";
  } catch (const std::exception& e) {
    std::cout << "Chat model:    no: " << e.what() << "\n";
    return 1;
  }
  return 0;
}

int tokenize(const Args& args) {
  if (args.size() != 3)
    return subUsage("tokenize FILE TEXT",
                    args.size() < 3 ? "give a model file and a text" : "too many arguments (quote the text)");
  const std::string& path = args[1];
  std::unique_ptr<BPETokenizer> tokenizer;
  try {
    GGUFFile f(path);
    const auto* tokens = f.stringList("tokenizer.ggml.tokens");
    const auto* merges = f.stringList("tokenizer.ggml.merges");
    if (!tokens || !merges) throw GGUFError("Model has no BPE tokenizer");
    tokenizer = std::make_unique<BPETokenizer>(*tokens, *merges);
  } catch (const std::exception& e) {
    return fileError(path, e.what());
  }
  const std::vector<int> ids = tokenizer->encode(args[2]);
  std::cout << ids.size() << (ids.size() == 1 ? " token\n" : " tokens\n");
  for (int id : ids) std::printf("%8d  %s\n", id, quoted(tokenizer->bytes(id)).c_str());
  return 0;
}

int generate(const Args& args) {
  const std::string usage = "generate --model FILE [--system S] --user U [--max-tokens N]";
  std::optional<std::string> model, user;
  std::string system;
  int maxTokens = 256;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (i + 1 >= args.size())
      return subUsage(usage, a.rfind("--", 0) == 0 ? a + " needs a value" : "unexpected argument " + a);
    const std::string& value = args[++i];
    if (a == "--model") model = value;
    else if (a == "--system") system = value;
    else if (a == "--user") user = value;
    else if (a == "--max-tokens") {
      auto n = integer(value);
      if (!n || *n < 1 || *n > 1'000'000) return subUsage(usage, "--max-tokens needs a positive whole number");
      maxTokens = static_cast<int>(*n);
    } else return subUsage(usage, "unknown option " + a);
  }
  if (!model) return subUsage(usage, "no --model given");
  if (!user) return subUsage(usage, "no --user text given");

  LocalModelRuntime runtime(LocalModelRuntime::Options{*model, 2048});
  InterruptScope interrupt;
  std::string streamed;
  // Each partial is the whole text so far; only what is new is written.
  auto result = runtime.generate(
      system, *user, maxTokens,
      [&](const std::string& text) {
        std::cout << text.substr(streamed.size()) << std::flush;
        streamed = text;
      },
      interrupt.stopToken());
  if (!streamed.empty()) std::cout << "\n";
  // The stream pauses while the bytes so far are not whole characters; when the answer ends in
  // such bytes (or never had any others), the final text shows them replaced.
  if (result && (streamed.empty() || streamed.find(*result) == std::string::npos)) {
    if (!streamed.empty()) std::cout << "answer: ";
    std::cout << *result << "\n";
  }

  if (auto error = runtime.lastError()) return fileError(*model, *error);
  auto stats = runtime.lastRun();
  if (!stats) {
    std::cerr << "skimlet llm generate: the prompt doesn't fit the model's context with room for " << maxTokens
              << " new tokens\n";
    return 1;
  }
  std::fprintf(stderr, "prompt:     %d tokens in %.2f s (%.1f tokens/s)\n", stats->promptTokens, stats->promptSeconds,
               stats->promptTokensPerSecond());
  std::fprintf(stderr, "generation: %d tokens, %d decode steps in %.2f s (%.1f tokens/s)\n", stats->generatedTokens,
               stats->decodeSteps, stats->generationSeconds, stats->decodeTokensPerSecond());
  if (interrupt.interrupted()) {
    std::cerr << "stopped\n";
    return 130;
  }
  if (!result) std::cerr << "(the model wrote nothing)\n";
  return 0;
}

int logits(const Args& args) {
  const std::string usage = "logits FILE TOKEN_ID...";
  if (args.size() < 3) return subUsage(usage, args.size() < 2 ? "no model file given" : "no token ids given");
  const std::string& path = args[1];
  std::vector<int> ids;
  for (size_t i = 2; i < args.size(); ++i) {
    auto id = integer(args[i]);
    if (!id || *id < 0 || *id > INT32_MAX) return subUsage(usage, "not a token id: " + args[i]);
    ids.push_back(static_cast<int>(*id));
  }
  std::unique_ptr<Transformer> model;
  try {
    model = std::make_unique<Transformer>(path, std::max<int>(2048, static_cast<int>(ids.size())));
  } catch (const std::exception& e) {
    return fileError(path, e.what());
  }
  for (int id : ids) {
    if (id >= model->vocabSize())
      return fileError(path, "token id " + std::to_string(id) + " is outside the vocabulary of " +
                                 std::to_string(model->vocabSize()));
  }
  if (static_cast<int>(ids.size()) > model->contextSize())
    return fileError(
        path, std::to_string(ids.size()) + " tokens don't fit the context of " + std::to_string(model->contextSize()));

  const std::vector<float> out = model->forward(ids, 0);
  std::vector<int> order(out.size());
  std::iota(order.begin(), order.end(), 0);
  const size_t top = std::min<size_t>(20, order.size());
  // Larger first; equal values by id, so the listing is stable.
  std::partial_sort(order.begin(), order.begin() + top, order.end(),
                    [&](int a, int b) { return out[a] != out[b] ? out[a] > out[b] : a < b; });
  for (size_t i = 0; i < top; ++i)
    std::printf("%8d  %12.6f  %s\n", order[i], out[order[i]], quoted(model->tokenizer().bytes(order[i])).c_str());
  return 0;
}

int llmCommand(const Args& args) {
  if (args.empty()) return usageError(kLlm, "which one: info, tokenize, generate or logits?");
  const std::string& what = args[0];
  if (what == "info") return info(args);
  if (what == "tokenize") return tokenize(args);
  if (what == "generate") return generate(args);
  if (what == "logits") return logits(args);
  return usageError(kLlm, "unknown subcommand " + what);
}

SKIMLET_COMMAND(kLlm);

}  // namespace
}  // namespace skimlet::cli
