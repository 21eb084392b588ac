#pragma once
// StorageObservationRegistry and KeyObservationRegistry: what a storage that
// reports changes offers. Observers are std::shared_ptr objects the caller
// owns; registries hold them weakly and hand the closure the observer, the
// registry itself and the change.
//
// Thread contract: set by each implementation.
//
//   static_assert(cache::StorageObservationRegistry<cache::HybridStorage<std::string, int>>);
//   static_assert(cache::KeyObservationRegistry<cache::Storage<std::string, int>>);

#include <concepts>
#include <memory>
#include <utility>

#include "cache/key_change.h"
#include "cache/observation_token.h"
#include "cache/storage_change.h"

namespace aurimo::cache {

namespace internal {
struct ProbeObserver {};
}  // namespace internal

template <class R>
concept StorageObservationRegistry = requires(R& registry, const std::shared_ptr<internal::ProbeObserver>& observer,
                                              void (*closure)(internal::ProbeObserver&, R&,
                                                              const StorageChange<typename R::Key>&)) {
  { registry.addStorageObserver(observer, closure) } -> std::same_as<ObservationToken>;
  registry.removeAllStorageObservers();
};

template <class R>
concept KeyObservationRegistry = requires(R& registry, const std::shared_ptr<internal::ProbeObserver>& observer,
                                          const typename R::Key& key,
                                          void (*closure)(internal::ProbeObserver&, R&,
                                                          const KeyChange<typename R::Value>&)) {
  { registry.addObserver(observer, key, closure) } -> std::same_as<ObservationToken>;
  registry.removeObserver(key);
  registry.removeAllKeyObservers();
};

}  // namespace aurimo::cache
