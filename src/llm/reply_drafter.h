// A guess at how a reply goes on, given the reply so far. The runtime turns the guess into
// tokens and checks them all against the model in one batched pass, keeping the longest run the
// model agrees with: the reply is exactly the one greedy decoding gives, in fewer passes when the
// guesses are good. Replies that mostly copy their request (a command restated in a fixed
// format) are where this pays.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace skimlet {

// Receives the reply so far (whole UTF-8 characters); answers the text expected to follow it, or
// "" for no guess. Called on the model's worker thread.
using ReplyDrafter = std::function<std::string(std::string_view replySoFar)>;

}  // namespace skimlet
