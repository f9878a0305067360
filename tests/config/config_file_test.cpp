#include "config/config_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "analysis/search_engines.h"
#include "report/extra_texts.h"
#include "superlog/log_dates.h"
#include "superlog/log_format.h"
#include "superlog/superlog.h"
#include "support/text_file.h"

class ParseConfigFileTest : public testing::Test {
 protected:
  Settings settings{};

  void SetUp() override {
    ResetSuperLog();
    CopyText(settings.username, "ann");
  }
  void TearDown() override { EndOrvellisCleanup(settings); }

  bool Parse(const std::string& content) {
    CopyText(settings.config, WriteFile("orvellis.conf", content));
    return AccountFound();
  }

  Error ParseAs(bool& account_found) {
    ConfigFile file;
    return ParseConfigFile(file, settings, account_found);
  }

  bool AccountFound() {
    bool account_found = false;
    EXPECT_EQ(ParseAs(account_found), kNoError);
    return account_found;
  }

  // Works in an empty folder, so that no fallback file is there.
  void GoToNewFolder() {
    const std::string folder = NewPath("folder");
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chdir(folder.c_str()), 0);
  }
};

// ---- The file ----

TEST_F(ParseConfigFileTest, MissingFileIsError9) {
  GoToNewFolder();
  CopyText(settings.config, "missing.conf");
  for (const int page : {kPageReport, kPageRemoteDebug}) {
    SCOPED_TRACE(page);
    settings.page = page;
    bool account_found = true;
    EXPECT_EQ(ParseAs(account_found), kErrorConfigFile);
    EXPECT_FALSE(account_found);
  }
}

TEST_F(ParseConfigFileTest, MissingFileIsSilentForAboutAndCredits) {
  GoToNewFolder();
  CopyText(settings.config, "missing.conf");
  for (const int page : {kPageAbout, kPageCredits}) {
    SCOPED_TRACE(page);
    settings.page = page;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(AccountFound());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(settings.config_opened, 0);
  }
}

TEST_F(ParseConfigFileTest, FallsBackToTheDefaultFileAndKeepsTheNameAskedFor) {
  GoToNewFolder();
  std::ofstream("orvellis.conf") << "Networks=fallback\n";
  CopyText(settings.config, "missing.conf");
  EXPECT_FALSE(AccountFound());
  EXPECT_STREQ(settings.Networks, "fallback");
  EXPECT_STREQ(settings.config, "missing.conf");
  EXPECT_EQ(settings.config_opened, 1);
}

TEST_F(ParseConfigFileTest, FolderOpensAndYieldsNothing) {
  CopyText(settings.config, testing::TempDir());
  EXPECT_FALSE(AccountFound());
  EXPECT_EQ(settings.config_opened, 1);
}

TEST_F(ParseConfigFileTest, EmptyFileYieldsOnlyDefaults) {
  EXPECT_FALSE(Parse(""));
  EXPECT_EQ(settings.account_count, 0);
  EXPECT_STREQ(settings.OrvellisPath, "/orvellis");
}

TEST_F(ParseConfigFileTest, CommentsAndLinesWithoutEqualsAreIgnored) {
  Parse("#Networks=a\n;Networks=b\nNetworks\nUnknown=c\n=d\n");
  EXPECT_STREQ(settings.Networks, "");
}

TEST_F(ParseConfigFileTest, CommentMarkCountsOnlyAtTheLineStart) {
  Parse("Networks=a#b;c\n #x\n");
  EXPECT_STREQ(settings.Networks, "a#b;c");
}

TEST_F(ParseConfigFileTest, KeysIgnoreCase) {
  Parse("nETWORKS=names\nERRORLOG=errors\n");
  EXPECT_STREQ(settings.Networks, "names");
  EXPECT_STREQ(settings.ErrorLog, "errors");
}

TEST_F(ParseConfigFileTest, BlanksAreNotTrimmed) {
  Parse("Networks =a\n Networks=b\n\tNetworks=c\nErrorLog= d \n");
  EXPECT_STREQ(settings.Networks, "");
  EXPECT_STREQ(settings.ErrorLog, " d ");
}

TEST_F(ParseConfigFileTest, SplitIsAtTheFirstEquals) {
  Parse("Networks=a=b=c\n");
  EXPECT_STREQ(settings.Networks, "a=b=c");
}

