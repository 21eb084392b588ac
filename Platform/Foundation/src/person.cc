#include "platform/person.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <unistd.h>

#include "platform/localization.h"

namespace aurimo::platform {
namespace {

bool isPermissionQuestion(const std::vector<std::string>& choices) {
  return choices.size() >= 2 && choices[0] == kDontAllowChoice && choices[1] == kAllowChoice &&
         (choices.size() == 2 || (choices.size() == 3 && choices[2] == kLimitedChoice));
}

// A permission question keeps the y/n line people know from the system's prompts.
std::string answerLine(const Presentation& question) {
  if (!isPermissionQuestion(question.choices)) {
    return NSLocalizedString("Number? ", "Answer prompt of a terminal question whose choices are listed numbered.");
  }
  if (question.choices.size() == 2) {
    return NSLocalizedString("Allow? [y/n] ",
                             "Answer prompt of a terminal permission question; y and n are typed in English.");
  }
  return NSLocalizedString(
      "Allow? [y/n/limited] ",
      "Answer prompt of the terminal question about the photo library; y, n and limited are typed in English.");
}

// The choice `line` names; nullopt for anything else. Case and spaces do not matter.
std::optional<std::size_t> parseAnswer(const Presentation& question, const char* line) {
  std::string word;
  for (const char* c = line; *c; ++c) {
    if (!std::isspace(static_cast<unsigned char>(*c))) word += char(std::tolower(static_cast<unsigned char>(*c)));
  }
  if (isPermissionQuestion(question.choices)) {
    if (word == "y" || word == "yes") return 1;
    if (word == "n" || word == "no") return 0;
    if (word == "limited" && question.choices.size() == 3) return 2;
    return std::nullopt;
  }
  std::size_t number = 0;
  auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || number < 1 || number > question.choices.size()) {
    return std::nullopt;
  }
  return number - 1;
}

}  // namespace

std::optional<std::size_t> choiceIndex(const Presentation& question, std::string_view title) {
  auto at = std::find(question.choices.begin(), question.choices.end(), title);
  if (at == question.choices.end()) return std::nullopt;
  return static_cast<std::size_t>(at - question.choices.begin());
}

std::optional<std::size_t> Person::ask(const Presentation& question) {
  const std::size_t item = record(question);
  std::optional<std::size_t> answer;
  if (!question.choices.empty()) answer = choose(question);
  if (answer && *answer >= question.choices.size()) answer.reset();
  complete(item, answer);
  return answer;
}

void Person::show(Presentation presentation) { complete(record(std::move(presentation)), std::nullopt); }

std::vector<PresentedItem> Person::presentations() const {
  std::lock_guard lock(mutex_);
  return items_;
}

void Person::setListener(Listener listener) {
  std::lock_guard lock(mutex_);
  listener_ = std::move(listener);
}

std::size_t Person::record(Presentation presentation) {
  std::lock_guard lock(mutex_);
  items_.push_back({std::move(presentation), std::nullopt});
  return items_.size() - 1;
}

void Person::complete(std::size_t item, std::optional<std::size_t> answer) {
  Listener listener;
  PresentedItem done;
  {
    std::lock_guard lock(mutex_);
    items_[item].answer = answer;
    listener = listener_;
    if (listener) done = items_[item];
  }
  // Outside the lock, so a listener may look at presentations().
  if (listener) listener(done);
}

std::optional<std::size_t> TerminalPerson::choose(const Presentation& question) {
  if (onlyOnTerminal_ && !isatty(fileno(input_))) return std::nullopt;
  std::lock_guard lock(terminal_);
  const bool numbered = !isPermissionQuestion(question.choices);
  const std::string prompt = answerLine(question);
  std::fprintf(output_, "%s\n", question.title.c_str());
  if (!question.message.empty()) std::fprintf(output_, "%s\n", question.message.c_str());
  for (std::size_t i = 0; numbered && i < question.choices.size(); ++i) {
    std::fprintf(output_, "  %zu. %s\n", i + 1, question.choices[i].c_str());
  }
  char* line = nullptr;
  std::size_t capacity = 0;
  std::optional<std::size_t> answer;
  for (;;) {
    std::fputs(prompt.c_str(), output_);
    std::fflush(output_);
    if (getline(&line, &capacity, input_) < 0) break;  // end of input: nobody answered
    answer = parseAnswer(question, line);
    if (answer) break;
  }
  std::free(line);
  return answer;
}

}  // namespace aurimo::platform
