#include "report/info_pages.h"

#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>

#include "base/text_file.h"
#include "report/extra_texts.h"
#include "report/page_end.h"
#include "report/site.h"

static constexpr int kBuildNumber = 51;

void CommandLineHelp() {
  printf("%s %s\n\n", kProductName, kVersion);
  // deliberate: the first date shows three Y letters, and AuthUser is offered twice
  fputs(
      "Syntax: orvellis param1=val1[,val2] param2=val1[,val2] ...\n\n"
      "  Required Parameters:\t\t\n\n"
      "   username=\"user\"\t\n"
      "   find=path\t\t\t\t\n"
      "   date=MMDDYYY,MMDDYYYY\n\n"
      "  Reports:\t\t\n\n"
      "   requests=1[,#top[,#greater]] [showquery=1] referrers=1[,#top[,#greater]]\n"
      "   search=1[,#top[,#greater]]                 browsers=1[,#top[,#greater]]\n"
      "   badurls=1[,#top[,#greater]]                badreferrers=1[,#top[,#greater]]\n"
      "   domains=1[,#top[,#greater]]                domaintypes=1[,#top[,#greater]]\n"
      "   hitsperdayofweek=1                         hitsperhour=1\n"
      "   dailytotals=1\t\n\n"
      "  Optional Parameters:\t\t\n\n"
      "   password=\"pwd\"\t\t\n"
      "   filter_domains=domain[,domain[,...]]    filter_filetypes=type[,type[,...]]\n"
      "   find_pattern=1                          find_casesensitive=1 \n"
      "   subdirs=1                               DNSLookupEnabled=1  \n"
      "   AuthRealm=realm                         AuthUser=user\t\t\n"
      "   search_casesensitive=1                  AuthUser=user\t\t\n"
      "\n"
      "Example: \n\n"
      "   orvellis username=sample find=/ subdirs=1 date=01011998,12311998 \n"
      "              requests=1,10 referrers=1,10, search=1,10 > report.htm \n"
      "\n",
      stdout);
}

// --- About and credits, for a browser and for a terminal ---

static void AboutHtml(const char* program_path) {
  printf("<html>\n<head>\n<title>About %s Version %s</title>\n</head>\n\n\n\n\n", kProductName, kVersion);
  printf("<body>\n<h2>Orvellis %s build %i</h2>\n", kVersion, kBuildNumber);
  printf("<b>Platform:</b> %s<br>\n", kPlatform);
  utsname system;
  if (uname(&system) >= 0) {
    printf("<b>Operating system:</b> %s<br>\n", system.sysname);
    printf("<b>Release:</b> %s<br>\n", system.release);
    printf("<b>Processor:</b> %s<br>\n", system.machine);
    printf("<b>Version:</b> %s<br>\n", system.version);
    printf("<b>Node:</b> %s<br>\n", system.nodename);
  }
  printf("<p>Product information is available at <a href=\"%s\">our web site</a>.<p>\n",
         kProductInformationPage);
  printf("<a href=\"%s?credits\">View program credits</a>\n\n", program_path);
  fputs("\n</body>\n\n</html>\n", stdout);
}

static void AboutText(const char* program_path) {
  printf("\nOrvellis %s build %i\n", kVersion, kBuildNumber);
  printf("    Platform:        \t%s\n", kPlatform);
  utsname system;
  if (uname(&system) >= 0) {
    printf("    Operating system:\t%s\n", system.sysname);
    printf("    Release:         \t%s\n", system.release);
    printf("    Processor:       \t%s\n", system.machine);
    printf("    Version:         \t%s\n", system.version);
    printf("    Node:            \t%s\n", system.nodename);
  }
  printf("    Product information is available at our web site:\n\n    %s\n", kProductInformationPage);
  printf("\nTo view program credits type:  %s credits\n", program_path);
}

void AboutPage(const Settings& settings, const Environment& env) {
  (env.command_line != 0 ? AboutText : AboutHtml)(settings.program_path);
}

template <size_t N>
static void PrintNames(const char* const (&names)[N], const char* before, const char* after) {
  for (const char* name : names) {
    printf("%s%s%s", before, name, after);
  }
}