TEST_F(ParseConfigFileTest, TextsAreCutToTheirFields) {
  const std::string value(1000, 'x');
  Parse("Networks=" + value + "\nErrorLog=" + value + "\nUserPasswords=" + value + "\nInternalIp=" + value +
        "\nOrvellisPath=" + value + "\n");
  EXPECT_EQ(settings.Networks, value.substr(0, 259));
  EXPECT_EQ(settings.ErrorLog, value.substr(0, 259));
  EXPECT_EQ(settings.UserPasswords, value.substr(0, 259));
  EXPECT_EQ(settings.InternalIp, value.substr(0, 243));
  EXPECT_EQ(settings.OrvellisPath, value.substr(0, 259));
}

TEST_F(ParseConfigFileTest, LinesEndAtCrLfAndByte0xFF) {
  Parse("Networks=a\r\nErrorLog=b\rInternalIp=c\xFFUserPasswords=d\n");
  EXPECT_STREQ(settings.Networks, "a");
  EXPECT_STREQ(settings.ErrorLog, "b");
  EXPECT_STREQ(settings.InternalIp, "c");
  EXPECT_STREQ(settings.UserPasswords, "d");
}

TEST_F(ParseConfigFileTest, RestOfAnOverlongLineIsSkipped) {
  const std::string start = std::string("#").append(kLineMax - 1, 'x');
  Parse(start + "Networks=a\nErrorLog=b\n");
  EXPECT_STREQ(settings.Networks, "");
  EXPECT_STREQ(settings.ErrorLog, "b");
}

// ---- Global keys ----

TEST_F(ParseConfigFileTest, NumbersAreStored) {
  Parse(
      "RemoteDebugEnabled=1\nPriority=7\nSmartMemoryKeepEntries=11\nSmartMemoryReclaimSize=22\n"
      "SmartMemoryMaxMemoryToAllocate=33\nFlushToServer=44\nsearch_casesensitive=55\n");
  EXPECT_EQ(settings.RemoteDebugEnabled, 1);
  EXPECT_EQ(settings.priority, 7);
  EXPECT_EQ(settings.SmartMemoryKeepEntries, 11);
  EXPECT_EQ(settings.SmartMemoryReclaimSize, 22);
  EXPECT_EQ(settings.SmartMemoryMaxMemoryToAllocate, 33);
  EXPECT_EQ(settings.flushtoserver, 44);
  EXPECT_EQ(settings.search_casesensitive, 55);
}

TEST_F(ParseConfigFileTest, NonNumberReadsZero) {
  settings.priority = 5;
  Parse("Priority=high\n");
  EXPECT_EQ(settings.priority, 0);
}

TEST_F(ParseConfigFileTest, GlobalKeysReplaceTheForm) {
  settings.debug = 9;
  settings.priority = 9;
  settings.flushtoserver = 9;
  CopyText(settings.base, "http://form.example/");
  Parse("Debug=0\nPriority=0\nFlushToServer=0\nBase=http://www.example.com/\n");
  EXPECT_EQ(settings.debug, 0);
  EXPECT_EQ(settings.priority, 0);
  EXPECT_EQ(settings.flushtoserver, 0);
  EXPECT_STREQ(settings.base, "http://www.example.com/");
}

TEST_F(ParseConfigFileTest, DebugMarksItsSource) {
  settings.debug_sources = 1U << kLevelForm;
  Parse("Debug=0\n");
  EXPECT_EQ(settings.debug_sources, (1U << kLevelForm) | (1U << kLevelGlobalKey));
}

TEST_F(ParseConfigFileTest, OrvellisPathLosesOneTrailingSeparator) {
  struct Row {
    const char* value;
    const char* stored;
  };
  for (const Row& row : {Row{"/opt/orv/", "/opt/orv"},
                         {"/opt/orv", "/opt/orv"},
                         {"/opt/orv//", "/opt/orv/"},
                         {"C:\\orv\\", "C:\\orv"},
                         {"/", ""},
                         {"", ""}}) {
    SCOPED_TRACE(row.value);
    Parse(std::string("OrvellisPath=") + row.value + "\n");
    EXPECT_STREQ(settings.OrvellisPath, row.stored);
  }
}

