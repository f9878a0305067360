// What the request form asks for, as data. Names are those of the report parameters.
// The sections of a report have a table of their own (section_list.h).
#pragma once

#include <span>

#include "cgi/settings.h"
#include "output/sink.h"

enum class FieldKind {
  kText,
  kPassword,  // never filled in
  kDay,       // an ISO date
  kCheck,     // sends 1
  kOneOf,     // of the options
  kSection,   // the parameter of one of the report's sections, or empty
};

struct FieldOption {
  Literal value;
  Literal label;
};

struct FormField {
  FieldKind kind;
  Literal name;
  Literal label;
  Literal hint = "";                               // beside the field; empty: it speaks for itself
  const char* (*text)(const Settings&) = nullptr;  // of all but checks: what it holds
  bool (*on)(const Settings&) = nullptr;           // of checks
  std::span<const FieldOption> options = {};       // of those that have some
  Literal attributes = "";                         // further ones, as they stand
};

struct FieldGroup {
  Literal id;
  Literal legend;
  std::span<const FormField> fields;
};

// A row of the table of filters (analysis/record_filters.h) has two fields more, only_NAME and exclude_NAME.

extern const FieldGroup kAccountGroup;
extern const FieldGroup kDaysGroup;
extern const FieldGroup kOutputGroup;
extern const std::span<const FieldGroup> kMoreGroups;

// What belongs to a section beside its switch and its cut-offs.
extern const FormField kPagesThatLed;
