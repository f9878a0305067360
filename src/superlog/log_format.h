// Recognises a log file's layout and holds it as a format string: a separator
// letter ("S" space, "T" tab, "C" comma) followed by one letter per field.
//
// A layout comes from header lines in the file, else from the user, else from
// the number of separators in the first data line. It holds until the next
// header line or the end of the file.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/text.h"
#include "superlog/line_layout.h"

// Format families; each is told (superlog/log_events.h) when a line sets it.
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

inline constexpr const char* LOG_FORMAT_STR_CLF = "Shmw1qrc";
inline constexpr const char* LOG_FORMAT_STR_ELF = "Shmw1qrcfa";
inline constexpr const char* LOG_FORMAT_STR_WLF = "T4h?mw?uf?arc?";
inline constexpr const char* LOG_FORMAT_STR_IIS = "Chw29v?mD?cr?Mxefa";
inline constexpr const char* LOG_FORMAT_STR_MacHTTP = "T29khxc";

// Layout of the current file, valid while mFormatKnown. The letters of texts that nobody asks for are "?"
// in it, and it ends with the last other one.
extern char mKnownFormatBuf[kTextSize];
extern LineLayout mKnownLayout;  // the same, worked out
extern bool mFormatKnown;
extern int mCurLogFormat;  // a LogFamily

// Whether somebody looks at the texts of that letter.
bool IsAsked(char letter);

// Stand for texts for which layouts that a user writes in letters have none: the virtual host, the method,
// the protocol, the version of TLS, the time taken.
inline constexpr char kSiteLetter[] = "V";
inline constexpr char kMethodLetter[] = "M";
inline constexpr char kProtocolLetter[] = "P";
inline constexpr char kTlsLetter[] = "L";
inline constexpr char kTakenLetter[] = "D";

// Whether somebody looks at one of these.
extern bool mMoreTexts;

// All that earlier lines of the file decide about the way in which the next one is read, as a number: the
// same whatever is asked for. False when it is not known.
bool StateOfLines(uint64_t& state);

// Forgets the current file's layout; a user's layout stays.
void ResetFileFormat();

// Forgets the user's layout, too, and what is asked for.
void ResetLogFormat();

// The user's layout, in letters or in the words of a server; empty when there is none.
std::string_view OwnLayout();

// Removes trailing spaces and "?" letters.
void TrimLogFormat(char* format);

// Guesses the layout from the line reader's current line, a data line. Returns
// whether one is known now. A user's layout is always taken.
bool GrokLineFormat();

// Whether the current line is one for letters, before it is split by any other layout: the user's letters are
// taken always, and a line of the common log format, in which neither a virtual host nor a shipper's head
// stands first, is one of it.
bool StandsLetterLayout();

// Whether something that the common log format has no letter for stands first in the current line, a virtual
// host or a shipper's head: the letters would take it for the visitor.
bool MisleadsLetters();

// Each reads the line reader's current line, a header line, and sets family or
// layout when it understands it; other lines change nothing. The line is split
// in place. Layouts are cut to the capacity of mKnownFormatBuf. A W3C file's
// "#Fields:" belongs to GrokW3cLine, which must be called after GrokWebStarLine.
void GrokW3cLine();
void GrokWebStarLine();
void GrokNetscapeLine();
