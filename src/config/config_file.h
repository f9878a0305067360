// Reads the configuration file: global keys, search engine definitions and the
// line of the requested user account.
//
// A line is a comment when it begins with "#" or ";", otherwise key=value: the
// key is compared ignoring case and the value taken as it stands, blanks included.
// Lines without "=" and unknown keys are ignored. A key's text is cut to its
// field. Lines end at CR, LF and a byte 0xFF that does not begin them; empty ones
// are passed over, and longer ones than kLineMax cut to it.
#pragma once

#include "base/text_file.h"
#include "cgi/settings.h"
#include "report/errors.h"

// The configuration file of a run.
struct ConfigFile {
  char path[kPathSize] = "";  // the name asked for
  // kDefaultConfigFile takes the place of a file that cannot be opened.
  bool fall_back = true;
  // A shell can make a pipe that is a file to be read; a web request can only name those of others.
  Pipes pipes = Pipes::kNeverWait;
  bool opened = false;
  TextFile text;
};

// Opens the file, unless it is open. False when neither it nor what takes its place
// can be opened.
bool OpenConfigFile(ConfigFile& file);

void CloseConfigFile(ConfigFile& file);

// Copies the value of the last Edition key into edition, and goes back to the start
// of the file. Reads all of it, wherever SmartParsing would stop, but of a pipe only
// the first kKeptOfPipe bytes. False, leaving edition as it is, when there is none or
// the file cannot be opened.
bool FindEditionKey(ConfigFile& file, char (&edition)[kTextSize]);

// Reads the file, which is the one that settings.config names: another one is closed
// first. Each line takes effect when it is met. Closes the file. account_found tells
// whether the account named by settings.username was met. Where settings.rules.names_as_written
// says so, that is an account of the same name ignoring case, which becomes the username;
// a name that is empty or holds a "/", a ";" or a control character is none, and of an
// account's line that was cut the last item is left out. Returns kNoError, or
// kErrorConfigFile when the file cannot be opened, which does not matter to the about
// and credits pages.
Error ParseConfigFile(ConfigFile& file, Settings& settings, bool& account_found);

// Reads on in the opened file to the next line of an account, calls settings.username so and
// applies the line's items to the settings. False at the end of the file.
bool NextAccount(ConfigFile& file, Settings& settings);
