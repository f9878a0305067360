// Which of several layouts comes nearest to a line that none of them explains, and where it stops to fit.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "layouts/layout.h"

struct NearMiss {
  uint8_t layout = 0;             // its place among those that were tried, from 1; 0: none is near
  Field field = Field::kIgnored;  // what the line should hold there; kIgnored: the line fits by itself
  uint32_t character = 0;         // of the line, from 1; 0: nobody knows, or fields have names and no places

  bool operator==(const NearMiss&) const = default;
};

// The nearest of the layouts, in whatever a shipper may have put around the line. Of equal ones it is the
// first. Takes time linear in the line's length.
NearMiss FindNearMiss(std::span<const Layout> layouts, std::string_view line, SplitRoom& room);

// The same, which tells what is around the line, too.
NearMiss FindNearMiss(std::span<const Layout> layouts, std::string_view line, SplitRoom& room,
                      Wrapper& around);

// The same of one known layout alone, and of what is around lines: tells the layout's number, or 0 where it
// is not near.
NearMiss FindMissOf(const Layout& known, Wrapper wrapper, std::string_view line, SplitRoom& room);

// The same of a layout that somebody has told, which is near to each line, whatever is around that; it is 1.
NearMiss FindMissOfTold(const Layout& told, std::string_view line, SplitRoom& room);
