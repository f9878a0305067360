// Which countries visitors are in, as items of a report.
#pragma once

#include <string_view>

#include "superlog/superlog.h"

// The country of a host by the database that is open (country_database.h): two capital letters. Of an address
// that the database does not know "(private network)" where nobody can have it in public, else "(unknown)";
// of anything else "(no address)". The text stays. Looks into the database each time.
std::string_view CountryOfHost(std::string_view host);

// The same of a record, remembering what was told of the last ones; the country that the record has, where it
// was told before.
std::string_view CountryOfVisitor(const SuperLogRecord& record);

// Forgets what is remembered.
void ForgetCountries();
