// Robots as their owners say that they call themselves.
#include <gtest/gtest.h>

#include "agents/agent.h"

struct RobotCase {
  const char* text;
  const char* name;
  Purpose purpose;
};

static void ExpectRobots(std::initializer_list<RobotCase> cases) {
  for (const RobotCase& row : cases) {
    const Agent agent = TellAgent(row.text);
    EXPECT_EQ(agent.robot, row.name) << row.text;
    EXPECT_EQ(agent.purpose, row.purpose) << row.text;
  }
}

#define CHROME_ON_ANDROID                                                         \
  "Mozilla/5.0 (Linux; Android 6.0.1; Nexus 5X Build/MMB29P) AppleWebKit/537.36 " \
  "(KHTML, like Gecko) Chrome/128.0.0.0 Mobile Safari/537.36"

TEST(RobotRules, KnowSearchEngines) {
  ExpectRobots({
      {CHROME_ON_ANDROID " (compatible; Googlebot/2.1; +http://www.google.com/bot.html)", "Googlebot",
       Purpose::kSearch},
      {"Googlebot-Image/1.0", "Googlebot", Purpose::kSearch},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; bingbot/2.0; "
       "+http://www.bing.com/bingbot.htm) "
       "Chrome/128.0.0.0 Safari/537.36",
       "bingbot", Purpose::kSearch},
      {"Mozilla/5.0 (compatible; YandexBot/3.0; +http://yandex.com/bots)", "YandexBot", Purpose::kSearch},
      {"Mozilla/5.0 (compatible; YandexFavicons/1.0; +http://yandex.com/bots)", "YandexFavicons",
       Purpose::kSearch},
      {"Mozilla/5.0 (compatible; Baiduspider/2.0; +http://www.baidu.com/search/spider.html)", "Baiduspider",
       Purpose::kSearch},
      {"DuckDuckBot/1.1; (+http://duckduckgo.com/duckduckbot.html)", "DuckDuckBot", Purpose::kSearch},
      {"Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_5) AppleWebKit/605.1.15 (KHTML, like Gecko) "
       "Version/13.1.1 "
       "Safari/605.1.15 (Applebot/0.1; +http://www.apple.com/go/applebot)",
       "Applebot", Purpose::kSearch},
      {"Sogou web spider/4.0(+http://www.sogou.com/docs/help/webmasters.htm#07)", "Sogou spider",
       Purpose::kSearch},
      {"Mozilla/5.0 (compatible; Yahoo! Slurp; http://help.yahoo.com/help/us/ysearch/slurp)", "Yahoo! Slurp",
       Purpose::kSearch},
  });
}

TEST(RobotRules, KnowWhatTrainsModelsAndWhatAnswers) {
  ExpectRobots({
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; GPTBot/1.2; "
       "+https://openai.com/gptbot)",
       "GPTBot", Purpose::kTraining},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; ChatGPT-User/1.0; "
       "+https://openai.com/bot)",
       "ChatGPT-User", Purpose::kAnswers},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; OAI-SearchBot/1.0; "
       "+https://openai.com/searchbot)",
       "OAI-SearchBot", Purpose::kAnswers},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; ClaudeBot/1.0; "
       "+claudebot@anthropic.com)",
       "ClaudeBot", Purpose::kTraining},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; Claude-User/1.0; "
       "+Claude-User@anthropic.com)",
       "Claude-User", Purpose::kAnswers},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; PerplexityBot/1.0; "
       "+https://perplexity.ai/perplexitybot)",
       "PerplexityBot", Purpose::kAnswers},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; Perplexity-User/1.0; "
       "+https://perplexity.ai/perplexity-user)",
       "Perplexity-User", Purpose::kAnswers},
      {"CCBot/2.0 (https://commoncrawl.org/faq/)", "CCBot", Purpose::kTraining},
      {CHROME_ON_ANDROID " (compatible; Bytespider; spider-feedback@bytedance.com)", "Bytespider",
       Purpose::kTraining},
      {"meta-externalagent/1.1 (+https://developers.facebook.com/docs/sharing/webmasters/crawler)",
       "meta-externalagent", Purpose::kTraining},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; Amazonbot/0.1; "
       "+https://developer.amazon.com/support/amazonbot) "
       "Chrome/119.0.6045.214 Safari/537.36",
       "Amazonbot", Purpose::kTraining},
      {"Mozilla/5.0 AppleWebKit/537.36 (KHTML, like Gecko; compatible; MistralAI-User/1.0; "
       "+https://docs.mistral.ai/robots)",
       "MistralAI-User", Purpose::kAnswers},
  });
}