TEST_F(ParseConfigFileTest, AbsentOrvellisPathGetsTheDefault) {
  Parse("Networks=x\n");
  EXPECT_STREQ(settings.OrvellisPath, "/orvellis");
}

TEST_F(ParseConfigFileTest, LongestBaseIsStoredAndALongerOneIgnored) {
  const std::string longest(243, 'b');
  Parse("Base=" + longest + "\n");
  EXPECT_EQ(settings.base, longest);
  Parse(std::string("Base=").append(244, 'c') + "\n");
  EXPECT_EQ(settings.base, longest);
}

TEST_F(ParseConfigFileTest, DnsLookupOfTheFormSurvives) {
  settings.dnslookupenabled = 1;
  Parse("DNSLookupEnabled=0\n");
  EXPECT_EQ(settings.dnslookupenabled, 1);
}

TEST_F(ParseConfigFileTest, DnsLookupAppliesWhileTheFormLeavesItOff) {
  Parse("DNSLookupEnabled=1\nDNSLookupEnabled=0\n");
  EXPECT_EQ(settings.dnslookupenabled, 1);
}

TEST_F(ParseConfigFileTest, SmartMemoryAppliesUnlessTheFormDisabledIt) {
  settings.SmartMemoryEnabled = 1;
  Parse("SmartMemoryEnabled=0\n");
  EXPECT_EQ(settings.SmartMemoryEnabled, 0);
  settings.smartmemorydisabled = 1;
  Parse("SmartMemoryEnabled=1\n");
  EXPECT_EQ(settings.SmartMemoryEnabled, 0);
}

TEST_F(ParseConfigFileTest, ExtraTextsReplaceThoseOfTheForm) {
  log_SetExtraHeader(settings, "form", kLevelForm);
  log_SetExtraFooter(settings, "account", kLevelAccount);
  Parse("ExtraHeader=<b>a=b</b>; whole\nExtraFooter=file\n");
  EXPECT_STREQ(settings.extra_header, "<b>a=b</b>; whole");
  EXPECT_STREQ(settings.extra_footer, "account");
}

TEST_F(ParseConfigFileTest, LongExtraHeaderIsKeptWhole) {
  const std::string text(kLineMax - 12, 'h');
  Parse("ExtraHeader=" + text + "\n");
  EXPECT_EQ(settings.extra_header, text);
}

TEST_F(ParseConfigFileTest, DateFormatBeatsTheForm) {
  SuperLog_SetDateFormat("YMD", kLevelForm);
  Parse("DateFormat=DMY\n");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderDmy);
}

TEST_F(ParseConfigFileTest, AccountLineBeatsDateFormatInEitherOrder) {
  Parse("user=ann;dateformat=YMD\nDateFormat=DMY\n");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYmd);
  ResetSuperLog();
  Parse("DateFormat=DMY\nuser=ann;dateformat=YMD\n");
  EXPECT_EQ(SuperLog_GetDateFormat(), kOrderYmd);
}

TEST_F(ParseConfigFileTest, AccountLineBeatsTimeZoneInEitherOrder) {
  settings.rules.later_names = true;
  Parse("user=ann;timezone=Asia/Tokyo\nTimeZone=Europe/Berlin\nTimeZone=UTC\n");
  EXPECT_STREQ(settings.timezone, "Asia/Tokyo");
  settings.timezone_level = kLevelForm;
  Parse("TimeZone=Europe/Berlin\nTimeZone=UTC\nuser=bob;timezone=Asia/Tokyo\n");
  EXPECT_STREQ(settings.timezone, "UTC");
}

TEST_F(ParseConfigFileTest, AccountLineBeatsPartCacheInEitherOrder) {
  Parse("user=ann;partcache=0;partcachesize=2K\nPartCache=/counts\nPartCacheSize=1G\n");
  EXPECT_STREQ(settings.part_cache, "0");
  EXPECT_EQ(settings.part_cache_size, 2048);
  settings.part_cache_level = settings.part_cache_size_level = kLevelForm;
  Parse("PartCache=/counts\nPartCacheSize=1G\nuser=bob;partcache=0;partcachesize=2K\n");
  EXPECT_STREQ(settings.part_cache, "/counts");
  EXPECT_EQ(settings.part_cache_size, 1073741824);
}

