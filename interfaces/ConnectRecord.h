#pragma once

// One way to reach the machine. The first 22 bytes are also its form in the device list file; the two bytes behind the
// address are never read from the file and end an address that fills its field.

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

struct ConnectRecord {
    std::int32_t nType = 0;           ///< 1: by IP address; any other value: automatic USB
    std::uint16_t nPort = 3;          ///< kept, never passed on
    std::array<char, 16> szAddress{}; ///< zero-terminated IP address
    std::array<char, 2> reserved{};
};

static_assert(sizeof(ConnectRecord) == 24 && std::is_trivially_copyable_v<ConnectRecord>);
static_assert(offsetof(ConnectRecord, nType) == 0 && offsetof(ConnectRecord, nPort) == 4);
static_assert(offsetof(ConnectRecord, szAddress) == 6 && offsetof(ConnectRecord, reserved) == 22);
