// What a whole request, "GET /a HTTP/1.1", says beside its URL. Views of the request; null: it does not say.
#pragma once

#include <string_view>

// What stands before the first blank; all of a request without blanks, unless that is a path. It may be
// anything that somebody has sent.
std::string_view MethodOfRequest(std::string_view request);

// The last word, behind the URL, where it is letters, a slash and a number: "HTTP/1.1".
std::string_view ProtocolOfRequest(std::string_view request);