TEST(RobotRules, KnowPreviewsMarketingAndFeeds) {
  ExpectRobots({
      {"facebookexternalhit/1.1 (+http://www.facebook.com/externalhit_uatext.php)", "facebookexternalhit",
       Purpose::kPreviews},
      {"Twitterbot/1.0", "Twitterbot", Purpose::kPreviews},
      {"Slackbot-LinkExpanding 1.0 (+https://api.slack.com/robots)", "Slackbot", Purpose::kPreviews},
      {"Mozilla/5.0 (compatible; Discordbot/2.0; +https://discordapp.com)", "Discordbot", Purpose::kPreviews},
      {"WhatsApp/2.23.20.0 A", "WhatsApp", Purpose::kPreviews},
      {"TelegramBot (like TwitterBot)", "Twitterbot", Purpose::kPreviews},
      {"Mozilla/5.0 (compatible; AhrefsBot/7.0; +http://ahrefs.com/robot/)", "AhrefsBot",
       Purpose::kMarketing},
      {"Mozilla/5.0 (compatible; SemrushBot/7~bl; +http://www.semrush.com/bot.html)", "SemrushBot",
       Purpose::kMarketing},
      {"Screaming Frog SEO Spider/19.4", "Screaming Frog", Purpose::kMarketing},
      {"AdsBot-Google (+http://www.google.com/adsbot.html)", "AdsBot-Google", Purpose::kMarketing},
      {"Feedly/1.0 (+http://www.feedly.com/fetcher.html; 12 subscribers; like FeedFetcher-Google)",
       "FeedFetcher-Google", Purpose::kFeeds},
      {"Feedbin feed-id:1 - 12 subscribers", "Feedbin", Purpose::kFeeds},
      {"FreshRSS/1.24.1 (Linux; https://freshrss.org)", "FreshRSS", Purpose::kFeeds},
  });
}

TEST(RobotRules, KnowMonitorsArchivesAndScanners) {
  ExpectRobots({
      {"Mozilla/5.0+(compatible; UptimeRobot/2.0; http://www.uptimerobot.com/)", "UptimeRobot",
       Purpose::kMonitoring},
      {"Pingdom.com_bot_version_1.4_(http://www.pingdom.com/)", "Pingdom", Purpose::kMonitoring},
      {"ELB-HealthChecker/2.0", "ELB-HealthChecker", Purpose::kMonitoring},
      {"kube-probe/1.29", "kube-probe", Purpose::kMonitoring},
      {"check_http/v2.3.3 (monitoring-plugins 2.3.3)", "check_http", Purpose::kMonitoring},
      {"Mozilla/5.0 (compatible; archive.org_bot +http://archive.org/details/archive.org_bot)",
       "archive.org_bot", Purpose::kArchives},
      {"Mozilla/5.0 (compatible; Nmap Scripting Engine; https://nmap.org/book/nse.html)", "Nmap",
       Purpose::kScanners},
      {"sqlmap/1.8#stable (https://sqlmap.org)", "sqlmap", Purpose::kScanners},
      {"Mozilla/5.0 (compatible; CensysInspect/1.1; +https://about.censys.io/)", "Censys",
       Purpose::kScanners},
      {"Mozilla/5.0 zgrab/0.x", "zgrab", Purpose::kScanners},
  });
}

