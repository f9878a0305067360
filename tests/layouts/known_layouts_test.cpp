#include "layouts/known_layouts.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "layouts/recognition.h"

// A line of each kind, written from what the servers' documentation says of it.
struct Sample {
  std::string_view name;
  std::string_view line;
  // host, site, time, request, URL, query, status, bytes, agent: those that the line has
  std::string_view fields;
};

static constexpr Sample kSamples[] = {
    {"combined", R"(192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12 "-" "Lynx" 0.1)",
     "192.0.2.7|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|Lynx|"},
    {"vhost_combined",
     R"(www.example.com:443 192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12 "-" "Lynx")",
     "192.0.2.7|www.example.com:443|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|Lynx|"},
    {"server_first",
     R"(www.example.com 192.0.2.7 - 7bde940e - [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12 "-" "Lynx")",
     "192.0.2.7|www.example.com|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|Lynx|"},
    {"gandi",
     R"(www.example.com 192.0.2.7 - - [05/Mar/2024:07:06:11 +0000] (0 s) "GET /a HTTP/1.1" 200 12 "-" "Lynx")",
     "192.0.2.7|www.example.com|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|Lynx|"},
    {"proxy_manager",
     R"([05/Mar/2024:07:06:11 +0000] HIT 200 200 - GET https www.example.com "/a" [Client 192.0.2.7] [Length 12] [Gzip 2.4] [Sent-to 192.0.2.9] "Lynx" "-")",
     "192.0.2.7|www.example.com|05/Mar/2024:07:06:11 +0000|/a|200|12|Lynx|"},
    {"proxy_manager_own",
     R"([05/Mar/2024:07:06:11 +0000] 404 - GET https www.example.com "/a" [Client 192.0.2.7] [Length 12] [Gzip -] "Lynx" "-")",
     "192.0.2.7|www.example.com|05/Mar/2024:07:06:11 +0000|/a|404|12|Lynx|"},
    {"alb",
     R"(h2 2024-03-05T07:06:11.123456Z app/lb/1 [2001:db8::7]:40512 192.0.2.9:80 0.0 0.1 0.0 200 200 34 12 "GET https://www.example.com:443/a HTTP/2.0" "Lynx" - - arn "Root=1" "-" "-" 0)",
     "[2001:db8::7]:40512|2024-03-05T07:06:11.123456Z|GET https://www.example.com:443/a "
     "HTTP/2.0|200|12|Lynx|"},
    {"elb",
     R"(2024-03-05T07:06:11.123456Z lb 192.0.2.7:2817 192.0.2.9:80 0.0 0.1 0.0 200 200 0 12 "GET http://www.example.com:80/a HTTP/1.1" "Lynx" - -)",
     "192.0.2.7:2817|2024-03-05T07:06:11.123456Z|GET http://www.example.com:80/a HTTP/1.1|200|12|Lynx|"},
    {"s3",
     R"(79a59df9 bucket [05/Mar/2024:07:06:11 +0000] 192.0.2.7 79a59df9 3E57427F REST.GET.OBJECT a%20b "GET /a HTTP/1.1" 200 - 12 12 7 - "-" "Lynx" - id= SigV4 -)",
     "192.0.2.7|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|Lynx|"},
    {"cloudfront",
     "2024-03-05\t07:06:11\tFRA2\t12\t192.0.2.7\tGET\td1.example.net\t/a\t200\t-\tLynx%20x\tb=c\t-\tHit",
     "192.0.2.7|d1.example.net|2024-03-05|07:06:11|/a|b=c|200|12|Lynx%20x|"},
    {"cloudfront_realtime",
     "1709622371.123\t192.0.2.7\t0.0\t200\t12\tGET\thttps\twww.example.com\t/"
     "a\t637\tFRA2\tid\td1.example.net\t0.1\tHTTP/2.0\tIPv4\tLynx%20x\t-\t-\tb=c\tHit",
     "192.0.2.7|www.example.com|1709622371.123|/a|b=c|200|12|Lynx%20x|"},
    {"gcs",
     R"("1709622371123456","192.0.2.7","1","","GET","/a?b","200","0","12","5","www.example.com","","Lynx","id","GET_Object","bucket","a")",
     "192.0.2.7|www.example.com|1709622371123456|/a?b|200|12||Lynx|"},
    {"haproxy",
     R"(192.0.2.7:33317 [05/Mar/2024:07:06:11.655] in~ be/s1 10/0/30/69/109 200 12 - - ---- 1/1/1/1/0 0/0 "GET /a HTTP/1.1")",
     "192.0.2.7:33317|05/Mar/2024:07:06:11.655|GET /a HTTP/1.1|200|12|"},
    {"haproxy_captures",
     R"(192.0.2.7:33317 [05/Mar/2024:07:06:11.655] in be/<NOSRV> 10/-1/-1/-1/109 503 12 - - SC-- 1/1/1/1/0 0/0 {www.example.com|Lynx x} {} "GET /a HTTP/1.1")",
     "192.0.2.7:33317|05/Mar/2024:07:06:11.655|GET /a HTTP/1.1|503|12|"},
    {"envoy",
     R"([2024-03-05T07:06:11.123Z] "GET /a HTTP/2" 200 - 154 12 226 100 "192.0.2.7" "Lynx" "cc21d9b0" "www.example.com" "tcp://192.0.2.9:80")",
     "192.0.2.7|www.example.com|2024-03-05T07:06:11.123Z|GET /a HTTP/2|200|12|Lynx|"},
    {"istio",
     R"([2024-03-05T07:06:11.123Z] "GET /a HTTP/1.1" 200 - via_upstream - "-" 154 12 226 100 "-" "Lynx" "cc21d9b0" "www.example.com" "192.0.2.9:80" outbound|80 192.0.2.8:1 192.0.2.9:80 192.0.2.7:2 - default)",
     "-|www.example.com|2024-03-05T07:06:11.123Z|GET /a HTTP/1.1|200|12|Lynx|"},
    {"istio_older",
     R"([2024-03-05T07:06:11.123Z] "GET /a HTTP/1.1" 200 - "-" "-" 154 12 226 100 "-" "Lynx" "cc21d9b0" "www.example.com" "192.0.2.9:80")",
     "-|www.example.com|2024-03-05T07:06:11.123Z|GET /a HTTP/1.1|200|12|Lynx|"},
    {"squid",
     "1709622371.123    344 192.0.2.7 TCP_MISS/200 12 GET http://www.example.com/a - HIER_DIRECT/192.0.2.9 "
     "text/html",
     "192.0.2.7|1709622371.123|http://www.example.com/a|200|12|"},
    {"ssl_request",
     R"([05/Mar/2024:07:06:11 +0000] 192.0.2.7 TLSv1.3 TLS_AES_256_GCM_SHA384 "GET /a HTTP/1.1" 12)",
     "192.0.2.7|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|12|"},
    {"json",
     R"({"time":"2024-03-05T07:06:11Z","remote_addr":"192.0.2.7","request":"GET /a HTTP/1.1","status":"200","body_bytes_sent":"12"})",
     "192.0.2.7|2024-03-05T07:06:11Z|GET /a HTTP/1.1|200|12|"},
    {"ltsv", "time:05/Mar/2024:07:06:11 +0000\thost:192.0.2.7\treq:GET /a HTTP/1.1\tstatus:200\tsize:12",
     "192.0.2.7|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|"},
};

