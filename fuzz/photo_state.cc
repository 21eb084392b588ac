// A photo library's state file per input, loaded as at start-up.
#include "platform/ph_photo_library.h"
#include "state_input.h"
#include "testing/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static aurimo::test::Environment env;
  placeInput(env.stateDirectory(), aurimo::platform::PHPhotoLibrary::kStateFileName, data, size);
  env.restartPhotoLibrary();
  for (auto level : {aurimo::platform::PHAccessLevel::addOnly, aurimo::platform::PHAccessLevel::readWrite}) {
    (void)env.photoLibrary().authorizationStatusOf(level);
  }
  return 0;
}
