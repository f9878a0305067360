#include "layouts/server_words.h"

#include <gtest/gtest.h>

#include <memory>

class CompileWordsTest : public testing::Test {
 protected:
  // The fields of a line by a layout in words, as "host|user|site|moment|...", without those that it lacks.
  std::string Read(std::string_view words, std::string_view line) {
    static auto pattern = std::make_unique<Pattern>();
    if (!CompileWords(words, *pattern)) {
      return "no words";
    }
    LineFields fields = {};
    SplitStop stop;
    if (!SplitByPattern(*pattern, line, fields, stop)) {
      return "does not fit";
    }
    std::string all;
    for (const std::string_view text : fields.texts) {
      all += text.data() == nullptr ? "" : std::string(text) + "|";
    }
    return all;
  }
};

static constexpr const char* kLine =
    R"(192.0.2.7 - ann [05/Mar/2024:07:06:11 +0000] "GET /a HTTP/1.1" 200 12 "http://example.com/" "Lynx")";
static constexpr const char* kRead =
    "192.0.2.7|ann|05/Mar/2024:07:06:11 +0000|GET /a HTTP/1.1|200|12|http://example.com/|Lynx|";

TEST_F(CompileWordsTest, ReadsApacheWords) {
  EXPECT_EQ(Read(R"(%h %l %u %t "%r" %>s %b "%{Referer}i" "%{User-Agent}i")", kLine), kRead);
  EXPECT_EQ(Read(R"(%h %l %u %t \"%r\" %>s %O \"%{Referer}i\" \"%{User-agent}i\")", kLine), kRead);
  EXPECT_EQ(Read("  LogFormat \"%h %l %u %t \\\"%r\\\" %>s %b \\\"%{Referer}i\\\" \\\"%{User-Agent}i\\\"\" "
                 "combined\n",
                 kLine),
            kRead);
  EXPECT_EQ(Read(R"(logformat "%h %l %u %t \"%r\" %>s %b \"%{Referer}i\" \"%{User-Agent}i\"")", kLine),
            kRead);
  EXPECT_EQ(Read(R"(CustomLog /var/log/a.log "%h %l %u %t \"%r\" %>s %b \"%{Referer}i\" \"%{User-Agent}i\"")",
                 kLine),
            kRead);
}

TEST_F(CompileWordsTest, ReadsLinesThatGoOnInTheNextOne) {
  for (const std::string end : {"\\\n", "\\\r\n"}) {
    EXPECT_EQ(Read("LogFormat \"%h %l %u " + end + "%t \\\"%r\\\" %>s %b " + end +
                       "\\\"%{Referer}i\\\" \\\"%{User-Agent}i\\\"\" combined",
                   kLine),
              kRead);
  }
}

TEST_F(CompileWordsTest, ReadsTimesThatApacheWritesOtherwise) {
  EXPECT_EQ(Read("%{%Y-%m-%d %H:%M:%S}t %a %m %U%q %s", "2024-03-05 07:06:11 192.0.2.7 GET /a?b 200"),
            "192.0.2.7|2024-03-05|07:06:11|/a?b|200|GET|");
  EXPECT_EQ(Read("%{msec}t %{c}a %U %!200,304s", "1700000000123 192.0.2.7 /a 404"),
            "192.0.2.7|1700000000123|/a|404|");
  EXPECT_EQ(Read("[%{%d/%b/%Y %T}t.%{msec_frac}t %{%z}t] %v:%p %U %s",
                 "[05/Mar/2024 07:06:11.123 +0000] www.example.com:80 /a 200"),
            "www.example.com|05/Mar/2024 07:06:11|/a|200|");
}

TEST_F(CompileWordsTest, ReadsNginxWords) {
  EXPECT_EQ(
      Read(
          R"($remote_addr - $remote_user [$time_local] "$request" $status $body_bytes_sent "$http_referer" "${http_user_agent}")",
          kLine),
      kRead);
  EXPECT_EQ(Read("log_format main '$remote_addr - $remote_user [$time_local] \"$request\" '\n"
                 "                '$status $body_bytes_sent \"$http_referer\" '\n"
                 "                '\"$http_user_agent\"';\n",
                 kLine),
            kRead);
  EXPECT_EQ(Read("'$remote_addr - $remote_user [$time_local] \"$request\" '\n"
                 "'$status $body_bytes_sent \"$http_referer\" \"$http_user_agent\"'",
                 kLine),
            kRead);
  EXPECT_EQ(Read("log_format json escape=json "
                 "'{\"time\":\"$time_iso8601\",\"uri\":\"$request_uri\",\"status\":$status}';",
                 R"({"time":"2024-03-05T07:06:11Z","uri":"/a","status":200})"),
            "2024-03-05T07:06:11Z|/a|200|");
  EXPECT_EQ(Read("escape=none '$time_iso8601|'  # when\n '$uri|' # what; not the end\n'$status';",
                 "2024-03-05T07:06:11Z|/a|200"),
            "2024-03-05T07:06:11Z|/a|200|");
  EXPECT_EQ(Read("$time_iso8601\\t$uri\\t$status", "2024-03-05T07:06:11Z\t/a\t200"),
            "2024-03-05T07:06:11Z|/a|200|");
}

