// Log access: finds the log files of an account, opens those that reach into
// the requested date range one after the other, and delivers one record per
// request line, whatever the log's format.
//
// One file is open and one record is current at a time; all state lives in
// file-scope variables of this folder, so nothing here is reentrant.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string_view>

#include "base/limits.h"
#include "base/network.h"
#include "cgi/settings.h"
#include "superlog/line_reasons.h"
#include "superlog/log_events.h"
#include "superlog/super_long.h"
#include "unpack/codec.h"

// One request. Texts are absent (null data), or at most as long as the limits let an item be, and their
// buffers go on for kScanOverread bytes; figures are as wide as the limits let them be. Texts stay valid, and
// nothing writes to them, until LogEvents::texts_go is told or the log is closed.
struct SuperLogRecord {
  std::string_view host;  // without port and without one trailing dot; a NUL follows it
  const Address* ipv6;    // what the host is, where it is an address of IPv6; else null
  tm local;               // the request's local time, all nine fields normalised
  time_t time;            // seconds since the epoch, GMT correction applied
  std::string_view url;
  int64_t status;  // 0 when the line has none
  int64_t bytes;   // as written, which may be anything
  std::string_view referrer;
  std::string_view agent;
  std::string_view realm;
  std::string_view user;
  std::string_view site;          // the virtual host, perhaps with its port; where the layout has one
  std::string_view country = {};  // of the host, where whoever counts has told it before the host was cut
  std::string_view method;        // of the request, as it stands there, which may be anything
  std::string_view protocol;      // the same, as the server or the visitor has spelt it
  std::string_view tls;           // the version of TLS, likewise; where the layout has one
  int64_t taken = -1;             // microseconds that the request took; -1: the line does not tell
};

// Orders of day, month and year in all-numeric dates.
enum DateOrder : int {
  kOrderDmy = 1,
  kOrderDym = 2,
  kOrderMdy = 3,
  kOrderMyd = 4,
  kOrderYdm = 5,
  kOrderYmd = 6,
};

// Returns the whole module to its state at the start of a run. The product
// calls it first thing, before any parameter sets a format; tests likewise.
void ResetSuperLog();

// Settings of the module, each taken only when source (a Level) is at least as
// strong as that of the value held. SetLogFormat takes a layout shorter than
// 244 characters that begins with a separator letter (S, T or C); SetDateFormat
// one of DMY DYM MDY MYD YDM YMD, ignoring case; SetFixGmt a number, non-zero
// meaning that log times are GMT; a text without one counts as 0. Anything else is
// ignored without a message.
void SuperLog_SetLogFormat(const char* format, int source);
void SuperLog_SetDateFormat(const char* name, int source);
void SuperLog_SetFixGmt(const char* text, int source);

// The same of the name of a known layout, or of the words of a server (layouts/server_words.h), of at most
// kLongestLayoutText characters. SetLogFormat hands on what are no letters. Only limits with layouts heed
// them.
inline constexpr size_t kLongestLayoutText = 8191;
void SuperLog_SetLayoutText(std::string_view text, int source);

// What was asked for as the layout of the logs where it is neither letters that all have a meaning, nor the
// name of a known layout, nor words of a server; otherwise empty. The text stays valid until the next one is
// taken. It may be letters of which some have no meaning, and is then read as these unless it is made known.
struct UnknownLayout {
  std::string_view text;
  bool may_be_letters;
};
UnknownLayout SuperLog_UnknownLayout() noexcept;

// Takes these for all logs from now on, unless letters of a stronger level hold. False when they are
// neither name nor words.
bool SuperLog_BeginLayout();

// The order that holds; MDY unless it was set.
DateOrder SuperLog_GetDateFormat();

// Builds the list of log files for the range of times given, both ends
// included, using and maintaining the log summary file. An empty
// settings.summary is filled with the default summary name. The limits hold until the
// next call or reset; until then, too, what happens is told to the functions of events.
void SuperLog_Init(Settings& settings, const Limits& limits, time_t range_first, time_t range_last,
                   const LogEvents& events = {});

// The same without looking for logs: the list is empty, and nothing is kept.
void SuperLog_InitWithoutLogs(const Settings& settings, const Limits& limits, time_t range_first,
                              time_t range_last, const LogEvents& events = {});

// Takes the paths that SuperLog_Init, and reading the logs, will open.
struct LogPaths {
  void* context;
  void (*log)(void* context, const char* path, bool plain_file);  // plain: neither folder nor link
  void (*summary)(void* context, const char* path);  // a file that need not exist, and is read and replaced
};

// Finds the logs before SuperLog_Init with the same settings, which then takes these and looks into no
// folder.
void SuperLog_FindAhead(const Settings& settings, const LogPaths& paths);

