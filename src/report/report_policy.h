// What browsers are told of pages that show texts from logs: no scripts, nothing from
// elsewhere. The installation tells web servers the same where a page does not bring it
// (cmake/install_configuration.cmake puts these literals together).
#pragma once

inline constexpr char kReportPolicy[] =
    "sandbox allow-forms allow-popups allow-popups-to-escape-sandbox; "
    "default-src 'none'; img-src 'self'; style-src 'self'; "
    "form-action 'self'; base-uri 'none'; frame-ancestors 'none'";
