// Parts as texts.
#pragma once

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
