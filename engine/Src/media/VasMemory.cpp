#include "VasMemory.h"

#include <cstdlib>

unsigned int g_nMemUsedSize = 0;

void GetVasMemory(unsigned char** out, unsigned int* size) {
  *out = static_cast<unsigned char*>(malloc(*size));
}

void FreeVasMemory(unsigned char* ptr) { free(ptr); }

unsigned int GetUsedBufSize() { return g_nMemUsedSize; }
