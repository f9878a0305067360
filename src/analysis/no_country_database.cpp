// In place of country_database.cpp, in a build that had no header of libmaxminddb.
#include "analysis/country_database.h"

DatabaseFault OpenCountryDatabase(const char*) {
  return DatabaseFault::kNoLibrary;
}

void CloseCountryDatabase() {}

bool IsCountryDatabaseOpen() {
  return false;
}

std::string_view CountryIn(const Address&) {
  return {};
}

CountryDatabaseName::CountryDatabaseName() = default;
