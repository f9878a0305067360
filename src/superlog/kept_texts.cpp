#include "superlog/kept_texts.h"

#include <iterator>

#include "base/limits.h"
#include "superlog/byte_scan.h"
#include "superlog/log_events.h"

// A record has a few texts here, which must all fit in before the first of them is overwritten.
static char mTexts[4 * kLongestLine];
static char* mpNext = mTexts;  // those before it belong to records

void TellThatTextsGo() {
  if (mLogEvents.texts_go != nullptr) {
    mLogEvents.texts_go();
  }
}

char* RoomForText(size_t size) {
  if (size + 1 + kScanOverread > static_cast<size_t>(std::end(mTexts) - mpNext)) {
    TellThatTextsGo();
    mpNext = mTexts;
  }
  return mpNext;
}

std::string_view KeepText(char* text, size_t size) {
  text[size] = '\0';
  mpNext = text + size + 1;
  return {text, size};
}
