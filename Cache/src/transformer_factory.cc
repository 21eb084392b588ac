#include "cache/transformer_factory.h"

namespace aurimo::cache {

Transformer<platform::Data> TransformerFactory::forData() {
  return Transformer<platform::Data>([](const platform::Data& data) { return data; },
                                     [](const platform::Data& data) { return data; },
                                     [](platform::Data&& data) { return std::move(data); });
}

}  // namespace aurimo::cache
