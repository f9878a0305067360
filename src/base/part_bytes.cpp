#include "base/part_bytes.h"

#include <algorithm>
#include <cstring>

static constexpr unsigned kBitsOfByte = 7;
static constexpr unsigned char kMore = 1U << kBitsOfByte;

void FlushPart(PartWriter& part) {
  if (part.filled > 0) {
    part.sink.take(part.sink.context, part.room, part.filled);
    part.filled = 0;
  }
}

void PutFigure(PartWriter& part, uint64_t figure) {
  if (sizeof part.room - part.filled < kLongestFigure) {
    FlushPart(part);
  }
  for (; figure >= kMore; figure >>= kBitsOfByte) {
    part.room[part.filled++] = static_cast<char>(figure | kMore);
  }
  part.room[part.filled++] = static_cast<char>(figure);
}

void PutSigned(PartWriter& part, int64_t figure) {
  const auto bits = static_cast<uint64_t>(figure);
  PutFigure(part, figure < 0 ? ~(bits << 1) : bits << 1);
}

void PutText(PartWriter& part, std::string_view text) {
  PutFigure(part, text.size());
  while (!text.empty()) {
    if (part.filled == sizeof part.room) {
      FlushPart(part);
    }
    const size_t size = text.copy(part.room + part.filled, sizeof part.room - part.filled);
    part.filled += size;
    text.remove_prefix(size);
  }
}

void MarkDamaged(PartReader& part) {
  part.damaged = true;
  part.next = part.end;
  part.source = {};
}

bool AreBytesThere(const PartReader& part, size_t size) {
  return static_cast<size_t>(part.end - part.next) >= size || part.source.fetch == nullptr;
}

void FetchBytes(PartReader& part, size_t size) {
  if (!AreBytesThere(part, size)) {
    part.source.fetch(part.source.context, part, size);
  }
}

uint64_t TakeFigure(PartReader& part) {
  FetchBytes(part, kLongestFigure);
  uint64_t figure = 0;
  for (unsigned shift = 0; part.next != part.end && shift < 64; shift += kBitsOfByte) {
    const auto byte = static_cast<unsigned char>(*part.next++);
    const uint64_t bits = byte % kMore;
    if (bits << shift >> shift != bits) {
      break;
    }
    figure |= bits << shift;
    if (byte < kMore) {
      return figure;
    }
  }
  MarkDamaged(part);
  return 0;
}

int64_t TakeSigned(PartReader& part) {
  const uint64_t bits = TakeFigure(part);
  return static_cast<int64_t>(bits % 2 == 0 ? bits >> 1 : ~(bits >> 1));
}

uint64_t TakeFigureUpTo(PartReader& part, uint64_t most) {
  const uint64_t figure = TakeFigure(part);
  if (figure <= most) {
    return figure;
  }
  MarkDamaged(part);
  return 0;
}

std::string_view TakeText(PartReader& part, size_t most) {
  const auto size = static_cast<size_t>(TakeFigureUpTo(part, most));
  FetchBytes(part, size);
  if (size > static_cast<size_t>(part.end - part.next)) {
    MarkDamaged(part);
    return {};
  }
  const std::string_view text{part.next, size};
  part.next += size;
  return text;
}