TEST_F(ParseConfigFileTest, TimeZoneIsUnknownWhereLaterNamesAre) {
  Parse("TimeZone=Europe/Berlin\nuser=ann;timezone=Asia/Tokyo\n");
  EXPECT_STREQ(settings.timezone, "");
}

// The user's layout as the next log file gets it.
static std::string UserLayout() {
  return GrokLineFormat() ? mKnownFormatBuf : "";
}

TEST_F(ParseConfigFileTest, LogFormatAndFixGmtBeatTheForm) {
  SuperLog_SetLogFormat("Shr", kLevelForm);
  SuperLog_SetFixGmt("0", kLevelForm);
  Parse("LogFormat=Tmr\nFixGmt=1\n");
  EXPECT_EQ(UserLayout(), "Tmr");
  EXPECT_TRUE(mFixGmt);
}

TEST_F(ParseConfigFileTest, AccountLineBeatsLogFormatAndFixGmt) {
  Parse("user=ann;logformat=Cmr;fixgmt=1\nLogFormat=Tmr\nFixGmt=0\n");
  EXPECT_EQ(UserLayout(), "Cmr");
  EXPECT_TRUE(mFixGmt);
}

TEST_F(ParseConfigFileTest, LogFormatIsWeighedWhole) {
  const std::string longest = std::string(1, 'S').append(242, 'u');
  Parse("LogFormat=" + longest + "\n");
  EXPECT_EQ(UserLayout(), longest);
  Parse("LogFormat=" + longest + "m\n");
  EXPECT_EQ(UserLayout(), longest) << "a layout of 244 characters is ignored, not cut";
}

TEST_F(ParseConfigFileTest, SearchLinesDefineEnginesInOrder) {
  const int before = mEnginesCount;
  Parse(
      "search=Finder;url=http://finder.example/;domain=.finder.example;vars=q,query\n"
      "SEARCH=Seeker;domain=seeker.example;vars=s\nsearch=nothing\n");
  ASSERT_EQ(mEnginesCount, before + 2);
  const SearchEngine* engine = mpEngineHead;
  for (int i = 0; i < before; ++i) {
    engine = engine->next;
  }
  EXPECT_STREQ(engine->name, "Finder");
  EXPECT_STREQ(engine->url, "http://finder.example/");
  EXPECT_STREQ(engine->domains->name, ".finder.example");
  EXPECT_STREQ(engine->next->name, "Seeker");
}

// ---- User accounts ----

TEST_F(ParseConfigFileTest, AccountIsFoundIgnoringCase) {
  EXPECT_TRUE(Parse("USER=Ann;title=Ann's site\n"));
  EXPECT_STREQ(settings.title, "Ann's site");
}

TEST_F(ParseConfigFileTest, SemicolonMustFollowTheNameDirectly) {
  for (const char* line : {"user=anne;title=x", "user=an;title=x", "user=ann", "user=ann ;title=x",
                           "user= ann;title=x", "user=;title=x"}) {
    SCOPED_TRACE(line);
    EXPECT_FALSE(Parse(line));
    EXPECT_STREQ(settings.title, "");
  }
}

TEST_F(ParseConfigFileTest, EmptyUserNameMatchesAnEmptyAccount) {
  CopyText(settings.username, "");
  EXPECT_FALSE(Parse("user=ann;title=x\n"));
  EXPECT_TRUE(Parse("user=;title=x\n"));
}

TEST_F(ParseConfigFileTest, LongestUserNameIsFound) {
  const std::string name(99, 'n');
  CopyText(settings.username, name);
  EXPECT_TRUE(Parse("user=" + name + ";\n"));
  EXPECT_FALSE(Parse("user=" + name + "n;\n"));
}

TEST_F(ParseConfigFileTest, EveryUserLineIsCounted) {
  Parse("user=bob;\nuser=ann;\n#user=old;\nuser=cid\n");
  EXPECT_EQ(settings.account_count, 3);
}

TEST_F(ParseConfigFileTest, OtherAccountsAreSkipped) {
  EXPECT_TRUE(Parse("user=bob;title=Bob\nuser=ann;subdirs=1\nuser=cid;title=Cid\n"));
  EXPECT_STREQ(settings.title, "");
  EXPECT_EQ(settings.subdirs, 1);
}

