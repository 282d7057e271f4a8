// Text from a box file or a command line made safe to print and to put into
// JSON: the result is always valid UTF-8 without control characters, and
// the original bytes can be read back from it.
//
//   printable("Ann")          -> Ann
//   printable("\xa4\xa2 a\\b") -> \xa4\xa2 a\\b   (EUC-JP bytes, a backslash)
#pragma once

#include <cstdio>

#include <cstdarg>
#include <string>
#include <string_view>

#include "text_coding.h"

// Valid UTF-8 stays as it is, except that a backslash is doubled; every byte
// that is not part of a valid UTF-8 sequence, and every control character
// (0x00 to 0x1F, 0x7F, and U+0080 to U+009F byte by byte), becomes \xNN with two lowercase hex digits.
std::string printable(std::string_view bytes);

// Writes text to standard output as it is.
void writeOut(const std::string& text);

// Flushes standard output, keeping the cause of the first write to it that
// failed for outputError().  False when it failed.
bool flushOutput();
// Keeps error (an errno) as the cause of a failed write to standard output,
// unless an earlier one is kept.
void noteOutputError(int error);
// Why writing to standard output failed ("No space left on device"), or
// empty when it has not.
std::string outputError();

// The error exit of a subcommand: "boxtool: PATH: REASON" on standard
// error, both made printable; returns status.
int fail(const std::string& path, const std::string& reason, int status);
