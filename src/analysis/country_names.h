// What countries are called in English.
#pragma once

#include <string_view>

// Of a code of ISO 3166-1, in capital letters; null where there is none.
const char* NameOfCountry(std::string_view code);