TEST(RobotRules, KnowProgramsAndLibraries) {
  ExpectRobots({
      {"curl/8.5.0", "curl", Purpose::kTools},
      {"Wget/1.21.4", "Wget", Purpose::kTools},
      {"python-requests/2.32.3", "python-requests", Purpose::kTools},
      {"Python/3.12 aiohttp/3.9.5", "aiohttp", Purpose::kTools},
      {"Go-http-client/2.0", "Go-http-client", Purpose::kTools},
      {"libwww-perl/6.77", "libwww-perl", Purpose::kTools},
      {"Java/17.0.11", "Java", Purpose::kTools},
      {"okhttp/4.12.0", "okhttp", Purpose::kTools},
      {"axios/1.7.2", "axios", Purpose::kTools},
      {"Scrapy/2.11.2 (+https://scrapy.org)", "Scrapy", Purpose::kTools},
      {"Acme/12 CFNetwork/1496.0.7 Darwin/23.5.0", "CFNetwork", Purpose::kTools},
      {"Dalvik/2.1.0 (Linux; U; Android 14; Pixel 8 Build/UD1A.230803.022)", "Dalvik", Purpose::kTools},
      {"Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36 (KHTML, like Gecko) HeadlessChrome/128.0.0.0 "
       "Safari/537.36",
       "Headless Chrome", Purpose::kTools},
      {"Ruby", "Ruby", Purpose::kOther},
      {"Acme-HttpClient/1.0", "Acme-HttpClient", Purpose::kTools},
  });
}

TEST(RobotRules, TellOthersByTheWordsThatRobotsHave) {
  ExpectRobots({
      {"Mozilla/5.0 (compatible; AcmeBot/1.0; +https://acme.example/bot)", "AcmeBot", Purpose::kOther},
      {"AcmeSpider", "AcmeSpider", Purpose::kOther},
      {"acme_crawler/0.1", "acme_crawler", Purpose::kOther},
      {"Acme Link Checker/2.0", "Acme Link Checker", Purpose::kMonitoring},
      {"AcmeFeedParser/2.0", "AcmeFeedParser", Purpose::kFeeds},
      {"Acme SEO Analyzer", "Acme SEO Analyzer", Purpose::kMarketing},
      {"AcmeScanner/2", "AcmeScanner", Purpose::kScanners},
      {CHROME_ON_ANDROID " (+https://acme.example/about)", "acme.example", Purpose::kOther},
      {CHROME_ON_ANDROID " AcmeBot/1.0", "AcmeBot", Purpose::kOther},
      {"Mozilla/5.0 (compatible; MSIE 6.0; Windows NT 5.1; AcmeBot)", "AcmeBot", Purpose::kOther},
      {"Mozilla/5.0 (compatible; Acme Study; mailto:study@acme.example)", "Acme Study", Purpose::kOther},
  });
}

TEST(RobotRules, LeaveBrowsersThatHaveSuchWords) {
  for (const char* text : {
           "Mozilla/5.0 (Linux; Android 9; CUBOT_X19) AppleWebKit/537.36 (KHTML, like Gecko) "
           "Chrome/128.0.0.0 Mobile Safari/537.36",
           "Mozilla/5.0 (Linux; Android 11; Cubot Note 20) AppleWebKit/537.36 (KHTML, like Gecko) "
           "Chrome/99.0 Mobile Safari/537.36",
           "Mozilla/5.0 (Linux; Android 10; Abbottabad) AppleWebKit/537.36 (KHTML, like Gecko) "
           "Chrome/128.0.0.0 Safari/537.36",
           "Mozilla/5.0 (Linux; Android 10; ScanPal EDA51) AppleWebKit/537.36 (KHTML, like Gecko) "
           "Chrome/128.0.0.0 Safari/537.36",
           "Mozilla/4.0 (compatible; MSIE 6.0; Windows NT 5.1; Embedded Web Browser from: "
           "http://acme.example/; SV1)",
           "Mozilla/5.0 (compatible; MSIE 9.0; Windows NT 6.1; Trident/5.0)",
           "Mozilla/5.0 (compatible; Konqueror/4.5; Linux) KHTML/4.5.4 (like Gecko)",
       }) {
    EXPECT_EQ(TellAgent(text).robot, "") << text;
    EXPECT_NE(TellAgent(text).family, "") << text;
  }
}