static void CreditsHtml(const char* program_path) {
  printf("<html>\n\n<head>\n<title>%s: Credits</title>\n</head>\n\n\n\n\n", kProductName);
  printf("<body>\n\n<h2>Orvellis %s Credits</h2>\n", kVersion);
  fputs("<b>Developers</b><br>\n<ul>\n", stdout);
  PrintNames(kDevelopers, "", "<br>\n");
  fputs("</ul><p>\n<b>Special thanks to</b><br>\n<ul>\n", stdout);
  PrintNames(kSpecialThanks, "", "<br>\n");
  fputs("</ul><p>\n", stdout);
  printf("<a href=\"%s?about\">Version information</a>\n\n</body>\n</html>\n", program_path);
}

static void CreditsText(const char* program_path) {
  printf("\n%s %s: Credits\n  Developers\n", kProductName, kVersion);
  PrintNames(kDevelopers, "    - ", "\n");
  fputs("  Special thanks to\n", stdout);
  PrintNames(kSpecialThanks, "    - ", "\n");
  printf("\nTo see version information type: %s about\n\n", program_path);
}

void CreditsPage(const Settings& settings, const Environment& env) {
  (env.command_line != 0 ? CreditsText : CreditsHtml)(settings.program_path);
}

// --- Diagnostic dumps ---

static void CopyToOutput(TextFile& file) {
  char piece[2048];
  while (NextLine(file, piece, kPieces) > 0) {
    fputs(piece, stdout);
  }
}

void RemoteDebug(const Settings& settings) {
  printf("<html>\n<head>\n<title>%s %s: Remote Debugging</title>\n</head>\n\n\n\n\n<body>\n", kProductName,
         kVersion);
  if (settings.RemoteDebugEnabled == 0) {
    fputs("Remote debugging not enabled.<p>\n", stdout);  // deliberate: the page stays unclosed
    return;
  }
  printf("Configuration filename=%s<p>\n", settings.config);
  TextFile file;
  if (!OpenTextFile(file, settings.config)) {
    fputs("Error! Could not open the configuration file!<p>\n", stdout);
    return;
  }
  fputs("File opened successfully; data follows immediately:<p>\n\n", stdout);
  CopyToOutput(file);
  CloseTextFile(file);
  fputs("\nEnd of file.\n</body>\n</html>\n", stdout);
}

static void PrintField(const char* label, const char* text) {
  printf("%s'%s'\n", label, text);
}

static void PrintField(const char* label, int number) {
  printf("%s'%d'\n", label, number);
}

// The labels begin with the report's name; each but the first ends in its part.
static void PrintRanked(const char* name, const RankedReport& report) {
  printf("%s: '%d'\n", name, report.on);
  printf("%s Top: '%d'\n", name, report.top);
  printf("%s Greater: '%d'\n", name, report.greater);
}

static void PrintSettings(const Settings& s) {
  PrintField("Title: ", s.title);
  PrintField("Home URL: ", s.url);
  PrintField("Find: ", s.find);
  PrintField("Filter: ", s.filter_domains);
  PrintField("Date Start: ", s.start_date);
  PrintField("Date End: ", s.end_date);
  PrintField("SM: ", s.sm);
  PrintField("SD: ", s.sd);
  PrintField("SY4: ", s.sy);
  PrintField("EM: ", s.em);
  PrintField("ED: ", s.ed);
  PrintField("EY4: ", s.ey);
  PrintField("LogsSpec: ", s.logs);
  PrintField("Summary: ", s.summary);
  PrintField("Referrer Log: ", s.referrer_log);
  PrintField("Agent Log: ", s.agent_log);
  PrintField("Networks File: ", s.Networks);
  PrintField("Agents File: ", s.agents_file);
  PrintField("Username: ", s.username);
  PrintField("Password: ", s.password_form);
  PrintField("BadURLs: ", s.badurls.on);
  PrintField("Yday: ", s.dailytotals);
  PrintField("Weekday: ", s.hitsperdayofweek);
  PrintField("Timing: ", s.hitsperhour);
  PrintRanked("Browser", s.browsers);
  PrintRanked("Requests", s.requests);
  PrintRanked("Network", s.domaintypes);
  PrintRanked("Domain", s.domains);
  PrintRanked("Referrals", s.referrers);
  PrintField("CGI: ", s.cgi);
}

void DebugMode(Settings& settings, const FormEntry* entries, int count) {
  fputs("<h2>Stats Fields</h2>\n\n<pre>\n", stdout);
  PrintSettings(settings);
  fputs("</pre>\n\n<h2>Form Fields</h2>\n\n<pre>\n", stdout);
  for (int i = 0; i < count; ++i) {
    printf("'%s' : '%s'\n", entries[i].name, entries[i].value);
  }
  fputs("</pre>\n", stdout);
  EndOrvellisCleanup(settings);
  exit(FinishPage());
}
