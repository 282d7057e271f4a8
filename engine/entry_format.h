// The handheld's text form of a delivered entry, written in one place.
//
// Every delivered entry prints its position line; a finding prints a second
// line below it:
//
//    --   -1: 0x000000: 0xffffffff, 0x000048
//       20000001 Box file header has sick.
//
// The finding line is four blanks, the whole code ("%6.4x", so codes with a
// high nibble print as seven or eight digits), a blank, the text, and the
// detail joined directly to the text: problem details bring their own blank.
// The console prints these lines on standard output, the result view echoes
// them on standard error.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>

// The position line: " -- index: 0xoffset: 0xid, 0xsize".
void writePositionLine(FILE* out, int32_t index, uint32_t offset, uint32_t id, uint32_t size);

// The finding line of a nonzero code.  A null text prints as empty; format
// may be null.
void writeFindingLine(FILE* out, uint32_t code, const char* text, const char* format, va_list args)
    __attribute__((format(printf, 4, 0)));

// Both: the position line and, for a nonzero code, the finding line.
void writeEntry(FILE* out, int32_t index, uint32_t offset, uint32_t id, uint32_t size, uint32_t code,
                const char* text, const char* format, va_list args) __attribute__((format(printf, 8, 0)));

// Writes a debug line: the formatted text and a line end.
void writeDebugLine(FILE* out, const char* format, va_list args) __attribute__((format(printf, 2, 0)));
