#include "layouts/known_layouts.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "layouts/key_names.h"
#include "layouts/server_words.h"

static constexpr Writing kAmazonBalancer = {.whole_urls = true, .client_port = true};
static constexpr Writing kClientPort = {.client_port = true};
static constexpr Writing kSiteFirst = {.site_first = true};
static constexpr Writing kCloudFront = {.encoded_agents = true, .utc = true};

#define ORVELLIS_BEHIND_REQUEST " $status $body_bytes_sent \"$http_referer\" \"$http_user_agent\""
#define ORVELLIS_PROCESSING "$request_processing_time $target_processing_time $response_processing_time"

static constexpr KnownLayout kKnownLayouts[] = {
    {.name = "json", .title = "JSON lines", .kind = LineKind::kJson},
    {.name = "ltsv", .title = "LTSV", .kind = LineKind::kLtsv},
    {.name = "server_first",
     .title = "nginx, server and number of the request first",
     .words =
         "$server_name $remote_addr - $x $remote_user [$time_local] \"$request\"" ORVELLIS_BEHIND_REQUEST,
     .writing = kSiteFirst},
    {.name = "vhost_combined",
     .title = "Apache and nginx, virtual host first",
     .words = "$server_name $remote_addr - $remote_user [$time_local] \"$request\"" ORVELLIS_BEHIND_REQUEST,
     .writing = kSiteFirst},
    {.name = "gandi",
     .title = "Gandi, virtual host first and duration",
     .words =
         "$server_name $remote_addr - $remote_user [$time_local] ($x) \"$request\"" ORVELLIS_BEHIND_REQUEST,
     .writing = kSiteFirst},
    {.name = "combined",
     .title = "Apache and nginx, common or combined",
     .words = "$remote_addr $x $remote_user [$time_local] \"$request\"" ORVELLIS_BEHIND_REQUEST},
    {.name = "proxy_manager",
     .title = "nginx proxy manager, proxied",
     .words = "[$time_local] $x $x $status - $request_method $x $host \"$request_uri\" [Client $remote_addr] "
              "[Length $body_bytes_sent] [Gzip $x] [Sent-to $x] \"$http_user_agent\" \"$http_referer\""},
    {.name = "proxy_manager_own",
     .title = "nginx proxy manager, answered itself",
     .words = "[$time_local] $status - $request_method $x $host \"$request_uri\" [Client $remote_addr] "
              "[Length $body_bytes_sent] [Gzip $x] \"$http_user_agent\" \"$http_referer\""},
    {.name = "alb",
     .title = "Amazon application load balancer",
     .words = "$x $time_iso8601 $x $remote_addr $x " ORVELLIS_PROCESSING
              " $status $x $x $body_bytes_sent \"$request\" "
              "\"$http_user_agent\" $x $ssl_protocol",
     .writing = kAmazonBalancer},
    {.name = "elb",
     .title = "Amazon classic load balancer",
     .words = "$time_iso8601 $x $remote_addr $x " ORVELLIS_PROCESSING
              " $status $x $x $body_bytes_sent \"$request\" "
              "\"$http_user_agent\" $x $ssl_protocol",
     .writing = kAmazonBalancer},
    {.name = "s3",
     .title = "Amazon S3",
     .words = "$x $x [$time_local] $remote_addr $remote_user $x $x $x $request $status $x $body_bytes_sent "
              "$x $taken_milliseconds $x "
              "$http_referer $http_user_agent"},
    {.name = "cloudfront",
     .title = "Amazon CloudFront without its head",
     .words =
         "$date\t$time\t$x\t$bytes_sent\t$remote_addr\t$request_method\t$host\t$uri\t$status\t$http_referer\t"
         "$http_user_agent\t$args\t$x\t$x\t$x\t$x\t$x\t$x\t$time_taken\t$x\t$ssl_protocol\t$x\t$x\t$server_"
         "protocol",
     .writing = kCloudFront},
    {.name = "cloudfront_realtime",
     .title = "Amazon CloudFront in real time",
     .words =
         "$msec\t$remote_addr\t$x\t$status\t$bytes_sent\t$request_method\t$x\t$host\t$uri\t$x\t$x\t$x\t$x\t"
         "$time_taken\t$server_protocol\t$x\t"
         "$http_user_agent\t$http_referer\t$x\t$args\t$x\t$x\t$ssl_protocol",
     .writing = kCloudFront},
    {.name = "gcs",
     .title = "Google Cloud Storage",
     .words = "$msec,$remote_addr,$x,$x,$request_method,$request_uri,$status,$x,$bytes_sent,$taken_"
              "microseconds,$host,$http_"
              "referer,"
              "$http_user_agent,$x",
     .head = "\"time_micros\","},
    {.name = "haproxy",
     .title = "HAProxy, HTTP",
     .words =
         "$remote_addr [$time_local] $x $x/$x $x/$x/$x/$x/$taken_milliseconds $status $bytes_sent $x $x $x "
         "$x/$x/$x/$x/$x $x/$x "
         "\"$request\"",
     .writing = kClientPort},
    {.name = "haproxy_captures",
     .title = "HAProxy, HTTP, with captured headers",
     .words =
         "$remote_addr [$time_local] $x $x/$x $x/$x/$x/$x/$taken_milliseconds $status $bytes_sent $x $x $x "
         "$x/$x/$x/$x/$x $x/$x "
         "{$x} \"$request\"",
     .writing = kClientPort},
    {.name = "istio",
     .title = "Istio",
     .words = "[$time_iso8601] \"$request\" $status $x $x $x \"$x\" $x $bytes_sent $taken_milliseconds $x "
              "\"$http_x_forwarded_for\" "
              "\"$http_user_agent\" \"$x\" \"$host\" \"$x\""},
    {.name = "istio_older",
     .title = "Istio before 1.6",
     .words = "[$time_iso8601] \"$request\" $status $x \"$x\" \"$x\" $x $bytes_sent $taken_milliseconds $x "
              "\"$http_x_forwarded_for\" \"$http_user_agent\" \"$x\" \"$host\" \"$x\""},
    {.name = "envoy",
     .title = "Envoy",
     .words = "[$time_iso8601] \"$request\" $status $x $x $bytes_sent $taken_milliseconds $x "
              "\"$http_x_forwarded_for\" "
              "\"$http_user_agent\" \"$x\" \"$host\" \"$x\""},
    {.name = "squid",
     .title = "Squid",
     .words = "$msec  $taken_milliseconds $remote_addr $x/$status $bytes_sent $request_method $request_uri "
              "$remote_user $x/$x"},
    {.name = "ssl_request",
     .title = "Apache, requests under TLS",
     .words = "[$time_local] $remote_addr $ssl_protocol $x \"$request\" $body_bytes_sent"},
};