TEST_F(CompileWordsTest, ReadsMethodProtocolAndTls) {
  const char* const line = "2024-03-05T07:06:11+0000 /a GET HTTP/2.0 TLSv1.3 200";
  const char* const read = "2024-03-05T07:06:11+0000|/a|200|GET|HTTP/2.0|TLSv1.3|";
  EXPECT_EQ(Read("$time_iso8601 $uri $request_method $server_protocol $ssl_protocol $status", line), read);
  EXPECT_EQ(Read("%{%FT%T%z}t %U %m %H %{SSL_PROTOCOL}x %>s", line), read);
  EXPECT_EQ(Read("%tr %HU %HM %HV %sslv %ST", line), read);
  EXPECT_EQ(Read("%tr %HU %[method] %HV %[ssl_fc_protocol] %[status]", line), read);
}

TEST_F(CompileWordsTest, ReadsTheTimeTaken) {
  const auto taken = [this](const char* words) {
    static auto pattern = std::make_unique<Pattern>();
    EXPECT_TRUE(CompileWords(words, *pattern)) << words;
    return pattern->count < 3 ? Field::kIgnored : pattern->elements[2].field;
  };
  EXPECT_EQ(taken("$time_iso8601 $uri $request_time"), Field::kTakenSeconds);
  EXPECT_EQ(taken("$time_iso8601 $uri $upstream_response_time"), Field::kIgnored);
  EXPECT_EQ(taken("%t %U %D"), Field::kTakenMicroseconds);
  EXPECT_EQ(taken("%t %U %T"), Field::kTakenSeconds);
  EXPECT_EQ(taken("%t %U %{s}T"), Field::kTakenSeconds);
  EXPECT_EQ(taken("%t %U %{ms}T"), Field::kTakenMilliseconds);
  EXPECT_EQ(taken("%t %U %{us}T"), Field::kTakenMicroseconds);
  EXPECT_EQ(taken("%t %U %{min}T"), Field::kIgnored);
  EXPECT_EQ(taken("%t %U %^FB"), Field::kIgnored);
  EXPECT_EQ(taken("%tr %HU %Ta"), Field::kTakenMilliseconds);
  EXPECT_EQ(taken("%tr %HU %Tt"), Field::kTakenMilliseconds);
  EXPECT_EQ(taken("%tr %HU %TR"), Field::kIgnored);
  EXPECT_EQ(taken("%ts %ru %tr"), Field::kTakenMilliseconds);
}

TEST_F(CompileWordsTest, ReadsHaproxyWords) {
  const char* const words =
      "log-format \"%ci:%cp [%tr] %ft %b/%s %TR/%Tw/%Tc/%Tr/%Ta %ST %B %CC %CS %tsc %ac/%fc/%bc/%sc/%rc "
      "%sq/%bq %hr %hs %{+Q}r\"";
  EXPECT_EQ(
      Read(
          words,
          R"(192.0.2.7:33317 [06/Feb/2009:12:14:14.655] in be/s1 10/0/30/69/109 200 2750 - - ---- 1/1/1/1/0 0/0 "GET /a HTTP/1.1")"),
      "192.0.2.7:33317|06/Feb/2009:12:14:14.655|GET /a HTTP/1.1|200|2750|109|");
  EXPECT_EQ(
      Read(
          words,
          R"(192.0.2.7:33317 [06/Feb/2009:12:14:14.655] in be/s1 10/0/30/69/109 200 2750 - - ---- 1/1/1/1/0 0/0 {a|b c} {} "GET /a HTTP/1.1")"),
      "192.0.2.7:33317|06/Feb/2009:12:14:14.655|GET /a HTTP/1.1|200|2750|109|");
  EXPECT_EQ(Read("%Ts %[src] %HU %[status]", "1700000000 192.0.2.7 /a 200"), "192.0.2.7|1700000000|/a|200|");
}

