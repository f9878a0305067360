#include "config/server_layouts.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>

#include "support/text_file.h"

class FindServerLayoutTest : public testing::Test {
 protected:
  void SetUp() override {
    etc_ = NewPath("etc");
    for (const char* const folder :
         {"", "/nginx", "/nginx/conf.d", "/apache2", "/apache2/sites", "/httpd", "/httpd/conf"}) {
      ASSERT_EQ(mkdir((etc_ + folder).c_str(), 0700), 0);
    }
  }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(etc_ + "/" + name, std::ios::binary) << text;
  }

  LayoutSearch Find(std::string_view name) const { return FindServerLayout(etc_, name, *layout_, *other_); }

  std::string Words(std::string_view name) const {
    return Find(name) == LayoutSearch::kFound ? layout_->words.data() : "";
  }

  std::string etc_;
  std::unique_ptr<ServerLayout> layout_ = std::make_unique<ServerLayout>();
  std::unique_ptr<ServerLayout> other_ = std::make_unique<ServerLayout>();
};

TEST_F(FindServerLayoutTest, FindsNothingWithoutServers) {
  EXPECT_EQ(Find("main"), LayoutSearch::kNotFound);
}

TEST_F(FindServerLayoutTest, TakesADirectiveOfNginxOverSeveralLines) {
  Write("nginx/nginx.conf",
        "http {\n  # log_format main 'no';\n  log_format main escape=json '$remote_addr'\n\t '$status;{}';\n"
        "  log_format Main '$msec';\n}\n");
  EXPECT_EQ(Words("main"), "log_format main escape=json '$remote_addr'\n'$status;{}'");
  EXPECT_EQ(layout_->path.data(), etc_ + "/nginx/nginx.conf");
  EXPECT_EQ(Words("Main"), "log_format Main '$msec'");
  EXPECT_EQ(Words("MAIN"), "");
}

TEST_F(FindServerLayoutTest, ReadsWhatNginxIncludes) {
  Write("nginx/nginx.conf", "http { include conf.d/*.conf; include /etc/nginx/more; include nginx.conf; }");
  Write("nginx/conf.d/a.conf", "log_format a 'one'; include \"conf.d/b.inc\";");
  Write("nginx/conf.d/b.inc", "log_format b 'two';");
  Write("nginx/conf.d/c.inc", "log_format c 'three';");
  Write("nginx/more", "log_format d 'four';");
  EXPECT_EQ(Words("a"), "log_format a 'one'");
  EXPECT_EQ(Words("b"), "log_format b 'two'");
  EXPECT_EQ(Words("c"), "");
  EXPECT_EQ(Words("d"), "log_format d 'four'");
}

TEST_F(FindServerLayoutTest, TakesADirectiveOfApache) {
  Write("apache2/apache2.conf",
        "#LogFormat \"%h\" long\nErrorDocument 404 \"gone\n<IfModule x>\nlogformat \"%h \\\"%r\\\" \\\n "
        "%>s\" Long\n"
        "</IfModule>\nIncludeOptional sites/\n");
  Write("apache2/sites/a", "LogFormat '%h' here\r\n");
  EXPECT_EQ(Words("long"), "logformat \"%h \\\"%r\\\" %>s\" Long");
  EXPECT_EQ(Words("here"), "LogFormat '%h' here");
}

TEST_F(FindServerLayoutTest, KnowsTheFoldersOfRedHat) {
  Write("httpd/conf/httpd.conf", "Include conf/*.inc\n");
  Write("httpd/conf/a.inc", "LogFormat \"%a %U\" mine");
  EXPECT_EQ(Words("mine"), "LogFormat \"%a %U\" mine");
}

TEST_F(FindServerLayoutTest, TellsDefinitionsThatDiffer) {
  Write("nginx/nginx.conf", "log_format same '$a'  \n '$b'; log_format both '$a'; include conf.d/x;");
  Write("nginx/conf.d/x", "log_format same '$a'\n\t'$b' ; log_format both '$b';");
  EXPECT_EQ(Find("same"), LayoutSearch::kFound);
  EXPECT_EQ(Find("both"), LayoutSearch::kDiffers);
  EXPECT_EQ(layout_->path.data(), etc_ + "/nginx/nginx.conf");
  EXPECT_EQ(other_->path.data(), etc_ + "/nginx/conf.d/x");
}

TEST_F(FindServerLayoutTest, EndsWithTextsThatBreakOff) {
  for (const char* const text : {"log_format", "log_format a", "log_format a '", "log_format a '\\",
                                 "include", "include '", "\\", "#", "{;", "log_format a 'x"}) {
    Write("nginx/nginx.conf", text);
    Write("apache2/apache2.conf", text);
    EXPECT_NE(Find("a"), LayoutSearch::kDiffers) << text;
  }
}
