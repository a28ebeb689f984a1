#include "llm/local_model_runtime.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <future>

#include "llm/gguf_file.h"
#include "llm/model_files.h"
#include "llm/transformer.h"
#include "llm/utf8.h"
#include "text/text_util.h"
#include "text/unicode.h"

namespace skimlet {

namespace {

// A user text this short is never cut to make room: what is left would be too little to
// answer from.
constexpr int kShortestCuttableUser = 201;
// Prompt tokens run in one forward pass; a stop is noticed between passes.
constexpr size_t kPromptPiece = 256;
// Guessed tokens checked in one pass at most. Up to a handful of rows cost a pass little more
// than one row (it reads the same weights); the format's guesses rarely run longer.
constexpr int kMaxDraft = 7;

// The greedy choice from one row of logits; max_element keeps the first of equal maxima.
int greedyToken(const float* logits, int vocab) {
  return static_cast<int>(std::max_element(logits, logits + vocab) - logits);
}

double secondsSince(std::chrono::steady_clock::time_point t) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t).count();
}

}  // namespace

struct LocalModelRuntime::Request {
  std::string system, user;
  int maxTokens = 0;
  PartialText onPartial;
  std::stop_token stop;
  ReplyDrafter drafter;
  std::promise<std::optional<std::string>> done;
};

LocalModelRuntime::LocalModelRuntime() : LocalModelRuntime(Options{}) {}

LocalModelRuntime::LocalModelRuntime(Options options) : options_(std::move(options)) {
  if (options_.modelPath.empty()) options_.modelPath = ModelFiles::modelPath();
  worker_ = std::jthread([this](std::stop_token st) { workerLoop(st); });
}

LocalModelRuntime::~LocalModelRuntime() {
  worker_.request_stop();
  if (worker_.joinable()) worker_.join();
  // Whoever still waits on a request that never ran hears "nothing".
  for (auto& r : queue_) r->done.set_value(std::nullopt);
}

LocalModelRuntime& LocalModelRuntime::shared() {
  // Never destroyed: a request may still be running while the process exits, and the worker
  // must not outlive the thread pool it fans out over.
  static LocalModelRuntime* runtime = new LocalModelRuntime();
  return *runtime;
}

std::optional<std::string> LocalModelRuntime::generate(const std::string& system, const std::string& user,
                                                       int maxTokens, const PartialText& onPartial,
                                                       std::stop_token stop, ReplyDrafter drafter) {
  auto request = std::make_shared<Request>();
  request->system = system;
  request->user = user;
  request->maxTokens = maxTokens;
  request->onPartial = onPartial;
  request->stop = std::move(stop);
  request->drafter = std::move(drafter);
  auto result = request->done.get_future();
  {
    std::lock_guard lock(queueMutex_);
    queue_.push_back(std::move(request));
  }
  queueChanged_.notify_one();
  // The caller waits even after a stop: the request's callback may still be running, and it may
  // refer to things the caller owns. The worker notices the stop at the next token.
  return result.get();
}

void LocalModelRuntime::workerLoop(std::stop_token st) {
#if defined(__APPLE__)
  pthread_setname_np("skimlet.llm");  // macOS names only the calling thread
#else
  pthread_setname_np(pthread_self(), "skimlet.llm");
#endif
  for (;;) {
    std::shared_ptr<Request> request;
    {
      std::unique_lock lock(queueMutex_);
      if (!queueChanged_.wait(lock, st, [&] { return !queue_.empty(); }) || st.stop_requested()) return;
      request = std::move(queue_.front());
      queue_.pop_front();
    }
    std::optional<std::string> result;
    try {
      result = run(*request);
    } catch (...) {
      // Generation never throws to its callers. Whatever broke (most likely memory), the cache
      // may be half-written, so the next request starts from position 0.
      cached_.clear();
      result.reset();
    }
    request->done.set_value(std::move(result));
  }
}

bool LocalModelRuntime::ensureLoaded() {
  if (model_) return true;
  try {
    model_ = std::make_unique<Transformer>(options_.modelPath.string(), options_.maxContext);
    cached_.clear();
    setLastError(std::nullopt);
    return true;
  } catch (const std::exception& e) {
    // Tried again at the next request: the user may have downloaded the model meanwhile.
    setLastError(std::string(e.what()));
    return false;
  }
}

