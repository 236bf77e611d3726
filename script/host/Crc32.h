#pragma once
#include <QByteArrayView>
#include <cstdint>

// The checksum of the scripts' crc32 functions: polynomial 0x04C11DB7 fed most significant bit
// first, neither input nor output reflected, initial value 0xFFFFFFFF, result inverted. zlib's
// and Qt's checksums reflect, so this one has its own tables (eight, for slicing by 8 bytes).
[[nodiscard]] std::uint32_t unreflectedCrc32(QByteArrayView bytes);
