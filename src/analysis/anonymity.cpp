#include "analysis/anonymity.h"

#include <algorithm>

#include "analysis/countries.h"
#include "analysis/record_filters.h"
#include "base/network.h"
#include "superlog/anonymous_host.h"

// Addresses and networks that are smaller than what visitors are cut to.
static bool NamesMoreThanIsLeft(std::string_view list) {
  for (std::string_view item; NextListItem(list, item);) {
    Network network;
    const bool parsed = ParseNetwork(item, network);
    const int left = parsed && IsIpv4(network.address) ? 96 + kLeftOfIpv4 : kLeftOfIpv6;
    if (parsed && network.bits > left) {
      return true;
    }
  }
  return false;
}

static bool AsksForPersons(const ActiveFilter& active) {
  return active.filter->of_persons || (active.filter->asks.host && NamesMoreThanIsLeft(active.list));
}

bool SettleAnonymity(Settings& settings) {
  if (settings.anonymise == 0) {
    return true;
  }
  settings.dnslookupenabled = 0;
  const ActiveFilters filters = ActiveFiltersOf(settings);
  return settings.authuser[0] == '\0' && !NamesMoreThanIsLeft(settings.filter_domains) &&
         std::ranges::none_of(filters.all(), AsksForPersons);
}

void TakePersonOut(SuperLogRecord& record, bool with_country) {
  record.country = {};
  if (with_country) {
    record.country = CountryOfVisitor(record);
  }
  record.user = {};
  SuperLog_CutHost(record);
}
