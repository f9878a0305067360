// Addresses and wordings that belong to the installation's own site. Addresses
// are root-relative: the pages are served by the installation itself.
#pragma once

inline constexpr const char* kProductName = "Orvellis";
inline constexpr const char* kProductPage = "/orvellis/";