TEST_F(ParseConfigFileTest, UserNameIsInserted) {
  Parse("user=ann;logs=/home/%user%/logs/*.log;find=/%user%/%user%/\n");
  EXPECT_STREQ(settings.logs, "/home/ann/logs/*.log");
  EXPECT_STREQ(settings.find_account, "/ann/ann/");
}

TEST_F(ParseConfigFileTest, SeveralLinesOfTheAccountApplyInOrder) {
  EXPECT_TRUE(Parse("user=ann;title=first;subdirs=1\nuser=ann;title=second\n"));
  EXPECT_STREQ(settings.title, "second");
  EXPECT_EQ(settings.subdirs, 1);
}

TEST_F(ParseConfigFileTest, GlobalKeysApplyOnBothSidesOfTheAccount) {
  EXPECT_TRUE(Parse("Networks=a\nuser=ann;title=x\nErrorLog=b\n"));
  EXPECT_STREQ(settings.Networks, "a");
  EXPECT_STREQ(settings.ErrorLog, "b");
}

TEST_F(ParseConfigFileTest, SmartParsingStopsBehindTheAccount) {
  EXPECT_TRUE(Parse("SmartParsing=1\nuser=bob;\nNetworks=a\nuser=ann;title=x\nErrorLog=b\nuser=cid;\n"));
  EXPECT_STREQ(settings.title, "x");
  EXPECT_STREQ(settings.Networks, "a");
  EXPECT_STREQ(settings.ErrorLog, "");
  EXPECT_EQ(settings.account_count, 2);
}

TEST_F(ParseConfigFileTest, SmartParsingBelowTheAccountStopsThere) {
  EXPECT_TRUE(Parse("user=ann;\nNetworks=a\nSmartParsing=1\nErrorLog=b\n"));
  EXPECT_STREQ(settings.Networks, "a");
  EXPECT_STREQ(settings.ErrorLog, "");
}

TEST_F(ParseConfigFileTest, SmartParsingWithoutTheAccountReadsOn) {
  EXPECT_FALSE(Parse("SmartParsing=1\nuser=bob;\nErrorLog=b\n"));
  EXPECT_STREQ(settings.ErrorLog, "b");
}

TEST_F(ParseConfigFileTest, SmartParsingOfZeroReadsOn) {
  EXPECT_TRUE(Parse("SmartParsing=1\nSmartParsing=0\nuser=ann;\nErrorLog=b\n"));
  EXPECT_STREQ(settings.ErrorLog, "b");
}

TEST_F(ParseConfigFileTest, StoppingEarlyStillCompletesOrvellisPath) {
  Parse("SmartParsing=1\nOrvellisPath=/pictures/\nuser=ann;\n");
  EXPECT_STREQ(settings.OrvellisPath, "/pictures");
}

TEST_F(ParseConfigFileTest, AccountReplacesTheFormsParameters) {
  CopyText(settings.title, "form");
  settings.requests = {.on = 1, .top = 5, .greater = 0, .top_is_percent = 0};
  Parse("user=ann;title=account;requests=0,20\n");
  EXPECT_STREQ(settings.title, "account");
  EXPECT_EQ(settings.requests.on, 0);
  EXPECT_EQ(settings.requests.top, 20);
}

TEST_F(ParseConfigFileTest, BinaryJunkIsIgnored) {
  std::string junk;
  for (unsigned i = 0; i < 100000; ++i) {
    junk += static_cast<char>((i * 2654435761U) >> 24);
  }
  EXPECT_TRUE(Parse(junk + "\nuser=ann;title=x\n"));
  EXPECT_STREQ(settings.title, "x");
}

TEST_F(ParseConfigFileTest, FileThatTheRequestDoesNotNameIsClosed) {
  ConfigFile file;
  CopyText(file.path, WriteFile("other.conf", "user=ann;\nErrorLog=other\n"));
  ASSERT_TRUE(OpenConfigFile(file));
  CopyText(settings.config, WriteFile("named.conf", "ErrorLog=named\n"));
  bool account_found = true;
  EXPECT_EQ(ParseConfigFile(file, settings, account_found), kNoError);
  EXPECT_FALSE(account_found);
  EXPECT_STREQ(settings.ErrorLog, "named");
  EXPECT_FALSE(file.opened);
}

