#include "script/host/Crc32.h"
#include <array>

namespace {

constexpr std::uint32_t polynomial = 0x04C11DB7;

using CrcTables = std::array<std::array<std::uint32_t, 256>, 8>;

// tables[k][x]: the remainder of the byte x followed by k zero bytes.
constexpr CrcTables makeTables()
{
    CrcTables tables{};
    for (std::uint32_t x = 0; x < 256; ++x) {
        std::uint32_t crc = x << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80000000u) ? (crc << 1) ^ polynomial : crc << 1;
        tables[0][x] = crc;
    }
    for (std::size_t k = 1; k < tables.size(); ++k) {
        for (std::uint32_t x = 0; x < 256; ++x) {
            const std::uint32_t previous = tables[k - 1][x];
            tables[k][x] = (previous << 8) ^ tables[0][previous >> 24];
        }
    }
    return tables;
}

constexpr CrcTables tables = makeTables();
static_assert(tables[0][1] == polynomial);

} // namespace

std::uint32_t unreflectedCrc32(QByteArrayView bytes)
{
    const auto *at = reinterpret_cast<const std::uint8_t *>(bytes.data());
    std::size_t left = std::size_t(bytes.size());
    std::uint32_t crc = 0xFFFFFFFFu;
    while (left >= 8) {
        crc ^= std::uint32_t(at[0]) << 24 | std::uint32_t(at[1]) << 16 | std::uint32_t(at[2]) << 8
               | at[3];
        crc = tables[7][crc >> 24] ^ tables[6][(crc >> 16) & 0xFF] ^ tables[5][(crc >> 8) & 0xFF]
              ^ tables[4][crc & 0xFF] ^ tables[3][at[4]] ^ tables[2][at[5]] ^ tables[1][at[6]]
              ^ tables[0][at[7]];
        at += 8;
        left -= 8;
    }
    for (; left > 0; --left, ++at)
        crc = (crc << 8) ^ tables[0][(crc >> 24) ^ *at];
    return ~crc;
}
