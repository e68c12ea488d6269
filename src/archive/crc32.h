// crc32: the CRC-32 (IEEE 802.3, reflected, polynomial 0xEDB88320) that the
// archive takes over each file's unpacked bytes.
//
// Temporary stand-in of the archive branch until the codec branch brings
// the real routine; same declaration.
#pragma once

// The running value after `*size` more bytes at buffer. Neither the
// initial nor the final step is done here: the caller starts at 0xFFFFFFFF
// and complements at the end. *size 0 returns *crc unchanged.
unsigned long crc32(const char* buffer, const unsigned int* size, const unsigned long* crc);
