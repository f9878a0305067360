// Texts of logs, requests, name files and resolvers on their way out: each function
// makes one harmless for the place where it stands. Nothing else writes such texts.
//
// A text is a row of bytes, mostly UTF-8. What is not visible (characters.h) is shown:
// a byte that is no UTF-8 as \x9B, a character as \x1B or \u202E or \u{E0041}.
#pragma once

#include <cstddef>
#include <string_view>

#include "output/sink.h"

// The content of an HTML element, or of an attribute in double quotes. In an element,
// what is shown in place of a character stands in <i>, so that it can be told from a
// text that is written so.
void PutHtml(Sink& sink, std::string_view text);
void PutAttribute(Sink& sink, std::string_view text);

// Markup that the administrator has written in the configuration, as it is, but for <meta>,
// which could lead the reader elsewhere: it becomes an element without a meaning. Nothing
// else may be handed to it.
void PutMarkup(Sink& sink, std::string_view markup);

// A text without its middle: the beginning and the end of one that has more characters
// than these, cut between characters, else the whole and an empty end.
struct Shortened {
  std::string_view begin;
  std::string_view end;
};
Shortened WithoutMiddle(std::string_view text, size_t characters);

// True when an address begins with "http://" or "https://", ignoring case, and has a
// host behind it: the only ones that may become links.
bool IsWebAddress(std::string_view address);

// The address site + path as the value of an HTML attribute. What may not stand in an
// address (RFC 3986) is written as percent and two digits, so that it leads where the
// text says. The whole must be a web address.
void PutAddress(Sink& sink, std::string_view site, std::string_view path);

// A part of an address in an HTML attribute, be it the name of a file or a name or value of a query:
// all but letters, digits and "-._~" is written as percent and two digits, so that it is no scheme, no
// path, and divides nothing.
void PutAddressPart(Sink& sink, std::string_view text);

// The same as PutAddress as a part of a JSON string.
void PutJsonAddress(Sink& sink, std::string_view site, std::string_view path);

// A JSON string with its quotes (RFC 8259), of valid UTF-8, or a part of one. Bytes that
// are no UTF-8 become U+FFFD each: IsUtf8 tells whether there are any.
void PutJson(Sink& sink, std::string_view text);
void PutJsonPart(Sink& sink, std::string_view text);
bool IsUtf8(std::string_view text);

// The bytes in base64 (RFC 4648), for texts that JSON cannot hold.
void PutBase64(Sink& sink, std::string_view bytes);

// A cell of a CSV file (RFC 4180), in quotes where it needs them. What is not visible is
// shown, line ends too. While guarded, what a spreadsheet would take for the beginning
// of a formula gets an apostrophe in front: "=", "+", "-" or "@" (also full-width) where
// a cell begins, or where one might for a program that divides cells otherwise.
void PutCsv(Sink& sink, std::string_view text, bool guarded);

// For a terminal or a mail: at most width columns of the text. One that is longer loses
// its middle, in whose place stands "..". Returns the columns written.
size_t PutPlain(Sink& sink, std::string_view text, size_t width);

// The columns that PutPlain needs for the whole text.
size_t PlainWidth(std::string_view text);
