#include "report/info_pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "report/site.h"
#include "support/text_file.h"

namespace {

class InfoPagesTest : public testing::Test {
 protected:
  void SetUp() override {
    settings.program_path = env.SCRIPT_NAME;
    CopyText(env.SCRIPT_NAME, "/cgi-bin/orvellis");
  }

  template <typename PrintPage>
  static std::string Printed(PrintPage print_page) {
    testing::internal::CaptureStdout();
    print_page();
    return testing::internal::GetCapturedStdout();
  }

  // Expects the remote debugging page over a configuration file of these bytes to
  // show this data.
  void ExpectDebugPage(const std::string& bytes, const std::string& data) {
    const std::string path = NewPath("remote_debug");
    std::FILE* file = fopen(path.c_str(), "w");
    fwrite(bytes.data(), 1, bytes.size(), file);
    fclose(file);
    settings.RemoteDebugEnabled = 1;
    CopyText(settings.config, path);
    EXPECT_EQ(Printed([&] { RemoteDebug(settings); }), DebugPageAround(data));
    remove(path.c_str());
  }

  std::string DebugPageAround(const std::string& data) const {
    return kDebugHead + "Configuration filename=" + settings.config +
           "<p>\nFile opened successfully; data follows immediately:<p>\n\n" + data +
           "\nEnd of file.\n</body>\n</html>\n";
  }

  const std::string kDebugHead =
      "<html>\n<head>\n<title>Orvellis 1.5: Remote Debugging</title>\n</head>\n\n\n\n\n<body>\n";
  Environment env{};
  Settings settings{};
};

using CommandLineHelpTest = InfoPagesTest;
using AboutPageTest = InfoPagesTest;
using CreditsPageTest = InfoPagesTest;
using RemoteDebugTest = InfoPagesTest;
using DebugModeDeathTest = InfoPagesTest;

std::string Names(const char* const* names, size_t count, const std::string& before,
                  const std::string& after) {
  std::string text;
  for (size_t i = 0; i < count; ++i) {
    text += before + names[i] + after;
  }
  return text;
}

}  // namespace

TEST_F(CommandLineHelpTest, PrintsTheUsageText) {
  EXPECT_EQ(Printed(CommandLineHelp),
            "Orvellis 1.5\n"
            "\n"
            "Syntax: orvellis param1=val1[,val2] param2=val1[,val2] ...\n"
            "\n"
            "  Required Parameters:\t\t\n"
            "\n"
            "   username=\"user\"\t\n"
            "   find=path\t\t\t\t\n"
            "   date=MMDDYYY,MMDDYYYY\n"
            "\n"
            "  Reports:\t\t\n"
            "\n"
            "   requests=1[,#top[,#greater]] [showquery=1] referrers=1[,#top[,#greater]]\n"
            "   search=1[,#top[,#greater]]                 browsers=1[,#top[,#greater]]\n"
            "   badurls=1[,#top[,#greater]]                badreferrers=1[,#top[,#greater]]\n"
            "   domains=1[,#top[,#greater]]                domaintypes=1[,#top[,#greater]]\n"
            "   hitsperdayofweek=1                         hitsperhour=1\n"
            "   dailytotals=1\t\n"
            "\n"
            "  Optional Parameters:\t\t\n"
            "\n"
            "   password=\"pwd\"\t\t\n"
            "   filter_domains=domain[,domain[,...]]    filter_filetypes=type[,type[,...]]\n"
            "   find_pattern=1                          find_casesensitive=1 \n"
            "   subdirs=1                               DNSLookupEnabled=1  \n"
            "   AuthRealm=realm                         AuthUser=user\t\t\n"
            "   search_casesensitive=1                  AuthUser=user\t\t\n"
            "\n"
            "Example: \n"
            "\n"
            "   orvellis username=sample find=/ subdirs=1 date=01011998,12311998 \n"
            "              requests=1,10 referrers=1,10, search=1,10 > report.htm \n"
            "\n");
}

TEST_F(CommandLineHelpTest, DeliberatelyShowsThreeYearLettersAndAuthUserTwice) {
  const std::string text = Printed(CommandLineHelp);
  EXPECT_THAT(text, testing::HasSubstr("date=MMDDYYY,MMDDYYYY"));
  EXPECT_NE(text.find("AuthUser=user"), text.rfind("AuthUser=user"));
}

