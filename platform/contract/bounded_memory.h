#pragma once

#include <cstddef>

// Bounds-checked copies and formats. Each reports a violated bound instead of writing past it.

// Copies count bytes from source to target, which has room for targetSize bytes.
//
// Returns 0, or a non-zero number when a pointer is null or count exceeds targetSize; then nothing
// is copied.
int memcpy_s(void* target, std::size_t targetSize, const void* source, std::size_t count);

// Sets count bytes of target, which has room for targetSize bytes, to value. The optimiser never
// removes the call, so it is fit for wiping.
//
// Returns 0, or a non-zero number when target is null or count exceeds targetSize; then nothing is
// written.
int memset_s(void* target, std::size_t targetSize, int value, std::size_t count);

// Formats into target, which has room for targetSize bytes, at most count characters and a NUL.
//
// Returns the number of characters written, or a negative number when the text does not fit or an
// argument is not valid; target then holds an empty text.
int snprintf_s(char* target, std::size_t targetSize, std::size_t count, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
