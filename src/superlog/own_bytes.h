// Values as they lie in memory, for another process of the same program; such that have nothing between their
// members. Inner header of this folder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/part_bytes.h"

template <class T>
void PutBytes(PartWriter& part, const T& value) {
  static_assert(std::has_unique_object_representations_v<T>);
  PutText(part, {reinterpret_cast<const char*>(&value), sizeof value});
}

// What is damaged stays as it is.
template <class T>
void TakeBytes(PartReader& part, T& value) {
  static_assert(std::is_trivially_copyable_v<T>);
  const std::string_view bytes = TakeText(part, sizeof value);
  if (bytes.size() != sizeof value) {
    MarkDamaged(part);
    return;
  }
  memcpy(&value, bytes.data(), sizeof value);
}

template <class T>
void PutAll(PartWriter& part, const std::vector<T>& values) {
  static_assert(std::has_unique_object_representations_v<T>);
  PutText(part, {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)});
}

template <class T>
void TakeAll(PartReader& part, std::vector<T>& values) {
  static_assert(std::is_trivially_copyable_v<T>);
  const std::string_view bytes = TakeText(part, SIZE_MAX);
  if (part.damaged || bytes.size() % sizeof(T) != 0) {
    MarkDamaged(part);
    return;
  }
  values.resize(bytes.size() / sizeof(T));
  std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char*>(values.data()));
}
