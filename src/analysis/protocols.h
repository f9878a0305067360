// Methods, protocols and versions of TLS as they are counted: one spelling of each, and one word for all that
// is none, because who sends a request may write anything into it. Absent (null): the record tells none.
#pragma once

#include <string_view>

#include "superlog/superlog.h"

// "GET": up to 20 letters, hyphens and underscores, as they stand in the request; else "(other)".
std::string_view MethodOf(const SuperLogRecord& record);

// "HTTP/0.9", "HTTP/1.0", "HTTP/1.1", "HTTP/2", "HTTP/3", of any spelling of these; else "(other)".
std::string_view ProtocolOf(const SuperLogRecord& record);

// "TLSv1.3" and older ones, down to "SSLv2", of any spelling; else "(other)".
std::string_view TlsVersionOf(const SuperLogRecord& record);
