/// \file
/// Byte helpers for AES-128 segment decryption: the 16-byte IV from a media sequence number or
/// from a hexadecimal IV attribute, and bytes back to printable hex. No key store, no cipher work.
/// Global functions outside any namespace; pure, safe on any thread while the locale stays.
#pragma once

#include <string>

/// Writes exactly 2 * length upper-case hex characters, high nibble first, and no terminator.
void byteToHexString(char* bytes, char* hex, unsigned int length);
/// Zero-fills size bytes of out, then stores the bytes of hex (optional "0x"/"0X" prefix) read
/// from the end of the text backwards, right-aligned in out. Returns the number of bytes stored.
/// Only the last size bytes of a longer text are kept; an odd leading digit is dropped ("0xABC"
/// gives the one byte 0xBC). Characters are not checked.
int hexStringToByte(const std::string& hex, void* out, unsigned int size);
/// True: the build targets little-endian processors only.
bool IsLittleEndian();
/// value with its four bytes reversed.
unsigned int swapByteOrder(unsigned int value);
/// The IV for a key tag without IV attribute: size bytes of zeros ending in the big-endian
/// sequence number. size must be at least 4.
void sequenceToiv(unsigned int sequence, unsigned char* iv, unsigned int size);
/// Zero-fills size bytes of iv and reads hex into it; returns hexStringToByte's count.
int stringToiv(const std::string& hex, unsigned char* iv, unsigned int size);