TEST_F(ParseConfigFileTest, PinnedFileHasNoSubstitute) {
  GoToNewFolder();
  std::ofstream("orvellis.conf") << "user=ann;\n";
  CopyText(settings.config, "missing.conf");
  ConfigFile file;
  file.fall_back = false;
  bool account_found = true;
  EXPECT_EQ(ParseConfigFile(file, settings, account_found), kErrorConfigFile);
  EXPECT_EQ(settings.config_opened, 0);
}

// ---- The edition ----

class FindEditionKeyTest : public ParseConfigFileTest {
 protected:
  std::string EditionOf(const std::string& content) {
    char edition[kTextSize] = "none";
    ConfigFile file;
    CopyText(file.path, WriteFile("edition.conf", content));
    const bool found = FindEditionKey(file, edition);
    EXPECT_EQ(found, std::string(edition) != "none");
    CloseConfigFile(file);
    return edition;
  }
};

TEST_F(FindEditionKeyTest, LastOneCountsWhereverItStands) {
  EXPECT_EQ(EditionOf("Edition=a\n"), "a");
  EXPECT_EQ(EditionOf("edition=a\nuser=ann;\nEDITION=b"), "b");
  EXPECT_EQ(EditionOf("SmartParsing=1\nuser=;\nuser=ann;x=y\nEdition=c\n"), "c");
}

TEST_F(FindEditionKeyTest, ValueIsTakenAsItStands) {
  EXPECT_EQ(EditionOf("Edition= a=b \n"), " a=b ");
  EXPECT_EQ(EditionOf("Edition=\n"), "");
  EXPECT_EQ(EditionOf("Edition=" + std::string(300, 'x')), std::string(kTextMax, 'x'));
}

TEST_F(FindEditionKeyTest, NothingElseIsTheKey) {
  EXPECT_EQ(EditionOf(""), "none");
  EXPECT_EQ(EditionOf("Edition\n#Edition=a\n;Edition=a\n Edition=a\nEdition =a\nuser=ann;edition=a\n"),
            "none");
}

TEST_F(FindEditionKeyTest, LeavesTheFileAtItsStart) {
  ConfigFile file;
  char edition[kTextSize];
  CopyText(settings.config, WriteFile("edition.conf", "user=ann;\nEdition=a\nErrorLog=log\n"));
  CopyText(file.path, settings.config);
  ASSERT_TRUE(FindEditionKey(file, edition));
  unlink(settings.config);  // the file that was opened is the one that is read
  bool account_found = false;
  EXPECT_EQ(ParseConfigFile(file, settings, account_found), kNoError);
  EXPECT_TRUE(account_found);
  EXPECT_STREQ(settings.ErrorLog, "log");
}

TEST_F(FindEditionKeyTest, MissingFileHasNone) {
  GoToNewFolder();
  ConfigFile file;
  char edition[kTextSize] = "none";
  CopyText(file.path, "missing.conf");
  EXPECT_FALSE(FindEditionKey(file, edition));
  EXPECT_STREQ(edition, "none");
  std::ofstream("orvellis.conf") << "Edition=a\n";
  EXPECT_TRUE(FindEditionKey(file, edition)) << "the default file takes its place";
  CloseConfigFile(file);
}

// ---- Accounts as the configuration spells them ----

class WrittenNamesTest : public ParseConfigFileTest {
 protected:
  void SetUp() override {
    ParseConfigFileTest::SetUp();
    settings.rules.names_as_written = true;
  }
  bool Finds(const std::string& typed, const std::string& content) {
    CopyText(settings.username, typed);
    return Parse(content);
  }
};

TEST_F(WrittenNamesTest, TheConfigurationSpellsTheName) {
  EXPECT_TRUE(Finds("SHOP", "user=Shop;logs=/%user%/*.log\n"));
  EXPECT_STREQ(settings.username, "Shop");
  EXPECT_STREQ(settings.logs, "/Shop/*.log");
}

TEST_F(WrittenNamesTest, AnotherRuleTakesItAsTyped) {
  settings.rules.names_as_written = false;
  EXPECT_TRUE(Finds("SHOP", "user=Shop;logs=/%user%/*.log\n"));
  EXPECT_STREQ(settings.username, "SHOP");
  EXPECT_STREQ(settings.logs, "/SHOP/*.log");
}