static std::string Shown(const LineFields& fields) {
  std::string shown;
  for (const Field field :
       {Field::kHost, Field::kSite, Field::kMoment, Field::kDate, Field::kTime, Field::kRequest, Field::kUrl,
        Field::kQuery, Field::kStatus, Field::kBytes, Field::kReferrer, Field::kAgent}) {
    const std::string_view text = fields[field];
    const bool left_out = text.data() == nullptr || (field == Field::kReferrer && text == "-");
    shown += left_out ? "" : std::string(text) + "|";
  }
  return shown;
}

class KnownLayoutsTest : public testing::Test {
 protected:
  std::unique_ptr<SplitRoom> room_ = std::make_unique<SplitRoom>();
  std::unique_ptr<Layout> layout_ = std::make_unique<Layout>();
};

TEST_F(KnownLayoutsTest, EachExplainsItsSample) {
  for (const Sample& sample : kSamples) {
    const KnownLayout* const known = FindLayout(sample.name);
    ASSERT_NE(known, nullptr) << sample.name;
    MakeLayout(*known, *layout_);
    LineFields fields = {};
    EXPECT_TRUE(SplitLine(*layout_, sample.line, *room_, fields)) << sample.name;
    EXPECT_EQ(Shown(fields), sample.fields) << sample.name;
  }
}

