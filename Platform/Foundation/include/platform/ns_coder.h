#pragma once
// NSCoder: an archive a screen may be restored from. Interface files do not
// exist on Linux; an archive is a JSON object of the screen's saved values,
// and one that is not an object cannot restore anything.
//
// Thread contract: a value; any thread.
//
//   platform::NSCoder coder(nlohmann::json{{"title", "Home"}});
//   if (auto screen = Screen::make(coder)) show(screen);

#include <utility>

#include <nlohmann/json.hpp>

namespace aurimo::platform {

class NSCoder {
 public:
  explicit NSCoder(nlohmann::json archive) : archive_(std::move(archive)) {}
  const nlohmann::json& archive() const { return archive_; }
  // Whether anything can be decoded from it.
  bool isValid() const { return archive_.is_object(); }

 private:
  nlohmann::json archive_;
};

}  // namespace aurimo::platform
