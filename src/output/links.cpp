#include "output/links.h"

#include "output/escape.h"

bool HasLink(const SectionRow& row) {
  if (row.site == nullptr) {
    return false;
  }
  return row.site[0] == '\0' ? IsWebAddress(row.item) : row.item[0] == '/' && IsWebAddress(row.site);
}
