#include "report/site.h"

#include <gtest/gtest.h>

#include <string_view>

TEST(Site, AddressesAreRootRelative) {
  for (const std::string_view address : {kProductPage, kErrorPictureBase, kSupportErrorPages,
                                         kDocumentationBase, kChapter4Logs, kSearchEnginesPage}) {
    SCOPED_TRACE(address);
    EXPECT_TRUE(address.starts_with("/orvellis/"));
  }
}

TEST(Site, FixedEndingsOfAddresses) {
  EXPECT_TRUE(std::string_view(kErrorPictureBase).ends_with("or15-err"));
  EXPECT_TRUE(std::string_view(kSupportErrorPages).ends_with("support/errors/"));
  EXPECT_TRUE(std::string_view(kChapter4Logs).ends_with("#Logs"));
  EXPECT_TRUE(std::string_view(kSearchEnginesPage).ends_with("/products/orvellis/support/searchengines.asp"));
}