TEST_F(WrittenNamesTest, ANameThatGoesOnIntoTheItemsIsNone) {
  const std::string line = "user=shop;logs=/x;title=%user%\n";
  EXPECT_FALSE(Finds("shop;logs=/x", line));
  EXPECT_STREQ(settings.logs, "");
  settings.rules.names_as_written = false;
  EXPECT_TRUE(Finds("shop;logs=/x", line));
}

TEST_F(WrittenNamesTest, NamesOfOtherCharactersAreNone) {
  for (const char* const name : {"", "/", "../shop", "a/b", "a\tb", "\x1b[m", "a\x7F"}) {
    EXPECT_FALSE(Finds(name, std::string("user=") + name + ";logs=x\n")) << name;
  }
  for (const char* const name : {"a b", "a.b-c_d", "\xC3\xA9", "100%"}) {
    EXPECT_TRUE(Finds(name, std::string("user=") + name + ";logs=x\n")) << name;
  }
}

TEST_F(WrittenNamesTest, PartsOfANameAreNotTheName) {
  EXPECT_FALSE(Finds("sho", "user=shop;logs=x\n"));
  EXPECT_FALSE(Finds("shops", "user=shop;logs=x\n"));
  EXPECT_FALSE(Finds("shop", "user=shop\n"));
}

TEST_F(WrittenNamesTest, ACutLineLosesItsLastItem) {
  const std::string line = "user=shop;title=" + std::string(1500, 't') + ";signon=alice,bobby";
  ASSERT_EQ(line.size(), 1535U);
  settings.rules.later_names = true;
  EXPECT_TRUE(Finds("shop", line.substr(0, 1534) + "\n"));
  EXPECT_STREQ(settings.signon, "alice,bobb");
  settings = {};
  settings.rules.names_as_written = true;
  settings.rules.later_names = true;
  EXPECT_TRUE(Finds("shop", line + "\n"));
  EXPECT_STREQ(settings.signon, "");
  EXPECT_STREQ(settings.title, std::string(243, 't').c_str());
}

// ---- Lists of networks ----

TEST_F(ParseConfigFileTest, NetworksAreKeptWhole) {
  const std::string list = "2001:db8::1," + std::string(400, ' ') + ",192.0.2.1";
  Parse("InternalIp=" + list + "\nTrustedProxies=" + list + "\nLoginLimits=/var/limits\n");
  EXPECT_EQ(settings.internal_networks, list);
  EXPECT_EQ(settings.InternalIp, list.substr(0, 243));
  EXPECT_EQ(settings.TrustedProxies, list);
  EXPECT_STREQ(settings.LoginLimits, "/var/limits");
}

TEST_F(ParseConfigFileTest, ACutNetworkIsLeftOut) {
  for (const char* const key : {"InternalIp=", "TrustedProxies="}) {
    const std::string begin = std::string(key) + "192.0.2.1";
    const std::string end = ",10.0.0.0/2";
    Parse(begin + std::string(1535 - begin.size() - end.size(), ' ') + end + "4\n");
  }
  EXPECT_EQ(std::string(settings.internal_networks).find('/'), std::string::npos);
  EXPECT_THAT(settings.internal_networks, testing::StartsWith("192.0.2.1 "));
  EXPECT_EQ(std::string(settings.TrustedProxies).find('/'), std::string::npos);
  EXPECT_THAT(settings.TrustedProxies, testing::StartsWith("192.0.2.1 "));
}

// ---- All accounts ----

TEST(NextAccount, GoesThroughTheLinesOfAccounts) {
  ConfigFile file;
  CopyText(file.path,
           WriteFile("orvellis.conf",
                     "user=Ann;logs=a;password=x\n#user=no;\nNetworks=n\nUSER=ben;url=b\nuser=;logs=c\n"
                     "user=none\nuser=a/b;logs=c\nuser=ann;title=t"));
  ASSERT_TRUE(OpenConfigFile(file));
  Settings settings{};
  std::string names;
  while (NextAccount(file, settings)) {
    names += std::string(settings.username) + " ";
  }
  EXPECT_EQ(names, "Ann ben ann ");
  EXPECT_STREQ(settings.logs, "a");
  EXPECT_STREQ(settings.stored_password, "x");
  EXPECT_STREQ(settings.url, "b");
  EXPECT_STREQ(settings.title, "t");
  EXPECT_STREQ(settings.Networks, "");
  CloseConfigFile(file);
}
