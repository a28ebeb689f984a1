#include "llm/transformer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "llm/gguf_file.h"
#include "llm_test_files.h"
#include "support/gguf_writer.h"
#include "support/paths.h"

namespace skimlet {
namespace {

using testing::scratchPath;

float maxDifference(const std::vector<float>& a, const std::vector<float>& b) {
  EXPECT_EQ(a.size(), b.size());
  float d = 0;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) d = std::max(d, std::fabs(a[i] - b[i]));
  return d;
}

// Three files of one model written by other tools, with the top logits another engine computed.
// That engine quantizes activations its own way, so logits agree to a few hundredths.
TEST(Transformer, ReferenceModelsMatchAnotherEngine) {
  const std::string refPath = testing::sharedPath("models/tiny-ref.json");
  if (!std::filesystem::exists(refPath)) GTEST_SKIP() << "no reference models at " << refPath;
  std::ifstream in(refPath);
  const nlohmann::json ref = nlohmann::json::parse(in);
  for (const auto& [file, sequences] : ref.items()) {
    Transformer model(testing::sharedPath("models/" + file), 2048);
    EXPECT_EQ(model.architecture(), "qwen2");
    EXPECT_EQ(model.vocabSize(), 1000);
    EXPECT_EQ(model.imStart, 998);
    EXPECT_EQ(model.imEnd, 999);
    EXPECT_TRUE(model.isStop(997) && model.isStop(999));
    EXPECT_FALSE(model.layers[0].bq.empty());
    for (const auto& [name, s] : sequences.items()) {
      SCOPED_TRACE(file + " " + name);
      const std::vector<int> tokens = s["tokens"].get<std::vector<int>>();
      const std::vector<float> logits = model.forward(tokens, 0);
      ASSERT_EQ(logits.size(), 1000u);
      const auto& top = s["top20"];
      for (const auto& pair : top) {
        EXPECT_NEAR(logits[pair[0].get<int>()], pair[1].get<float>(), 0.03f) << "token " << pair[0];
      }
      // The same winner wherever the reference's lead is wider than the engines' disagreement.
      const int best = static_cast<int>(std::max_element(logits.begin(), logits.end()) - logits.begin());
      if (top[0][1].get<float>() - top[1][1].get<float>() > 0.02f) {
        EXPECT_EQ(best, top[0][0].get<int>());
      }
    }
  }
}

// Positions run one at a time, or in batches after a cached prefix, give the logits of one
// batch from position 0: the cache holds exactly what a full run would have computed.
TEST(Transformer, CachedPrefixesGiveTheLogitsOfAFullRun) {
  std::vector<std::string> files;
  const std::string written = scratchPath("random.gguf");
  testing::writeRandomModel(written, testing::RandomModel{}, 3);
  files.push_back(written);
  if (std::filesystem::exists(testing::sharedPath("models/tiny-q4km.gguf")))
    files.push_back(testing::sharedPath("models/tiny-q4km.gguf"));
  const std::vector<int> tokens = {298, 5, 100, 120, 33, 299, 10, 298, 77, 78, 79, 80, 81, 82, 83, 84, 85, 86, 87};
  for (const std::string& path : files) {
    SCOPED_TRACE(path);
    Transformer model(path, 64);
    const std::vector<float> whole = model.forward(tokens, 0);
    const std::span<const int> all(tokens);
    for (size_t split : {1u, 7u, 18u}) {
      model.forward(all.first(split), 0);
      EXPECT_LT(maxDifference(model.forward(all.subspan(split), static_cast<int>(split)), whole), 1e-4f) << split;
    }
    // Token by token, overwriting a longer conversation that was there before.
    model.forward(std::vector<int>(40, 101), 0);
    std::vector<float> last;
    std::vector<std::vector<float>> each;
    for (size_t i = 0; i < tokens.size(); ++i) {
      last = model.forward(all.subspan(i, 1), static_cast<int>(i));
      if (i >= 15) each.push_back(last);
    }
    EXPECT_LT(maxDifference(last, whole), 1e-4f);
    // Every row of a batch's logits is the one its position alone gives.
    const std::vector<float> rows = model.forwardAll(all.subspan(15), 15);
    const size_t vocab = static_cast<size_t>(model.vocabSize());
    ASSERT_EQ(rows.size(), each.size() * vocab);
    for (size_t i = 0; i < each.size(); ++i)
      EXPECT_LT(maxDifference(std::vector<float>(rows.begin() + i * vocab, rows.begin() + (i + 1) * vocab), each[i]),
                1e-4f)
          << i;
  }
}

TEST(Transformer, OptionalTensorsMayBeMissing) {
  const std::string path = scratchPath("model.gguf");
  testing::RandomModel llama;
  llama.arch = "llama";
  llama.biases = false;
  llama.tiedOutput = false;
  testing::writeRandomModel(path, llama, 5);
  {
    Transformer model(path, 2048);
    EXPECT_EQ(model.architecture(), "llama");
    EXPECT_TRUE(model.layers[1].bq.empty() && model.layers[1].bk.empty() && model.layers[1].bv.empty());
    EXPECT_NE(model.outW.ptr, model.embd.ptr);
    // The context is the smaller of the file's and the caller's.
    EXPECT_EQ(Transformer(path, 100).contextSize(), 100);
  }

  testing::RandomModel tied;
  testing::writeRandomModel(path, tied, 5);
  {
    Transformer model(path, 8192);
    EXPECT_EQ(model.outW.ptr, model.embd.ptr);
    EXPECT_EQ(model.contextSize(), 4096);
    // Markers are ids, never text that happens to spell them.
    const std::vector<int> ids = model.chatPrompt("S", "<|im_end|>");
    EXPECT_EQ(std::count(ids.begin(), ids.end(), model.imStart), 3);
    EXPECT_EQ(std::count(ids.begin(), ids.end(), model.imEnd), 2);
    EXPECT_EQ(ids.front(), model.imStart);
  }

  testing::RandomModel plain;
  plain.chatMarkers = false;
  testing::writeRandomModel(path, plain, 5);
  try {
    Transformer model(path, 2048);
    ADD_FAILURE() << "a model without ChatML markers loaded";
  } catch (const GGUFError& e) {
    EXPECT_STREQ(e.what(), "Model isn't a ChatML-style instruct model");
  }
}

// Hyper-parameters from a corrupt file once sized allocations of gigabytes, wrapped around to
// small values, or accepted a model whose tokens have no embedding.
TEST(Transformer, ImplausibleHyperParametersAreRefusedBeforeAllocating) {
  const std::string path = scratchPath("shape.gguf");
  struct Case {
    std::string key;
    uint64_t value;
  };
  for (const Case& c : std::vector<Case>{{"qwen2.attention.key_length", (1ull << 31) - 2},
                                         {"qwen2.embedding_length", (1ull << 31) - 1},
                                         {"qwen2.block_count", 1000000},
                                         {"qwen2.block_count", (1ull << 31) - 1},
                                         {"qwen2.block_count", (1ull << 32) + 2}}) {
    SCOPED_TRACE(c.key + " = " + std::to_string(c.value));
    testing::RandomModel model;
    model.overrides = {{c.key, c.value}};
    testing::writeRandomModel(path, model, 3);
    try {
      Transformer loaded(path, 2048);
      ADD_FAILURE() << "loaded";
    } catch (const GGUFError& e) {
      EXPECT_STREQ(e.what(), "Unsupported model shape");
    }
  }
  testing::RandomModel empty;
  empty.embeddingRows = 0;
  testing::writeRandomModel(path, empty, 3);
  try {
    Transformer loaded(path, 2048);
    ADD_FAILURE() << "an embedding without rows loaded";
  } catch (const GGUFError& e) {
    EXPECT_STREQ(e.what(), "Tensor token_embd.weight has the wrong shape");
  }
}

}  // namespace
}  // namespace skimlet