TEST_F(KnownLayoutsTest, SomeTellMethodProtocolAndTls) {
  static constexpr Sample kMore[] = {
      {"proxy_manager_own",
       R"([05/Mar/2024:07:06:11 +0000] 404 - GET https www.example.com "/a" [Client 192.0.2.7] [Length 12] [Gzip -] "Lynx" "-")",
       "GET||"},
      {"alb",
       R"(h2 2024-03-05T07:06:11.123456Z app/lb/1 192.0.2.7:1 192.0.2.9:80 0.0 0.1 0.0 200 200 34 12 "GET https://www.example.com:443/a HTTP/2.0" "Lynx" ECDHE TLSv1.2 arn "Root=1" "-" "-" 0)",
       "||TLSv1.2"},
      {"elb",
       R"(2024-03-05T07:06:11.123456Z lb 192.0.2.7:2817 192.0.2.9:80 0.0 0.1 0.0 200 200 0 12 "GET http://www.example.com:80/a HTTP/1.1" "Lynx" ECDHE TLSv1.3)",
       "||TLSv1.3"},
      {"cloudfront",
       "2024-03-05\t07:06:11\tFRA2\t12\t192.0.2.7\tGET\td1.example.net\t/"
       "a\t200\t-\tLynx%20x\tb=c\t-\tHit\tid\t"
       "www.example.com\thttps\t34\t0.012\t-\tTLSv1.3\tAES\tHit\tHTTP/2.0\t-\t-",
       "GET|HTTP/2.0|TLSv1.3"},
      {"cloudfront_realtime",
       "1709622371.123\t192.0.2.7\t0.0\t200\t12\tGET\thttps\twww.example.com\t/"
       "a\t637\tFRA2\tid\td1.example.net\t0.1\tHTTP/2.0\tIPv4\tLynx%20x\t-\t-\tb=c\tHit\t-\tTLSv1.2\tAES",
       "GET|HTTP/2.0|TLSv1.2"},
      {"gcs",
       R"("1709622371123456","192.0.2.7","1","","GET","/a?b","200","0","12","5","www.example.com","","Lynx","id","GET_Object","bucket","a")",
       "GET||"},
      {"squid",
       "1709622371.123    344 192.0.2.7 TCP_MISS/200 12 GET http://www.example.com/a - HIER_DIRECT/192.0.2.9 "
       "t",
       "GET||"},
      {"ssl_request",
       R"([05/Mar/2024:07:06:11 +0000] 192.0.2.7 TLSv1.3 TLS_AES_256_GCM_SHA384 "GET /a HTTP/1.1" 12)",
       "||TLSv1.3"},
  };
  for (const Sample& sample : kMore) {
    MakeLayout(*FindLayout(sample.name), *layout_);
    LineFields fields = {};
    ASSERT_TRUE(SplitLine(*layout_, sample.line, *room_, fields)) << sample.name;
    const std::string told = std::string(fields[Field::kMethod]) + "|" +
                             std::string(fields[Field::kProtocol]) + "|" + std::string(fields[Field::kTls]);
    EXPECT_EQ(told, sample.fields) << sample.name;
  }
}

TEST_F(KnownLayoutsTest, EachSampleIsRecognised) {
  for (const Sample& sample : kSamples) {
    LogSoFar so_far;
    EXPECT_TRUE(RecogniseLayout(sample.line, {}, so_far, *room_, *layout_)) << sample.name;
    EXPECT_EQ(layout_->name, sample.name);
    EXPECT_EQ(layout_->wrapper, Wrapper::kNone) << sample.name;
  }
}

TEST_F(KnownLayoutsTest, EachHasASampleAndCompiles) {
  for (const KnownLayout& known : KnownLayouts()) {
    MakeLayout(known, *layout_);
    EXPECT_EQ(layout_->kind == LineKind::kPattern, layout_->pattern.needed > 0) << known.name;
    const bool sampled = std::any_of(std::begin(kSamples), std::end(kSamples),
                                     [&known](const Sample& sample) { return sample.name == known.name; });
    EXPECT_TRUE(sampled) << known.name;
  }
}

TEST_F(KnownLayoutsTest, AreFoundByNameInAnyCase) {
  EXPECT_EQ(FindLayout("SQUID"), FindLayout("squid"));
  EXPECT_EQ(FindLayout("squids"), nullptr);
  EXPECT_EQ(FindLayout(""), nullptr);
}

TEST_F(KnownLayoutsTest, AreMadeOfNames) {
  ASSERT_TRUE(MakeLayoutOfNames(" date time c-ip cs-uri-stem cs-uri-query sc-status sc-bytes cs(User-Agent)",
                                false, *layout_));
  LineFields fields = {};
  ASSERT_TRUE(SplitLine(*layout_, R"(2024-03-05 07:06:11 192.0.2.7 /a - 200 12 "Lynx x")", *room_, fields));
  EXPECT_EQ(Shown(fields), "192.0.2.7|2024-03-05|07:06:11|/a|-|200|12|Lynx x|");
  ASSERT_TRUE(MakeLayoutOfNames("date\ttime\tc-ip\tCS-URI", true, *layout_));
  fields = {};
  ASSERT_TRUE(SplitLine(*layout_, "2024-03-05\t07:06:11\t192.0.2.7\t/a", *room_, fields));
  EXPECT_EQ(Shown(fields), "192.0.2.7|2024-03-05|07:06:11|/a|");
  EXPECT_FALSE(MakeLayoutOfNames("date c-ip cs-uri-stem", false, *layout_));
  EXPECT_FALSE(MakeLayoutOfNames("", false, *layout_));
}

TEST_F(KnownLayoutsTest, AreMadeOfWords) {
  ASSERT_TRUE(MakeLayoutOfWords("$msec $uri", *layout_));
  EXPECT_FALSE(layout_->writing.json);
  ASSERT_TRUE(MakeLayoutOfWords(R"({"t":$msec,"u":"$uri"})", *layout_));
  EXPECT_TRUE(layout_->writing.json);
  EXPECT_FALSE(MakeLayoutOfWords("squid", *layout_));
}
