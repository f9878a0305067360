#include "report/extra_texts.h"

#include <cstdlib>
#include <cstring>

#include "base/memory_end.h"

static int mExtraHeaderSource = 0;
static int mExtraFooterSource = 0;

static void ReplaceText(char*& held, int& held_level, const char* text, int level) {
  if (level < held_level) {
    return;
  }
  free(held);
  held = strdup(text);
  if (held == nullptr) {
    EndWithoutMemory();
  }
  held_level = level;
}

static void ReleaseText(char*& held, int& held_level) {
  free(held);
  held = nullptr;
  held_level = 0;
}

void log_SetExtraHeader(Settings& settings, const char* text, int level) {
  ReplaceText(settings.extra_header, mExtraHeaderSource, text, level);
}

void log_SetExtraFooter(Settings& settings, const char* text, int level) {
  ReplaceText(settings.extra_footer, mExtraFooterSource, text, level);
}

void EndOrvellisCleanup(Settings& settings) {
  ReleaseText(settings.extra_header, mExtraHeaderSource);
  ReleaseText(settings.extra_footer, mExtraFooterSource);
}
