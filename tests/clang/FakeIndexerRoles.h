#pragma once

// What the tests and the stand-in indexer agree on.
constexpr int holdRelease = 0x60D0600D; // in the header's last slot: the reply is written
constexpr unsigned long fakeIndexerMapped = 1 << 20; // the part of the area the stand-in maps
