/// \file
/// Portability wrappers with the shape of the bounded C library calls. They are not safe versions:
/// except for the printf forms, destSize is ignored and the caller guarantees the room. Global
/// functions outside any namespace, safe on any thread.
#pragma once

#include <cstdarg>
#include <cstdio>

/// strncpy(dest, src, count): no terminator beyond what strncpy writes. Returns 0.
int vas_strncpy_s(char* dest, unsigned int destSize, const char* src, unsigned int count);
/// memcpy(dest, src, count). Returns 0.
int vas_memcpy_s(void* dest, unsigned int destSize, const void* src, unsigned int count);
/// vsnprintf into `dest` bounded by `destSize` (this size is honoured), fortified; returns what
/// vsnprintf returns.
int vas_sprintf_s(char* dest, unsigned int destSize, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/// vas_sprintf_s with an argument list.
int vas_vsprintf_s(char* dest, unsigned int destSize, const char* format, va_list args);
/// *file is set to null, then to fopen's result; true when the file opened.
bool vas_fopen_s(FILE** file, const char* path, const char* mode);
