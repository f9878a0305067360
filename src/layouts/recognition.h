// Finds out by which of the known layouts the lines of a log are written.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "layouts/known_layouts.h"

// The first lines of data that are looked at.
inline constexpr size_t kMostSampleLines = 200;

// Of 100 lines that have a layout's shape so many must have a date, a status and a size.
inline constexpr size_t kAgreeingLines = 95;

// The known layouts in their order, ready to split lines with; made once.
std::span<const Layout> ReadyLayouts();

// What stands in a log behind a line.
struct LinesAhead {
  std::string_view near;  // what is at hand
  std::string_view (*far)() =
      nullptr;         // the same and what follows, to be asked for where that holds too few lines
  int64_t offset = 0;  // where in the log they begin
};

// What is known of a log when a line of it is to be recognised.
struct LogSoFar {
  std::span<const Layout> held = {};  // layouts that lines of it have
  // By what is around lines and by layout: the place in the log up to which a layout is refused, because it
  // was weighed, and the first line that spoke against it begins there.
  std::array<int64_t, size_t{kWrapperCount}* kMostKnownLayouts> refused_to = {};
};

// Takes the layout, with what is around its lines, that explains the line and most of the lines ahead, if of
// those that have its shape at least kAgreeingLines of 100 have a date, a status and a size. Lines of another
// kind in between, such as messages of the server, count for nothing. So do those that a held layout
// explains, and those with no more than the shape that another known one explains: a log may hold lines of
// several. What stands behind the last end of line ahead is left out. False, leaving layout as it was, when
// there is none. A layout that is refused is not weighed again before the first line that spoke against it
// has passed: that is noted in so_far, to be forgotten when other layouts hold.
bool RecogniseLayout(std::string_view line, const LinesAhead& ahead, LogSoFar& so_far, SplitRoom& room,
                     Layout& layout);
