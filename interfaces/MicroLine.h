#pragma once

// The pattern document that is handed to the host and to the driver: a ring of single line segments. Plain memory with
// raw pointers and fixed offsets. A reader walks `pNext` only: `pPrev` is null on some nodes, and this is meant.

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// One line, machine millimetres; a ring of one segment.
struct MicroLineSegment {
    double dX0 = 0.0;
    double dY0 = 0.0;
    double dReserved0 = 0.0;
    double dX1 = 0.0;
    double dY1 = 0.0;
    double dReserved1 = 0.0;
    MicroLineSegment* pPrev = nullptr;
    MicroLineSegment* pNext = nullptr;
};

struct MicroLineNode {
    std::int32_t nReserved = 0;
    std::array<std::int64_t, 6> reserved{};
    MicroLineSegment* pSegment = nullptr;
    std::int64_t nReserved2 = 0;
    MicroLineNode* pPrev = nullptr;
    MicroLineNode* pNext = nullptr;
};

struct MicroLineLayer {
    std::int32_t nReserved0 = 0;
    std::int32_t nReserved1 = 0;
    MicroLineNode* pFirstNode = nullptr;
    MicroLineLayer* pPrev = nullptr;
    MicroLineLayer* pNext = nullptr;
};

/// One layer and the bounding box of its lines, machine millimetres.
struct MicroLineDocument {
    MicroLineLayer* pLayer = nullptr;
    double dX = 0.0;
    double dY = 0.0;
    double dWidth = 0.0;
    double dHeight = 0.0;
};

static_assert(sizeof(MicroLineSegment) == 64 && std::is_trivially_copyable_v<MicroLineSegment>);
static_assert(offsetof(MicroLineSegment, dX0) == 0 && offsetof(MicroLineSegment, dY0) == 8);
static_assert(offsetof(MicroLineSegment, dReserved0) == 16 && offsetof(MicroLineSegment, dReserved1) == 40);
static_assert(offsetof(MicroLineSegment, dX1) == 24 && offsetof(MicroLineSegment, dY1) == 32);
static_assert(offsetof(MicroLineSegment, pPrev) == 48 && offsetof(MicroLineSegment, pNext) == 56);
static_assert(sizeof(MicroLineNode) == 88 && std::is_trivially_copyable_v<MicroLineNode>);
static_assert(offsetof(MicroLineNode, reserved) == 8 && offsetof(MicroLineNode, pSegment) == 56);
static_assert(offsetof(MicroLineNode, nReserved2) == 64);
static_assert(offsetof(MicroLineNode, pPrev) == 72 && offsetof(MicroLineNode, pNext) == 80);
static_assert(sizeof(MicroLineLayer) == 32 && std::is_trivially_copyable_v<MicroLineLayer>);
static_assert(offsetof(MicroLineLayer, pFirstNode) == 8);
static_assert(offsetof(MicroLineLayer, pPrev) == 16 && offsetof(MicroLineLayer, pNext) == 24);
static_assert(sizeof(MicroLineDocument) == 40 && std::is_trivially_copyable_v<MicroLineDocument>);
static_assert(offsetof(MicroLineDocument, dX) == 8 && offsetof(MicroLineDocument, dY) == 16);
static_assert(offsetof(MicroLineDocument, dWidth) == 24 && offsetof(MicroLineDocument, dHeight) == 32);
