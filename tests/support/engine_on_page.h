// An engine acting on a recorded page through the memory backend: the end-to-end harness of
// the flow tests. Partial results streamed while a model writes are collected in `partials`
// once the main queue is drained.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "backends/memory/backend.h"
#include "engine/action_engine.h"

namespace skimlet::testing {

struct EngineOnPage {
  // `page` is a file under tests/pages, e.g. "help_centre.json". `input` replaces the backend's
  // synthetic input, to play a system that refuses some events.
  explicit EngineOnPage(const std::string& page, ChatModel* own = nullptr, SystemModel* system = nullptr,
                        InputEvents* input = nullptr);
  EngineOnPage(memory::Recording recording, ChatModel* own = nullptr, SystemModel* system = nullptr,
               InputEvents* input = nullptr);

  // Runs one command; fails the test when the outcome is not a result.
  ActionResult run(const Intent& intent);
  // Runs one command and hands back whatever it answered (a confirmation or a choice too).
  Outcome outcome(const Intent& intent) { return engine->run(intent); }
  // A command as the user types it, understood by the rules; a command they don't understand
  // fails the test (and answers a failure).
  Outcome command(std::string_view typed);
  ActionResult result(std::string_view typed);
  // Delivers what was posted to the main queue, and so the partial results; how many items ran.
  int drainMainQueue() { return backend->runLoop().runPending(); }
  std::vector<Event> events() const { return backend->events(); }
  // The events as readable lines ("press AXButton “Sign in”", "key 33 flags 0x100000"), which
  // compare in one expectation and print clearly when they differ.
  std::vector<std::string> eventLines() const;

  std::unique_ptr<memory::Backend> backend;
  Platform platform;
  std::shared_ptr<ActionEngine> engine;
  std::vector<ActionResult> partials;
};

// The recording of a file under tests/pages, to change before it is served.
memory::Recording recordedPage(const std::string& page);

}  // namespace skimlet::testing
