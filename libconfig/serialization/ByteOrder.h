// The words of serialized values: big-endian on every host, made with shifts. Internal.
#pragma once

namespace qel::config {

// The two words that stand for a boolean. Any word but the first reads as false.
constexpr unsigned int kTrueWord = 0x0000BEEF;
constexpr unsigned int kFalseWord = 0x0000DEAD;

inline void StoreBigEndian(unsigned int value, char* out) {
  out[0] = static_cast<char>(value >> 24);
  out[1] = static_cast<char>(value >> 16);
  out[2] = static_cast<char>(value >> 8);
  out[3] = static_cast<char>(value);
}

inline unsigned int LoadBigEndian(const char* in) {
  const auto byte = [in](int i) {
    return static_cast<unsigned int>(static_cast<unsigned char>(in[i]));
  };
  return byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3);
}

}  // namespace qel::config
