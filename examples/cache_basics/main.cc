// The cache: a memory-and-disk storage of a JSON-codable type, an observer of
// one key, a blocking write and a read that completes on the cache's queue.
// Files go to the user's caches folder ($XDG_CACHE_HOME/aurimo/CoinCache).
#include <cstdio>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "cache/storage.h"

namespace {

struct Coin {
  std::string name;
  int year = 0;
};
// JSON conversions are all a type needs to be stored through forCodable().
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Coin, name, year)

}  // namespace

int main() {
  using namespace aurimo::cache;
  using Coins = Storage<std::string, Coin>;
  auto coins = Coins::create(DiskConfig("CoinCache", Expiry::never, 10'000'000, std::nullopt, std::nullopt),
                             MemoryConfig(Expiry::never, 100, 0), TransformerFactory::forCodable<Coin>());

  // The observer is held weakly and the registration ends with `observation`.
  auto editsSeen = std::make_shared<int>(0);
  ScopedObservation observation(coins->addObserver(
      editsSeen, "florin", [](int& seen, Coins&, const KeyChange<Coin>& change) {
        if (change.kind() == KeyChange<Coin>::Kind::edit) ++seen;
      }));

  coins->setObject(Coin{"Florentine florin", 1252}, "florin");  // observers hear it before this returns

  std::promise<Result<Coin>> read;
  coins->async().object("florin", [&read](Result<Coin> result) { read.set_value(std::move(result)); });
  const Coin coin = read.get_future().get().get();  // get() rethrows the error of a failed read
  std::printf("%s, %d (edits seen: %d)\n", coin.name.c_str(), coin.year, *editsSeen);

  coins->removeAll();
  return coin.year == 1252 && *editsSeen == 1 ? 0 : 1;
}