std::optional<std::string> LocalModelRuntime::run(Request& r) {
  if (r.stop.stop_requested()) return std::nullopt;
  if (!ensureLoaded()) return std::nullopt;
  if (r.maxTokens <= 0) return std::nullopt;
  Transformer& m = *model_;
  const auto fits = [&](const std::vector<int>& prompt) {
    return static_cast<int64_t>(prompt.size()) + r.maxTokens <= m.contextSize();
  };

  // Long page texts are cut by a fifth at a time until the prompt and the answer fit.
  std::string user = r.user;
  int userLength = TextUtil::length(user);
  std::vector<int> prompt = m.chatPrompt(r.system, user);
  while (!fits(prompt) && userLength >= kShortestCuttableUser) {
    userLength = userLength * 4 / 5;
    user = TextUtil::prefix(user, userLength);
    prompt = m.chatPrompt(r.system, user);
  }
  if (prompt.empty() || !fits(prompt)) return std::nullopt;

  RunStats stats;
  stats.promptTokens = static_cast<int>(prompt.size());
  stats.userCharacters = userLength;

  // Requests often share their beginning (the same system text, the same page), so the keys and
  // values already cached for the longest common prefix are kept. At least the last prompt token
  // runs, because its logits choose the first new token.
  size_t common = 0;
  while (common < cached_.size() && common < prompt.size() && cached_[common] == prompt[common]) ++common;
  if (common == prompt.size()) --common;
  stats.reusedTokens = static_cast<int>(common);
  cached_.resize(common);  // everything after is overwritten now

  // The prompt runs in pieces, so that a stopped request gives the model back after one piece
  // instead of after a whole page of text. A piece is large enough that reading the weights
  // once more per piece costs little.
  auto started = std::chrono::steady_clock::now();
  std::vector<float> logits;
  for (size_t at = common; at < prompt.size();) {
    if (r.stop.stop_requested()) return std::nullopt;
    const size_t n = std::min(kPromptPiece, prompt.size() - at);
    logits = m.forward(std::span<const int>(prompt).subspan(at, n), static_cast<int>(at));
    cached_.insert(cached_.end(), prompt.begin() + static_cast<std::ptrdiff_t>(at),
                   prompt.begin() + static_cast<std::ptrdiff_t>(at + n));
    at += n;
  }
  stats.promptSeconds = secondsSince(started);

  // `fed` holds the tokens of the last pass, whose logits are the rows of `logits`: the reply's
  // newest token and any guesses after it. Row `row` scores the token that comes next.
  const int vocab = m.vocabSize();
  std::vector<int> fed = {prompt.back()}, reply;
  int row = 0;
  std::string bytes;
  double decodeSeconds = 0;
  while (!r.stop.stop_requested()) {
    const int token = greedyToken(logits.data() + static_cast<size_t>(row) * vocab, vocab);
    if (m.isStop(token)) break;
    const std::vector<uint8_t> piece = m.tokenizer().bytes(token);
    bytes.append(piece.begin(), piece.end());
    reply.push_back(token);
    ++stats.generatedTokens;
    // Only whole characters are shown: a token may end in the middle of one.
    if (r.onPartial && unicode::isValidUtf8(bytes)) r.onPartial(bytes);
    if (stats.generatedTokens == r.maxTokens) break;
    // A caller that has seen enough in the partial text stops here, before paying for a pass
    // whose token nobody will read.
    if (r.stop.stop_requested()) break;
    if (row + 1 < static_cast<int>(fed.size()) && fed[row + 1] == token) {
      // The model chose the guess, whose keys, values and logits the last pass already made.
      ++row;
      ++stats.acceptedDrafts;
      cached_.push_back(token);
      continue;
    }
    fed = {token};
    if (r.drafter) {
      const auto draft = draftTokens(r.drafter, bytes, reply, r.maxTokens - stats.generatedTokens);
      fed.insert(fed.end(), draft.begin(), draft.end());
      stats.draftedTokens += static_cast<int>(draft.size());
    }
    // Keys and values of rejected guesses stay behind in the cache past cached_, where the next
    // pass overwrites them.
    const int position = static_cast<int>(cached_.size());
    started = std::chrono::steady_clock::now();
    logits = fed.size() == 1 ? m.forward(fed, position) : m.forwardAll(fed, position);
    decodeSeconds += secondsSince(started);
    ++stats.decodeSteps;
    row = 0;
    cached_.push_back(token);
  }
  stats.generationSeconds = decodeSeconds;
  {
    std::lock_guard lock(stateMutex_);
    lastRun_ = stats;
  }

  if (r.stop.stop_requested()) return std::nullopt;
  std::string text(trimWhiteSpace(repairUTF8(bytes)));
  if (text.empty()) return std::nullopt;
  return text;
}

std::vector<int> LocalModelRuntime::draftTokens(const ReplyDrafter& drafter, const std::string& reply,
                                                const std::vector<int>& replyTokens, int room) {
  if (room <= 0 || !unicode::isValidUtf8(reply)) return {};
  const std::string guess = drafter(reply);
  if (guess.empty()) return {};
  // Tokenized together with the reply, the guess splits the way the model would write it; when
  // the reply's own tokens don't come back first (the guess merged into its last word), the
  // guess alone still gives usable tokens.
  BPETokenizer& tokenizer = model_->tokenizer();
  std::vector<int> whole = tokenizer.encode(reply + guess);
  std::vector<int> tokens;
  if (whole.size() > replyTokens.size() && std::equal(replyTokens.begin(), replyTokens.end(), whole.begin()))
    tokens.assign(whole.begin() + static_cast<std::ptrdiff_t>(replyTokens.size()), whole.end());
  else tokens = tokenizer.encode(guess);
  tokens.resize(std::min<size_t>(tokens.size(), static_cast<size_t>(std::min(room, kMaxDraft))));
  return tokens;
}

void LocalModelRuntime::setLastError(std::optional<std::string> e) {
  std::lock_guard lock(stateMutex_);
  lastError_ = std::move(e);
}

std::optional<std::string> LocalModelRuntime::lastError() const {
  std::lock_guard lock(stateMutex_);
  return lastError_;
}

std::optional<LocalModelRuntime::RunStats> LocalModelRuntime::lastRun() const {
  std::lock_guard lock(stateMutex_);
  return lastRun_;
}

}  // namespace skimlet
