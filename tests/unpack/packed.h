// Packed texts for tests, made by the tools that everybody packs logs with.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "support/text_file.h"
#include "unpack/formats.h"

inline std::string ToolOf(PackFormat format) {
  return NameOf(format);
}

inline bool HasTool(PackFormat format) {
  return system(("command -v " + ToolOf(format) + " >/dev/null").c_str()) == 0;
}

// The text as one member; empty when the tool fails.
inline std::string Pack(PackFormat format, const std::string& text, const std::string& options = "") {
  const std::string plain = WriteFile("plain", text);
  const std::string packed = NewPath("packed");
  const std::string command = ToolOf(format) + " " + options + " -c <" + plain + " >" + packed;
  return system(command.c_str()) == 0 ? ReadFile(packed) : "";
}

// So many lines that differ, but not in everything.
inline std::string RecordLines(int count) {
  std::string text;
  for (int64_t i = 0; i < count; ++i) {
    text += "192.0.2." + std::to_string(i * 7919 % 251) + " - - [05/Mar/2000:10:00:00 +0000] \"GET /" +
            std::to_string(i * 104729 % 9973) + " HTTP/1.0\" 200 10\n";
  }
  return text;
}
