// Takes small values and byte strings off the front of a fuzz input, so that
// seeds can be written by hand: a few parameter bytes, then text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class ByteReader {
 public:
  ByteReader(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool empty() const { return pos_ >= size_; }

  // The next byte, 0 once the input is used up.
  std::uint8_t byte() { return empty() ? 0 : data_[pos_++]; }

  // A value in [0, count) from the next byte; count must be at least 1.
  unsigned pick(unsigned count) { return byte() % count; }

  // Everything up to the next '\n' (which is consumed) or the end.
  std::string line() {
    std::string text;
    while (!empty()) {
      const char c = static_cast<char>(data_[pos_++]);
      if (c == '\n') break;
      text += c;
    }
    return text;
  }

  std::string_view rest() {
    const std::string_view text(reinterpret_cast<const char*>(data_) + pos_, empty() ? 0 : size_ - pos_);
    pos_ = size_;
    return text;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t pos_ = 0;
};
