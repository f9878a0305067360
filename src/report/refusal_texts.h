// What a refused run is told, in every output but the classic page.
#pragma once

#include "cgi/settings.h"
#include "report/answer_head.h"
#include "report/errors.h"

// What is said of a refusal: to the visitor a heading and a sentence, which hold
// nothing of the request, and to the error log another sentence, with a value.
struct RefusalTexts {
  Error error;
  HttpStatus status;
  const char* heading;
  const char* sentence;
  const char* advice;                                        // what to do; a sentence, too
  const char* log;                                           // null: has been logged where it was decided
  const char* (*value)(const Settings& settings) = nullptr;  // that the log names
  const char* allowed = nullptr;                             // the methods that would have been right
  const char* challenge = nullptr;                           // how the visitor can say who he is
};

// Adds the refusal to the error log, and returns its texts. An error without texts of
// its own has those of a fault of the program.
const RefusalTexts& LogRefusal(const Refusal& refusal, const Environment& env, const Settings& settings);

// The head of the answer, as HTML.
AnswerHead HeadOfRefusal(const RefusalTexts& texts, const Refusal& refusal);
