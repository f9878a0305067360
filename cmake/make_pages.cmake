# Turns the documents of DOCS into pages below OUT with the Markdown converter
# CMARK_GFM.

# Each document, and where its page is served below /orvellis/.
set(pages
  "product        product.html"
  "index          docs/index.html"
  "getting-started docs/getting-started.html"
  "parameters     docs/parameters.html"
  "configuration  docs/configuration.html"
  "accounts       docs/chapter4.html"
  "log-formats    docs/log-formats.html"
  "report-page    docs/report-page.html"
  "search-engines products/orvellis/support/searchengines.asp"
  "operation      docs/operation.html"
  "nightly-reports docs/nightly-reports.html"
  "security       docs/security.html"
  "privacy        docs/privacy.html"
  "editions       docs/editions.html"
  "outputs        docs/outputs.html"
  "parts          docs/parts.html"
  "beyond-one-machine docs/beyond-one-machine.html"
  "reliability    docs/reliability.html"
  "errors         support/errors/index.html")

set(head [[<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Orvellis: @TITLE@</title>
<link rel="stylesheet" href="/orvellis/site.css">
</head>
<body>
<header>
  <a href="/orvellis/"><img src="/orvellis/or15-reg.gif" width="278" height="75" alt="Orvellis"></a>
  <nav aria-label="Site"><a href="/orvellis/">Request a report</a> <a href="/orvellis/docs/">Documentation</a>
    <a href="/orvellis/support/errors/">Error numbers</a></nav>
</header>
<main>
<article>
]])
set(foot [[</article>
</main>
</body>
</html>
]])

# Links between documents become addresses of their pages.
function(link_pages result html)
  foreach(page IN LISTS pages)
    string(REGEX MATCH "^([^ ]+) +(.+)$" whole "${page}")
    set(document ${CMAKE_MATCH_1})
    string(REGEX REPLACE "index\\.html$" "" address "/orvellis/${CMAKE_MATCH_2}")
    string(REPLACE "href=\"${document}.md" "href=\"${address}" html "${html}")
  endforeach()
  set(${result} "${html}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE "${OUT}")
foreach(page IN LISTS pages)
  string(REGEX MATCH "^([^ ]+) +(.+)$" whole "${page}")
  set(source "${DOCS}/${CMAKE_MATCH_1}.md")
  set(target "${OUT}/${CMAKE_MATCH_2}")
  execute_process(COMMAND "${CMARK_GFM}" --extension table --unsafe "${source}"
                  OUTPUT_VARIABLE html COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "<h1>([^<]*)</h1>" whole "${html}")
  string(REPLACE "@TITLE@" "${CMAKE_MATCH_1}" page_head "${head}")
  # Wide tables and samples scroll by themselves, with the keyboard, too.
  string(REPLACE "<table>" "<div class=\"wide\" tabindex=\"0\" role=\"region\" aria-label=\"Table\"><table>" html "${html}")
  string(REPLACE "</table>" "</table></div>" html "${html}")
  string(REPLACE "<pre>" "<pre tabindex=\"0\">" html "${html}")
  link_pages(html "${html}")
  file(WRITE "${target}" "${page_head}${html}${foot}")
endforeach()
