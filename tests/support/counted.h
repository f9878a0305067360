// Counting tables as texts.
#pragma once

#include <string>

#include "analysis/counting_table.h"

// "key=count key=count " in key order, with ":" and their sum where amounts are added up, sub-lists in
// parentheses.
inline std::string Counted(List& list) {
  std::string text;
  for (const ListItem* item = KeyOrder(list); item != nullptr; item = item->next) {
    text += item->key();
    text += '=';
    text += std::to_string(item->count);
    if (item->has_amount) {
      text += ':';
      text += std::to_string(item->amount());
    }
    if (item->sublist() != nullptr) {
      text += '(';
      text += Counted(*item->sublist());
      text += ')';
    }
    text += ' ';
  }
  return text;
}
