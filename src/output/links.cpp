#include "output/links.h"

#include "output/escape.h"

bool IsLink(const char* site, std::string_view item) {
  if (site == nullptr) {
    return false;
  }
  return site[0] == '\0' ? IsWebAddress(item) : item.starts_with('/') && IsWebAddress(site);
}

bool HasLink(const SectionRow& row) {
  return IsLink(row.site, row.item);
}
