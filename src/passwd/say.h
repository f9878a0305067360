// Sentences for whoever runs the command.
#pragma once

#include <string>
#include <string_view>

// Writes "orvellis-passwd: " and the sentence to standard error.
[[gnu::format(printf, 1, 2)]] void Complain(const char* format, ...);

// The text in quotes, "?" in place of what is not printable ASCII.
std::string Quoted(std::string_view text);
