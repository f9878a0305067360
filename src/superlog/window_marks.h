// Marks of a window of a log: the places of all bytes at which a line, its text or a quoted field may end,
// found in one scan.
#pragma once

#include <cstddef>
#include <cstdint>

// Writes the places of the bytes [from, to) of a buffer that are LF, CR, NUL, a double quote or, where the
// limits say that it ends lines, 0xFF, as distances from its start, and the place `to` behind them. The
// buffer must go on for kScanOverread bytes from there on, and there must be room for kMarksBehind more
// places than bytes. The form for any processor, and the one for this one; both give the same.
inline constexpr size_t kMarksBehind = 128;
using MarkWindowForm = void (*)(const char* buffer, size_t from, size_t to, bool ff_ends_line,
                                uint32_t* marks);
void MarkWindowPlainly(const char* buffer, size_t from, size_t to, bool ff_ends_line, uint32_t* marks);
extern const MarkWindowForm mpMarkWindow;
