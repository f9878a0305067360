#include "made_up_log.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

// splitmix64 by Sebastiano Vigna: one 64-bit state, good enough for test data.
struct Random {
  uint64_t state;

  uint64_t Next() {
    uint64_t z = (state += 0x9e3779b97f4a7c15);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return z ^ (z >> 31);
  }
  long Below(long n) { return static_cast<long>(Next() % static_cast<uint64_t>(n)); }
};

// Picks item numbers 0..n-1.
class Picker {
 public:
  Picker(long n, bool zipf) : n_(n) {
    if (!zipf) {
      return;
    }
    double sum = 0;
    for (long i = 0; i < n; ++i) {
      sum += 1.0 / static_cast<double>(i + 1);
      cumulative_.push_back(sum);
    }
  }

  long Pick(Random& random, long record) const {
    if (cumulative_.empty()) {
      // A stride prime to n visits each item once in n records, in no order.
      return static_cast<long>(static_cast<uint64_t>(record) * 2654435761U % static_cast<uint64_t>(n_));
    }
    const double at = static_cast<double>(random.Next() >> 11) * 0x1p-53 * cumulative_.back();
    long low = 0;
    long high = n_ - 1;
    while (low < high) {
      const long middle = (low + high) / 2;
      if (cumulative_[static_cast<size_t>(middle)] < at) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

 private:
  long n_;
  std::vector<double> cumulative_;
};

const char* const kWords[] = {"products", "news",    "docs",   "archive", "images", "support",
                              "people",   "about",   "garden", "kettle",  "teapot", "library",
                              "guide",    "history", "events", "contact"};
const char* const kTypes[] = {".html", ".html", ".html", ".gif", ".jpg", "", ".pdf", ".css"};

std::string Url(long n) {
  char text[200];
  const char* const type = kTypes[n % 8];
  snprintf(text, sizeof text, "/%s/%s/item%ld%s%s", kWords[n % 16], kWords[n / 16 % 16], n, type,
           n % 11 == 0 ? "?id=7&view=full" : "");
  return text;
}

std::string Host(long n) {
  char text[100];
  if (n % 5 < 3) {
    snprintf(text, sizeof text, "10.%ld.%ld.%ld", n >> 16 & 255, n >> 8 & 255, n & 255);
  } else {
    static const char* const kTops[] = {"com", "net", "org", "edu", "de", "co.uk", "fr", "jp"};
    snprintf(text, sizeof text, "host%ld.pool%ld.example.%s", n, n % 97, kTops[n % 8]);
  }
  return text;
}

std::string Referrer(long n) {
  char text[200];
  snprintf(text, sizeof text, "http://www.site%ld.example.org/%s/page%ld.html", n % 700, kWords[n % 16], n);
  return text;
}

std::string Search(Random& random) {
  static const struct {
    const char* before;
    const char* after;
  } kEngines[] = {{"http://www.google.com/search?q=", "&hl=en"},
                  {"http://search.yahoo.com/bin/search?p=", ""},
                  {"http://www.altavista.com/cgi-bin/query?pg=q&q=", ""},
                  {"http://www.lycos.com/srch/?query=", ""}};
  const char* const last = kWords[random.Below(16)];
  const char* const first = kWords[random.Below(16)];
  const auto& engine = kEngines[random.Below(4)];
  return std::string(engine.before) + first + "+" + last + engine.after;
}

std::string Agent(long n) {
  char text[200];
  switch (n % 3) {
    case 0:
      snprintf(text, sizeof text, "Mozilla/4.0 (compatible; MSIE 5.%ld; Windows NT 5.%ld; build %ld)", n % 7,
               n % 2, n);
      break;
    case 1:
      snprintf(text, sizeof text, "Mozilla/4.%ld [en] (X11; U; Linux 2.2.%ld i686; r%ld)", n % 80, n % 20, n);
      break;
    default:
      snprintf(text, sizeof text, "Mozilla/5.0 (Windows; U; Win98; en-US; rv:0.%ld) Gecko/2000%04ld", n % 100,
               n);
  }
  return text;
}

struct Request {
  tm when;
  const char* host;
  const char* url;
  int status;
  long bytes;
  const char* referrer;
  const char* agent;
};

const char* const kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                               "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void WriteCommon(const Request& r, FILE* out, const char* end) {
  fprintf(out, "%s - - [%02d/%s/%d:%02d:%02d:%02d +0000] \"GET %s HTTP/1.0\" %d %ld%s", r.host,
          r.when.tm_mday, kMonths[r.when.tm_mon], r.when.tm_year + 1900, r.when.tm_hour, r.when.tm_min,
          r.when.tm_sec, r.url, r.status, r.bytes, end);
}

void WriteCombined(const Request& r, FILE* out) {
  WriteCommon(r, out, "");
  fprintf(out, " \"%s\" \"%s\"\n", r.referrer, r.agent);
}

void WriteW3c(const Request& r, FILE* out) {
  std::string agent(r.agent);
  for (char& c : agent) {
    c = c == ' ' ? '+' : c;
  }
  fprintf(out, "%d-%02d-%02d %02d:%02d:%02d %s - GET %s - %d %ld %s %s\n", r.when.tm_year + 1900,
          r.when.tm_mon + 1, r.when.tm_mday, r.when.tm_hour, r.when.tm_min, r.when.tm_sec, r.host, r.url,
          r.status, r.bytes, agent.c_str(), r.referrer);
}

void WriteIis(const Request& r, FILE* out) {
  fprintf(
      out,
      "%s, -, %d/%d/%d, %d:%02d:%02d, W3SVC1, WEB1, 10.0.0.1, 120, 310, %ld, %d, 0, GET, %s, -, %s, %s,\n",
      r.host, r.when.tm_mon + 1, r.when.tm_mday, r.when.tm_year + 1900, r.when.tm_hour, r.when.tm_min,
      r.when.tm_sec, r.bytes, r.status, r.url, r.referrer, r.agent);
}

void WriteTab(const Request& r, FILE* out) {
  fprintf(out, "%02d/%02d/%d %02d:%02d:%02d\t%s\twww.example.com\t\t\tGET\t%s\t%s\t\t%s\t%d\t%ld\t0\n",
          r.when.tm_mon + 1, r.when.tm_mday, r.when.tm_year + 1900, r.when.tm_hour, r.when.tm_min,
          r.when.tm_sec, r.host, r.url, r.referrer, r.agent, r.status, r.bytes);
}

struct Format {
  const char* name;
  const char* header;
  void (*write)(const Request&, FILE* out);
};

constexpr Format kFormats[] = {
    {"combined", "", WriteCombined},
    {"common", "", [](const Request& r, FILE* out) { WriteCommon(r, out, "\n"); }},
    {"w3c",
     "#Software: Microsoft Internet Information Server 4.0\n"
     "#Fields: date time c-ip cs-username cs-method cs-uri-stem cs-uri-query sc-status sc-bytes "
     "cs(User-Agent) "
     "cs(Referer)\n",
     WriteW3c},
    {"iis", "", WriteIis},
    {"tab", "", WriteTab},
};

std::vector<std::string> Items(long n, std::string (*make)(long)) {
  std::vector<std::string> items;
  items.reserve(static_cast<size_t>(n));
  for (long i = 0; i < n; ++i) {
    items.push_back(make(i));
  }
  return items;
}

void Write(const LogOptions& options, const Format& format, FILE* out) {
  const bool zipf = options.spread == "zipf";
  const std::vector<std::string> urls = Items(options.urls, Url);
  const std::vector<std::string> hosts = Items(options.hosts, Host);
  const std::vector<std::string> referrers = Items(options.referrers, Referrer);
  const std::vector<std::string> agents = Items(options.agents, Agent);
  const Picker pick_url(options.urls, zipf);
  const Picker pick_host(options.hosts, zipf);
  const Picker pick_referrer(options.referrers, true);
  const Picker pick_agent(options.agents, true);
  Random random{static_cast<uint64_t>(options.seed)};
  fputs(format.header, out);
  for (long i = 0; i < options.records; ++i) {
    Request r = {};
    const time_t when =
        options.start + static_cast<time_t>(static_cast<double>(i) / static_cast<double>(options.records) *
                                            static_cast<double>(options.days) * 86400);
    gmtime_r(&when, &r.when);
    r.host = hosts[static_cast<size_t>(pick_host.Pick(random, i))].c_str();
    r.url = urls[static_cast<size_t>(pick_url.Pick(random, i))].c_str();
    r.status = random.Below(100) < options.missing ? 404 : 200;
    r.bytes = 200 + random.Below(40000);
    const std::string search = random.Below(100) < options.search ? Search(random) : std::string();
    r.referrer = search.empty() ? referrers[static_cast<size_t>(pick_referrer.Pick(random, i))].c_str()
                                : search.c_str();
    r.agent = agents[static_cast<size_t>(pick_agent.Pick(random, i))].c_str();
    format.write(r, out);
  }
}

}  // namespace

bool WriteLog(const LogOptions& options, FILE* out) {
  const Format* const end = std::end(kFormats);
  const Format* const format = std::find_if(
      std::begin(kFormats), end, [&](const Format& known) { return options.format == known.name; });
  if (format == end) {
    return false;
  }
  Write(options, *format, out);
  return true;
}
