// From full-range samples (0 to 255) to video range (Y' 16 to 235, Cb and Cr 16 to 240), in place.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvid {

// Numerator and zero point in 1/65536: with + half, the shift rounds to the nearest value.
struct SampleScale {
  std::uint32_t factor, offset;
};
inline constexpr SampleScale kLumaScale{219 * 65536 / 255, (16U << 16) + 32768 + 128};
// 128 stays 128.
inline constexpr SampleScale kChromaScale{224 * 65536 / 255,
                                          (128U << 16) - 128U * (224 * 65536 / 255) + 32768};

// width in bytes.
inline void toVideoRange(const SampleScale& scale, std::uint8_t* base, int stride, int width,
                         int height) {
  for (int row = 0; row < height; ++row) {
    std::uint8_t* const samples = base + static_cast<std::ptrdiff_t>(row) * stride;
    for (int i = 0; i < width; ++i) {
      samples[i] = static_cast<std::uint8_t>((samples[i] * scale.factor + scale.offset) >> 16);
    }
  }
}

inline void lumaToVideoRange(std::uint8_t* base, int stride, int width, int height) {
  toVideoRange(kLumaScale, base, stride, width, height);
}

inline void chromaToVideoRange(std::uint8_t* base, int stride, int width, int height) {
  toVideoRange(kChromaScale, base, stride, width, height);
}

}  // namespace quorvid
