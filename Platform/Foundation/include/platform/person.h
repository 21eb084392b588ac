#pragma once
// Person: whoever is in front of the screen. Whatever the platform presents
// (a permission question, an alert, an activity indicator, a browser) goes to
// a Person; a question then waits for the choice taken. Every presentation is
// kept with its answer, so a host can print it and a test can check it.
//
// Thread contract: every member may be called from any thread; ask() blocks
// while the person decides, and several questions may be up at once.
//
//   auto person = std::make_shared<platform::FixedPerson>("Delete");
//   std::optional<std::size_t> taken = person->ask({"alert", "Delete?", "", {"Cancel", "Delete"}});

#include <cstddef>
#include <cstdio>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace aurimo::platform {

struct Presentation {
  std::string kind;  // "notificationPermission", "photoPermission", "alert", ...
  std::string title;
  std::string message;               // may be empty
  std::vector<std::string> choices;  // empty for a presentation that asks nothing

  friend bool operator==(const Presentation&, const Presentation&) = default;
};

struct PresentedItem {
  Presentation presentation;
  std::optional<std::size_t> answer;  // the index of the choice taken

  friend bool operator==(const PresentedItem&, const PresentedItem&) = default;
};

// A permission question offers these, in this order, and kLimitedChoice third
// where limited access exists; a terminal takes n, y and limited for them.
inline constexpr std::string_view kDontAllowChoice = "Don't Allow";
inline constexpr std::string_view kAllowChoice = "Allow";
inline constexpr std::string_view kLimitedChoice = "Limited";

// The index of the choice titled `title`; nullopt when `question` does not offer it.
std::optional<std::size_t> choiceIndex(const Presentation& question, std::string_view title);

class Person {
 public:
  using Listener = std::function<void(const PresentedItem&)>;

  Person() = default;
  virtual ~Person() = default;
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  // Presents `question` and waits: the index of the choice taken, or nullopt when
  // nobody answered or it was dismissed (so always for a question without choices).
  std::optional<std::size_t> ask(const Presentation& question);
  // Presents something that asks nothing.
  void show(Presentation presentation);

  // Everything presented so far, in order; a question still open has no answer yet.
  std::vector<PresentedItem> presentations() const;
  // Hears each item once it is complete (a question once answered), on the thread
  // that presented it.
  void setListener(Listener listener);

 protected:
  // Takes one of question.choices (never empty here). Called without a lock held,
  // possibly on several threads at once.
  virtual std::optional<std::size_t> choose(const Presentation& question) = 0;

 private:
  std::size_t record(Presentation presentation);
  void complete(std::size_t item, std::optional<std::size_t> answer);

  mutable std::mutex mutex_;
  std::vector<PresentedItem> items_;  // guarded by mutex_
  Listener listener_;                 // guarded by mutex_
};

// Asks on a terminal: the title, the message, then an answer line, read again
// until an answer names a choice. Permission questions take y or n (and limited);
// others list their choices numbered and take a number. Without a terminal on
// `input` (unless told to ask anyway) nobody answers and nothing is printed; at
// end of input nobody answered.
class TerminalPerson final : public Person {
 public:
  explicit TerminalPerson(std::FILE* input = stdin, std::FILE* output = stderr, bool onlyOnTerminal = true)
      : input_(input), output_(output), onlyOnTerminal_(onlyOnTerminal) {}

 protected:
  std::optional<std::size_t> choose(const Presentation& question) override;

 private:
  std::FILE* const input_;   // not owned
  std::FILE* const output_;  // not owned
  const bool onlyOnTerminal_;
  std::mutex terminal_;  // one question on the terminal at a time
};

// Always takes the choice titled `choice` (nullopt, or a title a question does
// not offer: nobody answers), e.g. from a command-line flag.
class FixedPerson final : public Person {
 public:
  explicit FixedPerson(std::optional<std::string> choice) : choice_(std::move(choice)) {}

 protected:
  std::optional<std::size_t> choose(const Presentation& question) override {
    return choice_ ? choiceIndex(question, *choice_) : std::nullopt;
  }

 private:
  const std::optional<std::string> choice_;
};

}  // namespace aurimo::platform
