#include "output/request_form.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "analysis/record_filters.h"
#include "dates/years.h"
#include "output/escape.h"
#include "output/form_fields.h"
#include "output/page_frame.h"
#include "output/page_sections.h"
#include "output/words.h"
#include "report/answer_head.h"
#include "report/site.h"
#include "sections/section_list.h"

// ---- What the form holds -------------------------------------------------------------

// Figures that are no date make a text that is none, for the visitor to correct.
template <size_t N>
static void WriteDay(char (&text)[N], const CalendarDate& day) {
  snprintf(text, N, "%04d-%02d-%02d", std::clamp(day.year, 0, 9999), std::clamp(day.month, 0, 99),
           std::clamp(day.day, 0, 99));
}

// The days of the earlier fields, as the form has them.
static void TakeEarlierDays(Settings& settings) {
  CalendarDate first{};
  CalendarDate last{};
  ParseDate(first, last, settings);
  if (settings.start_date[0] == '\0') {
    first = {ToInt(settings.sm), ToInt(settings.sd), settings.sy};
  }
  if (settings.end_date[0] == '\0') {
    last = {ToInt(settings.em), ToInt(settings.ed), settings.ey};
  }
  WriteDay(settings.from, first);
  if (settings.end_date[0] != '\0' || settings.em[0] != '\0') {
    WriteDay(settings.to, last);
  }
}

static void SuggestDays(Settings& settings) {
  if (settings.days[0] != '\0' || settings.from[0] != '\0' || settings.to[0] != '\0') {
    return;
  }
  if (settings.start_date[0] != '\0' || settings.sm[0] != '\0') {
    TakeEarlierDays(settings);
  } else {
    CopyText(settings.days, "7d");
  }
}

static Settings WithSuggestions(Settings settings) {
  SuggestDays(settings);
  TakeFirstSectionsForNone(settings);
  if (settings.find_form[0] == '\0') {
    CopyText(settings.find_form, "/");
    settings.subdirs = 1;
  }
  if (settings.output[0] == '\0') {
    CopyText(settings.output, "modern");
  }
  SuggestPagesOnly(settings);
  settings.anonymise = settings.anonymise_asked ? settings.anonymise : 1;
  return settings;
}

// ---- Fields --------------------------------------------------------------------------

static void PutNamed(Sink& sink, const Literal& before, const Literal& name, const Literal& behind) {
  Put(sink, before);
  Put(sink, name);
  Put(sink, behind);
}

static void PutValue(Sink& sink, const char* value) {
  Put(sink, " value=\"");
  PutAttribute(sink, value);
  Put(sink, "\"");
}

// A hint is read with its field.
static void PutHintOf(Sink& sink, const FormField& field) {
  if (!field.hint.text().empty()) {
    PutNamed(sink, "<small id=\"", field.name, "-hint\">");
    Put(sink, field.hint);
    Put(sink, "</small>");
  }
}

static void PutNames(Sink& sink, const FormField& field) {
  PutNamed(sink, " id=\"", field.name, "\"");
  PutNamed(sink, " name=\"", field.name, "\"");
  if (!field.hint.text().empty()) {
    PutNamed(sink, " aria-describedby=\"", field.name, "-hint\"");
  }
  Put(sink, field.attributes);
}

static void PutLabel(Sink& sink, const FormField& field) {
  PutNamed(sink, "<label for=\"", field.name, "\">");
  Put(sink, field.label);
  Put(sink, "</label>");
}

static void PutCheck(Sink& sink, const FormField& field, const Settings& settings) {
  Put(sink, "<div class=\"check\"><input type=\"checkbox\" value=\"1\"");
  PutNames(sink, field);
  Put(sink, field.on(settings) ? Literal(" checked>") : Literal(">"));
  PutLabel(sink, field);
  PutHintOf(sink, field);
  Put(sink, "</div>\n");
}

