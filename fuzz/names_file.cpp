// The names file. The input's first line is the code asked for, the rest is the
// file.
#include "analysis/plain_names.h"
#include "analysis/resolve_item.h"
#include "support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static MemoryFile file;
  std::string_view input = AsText(data, size);
  char item[kTextSize];
  CopyText(item, TakePart(input));
  const std::string asked = item;
  ResolveItem(item, "");  // forgets the file that was read before
  CopyText(item, asked);
  ResolveItem(item, file.Fill(input));
  RequireText(item);
  const bool is_text = input.find('\0') == std::string_view::npos;
  REQUIRE(!is_text || item == PlainNames(std::string(input)).Resolve(asked));
  return 0;
}
