// The layout of a log's lines: how a line becomes fields, and what must be known of their texts.
#pragma once

#include <cstdint>
#include <string_view>

#include "layouts/given_keys.h"
#include "layouts/json_line.h"
#include "layouts/line_fields.h"
#include "layouts/pattern.h"
#include "layouts/wrappers.h"

enum class LineKind : uint8_t { kPattern, kJson, kLtsv };

// How the writer of a log writes the texts of its fields.
struct Writing {
  bool whole_urls = false;      // URLs with scheme and host, of which the path is meant
  bool site_in_urls = false;    // URLs may begin with the virtual host, with or without a scheme
  bool encoded_agents = false;  // "%20" or "+" for the blanks of agents
  bool utc = false;             // times without a zone are GMT
  bool client_port = false;     // the port of a client stands behind a colon
  bool site_first = false;      // the virtual host stands before the client
  bool json = false;            // texts hold JSON's escapes
};

struct Layout {
  std::string_view name;
  uint8_t number = 0;  // among the known ones, from 1; 0: it is none of them
  LineKind kind = LineKind::kPattern;
  Wrapper wrapper = Wrapper::kNone;
  Writing writing;
  Pattern pattern;
  GivenKeys keys;  // of words that name some
};

// What splitting needs beside the layout. It may be kept from line to line.
struct SplitRoom {
  KeyMemory keys;
  Unwrapped unwrapped;
};

// Cuts a line by its layout. False when it does not fit: status or size are no numbers, the time is
// missing, there is neither request nor URL, or fixed texts are not where they belong. Whether the
// time is one is for who reads it. The texts lie in the line or in the room, in writable memory that goes on
// behind them, until the next line is cut.
bool SplitLine(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields);

// The same of a line that nothing is around any more.
bool SplitBareLine(const Layout& layout, std::string_view line, SplitRoom& room, LineFields& fields);

// Whether the fields are those of a request: time, URL, and what may be status and size.
bool HoldsRequest(const LineFields& fields);

// Whether the fields hold a time that there is.
bool HoldsTime(const LineFields& fields);

// Up to three digits, "-", or nothing.
bool IsStatus(std::string_view text);

// A number, "-", or nothing.
bool IsSize(std::string_view text);