static bool IsIsoDate(std::string_view text) {
  constexpr std::string_view kShape = "dddd-dd-dd";
  return std::equal(text.begin(), text.end(), kShape.begin(), kShape.end(),
                    [](char c, char shape) { return shape == 'd' ? IsDigitAscii(c) : c == shape; });
}

// A calendar shows nothing but dates: other words stay visible in a text field.
static Literal TypeOf(const FormField& field, const Settings& settings) {
  switch (field.kind) {
    case FieldKind::kPassword:
      return " type=\"password\"";
    case FieldKind::kDay: {
      const char* const value = field.text(settings);
      return value[0] == '\0' || IsIsoDate(value) ? Literal(" type=\"date\"") : Literal(" type=\"text\"");
    }
    default:
      return " type=\"text\"";
  }
}

static void PutInput(Sink& sink, const FormField& field, const Settings& settings) {
  Put(sink, "<div class=\"field\">");
  PutLabel(sink, field);
  Put(sink, "<input");
  Put(sink, TypeOf(field, settings));
  PutNames(sink, field);
  if (field.text != nullptr) {
    PutValue(sink, field.text(settings));
  }
  Put(sink, ">");
  PutHintOf(sink, field);
  Put(sink, "</div>\n");
}

// Label is a literal, or a text of the request.
static void PutPill(Sink& sink, const FormField& field, std::string_view value, std::string_view label,
                    bool chosen) {
  PutNamed(sink, "<label class=\"pill\"><input type=\"radio\" name=\"", field.name, "\" value=\"");
  PutAttribute(sink, value);
  Put(sink, chosen ? Literal("\" checked><span>") : Literal("\"><span>"));
  PutHtml(sink, label);
  Put(sink, "</span></label>\n");
}

// What was asked for and is none of the options is one more.
static void PutPills(Sink& sink, const FormField& field, const Settings& settings) {
  const std::string_view value = field.text(settings);
  const auto chosen = [value](const FieldOption& option) {
    return EqualIgnoreCase(option.value.text(), value);
  };
  Put(sink, "<div class=\"pills\">\n");
  for (const FieldOption& option : field.options) {
    PutPill(sink, field, option.value.text(), option.label.text(), chosen(option));
  }
  if (std::none_of(field.options.begin(), field.options.end(), chosen)) {
    PutPill(sink, field, value, value, true);
  }
  Put(sink, "</div>\n");
}

// Within an option there is no room for elements, not even those by which a text shows what is not visible.
static void PutChoice(Sink& sink, std::string_view value, std::string_view label, bool chosen) {
  Put(sink, "<option value=\"");
  PutAttribute(sink, value);
  Put(sink, chosen ? Literal("\" selected>") : Literal("\">"));
  PutAttribute(sink, label);
  Put(sink, "</option>");
}

static void PutSectionChoice(Sink& sink, const FormField& field, const Settings& settings) {
  const std::string_view value = field.text(settings);
  bool known = value.empty();
  Put(sink, "<div class=\"field\">");
  PutLabel(sink, field);
  Put(sink, "<select");
  PutNames(sink, field);
  Put(sink, ">");
  PutChoice(sink, "", "All, in one list", known);
  for (const SectionId id : PageOrder()) {
    const Section& section = SectionOf(id);
    const bool chosen = EqualIgnoreCase(section.parameter, value);
    PutChoice(sink, section.parameter, WordsOf(section).title.text(), chosen);
    known = known || chosen;
  }
  if (!known) {
    PutChoice(sink, value, value, true);
  }
  Put(sink, "</select>");
  PutHintOf(sink, field);
  Put(sink, "</div>\n");
}

static void PutField(Sink& sink, const FormField& field, const Settings& settings) {
  switch (field.kind) {
    case FieldKind::kCheck:
      return PutCheck(sink, field, settings);
    case FieldKind::kOneOf:
      return PutPills(sink, field, settings);
    case FieldKind::kSection:
      return PutSectionChoice(sink, field, settings);
    default:
      return PutInput(sink, field, settings);
  }
}

