// The box library's own check, as the self-check action calls it.
#pragma once

// Replaceable so that tests can give any result; the product calls the
// library's _BXDFileCheckLevel.
using BoxCheckFunction = int (*)(const char* path, int level);
extern BoxCheckFunction boxCheckFunction;

inline constexpr int kFullCheckLevel = 255;
