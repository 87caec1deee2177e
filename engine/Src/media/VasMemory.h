/// \file
/// Allocation hooks for the block of a packet buffer, and the used-memory figure of the engine.
/// Global names outside any namespace.
#pragma once

/// *out = malloc(*size); *size is left as it is, and a failed allocation leaves null in *out.
void GetVasMemory(unsigned char** out, unsigned int* size);
/// free(ptr).
void FreeVasMemory(unsigned char* ptr);

/// Used memory as the engine library counts it; written only by that library, 0 otherwise.
extern unsigned int g_nMemUsedSize;
/// g_nMemUsedSize.
unsigned int GetUsedBufSize();
