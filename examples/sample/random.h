#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace twupdate::sample {

/// Pseudo-random numbers that are the same on every machine for the same seed (SplitMix64); the
/// standard library's distributions are not.
class Random {
  public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t Next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15U);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
        return z ^ (z >> 31);
    }
    /// 0 to `count` - 1.
    std::int32_t Below(std::int32_t count) {
        return static_cast<std::int32_t>(Next() % static_cast<std::uint64_t>(count));
    }
    /// `from` to `until`, both included.
    std::int32_t Between(std::int32_t from, std::int32_t until) {
        return from + Below(until - from + 1);
    }
    /// True in so many cases of a hundred.
    bool Percent(std::int32_t percent) { return Below(100) < percent; }
    template <typename T, std::size_t kCount>
    const T& Pick(const std::array<T, kCount>& list) {
        return list[static_cast<std::size_t>(Below(static_cast<std::int32_t>(kCount)))];
    }

  private:
    std::uint64_t state_;
};

}  // namespace twupdate::sample
