// Addresses and wordings that belong to the installation's own site. Addresses
// are root-relative: the pages are served by the installation itself.
#pragma once

inline constexpr const char* kProductName = "Orvellis";
inline constexpr const char* kProductPage = "/orvellis/";

// --- Information pages ---

inline constexpr const char* kProductInformationPage = "/orvellis/product.html";
inline constexpr const char* kDevelopers[] = {"the Orvellis authors"};
inline constexpr const char* kSpecialThanks[] = {"the administrators who showed us what their logs look like",
                                                 "the visitors who left their traces in them"};