TEST_F(CompileWordsTest, ReadsDatesAndTimesThatStandApart) {
  const char* const read = "192.0.2.7|2024-03-05|07:06:11|/a|200|";
  const char* const line = "2024-03-05 07:06:11 192.0.2.7 /a 200";
  EXPECT_EQ(Read("%{%F %T}t %h %U %s", line), read);
  EXPECT_EQ(Read("%{%F}t %{%T}t %h %U %s", line), read);
  EXPECT_EQ(Read("%{%Y-%m-%d}t %{%H:%M:%S}t %h %U %s", line), read);
  EXPECT_EQ(Read("%{%F}t %h %U %s", line), "no words");
  EXPECT_EQ(Read("%{}t %{%}t %{usec_frac}t %{%Z}t %U", line), "does not fit");
}

TEST_F(CompileWordsTest, ReadsLighttpdWords) {
  const char* const words =
      R"(accesslog.format = "%h %l %u %t \"%r\" %s %b \"%{Referer}i\" \"%{User-Agent}i\"")";
  EXPECT_EQ(Read(words, kLine), kRead);
}

TEST_F(CompileWordsTest, ReadsSquidWords) {
  EXPECT_EQ(Read("%ts.%03tu %6tr %>a %Ss/%03>Hs %<st %rm %ru %[un %Sh/%<a %mt",
                 "1700000000.123     43 192.0.2.7 TCP_MISS/200 1518 GET http://a.example/b?c ann "
                 "HIER_DIRECT/192.0.2.9 text/html"),
            "192.0.2.7|ann|1700000000|http://a.example/b?c|200|1518|GET|43|");
  EXPECT_EQ(Read("logformat combined %>a %[ui %[un [%tl] \"%rm %ru HTTP/%rv\" %>Hs %<st \"%{Referer}>h\" "
                 "\"%{User-Agent}>h\" %Ss:%Sh",
                 std::string(kLine) + " TCP_MISS:HIER_DIRECT"),
            "192.0.2.7|ann|05/Mar/2024:07:06:11 +0000|/a|200|12|http://example.com/|Lynx|GET|1.1|");
  EXPECT_EQ(Read("{\"time\":\"%{%Y-%m-%dT%H:%M:%S%z}tl\",\"url\":\"%\"ru\",\"status\":%>Hs,\"agent\":\"%\"{"
                 "User-Agent}>h\"}",
                 R"({"time":"2024-03-05T07:06:11+0000","url":"/a","status":200,"agent":"Lynx \"x\""})"),
            R"(2024-03-05T07:06:11+0000|/a|200|Lynx \"x\"|)");
  EXPECT_EQ(Read("%>a %ru", "192.0.2.7 /a"), "no words");
  EXPECT_EQ(Read("%>a %", kLine), "no words");
}

// A port behind an address of IPv6 cannot be told from it by its colon.
TEST_F(CompileWordsTest, TakesAPortWithItsClient) {
  const char* const read = "::1:33560|1700000000|/a|200|";
  const char* const line = "::1:33560 1700000000 /a 200";
  EXPECT_EQ(Read("%ci:%cp %Ts %HU %ST", line), read);
  EXPECT_EQ(Read("%h:%{remote}p %{sec}t %U %s", line), read);
  EXPECT_EQ(Read("$remote_addr:$remote_port $msec $uri $status", line), read);
  EXPECT_EQ(Read("${remote_addr}:${remote_port} $msec $uri $status", line), read);
}

TEST_F(CompileWordsTest, RefusesWhatIsNoLayout) {
  for (const char* words :
       {"", "combined", "100%", "$", "%", "%h %l", "log_format main ", "LogFormat", "%{", "%[", "${", "\\"}) {
    EXPECT_EQ(Read(words, kLine), "no words") << words;
  }
}

TEST(WhoseWords, TellsServersByHowTheyNameFields) {
  EXPECT_EQ(WhoseWords("$a"), Words::kNginx);
  EXPECT_EQ(WhoseWords("%h"), Words::kApache);
  EXPECT_EQ(WhoseWords("%ci"), Words::kHaproxy);
  EXPECT_EQ(WhoseWords("%>a %[un %tr"), Words::kSquid);
  EXPECT_EQ(WhoseWords("%>s %{Referer}i"), Words::kApache);
  EXPECT_EQ(WhoseWords("h"), Words::kNone);
}
