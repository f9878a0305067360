#include "analysis/request_filters.h"

#include <algorithm>

#include "analysis/normalise.h"
#include "analysis/request_filters_internal.h"
#include "base/limits.h"
#include "base/network.h"
#include "base/text.h"

namespace {

struct FilterTable {
  bool analyzed;
  size_t count;                         // 0 for an empty filter text
  std::string_view entries[kTextSize];  // a text of nothing but commas has one entry more than characters
  char texts[2 * kTextSize];            // the entries' characters, behind a dot each in the type table
};

}  // namespace

static FilterTable mDomains;
static FilterTable mHosts;            // the same texts but those that are
static Network mNetworks[kTextSize];  // networks
static size_t mNetworkCount;
static FilterTable mFileTypes;

static bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

// Stores one entry behind those already there, from `prefix` and the characters
// of text that are no blanks. Returns the end of the stored characters.
static char* AppendEntry(FilterTable& table, char* end, std::string_view prefix, std::string_view text) {
  char* const begin = end;
  end = std::copy(prefix.begin(), prefix.end(), end);
  end = std::remove_copy_if(text.begin(), text.end(), end, IsBlank);
  table.entries[table.count++] = {begin, static_cast<size_t>(end - begin)};
  return end;
}

// Parses a filter text. With dotted entries a dot is put before each, in place of
// the one it may begin with.
static void Analyze(FilterTable& table, std::string_view text, bool dotted) {
  table.analyzed = true;
  table.count = 0;
  char* end = table.texts;
  bool more = !text.empty();
  while (more) {
    const size_t comma = text.find(',');
    std::string_view entry = text.substr(0, comma);
    if (dotted && entry.substr(0, 1) == ".") {
      entry.remove_prefix(1);
    }
    end = AppendEntry(table, end, dotted ? "." : "", entry);
    more = comma != std::string_view::npos;
    text.remove_prefix(more ? comma + 1 : text.size());
  }
}

static char* Lower(char* dst, std::string_view text) {
  return std::transform(text.begin(), text.end(), dst, ToLowerAscii);
}

static void AnalyzeDomains(const Settings& settings, FilterTable& table) {
  char lowered[kTextSize];
  const char* const end = Lower(lowered, CutText(settings.filter_domains, kTextMax));
  Analyze(table, {lowered, static_cast<size_t>(end - lowered)}, false);
}

static void AnalyzeHosts(const Settings& settings) {
  AnalyzeDomains(settings, mHosts);
  mNetworkCount = 0;
  std::string_view* const end =
      std::remove_if(mHosts.entries, mHosts.entries + mHosts.count, [](std::string_view entry) {
        const bool network = ParseNetwork(entry, mNetworks[mNetworkCount]);
        mNetworkCount += network ? 1 : 0;
        return network;
      });
  mHosts.count = static_cast<size_t>(end - mHosts.entries);
}

static bool HoldsNoEntry(std::string_view host, const FilterTable& table) {
  if (table.count == 0) {
    return true;
  }
  char lowered[kLongestItem];
  const char* const lowered_end = Lower(lowered, host.substr(0, kLongestItem));
  const std::string_view name(lowered, static_cast<size_t>(lowered_end - lowered));
  // deliberate: an entry counts wherever it stands, without regard to dots or the host's end
  return std::none_of(table.entries, table.entries + table.count,
                      [name](std::string_view entry) { return name.find(entry) != std::string_view::npos; });
}

bool NotFilteredDomain(const Settings& settings, std::string_view host) {
  if (host.empty()) {
    return true;
  }
  if (!mDomains.analyzed) {
    AnalyzeDomains(settings, mDomains);
  }
  return HoldsNoEntry(host, mDomains);
}

static bool IsInNoNetwork(std::string_view host) {
  Address address;
  return mNetworkCount == 0 || !ParseAddress(host, address) ||
         std::none_of(mNetworks, mNetworks + mNetworkCount,
                      [&address](const Network& network) { return IsInNetwork(address, network); });
}

bool NotFilteredHost(const Settings& settings, std::string_view host) {
  if (!mHosts.analyzed) {
    AnalyzeHosts(settings);
  }
  return host.empty() || (IsInNoNetwork(host) && HoldsNoEntry(host, mHosts));
}

bool FiltersNames(const Settings& settings) {
  if (!mHosts.analyzed) {
    AnalyzeHosts(settings);
  }
  return !std::all_of(mHosts.entries, mHosts.entries + mHosts.count, IpAddrsOnly);
}

bool NotFilteredFileType(const Settings& settings, std::string_view type) {
  if (!mFileTypes.analyzed) {
    Analyze(mFileTypes, CutText(settings.filter_filetypes, kTextMax), true);
  }
  return type.empty() ||
         std::none_of(mFileTypes.entries, mFileTypes.entries + mFileTypes.count,
                      [type](std::string_view entry) { return EqualIgnoreCase(entry, type); });
}

bool NotFilteredURL(const Settings& settings, std::string_view url) {
  const std::string_view find = settings.find;
  return url.substr(0, kTextMax).substr(0, find.size()) == find;
}

void FreeDomainsNow() {
  mDomains.count = 0;  // deliberate: the filter stays analyzed
  mHosts.count = 0;
  mNetworkCount = 0;
}

void FreeFileTypesNow() {
  mFileTypes.count = 0;
  mFileTypes.analyzed = false;
}

void ResetFilters() {
  FreeDomainsNow();
  FreeFileTypesNow();
  mDomains.analyzed = false;
  mHosts.analyzed = false;
}
