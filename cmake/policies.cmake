# What browsers are told of pages (Content-Security-Policy): by the program itself, and
# by web servers where a page does not bring it.

# Reports show texts from logs as they are: no scripts, nothing from elsewhere.
set(common_policy "form-action 'self'; base-uri 'none'; frame-ancestors 'none'")
set(REPORT_POLICY
    "sandbox allow-forms allow-popups allow-popups-to-escape-sandbox; default-src 'none'; img-src 'self'; style-src 'self'; ${common_policy}")
set(SITE_POLICY
    "default-src 'none'; img-src 'self'; style-src 'self'; script-src 'self'; ${common_policy}")
