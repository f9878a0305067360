// Browsers, systems and devices as their makers say that they call themselves.
#include <gtest/gtest.h>

#include "agents/agent.h"

struct BrowserCase {
  const char* text;
  const char* family;
  const char* version;
  const char* system;
  const char* system_version;
  Device device;
};

static void ExpectBrowsers(std::initializer_list<BrowserCase> cases) {
  for (const BrowserCase& row : cases) {
    const Agent agent = TellAgent(row.text);
    EXPECT_EQ(agent.robot, "") << row.text;
    EXPECT_EQ(agent.family, row.family) << row.text;
    EXPECT_EQ(agent.version, row.version) << row.text;
    EXPECT_EQ(agent.system, row.system) << row.text;
    EXPECT_EQ(agent.system_version, row.system_version) << row.text;
    EXPECT_EQ(agent.device, row.device) << row.text;
  }
}

#define ON_WINDOWS                                                                                     \
  "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/128.0.0.0 " \
  "Safari/537.36"
#define ON_A_PHONE                                                                                     \
  "Mozilla/5.0 (Linux; Android 10; K) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/128.0.0.0 Mobile " \
  "Safari/537.36"
#define ON_AN_IPHONE \
  "Mozilla/5.0 (iPhone; CPU iPhone OS 17_5 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko)"

TEST(BrowserRules, KnowComputers) {
  ExpectBrowsers({
      {ON_WINDOWS " Edg/128.0.0.0", "Edge", "128", "Windows", "10 or 11", Device::kDesktop},
      {ON_WINDOWS " OPR/114.0.0.0", "Opera", "114", "Windows", "10 or 11", Device::kDesktop},
      {ON_WINDOWS " Vivaldi/6.9", "Vivaldi", "6", "Windows", "10 or 11", Device::kDesktop},
      {"Mozilla/5.0 (Windows NT 6.1; Win64; x64; rv:115.0) Gecko/20100101 Firefox/115.0", "Firefox", "115",
       "Windows", "7", Device::kDesktop},
      {"Mozilla/5.0 (Windows NT 10.0; WOW64; Trident/7.0; rv:11.0) like Gecko", "Internet Explorer", "11",
       "Windows", "10 or 11", Device::kDesktop},
      {"Mozilla/4.0 (compatible; MSIE 8.0; Windows NT 5.1; Trident/4.0)", "Internet Explorer", "8", "Windows",
       "XP", Device::kDesktop},
      {"Mozilla/4.0 (compatible; MSIE 7.0; Windows NT 6.0; Tablet PC 2.0)", "Internet Explorer", "7",
       "Windows", "Vista", Device::kDesktop},
      {"Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/605.1.15 (KHTML, like Gecko) "
       "Version/17.5 Safari/605.1.15",
       "Safari", "17", "macOS", "10.15 or later", Device::kDesktop},
      {"Mozilla/5.0 (Macintosh; Intel Mac OS X 10.14; rv:109.0) Gecko/20100101 Firefox/115.0", "Firefox",
       "115", "macOS", "10.14", Device::kDesktop},
      {"Mozilla/5.0 (Macintosh; Intel Mac OS X 12_6) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/16.1 "
       "Safari/605.1.15",
       "Safari", "16", "macOS", "12", Device::kDesktop},
      {"Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0", "Firefox", "128", "Linux",
       "", Device::kDesktop},
      {"Mozilla/5.0 (X11; CrOS x86_64 14541.0.0) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/128.0.0.0 "
       "Safari/537.36",
       "Chrome", "128", "Chrome OS", "", Device::kDesktop},
      {"Mozilla/5.0 (X11; FreeBSD amd64; rv:128.0) Gecko/20100101 Firefox/128.0", "Firefox", "128", "FreeBSD",
       "", Device::kDesktop},
      {"Opera/9.80 (Windows NT 6.1; WOW64) Presto/2.12.388 Version/12.18", "Opera", "12", "Windows", "7",
       Device::kDesktop},
  });
}