static void PutGroup(Sink& sink, const FieldGroup& group, const Settings& settings) {
  PutNamed(sink, "<fieldset id=\"", group.id, "-fields\">\n<legend>");
  Put(sink, group.legend);
  Put(sink, "</legend>\n");
  for (const FormField& field : group.fields) {
    PutField(sink, field, settings);
  }
  Put(sink, "</fieldset>\n");
}

// ---- Sections ------------------------------------------------------------------------

// A switch or a cut-off of a section: its parameter with an ending.
static void PutSectionInput(Sink& sink, const Section& section, const Literal& before,
                            const Literal& ending) {
  Put(sink, before);
  PutAttribute(sink, section.parameter);
  Put(sink, ending);
}

static void PutCutOffLabel(Sink& sink, const Section& section, const Literal& what) {
  Put(sink, " aria-label=\"");
  Put(sink, WordsOf(section).title);
  Put(sink, what);
  Put(sink, "\" aria-describedby=\"cut-hint\"></td>");
}

static void PutTop(Sink& sink, const Section& section, const RankedReport& report) {
  PutSectionInput(sink, section, "<td><input type=\"text\" name=\"",
                  "_top\" size=\"5\" maxlength=\"9\" pattern=\"[0-9]*%?\" value=\"");
  if (report.top_asked) {
    PutNumber(sink, report.top);
    Put(sink, report.top_is_percent != 0 ? Literal("%") : Literal(""));
  }
  Put(sink, "\"");
  PutCutOffLabel(sink, section, ": top");
}

static void PutGreater(Sink& sink, const Section& section, const RankedReport& report) {
  PutSectionInput(sink, section, "<td><input type=\"text\" name=\"",
                  "_greater\" size=\"5\" maxlength=\"9\" inputmode=\"numeric\" pattern=\"[0-9]*\" value=\"");
  if (report.greater != 0) {
    PutNumber(sink, report.greater);
  }
  Put(sink, "\"");
  PutCutOffLabel(sink, section, ": at least");
}

// A section's switch stands before its cut-offs, which it would set back.
static void PutSwitch(Sink& sink, const Section& section, const Settings& settings) {
  PutSectionInput(sink, section, "<div class=\"check\"><input type=\"checkbox\" id=\"", "\"");
  PutSectionInput(sink, section, " name=\"", "\" value=\"1\" aria-describedby=\"");
  PutSectionInput(sink, section, "",
                  IsOn(section, settings) ? Literal("-hint\" checked>") : Literal("-hint\">"));
  PutSectionInput(sink, section, "<label for=\"", "\">");
  Put(sink, WordsOf(section).title);
  PutSectionInput(sink, section, "</label><small id=\"", "-hint\">");
  Put(sink, WordsOf(section).explanation);
  Put(sink, "</small></div>\n");
}

static void PutSectionRow(Sink& sink, const Section& section, const Settings& settings) {
  const RankedReport* const report = ReportOf(section, settings);
  const bool with_cut_off = report != nullptr;
  Put(sink,
      with_cut_off ? Literal("<tr><th scope=\"row\">") : Literal("<tr><th scope=\"row\" colspan=\"3\">"));
  PutSwitch(sink, section, settings);
  if (section.id == SectionId::kBadUrls) {
    PutCheck(sink, kPagesThatLed, settings);
  }
  Put(sink, "</th>");
  if (with_cut_off) {
    PutTop(sink, section, *report);
    PutGreater(sink, section, *report);
  }
  Put(sink, "</tr>\n");
}

