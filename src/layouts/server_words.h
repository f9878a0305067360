// Layouts in the words of the servers that write them.
//
//   nginx     $remote_addr - $remote_user [$time_local] "$request" $status $body_bytes_sent
//             or a whole log_format directive, over several lines, as it stands in the configuration
//   Apache    %h %l %u %t "%r" %>s %b "%{Referer}i", with or without backslashes before the quotes, or a
//   whole
//             LogFormat or CustomLog directive
//   HAProxy   %ci:%cp [%tr] %ft %b/%s ... %{+Q}r, or a whole log-format directive
//   Squid     %ts.%03tu %6tr %>a %Ss/%03>Hs %<st %rm %ru, or a whole logformat directive
#pragma once

#include <string_view>

#include "layouts/pattern.h"

enum class Words { kNone, kNginx, kApache, kHaproxy, kSquid };

// Whose words these are, told by the way in which they name fields; kNone when they name none.
Words WhoseWords(std::string_view text);

// Makes a pattern of them. What they name and the record has no place for is passed over. False
// when they are nobody's words, tell no time or neither request nor URL, or are too long.
bool CompileWords(std::string_view text, Pattern& pattern);
