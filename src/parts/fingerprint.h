// Everything that decides what a run counts, by name, as texts that can be compared.
#pragma once

#include <cstddef>
#include <string_view>

#include "analysis/analysis.h"
#include "analysis/rules.h"
#include "base/part_bytes.h"
#include "base/text.h"

struct FingerprintField {
  const char* name;  // of the parameter, where there is one
  char value[kTextSize];
};

struct Fingerprint {
  FingerprintField fields[32];
  size_t count;
};

// Of a run, behind BeginAnalysis or BeginAdding. Which kinds are counted stands in the counts themselves.
Fingerprint FingerprintOf(std::string_view edition, const Rules& rules, const Analysis& analysis);

// The same of counts of records that all lie in the range, whatever that is.
Fingerprint FingerprintOfAnyDays(std::string_view edition, const Rules& rules, const Analysis& analysis);

void SaveFingerprint(PartWriter& part, const Fingerprint& fingerprint);

// What differs first between a fingerprint and one that was written down.
struct FingerprintCheck {
  const FingerprintField* other;  // null: nothing
  bool other_name;        // the one that was written down is called otherwise: it is of another program
  char found[kTextSize];  // the value that was written down, printable
};

// Takes a fingerprint that was written down and compares it. A damaged part has no difference, and is
// damaged.
FingerprintCheck CompareFingerprint(PartReader& part, const Fingerprint& fingerprint);
