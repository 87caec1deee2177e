/// \file
/// Portability wrappers with the shape of the bounded C library calls. They are not safe versions:
/// except for the printf forms, destSize is ignored and the caller guarantees the room. Global
/// functions outside any namespace, safe on any thread.
#pragma once

#include <cstdio>

/// strncpy(dest, src, count): no terminator beyond what strncpy writes. Returns 0.
int vas_strncpy_s(char* dest, unsigned int destSize, const char* src, unsigned int count);
/// memcpy(dest, src, count). Returns 0.
int vas_memcpy_s(void* dest, unsigned int destSize, const void* src, unsigned int count);
/// vsnprintf into `dest` bounded by `destSize` (this size is honoured), fortified; returns what
/// vsnprintf returns.
int vas_sprintf_s(char* dest, unsigned int destSize, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/// vas_sprintf_s with an argument list. `args` carries the list as a char*: on x86-64 it points
/// at the va_list record (the way a va_list argument travels there), on 32-bit ARM it is the one
/// pointer that a va_list holds.
int vas_vsprintf_s(char* dest, unsigned int destSize, const char* format, char* args);
/// *file is set to null, then to fopen's result; true when the file opened.
bool vas_fopen_s(FILE** file, const char* path, const char* mode);