static void PutSectionTable(Sink& sink, const Settings& settings) {
  Put(sink,
      "<fieldset id=\"sections-fields\">\n<legend>Sections</legend>\n"
      "<p class=\"tools\" hidden><button type=\"button\" id=\"choose-all\">Choose all</button> "
      "<button type=\"button\" id=\"choose-none\">Choose none</button></p>\n"
      "<small id=\"cut-hint\">Top: so many rows, or a part such as 10%; empty: all. "
      "At least: the smallest count that is shown.</small>\n"
      "<table><thead><tr><th scope=\"col\">Section</th><th scope=\"col\">Top</th>"
      "<th scope=\"col\">At least</th></tr></thead>\n<tbody>\n");
  for (const SectionId id : PageOrder()) {
    PutSectionRow(sink, SectionOf(id), settings);
  }
  Put(sink, "</tbody></table>\n</fieldset>\n");
}

// ---- Filters -------------------------------------------------------------------------

static void PutFilterList(Sink& sink, const RecordFilter& filter, const Literal& prefix, const Literal& what,
                          const char* list) {
  PutNamed(sink,
           "<td><input type=\"text\" maxlength=\"243\" autocapitalize=\"none\" spellcheck=\"false\" name=\"",
           prefix, "");
  PutAttribute(sink, filter.name);
  PutNamed(sink, "\" aria-label=\"", filter.title, "");
  PutNamed(sink, ": ", what, "\" aria-describedby=\"filter-");
  PutAttribute(sink, filter.name);
  Put(sink, "-hint\"");
  PutValue(sink, list);
  Put(sink, "></td>");
}

static void PutFilterRow(Sink& sink, const RecordFilter& filter, const FilterLists& lists) {
  PutNamed(sink, "<tr><th scope=\"row\">", filter.title, "<small id=\"filter-");
  PutAttribute(sink, filter.name);
  PutNamed(sink, "-hint\">", filter.hint, "</small></th>");
  PutFilterList(sink, filter, "only_", "only", lists.only);
  PutFilterList(sink, filter, "exclude_", "not", lists.exclude);
  Put(sink, "</tr>\n");
}

static void PutFilterTable(Sink& sink, const Settings& settings) {
  Put(sink,
      "<fieldset id=\"filters-fields\">\n<legend>Requests that count</legend>\n"
      "<small>Lists with commas. A request counts where all that is filled in says so.</small>\n"
      "<table><thead><tr><th scope=\"col\">By</th><th scope=\"col\">Only</th>"
      "<th scope=\"col\">Not</th></tr></thead>\n<tbody>\n");
  for (size_t row = 0; row < kRecordFilterCount; ++row) {
    PutFilterRow(sink, kRecordFilters[row], settings.filters[row]);
  }
  Put(sink, "</tbody></table>\n</fieldset>\n");
}

// ---- The rest of the form ------------------------------------------------------------

static bool Differs(const FormField& field, const Settings& a, const Settings& b) {
  return field.on != nullptr ? field.on(a) != field.on(b)
                             : std::string_view(field.text(a)) != std::string_view(field.text(b));
}

// What was asked for does not hide in a fold.
static void PutMore(Sink& sink, const Settings& settings) {
  const Settings suggested = WithSuggestions({});
  bool asked = ActiveFiltersOf(settings).count > 0;
  for (const FieldGroup& group : kMoreGroups) {
    for (const FormField& field : group.fields) {
      asked = asked || Differs(field, settings, suggested);
    }
  }
  Put(sink, asked ? Literal("<details open>") : Literal("<details>"));
  Put(sink, "<summary>More: part of the site, which requests, what to leave out, order, title</summary>\n");
  PutGroup(sink, kMoreGroups.front(), settings);
  PutFilterTable(sink, settings);
  for (const FieldGroup& group : kMoreGroups.subspan(1)) {
    PutGroup(sink, group, settings);
  }
  Put(sink, "</details>\n");
}

