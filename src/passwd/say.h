// Sentences for whoever runs the command.
#pragma once

#include <string>
#include <string_view>

// Writes "orvellis-passwd: " and the sentence to standard error.
[[gnu::format(printf, 1, 2)]] void Complain(const char* format, ...);

// The text in quotes, what is not printable in it as "\xNN".
std::string Quoted(std::string_view text);