static_assert(std::size(kKnownLayouts) <= kMostKnownLayouts);

std::span<const KnownLayout> KnownLayouts() {
  return kKnownLayouts;
}

const KnownLayout* FindLayout(std::string_view name) {
  for (const KnownLayout& known : kKnownLayouts) {
    if (EqualIgnoreCase(known.name, name)) {
      return &known;
    }
  }
  return nullptr;
}

uint8_t NumberOf(const KnownLayout& known) {
  return static_cast<uint8_t>(&known - kKnownLayouts + 1);
}

bool NamesFields(std::string_view line) {
  return std::any_of(std::begin(kKnownLayouts), std::end(kKnownLayouts), [line](const KnownLayout& known) {
    return !known.head.empty() && line.starts_with(known.head);
  });
}

void MakeLayout(const KnownLayout& known, Layout& layout) {
  layout.name = known.name;
  layout.number = NumberOf(known);
  layout.kind = known.kind;
  layout.wrapper = Wrapper::kNone;
  layout.writing = known.writing;
  layout.writing.json = known.kind == LineKind::kJson;
  ClearPattern(layout.pattern);
  layout.keys.count = 0;
  if (known.kind == LineKind::kPattern) {
    CompileWords(known.words, layout.pattern);
  }
}

bool MakeLayoutOfWords(std::string_view words, Layout& layout) {
  layout.name = "words of a server";
  layout.number = 0;
  layout.kind = LineKind::kPattern;
  layout.wrapper = Wrapper::kNone;
  layout.writing = {};
  layout.keys.count = 0;
  if (!CompileWords(words, layout.pattern)) {
    return false;
  }
  const bool object = layout.pattern.elements[0].literal_size > 0 && layout.pattern.literals[0] == '{';
  layout.writing.json = object || words.find("escape=json") != std::string_view::npos;
  layout.writing.client_port = layout.pattern.client_port;
  FindGivenKeys(layout.pattern, layout.keys);
  return true;
}

bool MakeLayoutOfNames(std::string_view names, bool tabs, Layout& layout) {
  layout.name = "w3c";
  layout.number = 0;
  layout.kind = LineKind::kPattern;
  layout.wrapper = Wrapper::kNone;
  layout.writing = {.site_in_urls = true, .encoded_agents = true, .utc = true};
  ClearPattern(layout.pattern);
  layout.keys.count = 0;
  bool fits = true;
  bool first = true;
  while (fits && !names.empty()) {
    const std::string_view name = names.substr(0, names.find_first_of(" \t"));
    names.remove_prefix(name.size() + (name.size() < names.size() ? 1 : 0));
    if (!name.empty()) {
      fits = (first || AddText(layout.pattern, tabs ? "\t" : " ")) &&
             AddField(layout.pattern, MeaningOfColumn(name));
      first = false;
    }
  }
  return fits && EndPattern(layout.pattern);
}