// What the script does; it has no name, and is not sent.
static void PutActions(Sink& sink) {
  Put(sink,
      "<div class=\"check\" id=\"remembering\" hidden><input type=\"checkbox\" id=\"remember\" "
      "aria-describedby=\"remember-hint\"><label for=\"remember\">Remember these choices in this "
      "browser</label>"
      "<small id=\"remember-hint\">With the name of the account, never with the password.</small> "
      "<button type=\"button\" id=\"forget\" hidden>Forget them</button></div>\n"
      "<p id=\"bookmark-hint\" hidden><small>The link below can be a bookmark. The password is not in it: "
      "where one "
      "is needed, it leads to this form, filled in.</small></p>\n"
      "<p class=\"actions\"><button type=\"submit\">Request report</button> "
      "<a id=\"bookmark\" aria-describedby=\"bookmark-hint\" hidden>Link to this report</a></p>\n");
}

static void PutForm(Sink& sink, const char* action, const Settings& settings) {
  Put(sink, "<form method=\"post\" action=\"");
  PutAttribute(sink, action);
  Put(sink, "\">\n");
  PutGroup(sink, kAccountGroup, settings);
  PutGroup(sink, kDaysGroup, settings);
  PutSectionTable(sink, settings);
  PutGroup(sink, kOutputGroup, settings);
  PutMore(sink, settings);
  PutActions(sink);
  Put(sink, "</form>\n");
}

// ---- Pages ---------------------------------------------------------------------------

static void PutLink(Sink& sink, const Literal& before, const char* address, const Literal& text) {
  Put(sink, before);
  Put(sink, "<a href=\"");
  PutAttribute(sink, address);
  Put(sink, "\">");
  Put(sink, text);
  Put(sink, "</a>");
}

static void PutIntroduction(Sink& sink, const Settings& settings) {
  Put(sink, "<header>\n<h1>Report Request Form</h1>\n<p>");
  Put(sink,
      settings.username[0] == '\0'
          ? Literal("Name the account, choose the days, and request the report. ")
          : Literal("What you asked for is filled in. Type the password of the account to see the report. "));
  PutLink(sink, "", kParametersPage, "What every field means");
  Put(sink,
      "</p>\n</header>\n<main>\n<p class=\"warning\" id=\"insecure\" role=\"alert\" hidden>This page has not "
      "come over "
      "HTTPS: everybody on the way can read the password. ");
  PutLink(sink, "", kSecurityPage, "What the administrator can do");
  Put(sink, "</p>\n");
}

static void PutBody(Sink& sink, const char* action, const Settings& asked) {
  PutIntroduction(sink, asked);
  PutForm(sink, action, WithSuggestions(asked));
  Put(sink, "</main>\n<footer>\n<p>");
  PutLink(sink, "", kDocumentationBase, "Documentation");
  PutLink(sink, " \xc2\xb7 ", kSupportErrorPages, "Error numbers");
  PutLink(sink, " \xc2\xb7 ", kAboutPage, "About this installation");
}

void AnswerForm(const Environment& env, const Settings& settings) {
  PrintAnswerHead(env, {.type = "text/html; charset=utf-8", .policy = WebPolicyOfForm()});
  Sink sink;
  PutPageStart(sink);
  Put(sink, "Orvellis: Report Request Form");
  PutFormHead(sink);
  PutBody(sink, "?", settings);
  Put(sink, "</p>\n</footer>\n");
  PutFormEnd(sink);
  FlushSink(sink);
}

void PutSiteForm(Sink& sink) {
  PutPageStart(sink);
  Put(sink,
      "Orvellis: Report Request Form</title>\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n"
      "<link rel=\"stylesheet\" href=\"/orvellis/form.css\">\n"
      "<script src=\"/orvellis/form.js\" defer></script>\n</head>\n<body>\n");
  PutBody(sink, kProgramAddress, {});
  PutLink(sink, " \xc2\xb7 ", kClassicForm, "Form of the classic edition");
  Put(sink, "</p>\n</footer>\n</body>\n</html>\n");
}