TEST(BrowserRules, KnowPhonesAndTablets) {
  ExpectBrowsers({
      {ON_A_PHONE, "Chrome", "128", "Android", "", Device::kPhone},
      {"Mozilla/5.0 (Linux; Android 14; Pixel 8) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/110.0.0.0 "
       "Mobile Safari/537.36",
       "Chrome", "110", "Android", "14", Device::kPhone},
      {"Mozilla/5.0 (Linux; Android 10; K) AppleWebKit/537.36 (KHTML, like Gecko) SamsungBrowser/26.0 "
       "Chrome/122.0.0.0 Mobile "
       "Safari/537.36",
       "Samsung Internet", "26", "Android", "", Device::kPhone},
      {"Mozilla/5.0 (Linux; Android 10; K) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/128.0.0.0 "
       "Safari/537.36",
       "Chrome", "128", "Android", "", Device::kTablet},
      {"Mozilla/5.0 (Android 14; Mobile; rv:128.0) Gecko/128.0 Firefox/128.0", "Firefox", "128", "Android",
       "14", Device::kPhone},
      {"Mozilla/5.0 (Android 14; Tablet; rv:128.0) Gecko/128.0 Firefox/128.0", "Firefox", "128", "Android",
       "14", Device::kTablet},
      {ON_AN_IPHONE " Version/17.5 Mobile/15E148 Safari/604.1", "Safari", "17", "iOS", "17", Device::kPhone},
      {ON_AN_IPHONE " CriOS/128.0.6613.25 Mobile/15E148 Safari/604.1", "Chrome", "128", "iOS", "17",
       Device::kPhone},
      {ON_AN_IPHONE " FxiOS/128.0 Mobile/15E148 Safari/605.1.15", "Firefox", "128", "iOS", "17",
       Device::kPhone},
      {ON_AN_IPHONE " Version/17.0 EdgiOS/128.0.2739.42 Mobile/15E148 Safari/604.1", "Edge", "128", "iOS",
       "17", Device::kPhone},
      {ON_AN_IPHONE " GSA/330.0.658461140 Mobile/15E148 Safari/604.1", "Google app", "330", "iOS", "17",
       Device::kPhone},
      {ON_AN_IPHONE " Mobile/15E148", "iOS web view", "", "iOS", "17", Device::kPhone},
      {"Mozilla/5.0 (iPad; CPU OS 17_5 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.5 "
       "Mobile/15E148 Safari/604.1",
       "Safari", "17", "iOS", "17", Device::kTablet},
      {"Mozilla/5.0 (Windows Phone 10.0; Android 6.0.1; Microsoft; Lumia 950) AppleWebKit/537.36 (KHTML, "
       "like Gecko) "
       "Chrome/52.0.2743.116 Mobile Safari/537.36 Edge/15.15063",
       "Edge", "15", "Windows Phone", "10", Device::kPhone},
      {"Mozilla/5.0 (Mobile; Nokia_8110_4G; rv:48.0) Gecko/48.0 Firefox/48.0 KAIOS/2.5", "Firefox", "48",
       "KaiOS", "2", Device::kPhone},
      {"Mozilla/5.0 (Phone; OpenHarmony 5.0) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/114.0.0.0 "
       "Safari/537.36 ArkWeb/4.1.6.1 Mobile",
       "Huawei Browser", "4", "HarmonyOS", "5", Device::kPhone},
      {"Opera/9.80 (J2ME/MIDP; Opera Mini/9.80/36.3582; U; en) Presto/2.5.25 Version/10.54", "Opera Mini",
       "9", "", "", Device::kPhone},
  });
}

TEST(BrowserRules, KnowAppsThatShowPages) {
  ExpectBrowsers({
      {"Mozilla/5.0 (Linux; Android 14; Pixel 8 Build/AP1A; wv) AppleWebKit/537.36 (KHTML, like Gecko) "
       "Version/4.0 Chrome/128.0.0.0 "
       "Mobile Safari/537.36",
       "Android WebView", "128", "Android", "14", Device::kPhone},
      {ON_AN_IPHONE " Mobile/15E148 [FBAN/FBIOS;FBAV/471.0.0.34.109;FBDV/iPhone14,3;FBSN/iOS]", "Facebook",
       "471", "iOS", "17", Device::kPhone},
      {ON_AN_IPHONE " Mobile/15E148 Instagram 341.0.0.26.93 (iPhone14,3; iOS 17_5)", "Instagram", "341",
       "iOS", "17", Device::kPhone},
      {ON_AN_IPHONE " Mobile/15E148 MicroMessenger/8.0.49(0x1800312d) NetType/WIFI", "WeChat", "8", "iOS",
       "17", Device::kPhone},
  });
}

TEST(BrowserRules, KnowOtherDevices) {
  ExpectBrowsers({
      {"Mozilla/5.0 (Web0S; Linux/SmartTV) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/94.0.4606.128 "
       "Safari/537.36",
       "Chrome", "94", "webOS", "", Device::kTv},
      {"Mozilla/5.0 (SMART-TV; LINUX; Tizen 7.0) AppleWebKit/537.36 (KHTML, like Gecko) 94.0.4606.31/7.0 TV "
       "Safari/537.36",
       "Safari", "", "Tizen", "7", Device::kTv},
      {"Mozilla/5.0 (PlayStation; PlayStation 5/2.26) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/13.0 "
       "Safari/605.1.15",
       "PlayStation Browser", "", "PlayStation", "", Device::kConsole},
      {"Mozilla/5.0 (Windows NT 10.0; Win64; x64; Xbox; Xbox One) AppleWebKit/537.36 (KHTML, like Gecko) "
       "Chrome/128.0.0.0 Safari/537.36 "
       "Edg/128.0.0.0",
       "Edge", "128", "Xbox", "", Device::kConsole},
      {"Mozilla/5.0 (X11; Linux x86_64; Quest 3) AppleWebKit/537.36 (KHTML, like Gecko) OculusBrowser/34.0 "
       "Chrome/126.0 VR Safari/537.36",
       "Meta Quest Browser", "34", "Linux", "", Device::kOther},
  });
}
