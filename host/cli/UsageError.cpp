#include "UsageError.h"

#include <algorithm>

namespace nexhost {

namespace {

// Edits from a to b, a swap of neighbours counting as one (optimal string alignment).
std::size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> d(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (std::size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + change});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

std::vector<const CLI::App*> commandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); });
}

// "-i", "--interface", ... of the options --help shows.
std::vector<std::string> optionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* opt : app.get_options()) {
    if (opt->get_group().empty()) continue;
    for (const std::string& s : opt->get_snames()) names.push_back("-" + s);
    for (const std::string& l : opt->get_lnames()) names.push_back("--" + l);
  }
  return names;
}

const CLI::Option* findOption(const CLI::App& app, const std::string& name) {
  for (const CLI::Option* opt : app.get_options()) {
    if (opt->check_name(name)) return opt;
  }
  return nullptr;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& candidates) {
  // "-x" is no typo of "-h": a name needs a few letters before one is a slip.
  if (word.size() - word.find_first_not_of('-') < 3) return "";
  const std::string close = closestWord(word, candidates);
  return close.empty() ? "" : "; did you mean \"" + close + "\"?";
}

}  // namespace

std::string closestWord(const std::string& word, const std::vector<std::string>& candidates) {
  if (word.empty() || word.size() > 64) return "";  // no typo of a name
  const std::size_t limit = word.size() <= 4 ? 1 : 2;
  std::string best;
  std::size_t bestDistance = limit + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance < bestDistance) {
      best = candidate;
      bestDistance = distance;
    }
  }
  return best;
}

std::string usageError(const CLI::App& app, const std::vector<std::string>& args,
                       const CLI::ParseError& error) {
  const CLI::App* command = nullptr;
  std::vector<std::string> commandNames;
  for (const CLI::App* sub : commandsOf(app)) commandNames.push_back(sub->get_name());
  std::string unknown;
  // Walk the words as CLI11 does: options (with their values) of the command or, before
  // and after it, nexhost's own; the first other word is the command.
  for (std::size_t i = 0; i < args.size() && unknown.empty(); ++i) {
    const std::string& word = args[i];
    if (word == "--") break;
    if (word.size() > 1 && word[0] == '-') {
      const std::string name = word.substr(0, word.find('='));
      const CLI::Option* opt = command != nullptr ? findOption(*command, name) : nullptr;
      if (opt == nullptr) opt = findOption(app, name);
      const bool attached = opt == nullptr && name[1] != '-' && name.size() > 2;
      if (attached) opt = command != nullptr ? findOption(*command, name.substr(0, 2)) : nullptr;
      if (opt == nullptr) {
        std::vector<std::string> names = optionNames(app);
        if (command != nullptr) {
          const std::vector<std::string> own = optionNames(*command);
          names.insert(names.end(), own.begin(), own.end());
        }
        unknown = "unknown option " + name + didYouMean(name, names);
      } else if (opt->get_expected_max() != 0 && !attached && name.size() == word.size()) {
        ++i;  // its value
      }
      continue;
    }
    if (command != nullptr) continue;  // an argument of the command
    for (const CLI::App* sub : commandsOf(app)) {
      if (sub->get_name() == word) command = sub;
    }
    if (command == nullptr) {
      unknown = "unknown command \"" + word + "\"" + didYouMean(word, commandNames);
    }
  }
  const std::string help =
      command != nullptr ? "nexhost " + command->get_name() + " --help" : "nexhost --help";
  std::string what = unknown.empty() ? error.what() : unknown;
  if (unknown.empty() && command == nullptr && dynamic_cast<const CLI::RequiredError*>(&error)) {
    what = "a command is required: " + commandNames.front();
    for (std::size_t i = 1; i < commandNames.size(); ++i) {
      what += (i + 1 == commandNames.size() ? " or " : ", ") + commandNames[i];
    }
  }
  return "nexhost: " + (command != nullptr ? command->get_name() + ": " : std::string()) + what +
         " (see " + help + ")";
}

}  // namespace nexhost
