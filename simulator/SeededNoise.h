#pragma once

// Random numbers that are a function of where they are used: a hash of seed and counters. The same place gives the same
// number whatever the order of work, so pictures do not depend on the number of threads. Not for anything secret.

#include <cstdint>

namespace Simulator
{

/// Finaliser of splitmix64.
inline std::uint64_t Mix(std::uint64_t n)
{
    n += 0x9E3779B97F4A7C15ull;
    n = (n ^ (n >> 30)) * 0xBF58476D1CE4E5B9ull;
    n = (n ^ (n >> 27)) * 0x94D049BB133111EBull;
    return n ^ (n >> 31);
}

inline std::uint64_t Mix(std::uint64_t nSeed, std::uint64_t nCounter)
{
    return Mix(nSeed ^ Mix(nCounter));
}

/// A short sequence of numbers for one purpose.
class Draw
{
public:
    Draw(std::uint64_t nSeed, std::uint64_t nPurpose) : m_nSeed(Mix(nSeed, nPurpose)) {}

    std::uint64_t Bits() { return Mix(m_nSeed, m_nCount++); }
    /// In [0, 1).
    double Unit() { return static_cast<double>(Bits() >> 11) * 0x1.0p-53; }
    /// In [low, high).
    double Between(double low, double high) { return low + (high - low) * Unit(); }
    /// In [-limit, limit).
    double Within(double limit) { return Between(-limit, limit); }
    /// Standard normal.
    double Normal();

private:
    std::uint64_t m_nSeed;
    std::uint64_t m_nCount = 0;
};

/// Smooth noise over the plane, in [-1, 1], one bump per unit. Along a walk of short steps most of them stay between
/// the same four corners, whose values are kept; they decide nothing about the result.
class NoiseWalk
{
public:
    explicit NoiseWalk(std::uint32_t nSeed = 0) : m_nSeed(nSeed) {}

    float At(float x, float y);

private:
    std::uint32_t m_nSeed;
    std::int32_t m_nX = 0;
    std::int32_t m_nY = 0;
    bool m_bKnown = false;
    float m_corners[4] = {};
};

/// The same for one place.
inline float ValueNoise(std::uint32_t nSeed, float x, float y)
{
    return NoiseWalk(nSeed).At(x, y);
}

/// 4096 standard normal numbers, one for each value of 12 random bits; cut off at 3.7.
const float* NormalTable();

} // namespace Simulator
