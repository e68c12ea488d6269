// crc32: the CRC-32 (IEEE 802.3: reflected, polynomial 0xEDB88320) that the
// archive keeps over each file's unpacked bytes.
#pragma once

// The running value after the `*size` bytes at `buffer`, starting from
// `*crc`. Neither the initial nor the final step is done here: the caller
// starts at 0xFFFFFFFF, carries the value across all blocks of one file and
// complements it at the end, which gives the CRC-32 in its usual published
// form (0xCBF43926 for the text 123456789; 0 for no bytes). `*size` 0
// returns `*crc` unchanged. Only the low 32 bits of `*crc` count, and the
// result has no others. Neither argument is changed.
unsigned long crc32(const char* buffer, const unsigned int* size, const unsigned long* crc);
