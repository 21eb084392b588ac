#include "platform/ph_asset_creation_request.h"

#include <cstdio>
#include <cstdlib>

#include "change_transaction.h"

namespace aurimo::platform {
namespace internal {
namespace {
thread_local ChangeTransaction* currentTransaction = nullptr;
}  // namespace

ChangeTransaction::Scope::Scope(ChangeTransaction& transaction) : previous_(currentTransaction) {
  currentTransaction = &transaction;
}

ChangeTransaction::Scope::~Scope() { currentTransaction = previous_; }

ChangeTransaction* ChangeTransaction::current() { return currentTransaction; }

PHAssetCreationRequest& ChangeTransaction::addCreationRequest() {
  requests_.push_back(std::unique_ptr<PHAssetCreationRequest>(new PHAssetCreationRequest()));
  return *requests_.back();
}

}  // namespace internal

PHAssetCreationRequest& PHAssetCreationRequest::forAsset() {
  internal::ChangeTransaction* transaction = internal::ChangeTransaction::current();
  if (transaction == nullptr) {
    std::fprintf(stderr, "PHAssetCreationRequest::forAsset() called outside a PHPhotoLibrary change block\n");
    std::abort();
  }
  return transaction->addCreationRequest();
}

void PHAssetCreationRequest::addResource(PHAssetResourceType type, Data data,
                                         std::optional<PHAssetResourceCreationOptions> options) {
  resources_.push_back(Resource{type, std::move(data), std::move(options)});
}

}  // namespace aurimo::platform
