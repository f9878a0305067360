// The normalisers of hosts, URLs and agents, and the filters. The input's first
// two lines are the filters for domains and for file types; every other line is
// taken as host, URL, request and agent.
#include "analysis/normalise.h"

#include <vector>

#include "analysis/plain_normalise.h"
#include "analysis/request_filters.h"
#include "analysis/request_filters_internal.h"
#include "base/limits.h"
#include "superlog/byte_scan.h"
#include "superlog/log_line.h"
#include "support.h"
#include "support/room.h"

// The part of whole that begins at its start, or at its end.
static bool IsHead(std::string_view part, std::string_view whole) {
  return part.data() == whole.data() && part.size() <= whole.size();
}

static bool IsTail(std::string_view part, std::string_view whole) {
  return part.data() + part.size() == whole.data() + whole.size() && part.size() <= whole.size();
}

static std::ptrdiff_t Count(std::string_view text, char c) {
  return std::count(text.begin(), text.end(), c);
}

static void CheckHost(std::string_view host) {
  REQUIRE(IPaddress(host) == PlainIPaddress(std::string(host)));
  REQUIRE(!IsIpAddr(host) || Count(host, '.') >= 3);
  IpAddrsOnly(host);
  REQUIRE(IsHead(TruncateIP(host), host) && Count(TruncateIP(host), '.') <= 2);
  REQUIRE(IsTail(TruncateLSD(host), host) &&
          Count(TruncateLSD(host), '.') == Count(host, '.') - (TruncateLSD(host).size() < host.size()));
  for (int labels = 0; labels < 4; ++labels) {
    const std::string_view domain = TruncateDomain(host, labels);
    REQUIRE(host == "(null)" ? domain.empty() : IsTail(domain, host));
    REQUIRE(labels == 0 || Count(domain, '.') < labels);
    const std::string_view checked = checkIP(domain);
    REQUIRE(checked == domain || checked == "UNKNOWN");
  }
}

static void CheckUrl(const WithRoom& buffer) {
  const std::string_view url = buffer;
  const std::string_view path = TruncateCGI(url);
  REQUIRE(IsHead(path, url) && path.find_first_of("?\"") == std::string_view::npos);
  REQUIRE(path.size() == url.size() || url[path.size()] == '?' || url[path.size()] == '"');
  const std::string_view type = TruncateFileType(url);
  const std::string_view before_query = url.substr(0, url.find('?'));
  REQUIRE(type.empty() || (IsTail(type, before_query) && type[0] == '.'));
  REQUIRE(type.find('.', 1) == std::string_view::npos && type.find('/') == std::string_view::npos);
}

static void CheckAgent(std::string_view agent) {
  REQUIRE(MSIE(agent) == PlainMsie(agent));
  REQUIRE(ContainsText(agent, "ompatible") == (agent.find("ompatible") != std::string_view::npos));
}

// Values of a line: writable, with a NUL behind them, in a block of the least
// size that is asked for.
static void CheckValues(const std::string& text) {
  const auto with_room = [&text] {
    std::vector<char> block(text.begin(), text.end());
    block.resize(text.size() + kScanOverread);
    return block;
  };
  std::vector<char> block = with_room();
  std::string_view host{block.data(), text.size()};
  TrimPort(host);
  REQUIRE(host == text.substr(0, text.find(':')) && host.data()[host.size()] == '\0');
  TrimTrailingDot(host);
  REQUIRE(host.size() + 1 >= std::min(text.size(), text.find(':')) && host.data()[host.size()] == '\0');

  block = with_room();
  std::string_view request{block.data(), text.size()};
  TrimFullRequest(request);
  const size_t space = text.find(' ');
  const std::string rest = space == std::string::npos ? text : text.substr(space + 1);
  REQUIRE(request == (space == std::string::npos ? text : rest.substr(0, rest.find(' '))));
}

static std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), ToLowerAscii);
  return lower;
}

// The filter's entries, in lower case and without blanks.
static std::vector<std::string> Entries(std::string_view filter) {
  std::vector<std::string> entries;
  for (bool more = !filter.empty(); more;) {
    more = filter.find(',') != std::string_view::npos;
    std::string entry = Lower(TakePart(filter, ','));
    std::erase_if(entry, [](char c) { return c == ' ' || c == '\t'; });
    entries.push_back(entry);
  }
  return entries;
}

static bool PlainDomainPasses(const Settings& settings, const std::string& host) {
  const std::vector<std::string> entries = Entries(settings.filter_domains);
  return host.empty() || std::none_of(entries.begin(), entries.end(), [&](const std::string& entry) {
           return Lower(host).substr(0, kLongestItem).find(entry) != std::string::npos;
         });
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view input = AsText(data, size);
  Settings settings = {};
  ResetFilters();
  CopyText(settings.filter_domains, TakePart(input));
  CopyText(settings.filter_filetypes, TakePart(input));
  for (int lines = 0; lines < 16 && !input.empty(); ++lines) {
    const std::string line = UpToNul(TakePart(input));
    const std::vector<char> block(line.begin(), line.end());
    const std::string_view text = {line.empty() ? "" : block.data(), line.size()};
    CheckHost(WithRoom(line));
    CheckUrl(WithRoom(line));
    CheckAgent(text);
    CheckValues(line);
    REQUIRE(NotFilteredDomain(settings, text) == PlainDomainPasses(settings, line));
    REQUIRE(NotFilteredFileType(settings, "") && NotFilteredURL(settings, text));
    NotFilteredFileType(settings, TruncateFileType(text));
  }
  ResetFilters();
  return 0;
}
