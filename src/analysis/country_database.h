// A file in MaxMind's format that tells which country a network is in, read by way of libmaxminddb. That is
// loaded when a database is opened, and never before.
//
// The file is mapped into memory when it is opened: from then on nothing is opened or loaded any more.
#pragma once

#include <string_view>

#include "base/network.h"
#include "base/text.h"

enum class DatabaseFault : unsigned char {
  kNone,
  kNoLibrary,   // it is not installed, or was not there when the program was built
  kNotOpened,   // there is no such file, or it may not be read; errno tells
  kNoDatabase,  // it is none, or cut, or damaged where it begins or ends
};

// Opens it in place of the one that is open.
DatabaseFault OpenCountryDatabase(const char* path);
void CloseCountryDatabase();
bool IsCountryDatabaseOpen();

// The country that the address is in, two capital letters that stay; empty where the database does not know
// it, has no country for it, is damaged there or is not open.
std::string_view CountryIn(const Address& address);

// What tells databases apart: their kind, when they were made and how large they are. Empty where none is
// open.
struct CountryDatabaseName {
  char text[kTextSize] = "";
  CountryDatabaseName();
};