// Texts of a record that somebody looks at, and the time that it took.
struct AskedTexts {
  bool host = false;
  bool referrer = false;
  bool agent = false;
  bool realm = false;
  bool user = false;
  bool site = false;
  bool method = false;
  bool protocol = false;
  bool tls = false;
  bool taken = false;
};

// The texts of both.
constexpr AskedTexts Both(const AskedTexts& one, const AskedTexts& other) {
  return {.host = one.host || other.host,
          .referrer = one.referrer || other.referrer,
          .agent = one.agent || other.agent,
          .realm = one.realm || other.realm,
          .user = one.user || other.user,
          .site = one.site || other.site,
          .method = one.method || other.method,
          .protocol = one.protocol || other.protocol,
          .tls = one.tls || other.tls,
          .taken = one.taken || other.taken};
}

// From the next log file on the other texts of records are absent, and no line is read beyond what is
// asked for. All are until this is called, and after a reset; which lines are usable stays the same.
void SuperLog_AskFor(const AskedTexts& asked);

// What the records of one log come to.
struct LogRecords {
  int64_t count = 0;
  int64_t in_range = 0;
  time_t first = std::numeric_limits<time_t>::max();  // the least time, wherever it stands
  time_t last = std::numeric_limits<time_t>::min();   // and the greatest
};

inline void AddTime(LogRecords& records, time_t time) {
  ++records.count;
  records.first = std::min(records.first, time);
  records.last = std::max(records.last, time);
}

// Tells that the open log file was read, and what its records came to. Where the rules of SuperLog_Init's
// settings have logs read whole, it, or a part of it, was read to its end.
void SuperLog_LogRead(const LogRecords& records);

// Where logs are read whole: reads all that are left without counting their records.
void SuperLog_ReadLogs();

// What there is to know of a log that was found. The texts are the list's, until SuperLog_Uninit.
struct LogState {
  const char* path;
  const char* copy_of;     // the path of the log that holds the same and is read in its place; null: none
  bool unopened;           // it was to be read and could not be opened
  bool missing;            // pieces of it were to be read and could not be,
  uint64_t missing_bytes;  // of so many bytes of its size
  uint64_t size;
  PackFormat format;   // of a compressed log that was opened; kNone of any other
  UnpackEnd unpacked;  // how its unpacking ended; kWhole of any other
  LogRecords records;  // of what was read of it, or in its place
  int64_t lines_not_understood;
  int64_t first_not_understood;  // the number of the first of these lines, from 1; 0 without any
  const char* line;              // its beginning, printable ASCII
  NearLayout nearest;            // of that line; none of a log that letters tell
  const LinesByReason* reasons;  // of all these lines, each by the log's own layout
};

// The way through all logs that were found. place is null before the first one. False behind the last.
bool SuperLog_NextState(const void*& place, LogState& state);

// True when the list of log files is not empty.
bool SuperLog_LogFilesFound();

// The least and greatest time of the records of all logs that were read, in the range or not. False,
// leaving both as they are, when there is none.
bool SuperLog_TimesHeld(time_t& first, time_t& last);

// Where logs are read whole, before the first one is opened: reads all without counting a record, and tells
// nobody of it, to learn these times. Then no log is left but for SuperLog_BeginAgain.
bool SuperLog_FindTimes(time_t& first, time_t& last);

// Begins anew with the first log, for another range.
void SuperLog_BeginAgain(time_t range_first, time_t range_last);

// Opens the next log file that reaches into the range, or that may do so; false when none is left
// (and none is open). Where logs are read whole: goes on to the next part of a log that may do so.
bool SuperLog_NextLogFile();

// Fills record from the next usable line of the open log file; false at its end.
bool SuperLog_ParseNextLine(SuperLogRecord& record);

// Closes the open log file, if any.
void SuperLog_NextLogFile_Done();

// True when this run met a file in range, even one that could not be opened.
bool SuperLog_LogsInRange();

// Bytes of log data read by this run, in whole blocks. Where logs are read whole: of those that hold records
// in range.
SuperLong SuperLog_GetTotalLogBytesRead();

// Lines of data that this run has read and that give no record, whatever their date
// may be: those that the layout does not explain, and those of no layout at all. Where logs are read whole:
// in those that hold records in range, and in those that hold no record at all.
int64_t SuperLog_GetLinesNotUnderstood();

// Records of all logs that this run has read, as SuperLog_LogRead was told. Where logs are read whole: also
// of what need not be read again.
int64_t SuperLog_GetRecordsRead();

// Releases the list of log files, and ends the process that unpacks, if there is one.
void SuperLog_Uninit();
