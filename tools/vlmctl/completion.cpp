#include "completion.h"

#include <algorithm>

#include "commands.h"

namespace vlm::ctl {

using catalogue::Field;
using catalogue::Row;

namespace {

bool begins_with(const std::string& text, const std::string& beginning) {
  return text.compare(0, beginning.size(), beginning) == 0;
}

/// Those that go on as the word begins.
class Candidates {
 public:
  explicit Candidates(std::string word) : _word(std::move(word)) {}

  void offer(const std::string& candidate) {
    if (begins_with(candidate, _word)) _found.push_back(candidate);
  }
  const std::string& word() const { return _word; }
  std::vector<std::string> take() { return std::move(_found); }

 private:
  const std::string _word;
  std::vector<std::string> _found;
};

/// Whether the word is the value of the option before it.
bool is_value(const Options& options, const Words& words, std::size_t place) {
  if (place == 0) return false;
  const Option* const option = find_option(options, words[place - 1]);
  return option != nullptr && option->value != nullptr;
}

/// The place of the sub-command; the last word's, when it is that.
std::size_t command_place(const Options& options, const Words& words) {
  std::size_t place = 0;
  while (place + 1 < words.size() &&
         (is_value(options, words, place) || begins_with(words[place], "-"))) {
    ++place;
  }
  return place;
}

void offer_options(const Options& options, Candidates& candidates) {
  for (const Option& option : options) candidates.offer(option.name);
}

void offer_names(Candidates& candidates, bool (*is_meant)(const Row&), const char* end) {
  for (const Row& row : catalogue::rows()) {
    if (!is_meant(row)) continue;
    candidates.offer(std::string(row.name()) + end);
    for (const Field& field : row.value.fields) {
      if (field.is(catalogue::kFixed)) continue;
      candidates.offer(std::string(row.name()) + "." + field.name + end);
    }
  }
}

/// "NAME=" in front of each of the field's names for values.
void offer_values(const Field& field, const std::string& name, Candidates& candidates) {
  if (field.type == catalogue::Type::kBool) {
    for (const char* const value : {"on", "off"}) candidates.offer(name + "=" + value);
    return;
  }
  for (const auto& choice : field.choices) {
    if (choice.settable) candidates.offer(name + "=" + choice.name);
  }
}

void offer_assignments(Candidates& candidates, bool (*is_meant)(const Row&)) {
  const auto equals = candidates.word().find('=');
  if (equals == std::string::npos) return offer_names(candidates, is_meant, "=");
  const std::string name = candidates.word().substr(0, equals);
  if (const auto item = catalogue::find(name)) offer_values(*item->field, name, candidates);
}

void offer_parameters(const std::string& action, Candidates& candidates) {
  const auto item = catalogue::find(action);
  if (!item) return;
  const auto equals = candidates.word().find('=');
  for (const Field& parameter : item->row->parameters) {
    if (parameter.is(catalogue::kFixed)) continue;
    if (equals == std::string::npos) candidates.offer(std::string(parameter.name) + "=");
    if (equals != std::string::npos) offer_values(parameter, parameter.name, candidates);
  }
}

bool is_readable(const Row& row) { return row.readable(); }
bool is_writable(const Row& row) { return row.writable(); }
bool is_action(const Row& row) { return row.kind == catalogue::Kind::kAction; }
bool is_any(const Row&) { return true; }

/// What the sub-command takes, as its help says it.
void offer_arguments(const Command& command, const Words& words, std::size_t place,
                     Candidates& candidates) {
  const std::string name = command.name;
  if (name == "get" || name == "watch") offer_names(candidates, is_readable, "");
  if (name == "describe" || name == "list") offer_names(candidates, is_any, "");
  if (name == "set") offer_assignments(candidates, is_writable);
  if (name == "wait") offer_assignments(candidates, is_readable);
  if (name != "run") return;
  const auto action =
      std::find_if(words.begin() + static_cast<std::ptrdiff_t>(place) + 1, words.end() - 1,
                   [](const std::string& word) { return !begins_with(word, "-"); });
  if (action != words.end() - 1) return offer_parameters(*action, candidates);
  for (const Row& row : catalogue::rows()) {
    if (is_action(row)) candidates.offer(row.name());
  }
}

}  // namespace

std::vector<std::string> completions(const Words& words, const Options& program_options) {
  if (words.empty()) return {};
  Candidates candidates(words.back());
  const std::size_t last = words.size() - 1;
  const std::size_t place = command_place(program_options, words);
  if (place == last) {
    if (is_value(program_options, words, place)) return {};
    for (const Command& command : commands()) candidates.offer(command.name);
    if (begins_with(words.back(), "-")) offer_options(program_options, candidates);
    return candidates.take();
  }
  const Command* const command = find_command(words[place]);
  if (command == nullptr || is_value(command->options, words, last)) return {};
  if (begins_with(words.back(), "-")) {
    offer_options(command->options, candidates);
  } else {
    offer_arguments(*command, words, place, candidates);
  }
  return candidates.take();
}

}  // namespace vlm::ctl
