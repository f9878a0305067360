// Recognises a log file's layout and holds it as a format string: a separator
// letter ("S" space, "T" tab, "C" comma) followed by one letter per field.
#pragma once

// Format families, with their debug labels in log_format.cpp.
enum LogFamily : int {
  kFamilyNone = 0,
  kFamilyWebStar = 1,
  kFamilyWebStarFields = 2,
  kFamilyIis = 3,
  kFamilyW3cIis = 4,
  kFamilyWebSite = 5,
  kFamilyMacHttp = 6,
  kFamilyNetscape = 7,
  kFamilyUser = 8,
  kFamilyW3cWebStar = 9,
  kFamilyClf = 10,
};

extern char mKnownFormatBuf[244];  // layout of the current file, valid while mFormatKnown
extern bool mFormatKnown;
extern int mCurLogFormat;  // a LogFamily

// Forgets the current file's layout; a user's layout stays.
void ResetFileFormat();

// Forgets the user's layout, too, and takes the debug switch for labels.
void ResetLogFormat();
void SetFormatDebug(bool debug);

// Removes trailing spaces and "?" letters.
void TrimLogFormat(char* format);

// Each looks at the line reader's current line. GrokLineFormat guesses the
// layout from a data line and returns whether one is known now; the others read
// header lines and set the layout when they understand them.
bool GrokLineFormat();
void GrokW3cLine();
void GrokWebStarLine();
void GrokNetscapeLine();
