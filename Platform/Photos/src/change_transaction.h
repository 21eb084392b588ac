#pragma once
// The requests that one change block creates, found by forAsset() through a
// thread-local pointer while the block runs on the library's change queue.

#include <memory>
#include <vector>

#include "platform/ph_asset_creation_request.h"

namespace aurimo::platform::internal {

class ChangeTransaction {
 public:
  // Makes `transaction` the current one on this thread for the scope.
  class Scope {
   public:
    explicit Scope(ChangeTransaction& transaction);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    ChangeTransaction* previous_;
  };

  // Null outside a change block.
  static ChangeTransaction* current();

  PHAssetCreationRequest& addCreationRequest();
  const std::vector<std::unique_ptr<PHAssetCreationRequest>>& creationRequests() const { return requests_; }

 private:
  std::vector<std::unique_ptr<PHAssetCreationRequest>> requests_;
};

}  // namespace aurimo::platform::internal