TEST_F(AboutPageTest, HtmlForAWebServer) {
  utsname system{};
  ASSERT_GE(uname(&system), 0);
  EXPECT_EQ(Printed([&] { AboutPage(settings, env); }),
            std::string("<html>\n<head>\n<title>About Orvellis Version 1.5</title>\n</head>\n\n\n\n\n") +
                "<body>\n<h2>Orvellis 1.5 build 51</h2>\n<b>Platform:</b> UNIX<br>\n" +
                "<b>Operating system:</b> " + system.sysname + "<br>\n<b>Release:</b> " + system.release +
                "<br>\n<b>Processor:</b> " + system.machine + "<br>\n<b>Version:</b> " + system.version +
                "<br>\n<b>Node:</b> " + system.nodename + "<br>\n" +
                "<p>Product information is available at <a href=\"" + kProductInformationPage +
                "\">our web site</a>.<p>\n" +
                "<a href=\"/cgi-bin/orvellis?credits\">View program credits</a>\n\n\n</body>\n\n</html>\n");
}

TEST_F(AboutPageTest, TextForAShell) {
  env.command_line = 1;
  CopyText(env.SCRIPT_NAME, "./orvellis");
  utsname system{};
  ASSERT_GE(uname(&system), 0);
  EXPECT_EQ(Printed([&] { AboutPage(settings, env); }),
            std::string("\nOrvellis 1.5 build 51\n    Platform:        \tUNIX\n") +
                "    Operating system:\t" + system.sysname + "\n    Release:         \t" + system.release +
                "\n    Processor:       \t" + system.machine + "\n    Version:         \t" + system.version +
                "\n    Node:            \t" + system.nodename +
                "\n    Product information is available at our web site:\n\n    " + kProductInformationPage +
                "\n\nTo view program credits type:  ./orvellis credits\n");
}

TEST_F(CreditsPageTest, HtmlForAWebServer) {
  EXPECT_EQ(
      Printed([&] { CreditsPage(settings, env); }),
      "<html>\n\n<head>\n<title>Orvellis: Credits</title>\n</head>\n\n\n\n\n<body>\n\n"
      "<h2>Orvellis 1.5 Credits</h2>\n<b>Developers</b><br>\n<ul>\n" +
          Names(kDevelopers, std::size(kDevelopers), "", "<br>\n") +
          "</ul><p>\n<b>Special thanks to</b><br>\n<ul>\n" +
          Names(kSpecialThanks, std::size(kSpecialThanks), "", "<br>\n") +
          "</ul><p>\n<a href=\"/cgi-bin/orvellis?about\">Version information</a>\n\n</body>\n</html>\n");
}

TEST_F(CreditsPageTest, TextForAShellHasOneEmptyLineBehindTheSecondList) {
  env.command_line = 1;
  CopyText(env.SCRIPT_NAME, "./orvellis");
  EXPECT_EQ(Printed([&] { CreditsPage(settings, env); }),
            "\nOrvellis 1.5: Credits\n  Developers\n" +
                Names(kDevelopers, std::size(kDevelopers), "    - ", "\n") + "  Special thanks to\n" +
                Names(kSpecialThanks, std::size(kSpecialThanks), "    - ", "\n") +
                "\nTo see version information type: ./orvellis about\n\n");
}

TEST_F(RemoteDebugTest, RefusedPageDeliberatelyStaysUnclosed) {
  CopyText(settings.config, "/etc/hostname");
  EXPECT_EQ(Printed([&] { RemoteDebug(settings); }), kDebugHead + "Remote debugging not enabled.<p>\n");
}

TEST_F(RemoteDebugTest, TellsThatTheFileCannotBeOpened) {
  settings.RemoteDebugEnabled = 1;
  CopyText(settings.config, "/nowhere/orvellis.conf");
  EXPECT_EQ(Printed([&] { RemoteDebug(settings); }),
            kDebugHead + "Configuration filename=/nowhere/orvellis.conf<p>\n" +
                "Error! Could not open the configuration file!<p>\n");
}

TEST_F(RemoteDebugTest, DoesNotFallBackToTheDefaultFile) {
  const std::string folder = NewPath("fallback");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  ASSERT_EQ(chdir(folder.c_str()), 0);
  fclose(fopen("orvellis.conf", "w"));
  settings.RemoteDebugEnabled = 1;
  CopyText(settings.config, "missing.conf");
  EXPECT_THAT(Printed([&] { RemoteDebug(settings); }), testing::HasSubstr("Error!"));
  remove("orvellis.conf");
  ASSERT_EQ(chdir("/"), 0);
  remove(folder.c_str());
}

