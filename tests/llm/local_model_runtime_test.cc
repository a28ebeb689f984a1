#include "llm/local_model_runtime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "llm/ggml_type.h"
#include "llm/transformer.h"
#include "llm/utf8.h"
#include "llm_test_files.h"
#include "support/gguf_writer.h"
#include "support/paths.h"
#include "text/unicode.h"

namespace skimlet {
namespace {

using testing::GGUFWriter;
using testing::scratchPath;

constexpr int kVocab = 300;  // bytes are ids 0-255; the last three are the markers
constexpr int kEndOfText = kVocab - 3, kImEnd = kVocab - 1;
constexpr int kNewline = '\n';  // a chat prompt always ends with this token

// A model whose next token depends on the current token alone, by a table: every layer's
// weights are zero, so each position's state is its token's one-hot embedding, and the output
// row of `next[t]` is the only one that sees token t. Tokens not in the table end the text.
void writeScriptedModel(const std::string& path, const std::map<int, int>& next, int64_t contextLength = 2048) {
  const int E = 320, ff = 8, hd = 8, heads = 2, kv = 1;
  GGUFWriter w;
  w.addString("general.architecture", "qwen2");
  w.addU32("qwen2.block_count", 1);
  w.addU32("qwen2.context_length", static_cast<uint32_t>(contextLength));
  w.addU32("qwen2.embedding_length", E);
  w.addU32("qwen2.feed_forward_length", ff);
  w.addU32("qwen2.attention.head_count", heads);
  w.addU32("qwen2.attention.head_count_kv", kv);
  w.addU32("qwen2.attention.key_length", hd);
  w.addStrings("tokenizer.ggml.tokens", testing::randomModelTokens(kVocab, true));
  w.addStrings("tokenizer.ggml.merges", testing::randomModelMerges());
  w.addU32("tokenizer.ggml.eos_token_id", kEndOfText);

  std::vector<float> embd(static_cast<size_t>(kVocab) * E, 0.0f), out(static_cast<size_t>(kVocab) * E, 0.0f);
  for (int t = 0; t < kVocab; ++t) {
    embd[static_cast<size_t>(t) * E + t] = 1.0f;
    auto it = next.find(t);
    const int successor = it == next.end() ? kImEnd : it->second;
    out[static_cast<size_t>(successor) * E + t] = 1.0f;
  }
  using GGMLType::f32;
  auto zeros = [&](const std::string& name, int64_t cols, int64_t rows) {
    w.addTensor(name, {cols, rows}, f32, testing::f32Bytes(std::vector<float>(static_cast<size_t>(cols * rows), 0.0f)));
  };
  w.addTensor("token_embd.weight", {E, kVocab}, f32, testing::f32Bytes(embd));
  w.addTensor("output.weight", {E, kVocab}, f32, testing::f32Bytes(out));
  for (const char* norm : {"output_norm.weight", "blk.0.attn_norm.weight", "blk.0.ffn_norm.weight"})
    w.addTensor(norm, {E}, f32, testing::f32Bytes(std::vector<float>(E, 1.0f)));
  zeros("blk.0.attn_q.weight", E, heads * hd);
  zeros("blk.0.attn_k.weight", E, kv * hd);
  zeros("blk.0.attn_v.weight", E, kv * hd);
  zeros("blk.0.attn_output.weight", heads * hd, E);
  zeros("blk.0.ffn_gate.weight", E, ff);
  zeros("blk.0.ffn_up.weight", E, ff);
  zeros("blk.0.ffn_down.weight", ff, E);
  w.write(path);
}

// The table that makes a model answer `bytes` (each byte one token, none repeated) and stop.
std::map<int, int> answering(const std::string& bytes) {
  std::map<int, int> next;
  int previous = kNewline;
  for (unsigned char b : bytes) {
    next[previous] = b;
    previous = b;
  }
  next[previous] = kImEnd;
  return next;
}

// "a" and "b" for ever: only maxTokens or a stop ends it.
const std::map<int, int> kEndless = {{kNewline, 'a'}, {'a', 'b'}, {'b', 'a'}};

LocalModelRuntime::Options at(const std::string& path, int maxContext = 2048) {
  return LocalModelRuntime::Options{path, maxContext};
}

// Collects the partial texts a request streams.
struct Partials {
  std::mutex mutex;
  std::vector<std::string> texts;
  LocalModelRuntime::PartialText sink() {
    return [this](const std::string& s) {
      std::lock_guard lock(mutex);
      texts.push_back(s);
    };
  }
};

TEST(LocalModelRuntime, StreamsWholeCharacters) {
  const std::string path = scratchPath("model.gguf");
  // "h", "é" (two bytes), "!", "€" (three bytes).
  writeScriptedModel(path, answering("h\xC3\xA9!\xE2\x82\xAC"));
  LocalModelRuntime runtime(at(path));
  Partials partials;
  EXPECT_EQ(runtime.generate("sys", "hi", 50, partials.sink()), "h\xC3\xA9!\xE2\x82\xAC");
  EXPECT_EQ(partials.texts, (std::vector<std::string>{"h", "h\xC3\xA9", "h\xC3\xA9!", "h\xC3\xA9!\xE2\x82\xAC"}));
  EXPECT_EQ(runtime.lastRun()->generatedTokens, 7);

  // White space at either end is streamed as it comes but not part of the answer.
  // Each runtime keeps its file mapped, so every model gets its own file.
  const std::string spacedPath = scratchPath("spaced.gguf");
  writeScriptedModel(spacedPath, answering(" ok\t\xC2\xA0"));
  LocalModelRuntime spaced(at(spacedPath));
  Partials more;
  EXPECT_EQ(spaced.generate("sys", "hi", 50, more.sink()), "ok");
  EXPECT_EQ(more.texts.front(), " ");
  EXPECT_EQ(more.texts.back(), " ok\t\xC2\xA0");

  // A byte that can never become a character stops the stream; the answer shows a replacement.
  const std::string brokenPath = scratchPath("broken.gguf");
  writeScriptedModel(brokenPath, answering("a\xFF"
                                           "b"));
  LocalModelRuntime broken(at(brokenPath));
  Partials cut;
  EXPECT_EQ(broken.generate("sys", "hi", 50, cut.sink()),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(cut.texts, std::vector<std::string>{"a"});
}

TEST(LocalModelRuntime, TheTextEndsAtAStopOrTheLimit) {
  const std::string path = scratchPath("model.gguf");
  for (int stop : {kImEnd, kEndOfText}) {
    writeScriptedModel(path, {{kNewline, stop}});
    LocalModelRuntime runtime(at(path));
    Partials partials;
    EXPECT_EQ(runtime.generate("sys", "hi", 10, partials.sink()), std::nullopt) << stop;
    EXPECT_TRUE(partials.texts.empty());
    EXPECT_EQ(runtime.lastError(), std::nullopt);
  }

  writeScriptedModel(path, kEndless);
  LocalModelRuntime runtime(at(path));
  EXPECT_EQ(runtime.generate("sys", "hi", 5), "ababa");
  EXPECT_EQ(runtime.generate("sys", "hi", 1), "a");
  EXPECT_EQ(runtime.generate("sys", "hi", 0), std::nullopt);
  // Only white space is no answer either.
  const std::string blankPath = scratchPath("blank.gguf");
  writeScriptedModel(blankPath, answering(" \r"));
  LocalModelRuntime blank(at(blankPath));
  EXPECT_EQ(blank.generate("sys", "hi", 10), std::nullopt);
}

TEST(LocalModelRuntime, StopIsHonouredBetweenTokens) {
  const std::string path = scratchPath("model.gguf");
  writeScriptedModel(path, kEndless);
  LocalModelRuntime runtime(at(path));

  std::stop_source source;
  std::vector<std::string> seen;
  auto result = runtime.generate(
      "sys", "hi", 100,
      [&](const std::string& s) {
        seen.push_back(s);
        if (seen.size() == 3) source.request_stop();
      },
      source.get_token());
  // Text already streamed doesn't make a stopped request an answer.
  EXPECT_EQ(result, std::nullopt);
  EXPECT_EQ(seen, (std::vector<std::string>{"a", "ab", "aba"}));
  // Stopped while handing over "aba": no pass runs for a fourth token nobody will read.
  EXPECT_EQ(runtime.lastRun()->decodeSteps, 2);

  std::stop_source early;
  early.request_stop();
  Partials none;
  EXPECT_EQ(runtime.generate("sys", "hi", 100, none.sink(), early.get_token()), std::nullopt);
  EXPECT_TRUE(none.texts.empty());

  // A stopped request leaves the runtime as good as before.
  EXPECT_EQ(runtime.generate("sys", "hi", 4), "abab");
}

TEST(LocalModelRuntime, RequestsRunOneAfterAnotherInOrder) {
  const std::string path = scratchPath("model.gguf");
  writeScriptedModel(path, kEndless);
  LocalModelRuntime runtime(at(path));

  std::mutex mutex;
  std::vector<std::string> events;
  auto log = [&](const std::string& e) {
    std::lock_guard lock(mutex);
    events.push_back(e);
  };
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  std::promise<void> firstStreaming;

  auto first = std::async(std::launch::async, [&] {
    bool once = true;
    return runtime.generate("sys", "one", 3, [&](const std::string& s) {
      if (std::exchange(once, false)) {
        firstStreaming.set_value();
        released.wait();
      }
      log("first " + s);
    });
  });
  firstStreaming.get_future().wait();

  std::stop_source abandon;
  auto second = std::async(std::launch::async, [&] {
    return runtime.generate(
        "sys", "two", 3, [&](const std::string& s) { log("second " + s); }, abandon.get_token());
  });
  auto third = std::async(std::launch::async, [&] {
    // Queued after the second (it may also be queued first; either way it waits for the first).
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return runtime.generate("sys", "three", 2, [&](const std::string& s) { log("third " + s); });
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(80));
  {
    std::lock_guard lock(mutex);
    EXPECT_TRUE(events.empty()) << "a request ran while the first was still streaming";
  }
  abandon.request_stop();
  release.set_value();

  EXPECT_EQ(first.get(), "aba");
  EXPECT_EQ(second.get(), std::nullopt);
  EXPECT_EQ(third.get(), "ab");
  EXPECT_EQ(events, (std::vector<std::string>{"first a", "first ab", "first aba", "third a", "third ab"}));
}

// A user text too long for the context loses a fifth at a time until the prompt and the answer
// fit; one of 200 characters or fewer is never cut, and then nothing runs (nor is it an error).
TEST(LocalModelRuntime, LongUserTextsAreCutByAFifthUntilTheyFitShortOnesNever) {
  const std::string path = scratchPath("model.gguf");
  writeScriptedModel(path, kEndless);
  std::string accents;  // 150 characters, 300 bytes and so 300 tokens
  for (int i = 0; i < 150; ++i) accents += "\xC3\xA9";
  struct Case {
    const char* what;
    int context;
    std::string user;
    int maxTokens;
    std::optional<int> userCharacters;  // none: nothing runs
  };
  const Case cases[] = {
      // Every "x" is one token: 2300 → 1840 (still too long with 220 new tokens in 2048) → 1472.
      {"cut twice", 2048, std::string(2300, 'x'), 220, 1472},
      {"fits", 2048, std::string(1000, 'x'), 220, 1000},
      // 240 characters are cut once more, to 192, although the cut goes below 201.
      {"cut below 201", 256, std::string(300, 'x'), 20, 192},
      {"too short to cut", 200, std::string(200, 'x'), 10, std::nullopt},
      // Characters, not bytes, are counted: too short to cut, and whole when there is room.
      {"two-byte characters", 320, accents, 10, std::nullopt},
      {"two-byte characters with room", 400, accents, 10, 150},
  };
  for (const Case& c : cases) {
    LocalModelRuntime runtime(at(path, c.context));
    const auto text = runtime.generate("Answer briefly.", c.user, c.maxTokens);
    EXPECT_EQ(runtime.lastError(), std::nullopt) << c.what;
    if (!c.userCharacters) {
      EXPECT_EQ(text, std::nullopt) << c.what;
      EXPECT_EQ(runtime.lastRun(), std::nullopt) << c.what;
      continue;
    }
    EXPECT_EQ(text.value_or("").size(), static_cast<size_t>(c.maxTokens)) << c.what;
    const auto stats = runtime.lastRun();
    ASSERT_TRUE(stats) << c.what;
    EXPECT_EQ(stats->userCharacters, *c.userCharacters) << c.what;
    EXPECT_GT(stats->promptTokens, *c.userCharacters) << c.what;
    EXPECT_LE(stats->promptTokens + c.maxTokens, c.context) << c.what;
  }
}

TEST(LocalModelRuntime, LoadFailuresAreRetried) {
  const std::string path = scratchPath("model.gguf");
  std::filesystem::remove(path);
  LocalModelRuntime runtime(at(path));
  EXPECT_EQ(runtime.lastError(), std::nullopt);  // nothing tried yet
  EXPECT_EQ(runtime.generate("sys", "hi", 5), std::nullopt);
  EXPECT_EQ(runtime.lastError(), "Can't open model file");

  testing::writeBytes(path, {'G', 'G', 'U', 'F', 3, 0, 0, 0});
  EXPECT_EQ(runtime.generate("sys", "hi", 5), std::nullopt);
  EXPECT_TRUE(runtime.lastError().has_value());

  testing::RandomModel plain;
  plain.chatMarkers = false;
  testing::writeRandomModel(path, plain, 1);
  EXPECT_EQ(runtime.generate("sys", "hi", 5), std::nullopt);
  EXPECT_EQ(runtime.lastError(), "Model isn't a ChatML-style instruct model");

  // The model arrives later: the next request loads it and the error is gone.
  writeScriptedModel(path, kEndless);
  EXPECT_EQ(runtime.generate("sys", "hi", 2), "ab");
  EXPECT_EQ(runtime.lastError(), std::nullopt);
}

// Greedy text of `user` after the runtime has answered `before` (nothing when empty).
struct Reply {
  std::optional<std::string> text;
  LocalModelRuntime::RunStats stats;
};
Reply replyAfter(LocalModelRuntime& runtime, const std::vector<std::pair<std::string, std::string>>& before,
                 const std::string& system, const std::string& user, int maxTokens) {
  for (const auto& [s, u] : before) runtime.generate(s, u, maxTokens);
  Reply r;
  r.text = runtime.generate(system, user, maxTokens);
  r.stats = runtime.lastRun().value_or(LocalModelRuntime::RunStats{});
  return r;
}

void expectPrefixReuseChangesNothing(const std::string& path) {
  const std::string system = "You answer questions about the page the user is reading.";
  const std::string question = "Title: hello world\n\nWhat is the system about?";
  const int maxTokens = 24;
  LocalModelRuntime fresh(at(path));
  const Reply alone = replyAfter(fresh, {}, system, question, maxTokens);
  ASSERT_TRUE(alone.text) << "the model should say something for this comparison to mean anything";
  EXPECT_EQ(alone.stats.reusedTokens, 0);

  struct Case {
    const char* what;
    std::vector<std::pair<std::string, std::string>> before;
    int reusedAtLeast;
  };
  const Case cases[] = {
      {"same system, other question", {{system, "Title: hello world\n\nWho is the user?"}}, 20},
      {"the same request again", {{system, question}}, alone.stats.promptTokens - 1},
      {"a longer question first", {{system, question + " And the assistant?"}}, 20},
      {"other system text", {{"Reply in one word.", question}}, 1},
      {"several before", {{system, "the"}, {"x", "y"}, {system, question}}, alone.stats.promptTokens - 1},
  };
  for (const Case& c : cases) {
    LocalModelRuntime runtime(at(path));
    const Reply reused = replyAfter(runtime, c.before, system, question, maxTokens);
    EXPECT_EQ(reused.text, alone.text) << c.what;
    EXPECT_EQ(reused.stats.promptTokens, alone.stats.promptTokens) << c.what;
    EXPECT_GE(reused.stats.reusedTokens, c.reusedAtLeast) << c.what;
    EXPECT_LT(reused.stats.reusedTokens, reused.stats.promptTokens) << c.what;
  }
}

TEST(LocalModelRuntime, ReusedPromptPrefixesGiveTheSameTextAsAFreshRun) {
  const std::string path = scratchPath("model.gguf");
  testing::RandomModel model;  // every element type, real attention
  model.weightScale = 0.2f;
  testing::writeRandomModel(path, model, 7);
  expectPrefixReuseChangesNothing(path);
}

// The runtime feeds a long prompt to the model in pieces (so that a stop lands between them);
// the answer must be the one a single pass over the whole prompt gives.
TEST(LocalModelRuntime, ALongPromptRunInPiecesAnswersAsOnePassDoes) {
  const std::string path = scratchPath("model.gguf");
  testing::RandomModel model;
  model.weightScale = 0.2f;
  testing::writeRandomModel(path, model, 11);
  std::string page;
  for (int i = 0; page.size() < 1500; ++i) page += "Line " + std::to_string(i) + " of the page says something. ";
  const std::string system = "Summarize the page.";
  const int maxTokens = 10;

  LocalModelRuntime runtime(at(path));
  const auto text = runtime.generate(system, page, maxTokens);

  Transformer whole(path, 2048);
  const std::vector<int> prompt = whole.chatPrompt(system, page);
  ASSERT_GT(prompt.size(), 600u) << "the prompt should need several pieces";
  std::vector<float> logits = whole.forward(prompt, 0);
  std::string bytes;
  for (int n = 0, position = static_cast<int>(prompt.size()); n < maxTokens; ++n, ++position) {
    const int token = static_cast<int>(std::max_element(logits.begin(), logits.end()) - logits.begin());
    if (whole.isStop(token)) break;
    const auto piece = whole.tokenizer().bytes(token);
    bytes.append(piece.begin(), piece.end());
    if (n + 1 < maxTokens) logits = whole.forward(std::span<const int>(&token, 1), position);
  }
  const std::string expected(trimWhiteSpace(repairUTF8(bytes)));
  ASSERT_FALSE(expected.empty()) << "the model should say something for this comparison to mean anything";
  EXPECT_EQ(text.value_or(""), expected);
}

// Guessed continuations are checked, never trusted: right guesses save passes, wrong ones change
// nothing, and the text is always the one plain greedy decoding gives.
TEST(LocalModelRuntime, GuessedTokensSavePassesAndNeverChangeTheText) {
  const std::string path = scratchPath("model.gguf");
  const std::string reply = "find|cost";
  writeScriptedModel(path, answering(reply));
  LocalModelRuntime runtime(at(path));
  ASSERT_EQ(runtime.generate("sys", "hi", 20), reply);
  const int plainPasses = runtime.lastRun()->decodeSteps;

  const ReplyDrafter right = [&](std::string_view sofar) { return reply.substr(sofar.size()); };
  const ReplyDrafter wrong = [](std::string_view) { return std::string("zebra quilt|0||"); };
  // Right up to the bar, then wrong: the pass keeps the agreed part and the model's own token.
  const ReplyDrafter half = [](std::string_view sofar) { return sofar == "f" ? std::string("ind|xyz") : ""; };
  struct Case {
    const char* name;
    ReplyDrafter drafter;
    int passes;
  };
  // Right: one pass checks seven guesses, one more sees the stop after the last letter.
  for (const Case& c : {Case{"right", right, 2}, Case{"wrong", wrong, plainPasses}, Case{"half", half, 5}}) {
    SCOPED_TRACE(c.name);
    Partials partials;
    EXPECT_EQ(runtime.generate("sys", "hi", 20, partials.sink(), {}, c.drafter), reply);
    EXPECT_EQ(partials.texts.size(), reply.size());
    const auto stats = runtime.lastRun();
    EXPECT_EQ(stats->generatedTokens, static_cast<int>(reply.size()));
    EXPECT_EQ(stats->decodeSteps, c.passes);
  }
  // A guess never runs past the token limit.
  EXPECT_EQ(runtime.generate("sys", "hi", 3, {}, {}, right), "fin");
}

TEST(LocalModelRuntime, ReferenceModelsGiveTheSameTextWithReusedPrefixes) {
  for (const char* name : {"tiny-f16.gguf", "tiny-q8_0.gguf", "tiny-q4km.gguf"}) {
    SCOPED_TRACE(name);
    const std::string path = testing::sharedPath(std::string("models/") + name);
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no reference models at " << path;
    expectPrefixReuseChangesNothing(path);
  }
}

}  // namespace
}  // namespace skimlet
