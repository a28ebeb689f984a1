#include "intent_eval.h"

#include <chrono>
#include <cstdio>
#include <istream>
#include <ostream>

#include "engine/understand.h"

namespace skimlet::cli {
namespace {

bool blank(const std::string& s) { return s.find_first_not_of(" \t\r\n") == std::string::npos; }

std::string trimmed(const std::string& s) {
  const size_t begin = s.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return "";
  return s.substr(begin, s.find_last_not_of(" \t\r\n") + 1 - begin);
}

std::string share(int part, int whole) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%d of %d (%.1f%%)", part, whole, whole ? 100.0 * part / whole : 0.0);
  return buf;
}

}  // namespace

std::vector<IntentCase> readIntentCases(std::istream& in, const std::string& name, std::vector<std::string>& problems) {
  std::vector<IntentCase> cases;
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (blank(line) || trimmed(line).starts_with("#")) continue;
    const size_t tab = line.find('\t');
    const auto complain = [&](const std::string& why) {
      problems.push_back(name + ":" + std::to_string(number) + ": " + why);
    };
    if (tab == std::string::npos) {
      complain("no tab between the command and the expected intent title");
      continue;
    }
    if (line.find('\t', tab + 1) != std::string::npos) {
      complain("more than one tab; expected command<TAB>expected intent title");
      continue;
    }
    IntentCase c{number, trimmed(line.substr(0, tab)), trimmed(line.substr(tab + 1))};
    if (c.command.empty() || c.expected.empty()) {
      complain(c.command.empty() ? "no command before the tab" : "no expected intent title after the tab");
      continue;
    }
    cases.push_back(std::move(c));
  }
  return cases;
}

IntentTally evaluateIntents(const std::vector<IntentCase>& cases, const LocalAI& ai, std::ostream& out,
                            const PassesOfLastRequest& passes) {
  using Clock = std::chrono::steady_clock;
  IntentTally t;
  for (const IntentCase& c : cases) {
    ++t.cases;
    bool asked = false;
    Clock::time_point askedAt;
    auto understood = understand(c.command, ai, [&] {
      asked = true;
      askedAt = Clock::now();
    });
    // Nothing but the model's own answer runs between its call and here.
    if (asked) t.modelSeconds += std::chrono::duration<double>(Clock::now() - askedAt).count();
    if (asked && passes) t.modelPasses += passes().value_or(0);

    const std::string got = understood ? title(understood->intent) : "no intent";
    const bool right = got == c.expected;
    if (right) ++t.right;
    if (asked) {
      ++t.reachedModel;
      if (right) ++t.rightAfterModel;
    }
    std::string how = "not understood";
    if (understood) {
      switch (understood->stage) {
        case Understanding::Stage::rules: ++t.byRules, how = "rules"; break;
        case Understanding::Stage::model: ++t.byModel, how = "model"; break;
        case Understanding::Stage::fallback:
          ++t.byFallback;
          how = asked ? "fallback, the model gave nothing usable" : "fallback";
          break;
      }
    }
    if (!right) {
      out << "miss, line " << c.line << ": " << c.command << "\n"
          << "  expected  " << c.expected << "\n"
          << "  got       " << got << " (" << how << ")\n"
          << std::flush;
    }
  }

  out << "Understood by the rules " << t.byRules << ", by the model " << t.byModel << ", by the fallback "
      << t.byFallback << "\n";
  out << "Right overall: " << share(t.right, t.cases) << "\n";
  if (t.reachedModel > 0) {
    char mean[64];
    std::snprintf(mean, sizeof mean, "%.3f s", t.modelSeconds / t.reachedModel);
    out << "Right among those that reached the model: " << share(t.rightAfterModel, t.reachedModel) << "\n";
    out << "Mean time per model call: " << mean << " over " << t.reachedModel << " calls\n";
    if (t.modelPasses > 0) {
      std::snprintf(mean, sizeof mean, "%.2f", static_cast<double>(t.modelPasses) / t.reachedModel);
      out << "Model passes per call: " << mean << "\n";
    }
  } else if (!ai.ownModelUsable() && !ai.systemModelUsable()) {
    out << "Right among those that reached the model: no model (" << ai.statusText() << ")\n";
  } else {
    out << "Right among those that reached the model: none reached it (the rules understood all)\n";
  }
  return t;
}

}  // namespace skimlet::cli
