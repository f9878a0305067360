// Reports that tell nothing of single visitors (Settings::anonymise).
//
// Hosts are cut and users are left out before anything is counted, kept or looked up; only countries are told
// of the whole address. Filters see what is left.
#pragma once

#include "cgi/settings.h"
#include "superlog/superlog.h"

// Of complete settings, takes back what needs what will be cut: no names are looked up. False where a filter
// asks for users, or for hosts by more of an address than is left: it would not do what it says.
bool SettleAnonymity(Settings& settings);

// Takes out of a record what tells persons apart; its country, where that is wanted, is told before.
void TakePersonOut(SuperLogRecord& record, bool with_country);
