#include "support/stand_in_model.h"

namespace skimlet::testing {

StandInModel::StandInModel(std::vector<std::optional<std::string>> canned) : replies(canned.begin(), canned.end()) {}

std::optional<std::string> StandInModel::generate(const std::string& system, const std::string& user, int maxTokens,
                                                  const PartialSink& onPartial, std::stop_token stop) {
  std::optional<std::string> reply;
  {
    std::lock_guard lock(mutex_);
    requests_.push_back({system, user, maxTokens});
    if (!replies.empty()) {
      reply = replies.front();
      replies.pop_front();
    }
  }
  if (onRequest) onRequest(stop);
  if (!reply) return std::nullopt;
  std::string sofar;
  int piece = 0;
  size_t pos = 0;
  while (pos < reply->size()) {
    if (beforePiece) beforePiece(piece);
    if (honoursStop && stop.stop_requested()) return std::nullopt;
    size_t next = reply->find(' ', pos + 1);
    if (next == std::string::npos) next = reply->size();
    sofar += reply->substr(pos, next - pos);
    pos = next;
    ++piece;
    if (onPartial) onPartial(sofar);
  }
  if (honoursStop && stop.stop_requested()) return std::nullopt;
  return reply;
}

std::vector<StandInModel::Request> StandInModel::requests() const {
  std::lock_guard lock(mutex_);
  return requests_;
}

}  // namespace skimlet::testing
