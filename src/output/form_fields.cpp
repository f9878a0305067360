#include "output/form_fields.h"

template <auto kField>
static const char* TextOf(const Settings& settings) {
  return settings.*kField;
}

template <auto kField>
static bool IsOn(const Settings& settings) {
  return settings.*kField != 0;
}

template <auto kField>
static consteval FormField Text(Literal name, Literal label, Literal hint,
                                Literal attributes = " maxlength=\"243\"") {
  return {.kind = FieldKind::kText,
          .name = name,
          .label = label,
          .hint = hint,
          .text = TextOf<kField>,
          .attributes = attributes};
}

template <auto kField>
static consteval FormField Day(Literal name, Literal label, Literal hint) {
  return {.kind = FieldKind::kDay, .name = name, .label = label, .hint = hint, .text = TextOf<kField>};
}

template <auto kField>
static consteval FormField Check(Literal name, Literal label, Literal hint = "") {
  return {.kind = FieldKind::kCheck, .name = name, .label = label, .hint = hint, .on = IsOn<kField>};
}

template <auto kField, size_t N>
static consteval FormField OneOf(Literal name, Literal label, const FieldOption (&options)[N]) {
  return {
      .kind = FieldKind::kOneOf, .name = name, .label = label, .text = TextOf<kField>, .options = options};
}

// ---- Account ----

static constexpr FormField kAccount[] = {
    Text<&Settings::username>("username", "User account", "The name that your administrator gave the logs.",
                              " maxlength=\"99\" required autocomplete=\"username\" autocapitalize=\"none\" "
                              "spellcheck=\"false\""),
    {.kind = FieldKind::kPassword,
     .name = "password",
     .label = "Password",
     .hint = "Empty, where the account needs none.",
     .attributes = " maxlength=\"243\" autocomplete=\"current-password\""},
};
constexpr FieldGroup kAccountGroup{"account", "Account", kAccount};

// ---- Days ----

static constexpr FieldOption kSpans[] = {
    {"today", "Today"},         {"yesterday", "Yesterday"},   {"7d", "Last 7 days"},
    {"30d", "Last 30 days"},    {"this-month", "This month"}, {"last-month", "Last month"},
    {"this-year", "This year"}, {"all", "All days"},          {"", "Choose days"},
};
static constexpr FormField kDays[] = {
    OneOf<&Settings::days>("days", "Days", kSpans),
    Day<&Settings::from>("from", "First day", ""),
    Day<&Settings::to>("to", "Last day", "Empty: the first day alone."),
};
constexpr FieldGroup kDaysGroup{"days", "Days", kDays};

// ---- Sections ----

constexpr FormField kPagesThatLed =
    Check<&Settings::badurl_referrers>("badurl_referrers", "with the pages that led there");

// ---- Output ----

static constexpr FieldOption kOutputs[] = {
    {"modern", "Page"},
    {"json", "JSON"},
    {"csv", "CSV"},
    {"text", "Text"},
};
static constexpr FormField kOutput[] = {
    OneOf<&Settings::output>("output", "Output", kOutputs),
    {.kind = FieldKind::kSection,
     .name = "section",
     .label = "Sections of the CSV file",
     .hint = "One by itself has columns of its own.",
     .text = TextOf<&Settings::section>},
};
constexpr FieldGroup kOutputGroup{"output", "Output", kOutput};

// ---- More ----

static constexpr FormField kPath[] = {
    Text<&Settings::find_form>("find", "Path", "Such as /docs/. The slash alone is the whole site.",
                               " maxlength=\"243\" autocapitalize=\"none\" spellcheck=\"false\""),
    Check<&Settings::subdirs>("subdirs", "Everything that begins with it"),
    Check<&Settings::find_pattern>("find_pattern", "The path is a pattern", "Such as /(docs|news)/*.html."),
    Check<&Settings::find_casesensitive>("find_casesensitive", "Upper and lower case differ"),
    Check<&Settings::showquery>("showquery", "Tell URLs apart by what follows the question mark"),
};
static constexpr FormField kLeftOut[] = {
    Text<&Settings::filter_domains>(
        "filter_domains", "Requests from hosts",
        "Parts of names, addresses or networks, with commas: example.com, 10.0.0.0/8, 2001:db8::/32."),
    Check<&Settings::own_referrers>("own_referrers", "Keep pages of the site itself as referrers"),
    Check<&Settings::filter_referrers>("filter_referrers", "Leave these hosts out as referrers, too"),
    Check<&Settings::pages_only>("pages_only", "Images, styles and scripts among the requested URLs",
                                 "They are counted all the same."),
    Text<&Settings::filter_filetypes>("filter_filetypes", "Requests for files of type",
                                      "With commas: gif,jpg,css."),
};
static constexpr FormField kSignedOn[] = {
    Text<&Settings::authrealm>("authrealm", "Realm", "Only requests that signed on to it.",
                               " maxlength=\"243\" autocomplete=\"off\""),
    Text<&Settings::authuser>("authuser", "User", "Only requests of this one.",
                              " maxlength=\"243\" autocomplete=\"off\" autocapitalize=\"none\""),
};
static constexpr FieldOption kOrders[] = {
    {"", "Most requests first"},
    {"bytes", "Most bytes first"},
};
static constexpr FieldOption kCompared[] = {
    {"", "Nothing"},
    {"previous", "The days before"},
    {"weekdays", "The same weekdays before"},
    {"year", "A year before"},
};
static constexpr FormField kCompare[] = {
    OneOf<&Settings::compare>("compare", "Compare with", kCompared),
};
static constexpr FormField kOrder[] = {
    OneOf<&Settings::order>("order", "Order", kOrders),
    Check<&Settings::with_bytes>("bytes", "Show bytes beside requests"),
};
static constexpr FormField kReport[] = {
    Text<&Settings::title>("title", "Title", "Stands above the report. Empty: that of the account."),
    Check<&Settings::dnslookupenabled>("dnslookupenabled", "Look up the names of numeric addresses",
                                       "Takes some seconds when there are many."),
    Check<&Settings::anonymise>("anonymise", "Tell nothing of single visitors",
                                "Addresses are cut to networks, names to domains, and users left out."),
    Text<&Settings::directory_depth>("directory_depth", "Levels of directories",
                                     "That the section of directories tells apart, 1 to 20. Empty: 1.",
                                     " maxlength=\"2\" inputmode=\"numeric\" autocomplete=\"off\""),
    Check<&Settings::no_script>("no_script", "A page without a script",
                                "Its tables cannot be sorted and searched then."),
};
static constexpr FieldGroup kMore[] = {
    {"path", "Part of the site", kPath},
    {"left-out", "Leave out", kLeftOut},
    {"signed-on", "Visitors who signed on", kSignedOn},
    {"compare", "Compare with", kCompare},
    {"order", "Order of the tables", kOrder},
    {"report", "The report", kReport},
};
constexpr std::span<const FieldGroup> kMoreGroups = kMore;
