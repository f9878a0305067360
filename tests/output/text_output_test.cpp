#include "output/text_output.h"

#include <gmock/gmock.h>

#include "output/whole_report.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class TextOutput : public WholeReport {
 protected:
  // Lines of the section, its title excepted.
  static std::string Section(const std::string& text, const std::string& title) {
    const size_t begin = text.find("\n\n" + title + "\n") + title.size() + 3;
    const size_t rows = text.find('\n', begin) + 1;
    return text.substr(rows, text.find("\n\n", rows) - rows);
  }
};

TEST_F(TextOutput, WholeReport) {
  settings_.requests = {.on = 1, .top = 1, .greater = 0, .top_is_percent = 0};
  settings_.badurls.on = settings_.badurl_referrers = 1;
  CopyText(settings_.filter_domains, "bad.example");
  AddLog("a.log", {{.url = "/a"},
                   {.url = "/a", .bytes = "1234567"},
                   {.url = "/a"},
                   {.url = "/gone", .status = "404", .referrer = "http://one.example/"}});
  EXPECT_EQ(Written(kTextOutput),
            "A Site\n"
            "http://site.example\n"
            "2000-03-01 to 2000-03-31 (UTC)\n"
            "made 2000-03-06T00:00:00+00:00 by Orvellis 1.5\n"
            "\n"
            "Requests                            4\n"
            "Errors                              1\n"
            "Bytes served                1,234,867\n"
            "Log bytes read                    361\n"
            "Lines not understood                0\n"
            "\n"
            "Requests from these hosts were left out: bad.example.\n"
            "\n"
            "Requested URLs\n"
            "--------------\n"
            "      3   75.0 %  ##########  /a\n"
            "  1 of 2 URLs\n"
            "\n"
            "Not found\n"
            "---------\n"
            "      1   25.0 %  ##########  /gone\n"
            "      1                       <- http://one.example/\n");
}

TEST_F(TextOutput, LongItemsLoseTheirMiddle) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/" + std::string(60, 'a') + std::string(60, 'b')}});
  EXPECT_EQ(Section(Written(kTextOutput), "Requested URLs"),
            "      1  100.0 %  ##########  /" + std::string(23, 'a') + ".." + std::string(24, 'b') + "\n");
  setenv("COLUMNS", "1", 1);  // the narrowest is 40
  EXPECT_EQ(Section(Written(kTextOutput), "Requested URLs"),
            "      1  100.0 %  ##########  /aaaaaa..bbbbbbb\n");
}

TEST_F(TextOutput, NothingOfALogIsACommand) {
  settings_.requests.on = 1;
  AddLog("a.log", {{.url = "/\x1b]0;title\x07\xc2\x9b"
                           "31m\xe2\x80\xae"}});
  EXPECT_THAT(Section(Written(kTextOutput), "Requested URLs"),
              HasSubstr("  /\\x1B]0;title\\x07\\u009B31m\\u202E\n"));
}

TEST_F(TextOutput, LongNotesAreWrapped) {
  CopyText(settings_.find, "/*" + std::string(70, 'x'));
  settings_.find_pattern = 1;
  AddLog("a.log", {{}});
  EXPECT_THAT(Written(kTextOutput),
              HasSubstr("\nOnly requests that match\n/*" + std::string(70, 'x') + " were\ncounted.\n"));
}

TEST_F(TextOutput, ColoursOnlyWhereTheyAreWanted) {
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  EXPECT_THAT(Written(kTextOutput), Not(HasSubstr("\x1b")));  // a file is no terminal
  setenv("CLICOLOR_FORCE", "1", 1);
  EXPECT_THAT(Written(kTextOutput), StartsWith("\x1b[1mA Site\x1b[0m\n"));
  setenv("NO_COLOR", "1", 1);
  EXPECT_THAT(Written(kTextOutput), Not(HasSubstr("\x1b")));
}

TEST_F(TextOutput, BehindAServerThereIsNoTerminal) {
  setenv("COLUMNS", "200", 1);
  setenv("CLICOLOR_FORCE", "1", 1);
  env_.command_line = 0;
  settings_.requests.on = 1;
  AddLog("a.log", {{}});
  const std::string text = Written(kTextOutput);
  EXPECT_THAT(text, StartsWith("Content-Type: text/plain; charset=utf-8\nContent-Disposition: inline; "));
  EXPECT_THAT(text, HasSubstr("\n      1  100.0 %  ##########  /a.html\n"));
}

TEST_F(TextOutput, EmptySectionsSaySo) {
  settings_.referrers.on = 1;
  AddLog("a.log", {{}});
  EXPECT_EQ(Section(Written(kTextOutput), "Referrers"), "  0 of 0 pages\n");
}
