// Allocation hooks for the block of a packet buffer, and the used-memory figure of the engine.
#pragma once

// *out = malloc(*size); *size is left as it is, and a failed allocation leaves null in *out.
void GetVasMemory(unsigned char** out, unsigned int* size);
void FreeVasMemory(unsigned char* ptr);

// Written only by the engine library; nothing here changes it.
extern unsigned int g_nMemUsedSize;
unsigned int GetUsedBufSize();
