#pragma once

// The machine's factory parameters as the driver reads and writes them. A new record holds the defaults that make it
// well formed; only the axis lengths are written by the plug-in.

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

struct FactoryAxis {
    std::int32_t nWord0 = 1;
    std::array<std::uint8_t, 12> zero{};
    std::int32_t nWord16 = 1;
    double dValue24 = 7.88627;
    double dLengthMm = 900.0;
    double dValue40 = 3.0;
    std::array<std::uint8_t, 3> flags{1, 1, 1};
    double dValue56 = 20.0;
    double dValue64 = 1000.0;
    std::array<double, 2> values72{20000.0, 20000.0};
    double dValue88 = 2500.0;
    double dValue96 = 10.0;
};

struct FactoryEntry {
    std::uint8_t nFlag0 = 1;
    double dValue8 = 10.0;
    double dValue16 = 100.0;
    std::int32_t nWord24 = 80;
    double dValue32 = 0.0;
    double dValue40 = 20000.0;
    double dValue48 = 5000.0;
    double dValue56 = 0.5;
    std::int32_t nWord64 = 0;
    std::uint8_t nFlag68 = 1;
    std::int32_t nWord72 = 0;
};

struct FactoryGroup1 {
    std::int32_t nWord0 = 1;
    std::int32_t nWord4 = 0;
    std::array<FactoryEntry, 2> entries{};
    std::int32_t nWord168 = 0;
};

struct FactoryGroup2 {
    std::int32_t nWord0 = 0;
    std::array<std::uint8_t, 12> zero{};
    std::array<std::uint8_t, 2> zero16{};
    double dValue24 = 0.0;
    std::int32_t nWord32 = 1000;
};

struct FactoryParam {
    std::array<FactoryAxis, 4> axes{}; ///< X, Y and two more
    FactoryGroup1 group1{};
    FactoryGroup2 group2{};
    double dValue632 = 50.0;
    std::array<double, 5> values640{5.0, 5.0, 20.0, 2000.0, 2000.0};
    std::array<double, 5> values680{300.0, 50.0, 2000.0, 800.0, 2000.0};
};

static_assert(sizeof(FactoryAxis) == 104 && std::is_trivially_copyable_v<FactoryAxis>);
static_assert(offsetof(FactoryAxis, nWord16) == 16 && offsetof(FactoryAxis, dValue24) == 24);
static_assert(offsetof(FactoryAxis, dLengthMm) == 32 && offsetof(FactoryAxis, dValue40) == 40);
static_assert(offsetof(FactoryAxis, flags) == 48 && offsetof(FactoryAxis, dValue56) == 56);
static_assert(offsetof(FactoryAxis, dValue64) == 64 && offsetof(FactoryAxis, values72) == 72);
static_assert(offsetof(FactoryAxis, dValue88) == 88 && offsetof(FactoryAxis, dValue96) == 96);
static_assert(sizeof(FactoryEntry) == 80 && std::is_trivially_copyable_v<FactoryEntry>);
static_assert(offsetof(FactoryEntry, dValue8) == 8 && offsetof(FactoryEntry, nWord24) == 24);
static_assert(offsetof(FactoryEntry, dValue16) == 16 && offsetof(FactoryEntry, dValue40) == 40);
static_assert(offsetof(FactoryEntry, dValue48) == 48);
static_assert(offsetof(FactoryEntry, dValue32) == 32 && offsetof(FactoryEntry, dValue56) == 56);
static_assert(offsetof(FactoryEntry, nWord64) == 64 && offsetof(FactoryEntry, nFlag68) == 68);
static_assert(offsetof(FactoryEntry, nWord72) == 72);
static_assert(sizeof(FactoryGroup1) == 176 && offsetof(FactoryGroup1, entries) == 8);
static_assert(offsetof(FactoryGroup1, nWord168) == 168);
static_assert(sizeof(FactoryGroup2) == 40 && offsetof(FactoryGroup2, zero16) == 16);
static_assert(offsetof(FactoryGroup2, dValue24) == 24 && offsetof(FactoryGroup2, nWord32) == 32);
static_assert(sizeof(FactoryParam) == 720 && std::is_trivially_copyable_v<FactoryParam>);
static_assert(offsetof(FactoryParam, group1) == 416 && offsetof(FactoryParam, group2) == 592);
static_assert(offsetof(FactoryParam, dValue632) == 632 && offsetof(FactoryParam, values640) == 640);
static_assert(offsetof(FactoryParam, values680) == 680);
