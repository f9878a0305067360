// Parts as texts.
#pragma once

#include <algorithm>
#include <string>

#include "base/part_bytes.h"
#include "superlog/byte_scan.h"

// What is written to a part.
template <typename Write>
std::string WrittenPart(Write write) {
  std::string bytes;
  PartWriter part;
  part.sink = {&bytes, [](void* context, const char* text, size_t size) {
                 static_cast<std::string*>(context)->append(text, size);
               }};
  write(part);
  FlushPart(part);
  return bytes;
}

// A reader of the first size bytes, behind which there is room.
class PartText {
 public:
  explicit PartText(const std::string& bytes, size_t size = std::string::npos)
      : size_(std::min(size, bytes.size())),
        bytes_(bytes.substr(0, size_) + std::string(kScanOverread, '\0')) {}
  PartReader reader() const { return {bytes_.data(), bytes_.data() + size_}; }

 private:
  size_t size_;
  std::string bytes_;
};

// A part whose bytes come when they are asked for, and those that were there before move each time.
class ComingPart {
 public:
  explicit ComingPart(const std::string& bytes) : left_(bytes), there_(kScanOverread, '\0') {}
  PartReader reader() { return {there_.data(), there_.data(), false, {this, Fetch}}; }

 private:
  static void Fetch(void* context, PartReader& part, size_t size) {
    ComingPart& self = *static_cast<ComingPart*>(context);
    std::string now(part.next, part.end);
    const std::string more = self.left_.substr(0, size - now.size());
    self.left_.erase(0, more.size());
    now += more + std::string(kScanOverread, '\0');
    std::fill(self.there_.begin(), self.there_.end(), '?');
    self.there_.swap(now);
    part.next = self.there_.data();
    part.end = part.next + self.there_.size() - kScanOverread;
    part.source = self.left_.empty() ? PartSource{} : part.source;
  }

  std::string left_;
  std::string there_;
};