TEST_F(RemoteDebugTest, PrintsEveryLineAsItStands) {
  const std::string data = "# <b>&amp;\r\nuser=ann;logs=100%d\n\nlast line without a break";
  ExpectDebugPage(data, data);
}

TEST_F(RemoteDebugTest, PrintsAnEmptyFile) {
  ExpectDebugPage("", "");
}

TEST_F(RemoteDebugTest, PrintsOneEndlessLineWhole) {
  const std::string data(100000, 'x');
  ExpectDebugPage(data, data);
}

TEST_F(RemoteDebugTest, PiecesEndAtANul) {
  ExpectDebugPage(std::string("ab\0cd\nef\n", 9), "abef\n");
}

TEST_F(RemoteDebugTest, FolderYieldsNothing) {
  settings.RemoteDebugEnabled = 1;
  CopyText(settings.config, "/");
  EXPECT_EQ(Printed([&] { RemoteDebug(settings); }), DebugPageAround(""));
}

TEST_F(DebugModeDeathTest, DumpsSettingsAndEntriesAndEndsTheRun) {
  CopyText(settings.title, "My Site");
  CopyText(settings.url, "http://www.example.com");
  CopyText(settings.find, "/docs");
  CopyText(settings.filter_domains, "*.example");
  CopyText(settings.start_date, "01021999");
  CopyText(settings.end_date, "03042000");
  CopyText(settings.sm, "01");
  CopyText(settings.sd, "02");
  settings.sy = 1999;
  CopyText(settings.em, "03");
  CopyText(settings.ed, "04");
  settings.ey = 2000;
  CopyText(settings.logs, "/logs/*.log");
  CopyText(settings.summary, "sums");
  CopyText(settings.Networks, "/nets");
  CopyText(settings.username, "ann");
  CopyText(settings.password_form, "secret");
  CopyText(settings.password_account, "stored");
  settings.badurls = {11, 0, 0, 0};
  settings.dailytotals = 12;
  settings.hitsperdayofweek = 13;
  settings.hitsperhour = 14;
  settings.browsers = {21, 22, 23, 1};
  settings.requests = {31, 32, 33, 1};
  settings.domaintypes = {41, 42, 43, 1};
  settings.domains = {51, 52, 53, 1};
  settings.referrers = {61, 62, 63, 1};
  settings.cgi = 1;
  FormEntry entries[2];
  CopyText(entries[0].name, "title");
  CopyText(entries[0].value, "My Site");
  CopyText(entries[1].name, "b");
  CopyText(entries[1].value, "");
  const std::string expected =
      "<h2>Stats Fields</h2>\n\n<pre>\n"
      "Title: 'My Site'\nHome URL: 'http://www.example.com'\nFind: '/docs'\nFilter: '*.example'\n"
      "Date Start: '01021999'\nDate End: '03042000'\n"
      "SM: '01'\nSD: '02'\nSY4: '1999'\nEM: '03'\nED: '04'\nEY4: '2000'\n"
      "LogsSpec: '/logs/*.log'\nSummary: 'sums'\nReferrer Log: ''\nAgent Log: ''\n"
      "Networks File: '/nets'\nAgents File: ''\nUsername: 'ann'\nPassword: 'secret'\n"
      "BadURLs: '11'\nYday: '12'\nWeekday: '13'\nTiming: '14'\n"
      "Browser: '21'\nBrowser Top: '22'\nBrowser Greater: '23'\n"
      "Requests: '31'\nRequests Top: '32'\nRequests Greater: '33'\n"
      "Network: '41'\nNetwork Top: '42'\nNetwork Greater: '43'\n"
      "Domain: '51'\nDomain Top: '52'\nDomain Greater: '53'\n"
      "Referrals: '61'\nReferrals Top: '62'\nReferrals Greater: '63'\n"
      "CGI: '1'\n"
      "</pre>\n\n<h2>Form Fields</h2>\n\n<pre>\n"
      "'title' : 'My Site'\n'b' : ''\n"
      "</pre>\n";
  // The page goes to standard error here, the one stream that this kind of test looks at.
  EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), DebugMode(settings, entries, 2)),
              testing::ExitedWithCode(0), testing::Eq(expected));
}
