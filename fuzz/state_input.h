#pragma once
// For the state-file fuzzers: the input becomes the only file in a fresh folder.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string_view>

inline void placeInput(const std::filesystem::path& folder, std::string_view name, const std::uint8_t* data,
                       std::size_t size) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  std::ofstream(folder / name, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
}
