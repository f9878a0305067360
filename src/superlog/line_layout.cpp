#include "superlog/line_layout.h"

#include <algorithm>
#include <string_view>

#include "superlog/field_splitter.h"

static constexpr struct {
  char letter;
  TextPlace place;
} kTexts[] = {{'a', kAgentPlace}, {'e', kQueryPlace},  {'f', kReferrerPlace}, {'h', kHostPlace},
              {'m', kRealmPlace}, {'q', kUrlPlace},    {'u', kUrlPlace},      {'w', kUserPlace},
              {'x', kStemPlace},  {'M', kMethodPlace}, {'P', kProtocolPlace}, {'D', kTakenPlace}};

static constexpr std::string_view kStepLetters = "0123459cknprv";

static void TakeFieldOf(FieldPlan& plan, char letter, uint8_t field) {
  for (const auto& text : kTexts) {
    if (text.letter == letter) {
      plan.texts[text.place] = field;
      plan.is_request = text.place == kUrlPlace ? letter == 'q' : plan.is_request;
    }
  }
  if (kStepLetters.find(letter) != std::string_view::npos) {
    plan.steps[plan.length++] = {letter, field};
  }
}

static void MakePlan(const LineLayout& layout, size_t fields, FieldPlan& plan) {
  plan = {};
  plan.fields = fields;
  std::fill_n(plan.texts, kTextPlaces, kNoField);
  for (size_t field = 0; field < fields; ++field) {
    TakeFieldOf(plan, layout.letters[field], static_cast<uint8_t>(field));
  }
}

const FieldPlan& PlanFor(LineLayout& layout, size_t fields) {
  if (layout.plan.fields != fields) [[unlikely]] {
    MakePlan(layout, fields, layout.plan);
  }
  return layout.plan;
}

static void AddField(LineLayout& layout, char separator, char letter) {
  if (layout.length == 0 || layout.runs[layout.length - 1].separator != separator) {
    layout.runs[layout.length++].separator = separator;
  }
  layout.letters[layout.fields++] = letter;
  layout.runs[layout.length - 1].end = static_cast<uint8_t>(layout.fields);
}

void WorkOut(LineLayout& layout, const char* format) {
  layout = {};
  char separator = 'S';
  for (; *format != '\0'; ++format) {
    if (IsSeparatorLetter(*format)) {
      separator = *format;
    } else {
      AddField(layout, separator, *format);
    }
  }
  layout.user = kNoField;
  // Of fields parted by other separators, nobody asks whether names hold blanks.
  if (layout.length == 1 && layout.runs[0].separator == 'S') {
    const std::string_view letters(layout.letters, layout.fields);
    layout.user = std::min(letters.find("w1q"), size_t{kNoField});
    layout.usual = UsualLayoutOf(letters);
  }
  if (layout.length == 1 && layout.runs[0].separator != 'C' && layout.user == kNoField) {
    layout.separator = layout.runs[0].separator;
  }
  MakePlan(layout, layout.fields, layout.plan);
}
